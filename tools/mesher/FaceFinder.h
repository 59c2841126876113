// Which triangle lies at a place.
#pragma once

#include "tools/mesher/CellGrid.h"
#include "tools/mesher/TriangleMesh.h"

namespace CorvaneMesher {

/// Borrows the mesh.
class FaceFinder {
 public:
  explicit FaceFinder(const TriangleMesh& mesh);

  /// The first triangle that holds the point (mm), its rim included; -1: none.
  int operator()(double x, double y) const;

 private:
  bool holds(const TriangleMesh::Triangle& triangle, double x, double y) const;

  const TriangleMesh& d_mesh;
  CellGrid::Box d_bounds;
  CellGrid d_grid;
};

}  // namespace CorvaneMesher
