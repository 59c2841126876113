// Outlines that overlap, touch and cross, as edges that meet at their ends only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tools/mesher/Copper.h"
#include "tools/mesher/MeshLimits.h"

namespace CorvaneMesher {

/// A straight piece of a closed walk.
struct Strand {
  Point start, end;
  int owner = 0;  // whatever the walk bounds
};

struct PlanarGraph {
  struct Edge {
    int start = 0;  // point, less than `end`
    int end = 0;
    std::size_t first_owner = 0;  // this edge's part of `owners`, never empty
    std::size_t last_owner = 0;
  };

  std::vector<Point> points;
  std::vector<Edge> edges;  // ascending by start, then end
  std::vector<int> owners;  // whose walks run along an edge an odd number of times
};

/// Owned by the rings' positions.
std::vector<Strand> strands_of(std::span<const Ring> rings);

/// Cuts all strands where they meet; what an owner runs there and back vanishes.
///
/// Points nearer to each other than `spacing` (nm) become one, and one within 0.7 of it from an edge gets to lie on it,
/// so that edges bend by about as much. 1 only rounds cuts to whole nanometres. Throws PlaceError when this passes the
/// limits or does not come to an end.
PlanarGraph cut_at_crossings(const std::vector<Strand>& strands, std::int64_t spacing, const MeshLimits& limits = {});

}  // namespace CorvaneMesher
