// Outlines that overlap, touch and cross, as edges that meet at their ends only.
#pragma once

#include <cstddef>
#include <vector>

#include "examples/mesher/Copper.h"

namespace CorvaneMesher {

struct PlanarGraph {
  struct Edge {
    int start = 0;  // point, less than `end`
    int end = 0;
    std::size_t first_ring = 0;  // this edge's part of `rings`, never empty
    std::size_t last_ring = 0;
  };

  std::vector<Point> points;
  std::vector<Edge> edges;  // ascending by start, then end
  std::vector<int> rings;   // positions of the rings that run along an edge an odd number of times
};

/// Cuts all rings where they meet. Cuts lie on whole nanometres, so an edge may move by about one; no two corners end
/// up on the same place, and no corner lies on an edge. What a ring runs there and back vanishes. Throws
/// std::runtime_error when rounding does not come to an end.
PlanarGraph cut_at_crossings(const std::vector<Ring>& rings);

}  // namespace CorvaneMesher
