// The copper of a layout as closed outlines per layer, in whole nanometres, so that equal corners are equal.
#pragma once

#include <cstddef>
#include <vector>

#include "tools/corvane/layout/Layout.h"
#include "tools/corvane/support/Geometry.h"

namespace CorvaneMesher {

using CorvaneTool::Outline;
using CorvaneTool::Point;

/// A closed outline; copper is where a walk from outside has crossed it an odd number of times. It may touch and cross
/// itself: a hole is often joined to the rim by a bridge that runs there and back.
struct Ring {
  Outline corners;  // at least 3, not closed
  int net = 0;      // position in Copper::nets
  bool is_fill = false;
};

struct LayerCopper {
  const Mesh2DPlat::EM2DLayer* layer = nullptr;
  std::vector<Ring> rings;  // not empty
};

/// Borrows the layout.
struct Copper {
  std::vector<const Mesh2DPlat::EM2DNet*> nets;  // ascending ids
  std::vector<LayerCopper> layers;               // those with copper, in the layout's order
  std::size_t traces = 0;
  std::size_t traces_without_width = 0;  // left out
  std::size_t shapes_left_out = 0;       // of another type than fill, pad or graphic, or with fewer than 3 corners
};

/// Fills, pads and graphic polygons, and with `with_traces` also traces as strips with round ends. A trace's width is
/// in its name, "T17 w150000" (nanometres). Throws std::runtime_error for coordinates that no board has: not finite,
/// more than a metre from the origin, or an odd number of them.
Copper collect_copper(const CorvaneTool::Layout& layout, bool with_traces);

/// The outline of a straight trace. Its ends are round; their corners lie at fixed angles, so that traces of one width
/// that meet share them.
Outline trace_outline(Point start, Point end, double width);

}  // namespace CorvaneMesher
