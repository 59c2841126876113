// Layouts as drawings.
#pragma once

#include "tools/corvane/layout/Layout.h"
#include "tools/corvane/picture/Drawing.h"

namespace CorvaneTool {

/// Shapes, traces, vias and pins. Widths are taken from names ("T17 w150000", nanometres); a trace without one is drawn
/// 0.15 mm wide. Throws std::runtime_error for coordinates that can't be drawn.
Drawing draw_layout(const Layout& layout);

}  // namespace CorvaneTool
