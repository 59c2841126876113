// Which copper lies where: the edges of a planar graph at which it changes.
#pragma once

#include <cstddef>
#include <vector>

#include "tools/mesher/PlanarGraph.h"

namespace CorvaneMesher {

/// What covers a place.
struct Label {
  int net = -1;          // position in Copper::nets, -1: no copper; the smallest where several nets overlap
  bool is_fill = false;  // inside a fill, of whatever net

  bool is_copper() const { return net >= 0; }
  bool operator==(const Label&) const = default;
};

struct RegionOutlines {
  struct Edge {
    int start = 0;  // points; left and right as seen with x to the right and y upwards
    int end = 0;
    Label left, right;  // not equal
  };

  std::vector<Point> points;
  std::vector<Edge> edges;           // meet at their ends only
  double copper_area = 0;            // nm2, of all places with copper, once
  double fill_area = 0;              // of all places inside a fill, once
  double overlap_area = 0;           // of places with copper of several nets
  std::size_t overlapping_nets = 0;  // pairs
  std::vector<double> owner_areas;   // of the inside of each owner's walk
};

/// Walks through a triangulation of the graph and counts the walks around each triangle: inside is what an odd number
/// of turns surrounds. `owners` says what is inside.
RegionOutlines find_regions(const PlanarGraph& graph, const std::vector<Label>& owners);

/// What the edges enclose, in square nanometres: all copper, and all fills.
struct EnclosedAreas {
  double copper = 0;
  double fill = 0;
};
EnclosedAreas enclosed_areas(const RegionOutlines& outlines);

/// The same regions without detail below `spacing` (nm): corners nearer to each other become one, and strips thinner
/// than that close. Throws PlaceError as `cut_at_crossings` does.
RegionOutlines simplified(const RegionOutlines& outlines, std::int64_t spacing, const MeshLimits& limits = {});

}  // namespace CorvaneMesher
