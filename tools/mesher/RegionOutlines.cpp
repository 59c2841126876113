#include "tools/mesher/RegionOutlines.h"

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Constrained_triangulation_2.h>
#include <CGAL/Constrained_triangulation_face_base_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_data_structure_2.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace CorvaneMesher {
namespace {

struct FaceInfo {
  bool is_seen = false;
  Label label;
};

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<int, Kernel>;
using FaceBase =
    CGAL::Constrained_triangulation_face_base_2<Kernel, CGAL::Triangulation_face_base_with_info_2<FaceInfo, Kernel>>;
using Triangulation =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase, FaceBase>,
                                               CGAL::No_constraint_intersection_requiring_constructions_tag>;
using Face = Triangulation::Face_handle;

Point minus(Point left, Point right) { return {left.x - right.x, left.y - right.y}; }

class Walker {
 public:
  Walker(const PlanarGraph& graph, const std::vector<Label>& owners)
      : d_graph(graph), d_owners(owners), d_is_inside(owners.size()), d_owner_areas(owners.size()) {
    d_result.points = graph.points;
  }

  RegionOutlines run() {
    triangulate();
    if (d_triangulation.dimension() == 2) {
      label_faces();
      collect_edges();
    }
    for (const std::int64_t twice_area : d_owner_areas)
      d_result.owner_areas.push_back(static_cast<double>(twice_area) / 2);
    return std::move(d_result);
  }

 private:
  // A face on the way from outside to the present one.
  struct Step {
    Face face;
    int next_side;
    const PlanarGraph::Edge* crossed;  // to enter the face; null: none
  };

  void triangulate() {
    std::vector<bool> is_used(d_graph.points.size());
    for (const PlanarGraph::Edge& edge : d_graph.edges)
      for (const int point : {edge.start, edge.end}) is_used[static_cast<std::size_t>(point)] = true;
    std::vector<std::pair<Kernel::Point_2, int>> points;
    for (std::size_t i = 0; i < is_used.size(); ++i) {
      const Point point = d_graph.points[i];
      if (is_used[i])
        points.emplace_back(Kernel::Point_2(static_cast<double>(point.x), static_cast<double>(point.y)), i);
    }
    d_triangulation.insert(points.begin(), points.end());
    std::vector<Triangulation::Vertex_handle> vertices(d_graph.points.size());
    for (const auto vertex : d_triangulation.finite_vertex_handles())
      vertices[static_cast<std::size_t>(vertex->info())] = vertex;
    for (const PlanarGraph::Edge& edge : d_graph.edges) {
      d_triangulation.insert_constraint(vertices[static_cast<std::size_t>(edge.start)],
                                        vertices[static_cast<std::size_t>(edge.end)]);
    }
  }

  const PlanarGraph::Edge* edge_at(Face face, int side) const {
    if (!face->is_constrained(side)) return nullptr;
    const auto [start, end] =
        std::minmax({face->vertex(Triangulation::ccw(side))->info(), face->vertex(Triangulation::cw(side))->info()});
    const auto place = std::lower_bound(d_graph.edges.begin(), d_graph.edges.end(), std::pair(start, end),
                                        [](const PlanarGraph::Edge& edge, std::pair<int, int> wanted) {
                                          return std::pair(edge.start, edge.end) < wanted;
                                        });
    return &*place;
  }

  /// Visits every face, over a tree of faces; on the way back, what was crossed is crossed again.
  void label_faces() {
    std::vector<Step> path;
    enter(d_triangulation.infinite_face(), nullptr, path);
    while (!path.empty()) {
      Step& step = path.back();
      if (step.next_side == 3) {
        cross(step.crossed);
        path.pop_back();
        continue;
      }
      const int side = step.next_side++;
      const Face neighbour = step.face->neighbor(side);
      if (!neighbour->info().is_seen) enter(neighbour, edge_at(step.face, side), path);
    }
  }

  void enter(Face face, const PlanarGraph::Edge* crossed, std::vector<Step>& path) {
    cross(crossed);
    face->info().is_seen = true;
    if (!d_triangulation.is_infinite(face)) label(face);
    path.push_back({face, 0, crossed});
  }

