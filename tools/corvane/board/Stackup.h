// Heights of the copper layers.
#pragma once

#include <cstddef>
#include <vector>

#include "tools/corvane/board/SExpression.h"

namespace CorvaneTool {

/// Millimetres of each copper layer's mid-plane above the lower face of the bottom one, from top to bottom.
///
/// Taken from the board's stackup when it has one with as many copper layers; else from the board's thickness, with
/// copper of 0.035 mm and equal gaps between, 0.01 mm of solder mask on each side.
std::vector<double> copper_heights(const Item& board, std::size_t copper_count);

}  // namespace CorvaneTool
