#include "tools/mesher/FaceFinder.h"

#include <algorithm>

namespace CorvaneMesher {
namespace {

CellGrid::Box bounds_of(const TriangleMesh& mesh) {
  CellGrid::Box bounds = {1e300, 1e300, -1e300, -1e300};
  for (const TriangleMesh::Node& node : mesh.nodes) {
    bounds = {std::min(bounds.x1, node.x), std::min(bounds.y1, node.y), std::max(bounds.x2, node.x),
              std::max(bounds.y2, node.y)};
  }
  return bounds;
}

}  // namespace

FaceFinder::FaceFinder(const TriangleMesh& mesh)
    : d_mesh(mesh), d_bounds(bounds_of(mesh)), d_grid(d_bounds, mesh.triangles.size()) {
  d_grid.fill(mesh.triangles.size(), [&](std::size_t i, const auto& visit) {
    const TriangleMesh::Triangle& triangle = mesh.triangles[i];
    const TriangleMesh::Node &a = mesh.node(triangle, 0), &b = mesh.node(triangle, 1), &c = mesh.node(triangle, 2);
    d_grid.visit_box(
        {std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y}), std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y})},
        visit);
  });
}

int FaceFinder::operator()(double x, double y) const {
  if (!(x >= d_bounds.x1 && x <= d_bounds.x2 && y >= d_bounds.y1 && y <= d_bounds.y2)) return -1;
  for (const int i : d_grid.members(d_grid.cell(d_grid.column(x), d_grid.row(y)))) {
    if (holds(d_mesh.triangles[static_cast<std::size_t>(i)], x, y)) return i;
  }
  return -1;
}

bool FaceFinder::holds(const TriangleMesh::Triangle& triangle, double x, double y) const {
  for (std::size_t corner = 0; corner < 3; ++corner) {
    const TriangleMesh::Node &from = d_mesh.node(triangle, corner), &to = d_mesh.node(triangle, (corner + 1) % 3);
    if ((to.x - from.x) * (y - from.y) - (to.y - from.y) * (x - from.x) < 0) return false;
  }
  return true;
}

}  // namespace CorvaneMesher
