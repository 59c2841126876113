// Edges, connected areas and outlines of a triangle mesh.
#pragma once

#include <array>
#include <vector>

#include "tools/mesher/TriangleMesh.h"

namespace CorvaneMesher {

struct Topology {
  struct Edge {
    int start = 0;  // node, less than `end`
    int end = 0;
    int left = -1;  // triangle, -1: no copper
    int right = -1;
  };

  /// A closed walk with one area's copper on its left: counterclockwise around the area, clockwise around its holes.
  struct Loop {
    int area = 0;
    double square_mm = 0;    // inside the walk, below 0 for holes
    std::vector<int> nodes;  // node i is where edge i begins
    std::vector<int> edges;
  };

  std::vector<Edge> edges;                         // ascending by start, then end
  std::vector<std::array<int, 3>> triangle_edges;  // edge i leads from node i to node i + 1 of the triangle
  std::vector<int> areas;                          // per triangle
  std::vector<int> area_nets;                      // per area
  std::vector<Loop> loops;                         // ascending by area
};

/// Triangles of one net that share edges make one area.
Topology find_topology(const TriangleMesh& mesh);

}  // namespace CorvaneMesher
