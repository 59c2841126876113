// The items of a drawing as SVG groups.
#pragma once

#include <string>

#include "tools/corvane/picture/Colouring.h"
#include "tools/corvane/picture/Drawing.h"

namespace CorvaneTool {

/// One group for each layer, bottom first, then vias, then marks. The unit is the micrometre; `scale` is its size in
/// pixels, from which follows how thin a line may be. Ends and joins of lines are to be round.
std::string svg_of_items(const Drawing& drawing, const Colouring& colouring, double scale);

}  // namespace CorvaneTool
