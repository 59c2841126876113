// The copper of a pad as polygons.
#pragma once

#include <vector>

#include "tools/corvane/board/Board.h"

namespace CorvaneTool {

/// Absolute outlines, the anchor of a custom pad first; none for an unknown shape.
std::vector<Outline> pad_outlines(const Pad& pad);

/// The absolute outline of an oval hole.
Outline hole_outline(const Pad& pad);

}  // namespace CorvaneTool
