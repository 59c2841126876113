#include "tools/mesher/TriangleMesh.h"

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_mesh_face_base_2.h>
#include <CGAL/Delaunay_mesher_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace CorvaneMesher {
namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using CgalPoint = Kernel::Point_2;
using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<int, Kernel>;
// Info: the place of the face's region, -1 before it is found.
using FaceBase = CGAL::Delaunay_mesh_face_base_2<
    Kernel,
    CGAL::Constrained_Delaunay_triangulation_face_base_2<
        Kernel,
        CGAL::Constrained_triangulation_face_base_2<Kernel, CGAL::Triangulation_face_base_with_info_2<int, Kernel>>>>;
using Triangulation =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase, FaceBase>,
                                               CGAL::No_constraint_intersection_requiring_constructions_tag>;
using Face = Triangulation::Face_handle;

/// Of a face: first its size counts, then its angles.
struct Quality {
  double size = 0;         // longest edge, as a part of what is allowed
  double square_sine = 1;  // of the smallest angle

  bool operator<(const Quality& other) const {  // worse than
    if (size > 1 || other.size > 1) return size > other.size;
    return square_sine < other.square_sine;
  }
};

/// What the mesher asks of faces, under the names that it knows.
class Criteria {
 public:
  using Quality = CorvaneMesher::Quality;
  using Is_bad = Criteria;

  Criteria(const SizeField& lengths, const MeshSizes& sizes)
      : d_lengths(&lengths),
        d_square_min_edge(sizes.min_edge * sizes.min_edge),
        d_square_sine(std::pow(std::sin(sizes.min_angle / 180 * std::numbers::pi), 2)) {}

  Is_bad is_bad_object() const { return *this; }

  CGAL::Mesh_2::Face_badness operator()(const Quality& quality) const {
    if (quality.size > 1) return CGAL::Mesh_2::IMPERATIVELY_BAD;
    return quality.square_sine < d_square_sine ? CGAL::Mesh_2::BAD : CGAL::Mesh_2::NOT_BAD;
  }

  CGAL::Mesh_2::Face_badness operator()(Face face, Quality& quality) const {
    quality = quality_of(face);
    return (*this)(quality);
  }

 private:
  Quality quality_of(Face face) const {
    const CgalPoint &a = face->vertex(0)->point(), &b = face->vertex(1)->point(), &c = face->vertex(2)->point();
    std::array<double, 3> squares = {CGAL::squared_distance(a, b), CGAL::squared_distance(b, c),
                                     CGAL::squared_distance(c, a)};
    std::sort(squares.begin(), squares.end());
    const double allowed = (*d_lengths)((a.x() + b.x() + c.x()) / 3, (a.y() + b.y() + c.y()) / 3);
    Quality quality;
    quality.size = std::sqrt(squares[2]) / allowed;
    if (squares[0] < d_square_min_edge) return quality;  // small already: no better angle is asked for
    const double twice_area = 2 * CGAL::area(a, b, c);
    quality.square_sine = twice_area * twice_area / (squares[1] * squares[2]);
    return quality;
  }

  const SizeField* d_lengths;
  double d_square_min_edge;
  double d_square_sine;
};

class Refiner {
 public:
  explicit Refiner(const RegionOutlines& outlines) : d_outlines(outlines) { insert_outlines(); }

  TriangleMesh run(const SizeField& lengths, const MeshSizes& sizes) {
    find_regions();
    CGAL::Delaunay_mesher_2<Triangulation, Criteria> mesher(d_triangulation, Criteria(lengths, sizes));
    mesher.init(true);
    mesher.refine_mesh();
    return collect();
  }

 private:
  // An area that outlines bound: what it is, and its largest face's middle, by which it is found again after
  // refinement.
  struct Region {
    Label label;
    double largest_area = 0;
    CgalPoint middle;
  };

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
      if (near->info() >= 0) throw std::runtime_error("two regions of copper run together in the mesh");
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
