// Whether a layout that was read can be meshed and drawn.
#pragma once

#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

/// Throws std::runtime_error, with table, row, column and value, for a height, a coordinate or a radius that is no
/// number of millimetres up to a kilometre, and for an outline with an odd number of coordinates.
void check_lengths(const Layout& layout);

}  // namespace CorvaneTool