  /// An owner's area is what the walk has seen between entering and leaving it.
  void cross(const PlanarGraph::Edge* edge) {
    if (edge == nullptr) return;
    for (std::size_t i = edge->first_owner; i < edge->last_owner; ++i) {
      const auto owner = static_cast<std::size_t>(d_graph.owners[i]);
      const int step = d_is_inside[owner] ? -1 : 1;
      d_is_inside[owner] = !d_is_inside[owner];
      d_owner_areas[owner] -= step * d_twice_seen;
      if (d_owners[owner].is_fill) d_fills += step;
      const auto net = d_nets.try_emplace(d_owners[owner].net, 0).first;
      if ((net->second += step) == 0) d_nets.erase(net);
    }
  }

  void label(Face face) {
    const std::int64_t twice_area = twice_area_of(face);
    d_twice_seen += twice_area;
    if (d_nets.empty()) return;
    const double area = static_cast<double>(twice_area) / 2;
    Label& label = face->info().label;
    label.net = d_nets.begin()->first;
    label.is_fill = d_fills > 0;
    d_result.copper_area += area;
    if (label.is_fill) d_result.fill_area += area;
    if (d_nets.size() < 2) return;
    d_result.overlap_area += area;
    if (d_overlaps.emplace(label.net, std::next(d_nets.begin())->first).second) ++d_result.overlapping_nets;
  }

  /// Exact: corners are whole nanometres, at most two metres apart.
  std::int64_t twice_area_of(Face face) const {
    const auto corner = [&](int i) { return d_graph.points[static_cast<std::size_t>(face->vertex(i)->info())]; };
    const Point to = minus(corner(1), corner(0)), other = minus(corner(2), corner(0));
    return to.x * other.y - to.y * other.x;
  }

  void collect_edges() {
    for (const Face face : d_triangulation.all_face_handles()) {
      for (int side = 0; side < 3; ++side) {
        if (!face->is_constrained(side)) continue;
        const int start = face->vertex(Triangulation::ccw(side))->info();
        const int end = face->vertex(Triangulation::cw(side))->info();
        const Label left = face->info().label, right = face->neighbor(side)->info().label;
        if (start < end && left != right) d_result.edges.push_back({start, end, left, right});
      }
    }
    std::sort(d_result.edges.begin(), d_result.edges.end(), [](const auto& left, const auto& right) {
      return std::pair(left.start, left.end) < std::pair(right.start, right.end);
    });
  }

  const PlanarGraph& d_graph;
  const std::vector<Label>& d_owners;
  Triangulation d_triangulation;
  // Of the present face:
  std::vector<bool> d_is_inside;  // per owner
  std::map<int, int> d_nets;      // owners around it, by net
  int d_fills = 0;                // of these owners
  std::int64_t d_twice_seen = 0;  // area of faces so far
  std::vector<std::int64_t> d_owner_areas;
  std::set<std::pair<int, int>> d_overlaps;
  RegionOutlines d_result;
};

}  // namespace

RegionOutlines find_regions(const PlanarGraph& graph, const std::vector<Label>& owners) {
  return Walker(graph, owners).run();
}

EnclosedAreas enclosed_areas(const RegionOutlines& outlines) {
  EnclosedAreas areas;
  for (const RegionOutlines::Edge& edge : outlines.edges) {
    const Point origin = outlines.points[static_cast<std::size_t>(outlines.edges.front().start)];
    const Point start = minus(outlines.points[static_cast<std::size_t>(edge.start)], origin);
    const Point end = minus(outlines.points[static_cast<std::size_t>(edge.end)], origin);
    const double part = static_cast<double>(start.x * end.y - end.x * start.y) / 2;
    if (edge.left.is_copper() != edge.right.is_copper()) areas.copper += edge.left.is_copper() ? part : -part;
    if (edge.left.is_fill != edge.right.is_fill) areas.fill += edge.left.is_fill ? part : -part;
  }
  return areas;
}

RegionOutlines simplified(const RegionOutlines& outlines, std::int64_t spacing, const MeshLimits& limits) {
  std::vector<Label> labels;
  std::vector<Strand> strands;
  std::map<std::pair<int, bool>, int> places;
  for (const RegionOutlines::Edge& edge : outlines.edges) {
    for (const Label label : {edge.left, edge.right}) {
      if (!label.is_copper()) continue;
      const auto [place, is_new] = places.try_emplace({label.net, label.is_fill}, static_cast<int>(labels.size()));
      if (is_new) labels.push_back(label);
      strands.push_back({outlines.points[static_cast<std::size_t>(edge.start)],
                         outlines.points[static_cast<std::size_t>(edge.end)], place->second});
    }
  }
  return find_regions(cut_at_crossings(strands, spacing, limits), labels);
}

}  // namespace CorvaneMesher
