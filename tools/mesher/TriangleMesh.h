// The triangles of one layer's copper.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "tools/mesher/RegionOutlines.h"
#include "tools/mesher/SizeField.h"

namespace CorvaneMesher {

/// Seen with x to the right and y upwards, the nodes of a triangle stand counterclockwise.
struct TriangleMesh {
  struct Node {
    double x = 0;  // mm
    double y = 0;
  };

  struct Triangle {
    std::array<int, 3> nodes{};
    Label label;
  };

  std::vector<Node> nodes;  // each belongs to a triangle
  std::vector<Triangle> triangles;
  bool is_early = false;  // refinement ended for want of spare nodes

  const Node& node(const Triangle& triangle, std::size_t corner) const {
    return nodes[static_cast<std::size_t>(triangle.nodes[corner])];
  }

  double area(const Triangle& triangle) const {  // mm2, above 0
    const Node &a = node(triangle, 0), &b = node(triangle, 1), &c = node(triangle, 2);
    return ((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x)) / 2;
  }
};

/// `outlines` has edges. Fills all copper with triangles whose edges keep to the size field and whose angles are at
/// least the smallest wanted, save at corners of the outlines that are sharper themselves and at edges below the
/// smallest length. Throws PlaceError where that would pass the limits.
TriangleMesh triangulate(const RegionOutlines& outlines, const SizeField& lengths, const MeshSizes& sizes);

/// In degrees; 180 without triangles.
double smallest_angle(const TriangleMesh& mesh);

}  // namespace CorvaneMesher
