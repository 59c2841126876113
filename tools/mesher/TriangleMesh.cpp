#include "tools/mesher/TriangleMesh.h"

#include <cmath>
#include <numbers>
#include <unordered_map>
#include <utility>

#include "tools/mesher/Refinement.h"

namespace CorvaneMesher {
namespace {

using Refinement::CgalPoint;
using Refinement::Face;
using Refinement::Triangulation;

class Refiner {
 public:
  explicit Refiner(const RegionOutlines& outlines) : d_outlines(outlines) { insert_outlines(); }

  TriangleMesh run(const SizeField& lengths, const MeshSizes& sizes) {
    find_regions();
    const bool is_early = Refinement::refine(d_triangulation, lengths, sizes);
    TriangleMesh mesh = collect();
    mesh.is_early = is_early;
    return mesh;
  }

 private:
  // An area that outlines bound: what it is, and its largest face's middle, by which it is found again after
  // refinement.
  struct Region {
    Label label;
    double largest_area = 0;
    CgalPoint middle;
  };

  static Point place_of(const CgalPoint& point) { return {std::llround(point.x()), std::llround(point.y())}; }

  static std::uint64_t key(int start, int end) {
    return static_cast<std::uint64_t>(start) << 32 | static_cast<std::uint32_t>(end);
  }

  void insert_outlines() {
    std::vector<Triangulation::Vertex_handle> vertices(d_outlines.points.size());
    std::vector<std::pair<CgalPoint, int>> points;
    std::vector<bool> is_used(d_outlines.points.size());
    for (const RegionOutlines::Edge& edge : d_outlines.edges)
      for (const int point : {edge.start, edge.end}) is_used[static_cast<std::size_t>(point)] = true;
    for (std::size_t i = 0; i < is_used.size(); ++i) {
      const Point point = d_outlines.points[i];
      if (is_used[i]) points.emplace_back(CgalPoint(static_cast<double>(point.x), static_cast<double>(point.y)), i);
    }
    d_triangulation.insert(points.begin(), points.end());
    for (const auto vertex : d_triangulation.finite_vertex_handles())
      vertices[static_cast<std::size_t>(vertex->info())] = vertex;
    for (const RegionOutlines::Edge& edge : d_outlines.edges) {
      d_triangulation.insert_constraint(vertices[static_cast<std::size_t>(edge.start)],
                                        vertices[static_cast<std::size_t>(edge.end)]);
      d_labels[key(edge.start, edge.end)] = edge.left;
      d_labels[key(edge.end, edge.start)] = edge.right;
    }
  }

  /// Calls `visit(face)` for the faces that are reached from `first` without crossing an outline.
  template <class Visit>
  void flood(Face first, int region, const Visit& visit) {
    std::vector<Face> open = {first};
    first->info() = region;
    while (!open.empty()) {
      const Face face = open.back();
      open.pop_back();
      visit(face);
      for (int side = 0; side < 3; ++side) {
        const Face next = face->neighbor(side);
        if (face->is_constrained(side) || next->info() == region) continue;
        next->info() = region;
        open.push_back(next);
      }
    }
  }

  void clear_regions() {
    for (const Face face : d_triangulation.all_face_handles()) face->info() = -1;
  }

  void find_regions() {
    clear_regions();
    flood(d_triangulation.infinite_face(), 0, [](Face face) { face->set_in_domain(false); });
    for (const Face face : d_triangulation.finite_face_handles()) {
      if (face->info() < 0) add_region(face);
    }
  }

  void add_region(Face first) {
    Region region;
    std::vector<Face> faces;
    flood(first, static_cast<int>(d_regions.size()) + 1, [&](Face face) {
      faces.push_back(face);
      for (int side = 0; side < 3; ++side) {
        if (face->is_constrained(side)) {
          region.label = d_labels.at(
              key(face->vertex(Triangulation::ccw(side))->info(), face->vertex(Triangulation::cw(side))->info()));
        }
      }
      const double area = d_triangulation.triangle(face).area();
      if (area <= region.largest_area) return;
      region.largest_area = area;
      region.middle = CGAL::centroid(d_triangulation.triangle(face));
    });
    for (const Face face : faces) face->set_in_domain(region.label.is_copper());
    d_regions.push_back(region);
  }

  TriangleMesh collect() {
    clear_regions();
    TriangleMesh mesh;
    std::unordered_map<const void*, int> numbers;
    Face near = d_triangulation.infinite_face();
    for (std::size_t i = 0; i < d_regions.size(); ++i) {
      if (!d_regions[i].label.is_copper()) continue;
      near = d_triangulation.locate(d_regions[i].middle, near);
      if (near->info() >= 0)
        throw PlaceError("two regions of copper run together in the mesh", place_of(d_regions[i].middle));
      flood(near, static_cast<int>(i), [&](Face face) { add_triangle(face, d_regions[i].label, numbers, mesh); });
    }
    return mesh;
  }

  void add_triangle(Face face, Label label, std::unordered_map<const void*, int>& numbers, TriangleMesh& mesh) const {
    TriangleMesh::Triangle triangle;
    triangle.label = label;
    for (int corner = 0; corner < 3; ++corner) {
      const auto vertex = face->vertex(corner);
      const auto [entry, is_new] = numbers.try_emplace(&*vertex, static_cast<int>(mesh.nodes.size()));
      if (is_new) mesh.nodes.push_back({vertex->point().x() / 1e6, vertex->point().y() / 1e6});
      triangle.nodes[static_cast<std::size_t>(corner)] = entry->second;
    }
    mesh.triangles.push_back(triangle);
  }

  const RegionOutlines& d_outlines;
  Triangulation d_triangulation;
  std::unordered_map<std::uint64_t, Label> d_labels;  // on the left of an edge, by direction
  std::vector<Region> d_regions;
};

}  // namespace

TriangleMesh triangulate(const RegionOutlines& outlines, const SizeField& lengths, const MeshSizes& sizes) {
  return Refiner(outlines).run(lengths, sizes);
}

double smallest_angle(const TriangleMesh& mesh) {
  double smallest = std::numbers::pi;
  for (const TriangleMesh::Triangle& triangle : mesh.triangles) {
    for (std::size_t corner = 0; corner < 3; ++corner) {
      const TriangleMesh::Node& here = mesh.node(triangle, corner);
      const TriangleMesh::Node& next = mesh.node(triangle, (corner + 1) % 3);
      const TriangleMesh::Node& last = mesh.node(triangle, (corner + 2) % 3);
      const double x1 = next.x - here.x, y1 = next.y - here.y, x2 = last.x - here.x, y2 = last.y - here.y;
      smallest = std::min(smallest, std::atan2(x1 * y2 - y1 * x2, x1 * x2 + y1 * y2));
    }
  }
  return smallest * 180 / std::numbers::pi;
}

}  // namespace CorvaneMesher
