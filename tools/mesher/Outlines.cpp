#include "tools/mesher/Outlines.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace CorvaneMesher {
namespace {

std::size_t at(int index) { return static_cast<std::size_t>(index); }

class TopologyFinder {
 public:
  explicit TopologyFinder(const TriangleMesh& mesh) : d_mesh(mesh) {}

  Topology run() {
    find_edges();
    find_areas();
    find_loops();
    return std::move(d_result);
  }

 private:
  // One side of a triangle, as the triangle is walked around.
  struct Side {
    int triangle;
    int corner;  // where it begins
  };

  int begin_of(Side side) const { return d_mesh.triangles[at(side.triangle)].nodes[at(side.corner)]; }
  int end_of(Side side) const { return d_mesh.triangles[at(side.triangle)].nodes[at((side.corner + 1) % 3)]; }
  int edge_of(Side side) const { return d_result.triangle_edges[at(side.triangle)][at(side.corner)]; }
  int net_of(int triangle) const { return d_mesh.triangles[at(triangle)].label.net; }

  int triangle_count() const { return static_cast<int>(d_mesh.triangles.size()); }

  void find_edges() {
    std::vector<std::tuple<int, int, Side>> sides;
    sides.reserve(d_mesh.triangles.size() * 3);
    for (int i = 0; i < triangle_count(); ++i) {
      for (int corner = 0; corner < 3; ++corner) {
        const auto [low, high] = std::minmax({begin_of({i, corner}), end_of({i, corner})});
        sides.emplace_back(low, high, Side{i, corner});
      }
    }
    std::sort(sides.begin(), sides.end(), [](const auto& left, const auto& right) {
      return std::tuple(std::get<0>(left), std::get<1>(left), std::get<2>(left).triangle) <
             std::tuple(std::get<0>(right), std::get<1>(right), std::get<2>(right).triangle);
    });
    d_result.triangle_edges.resize(d_mesh.triangles.size());
    for (const auto& [low, high, side] : sides) {
      if (d_result.edges.empty() || d_result.edges.back().start != low || d_result.edges.back().end != high)
        d_result.edges.push_back({low, high, -1, -1});
      Topology::Edge& edge = d_result.edges.back();
      (begin_of(side) == low ? edge.left : edge.right) = side.triangle;
      d_result.triangle_edges[at(side.triangle)][at(side.corner)] = static_cast<int>(d_result.edges.size()) - 1;
    }
  }

  /// -1: none.
  int across(Side side) const {
    const Topology::Edge& edge = d_result.edges[at(edge_of(side))];
    return edge.left == side.triangle ? edge.right : edge.left;
  }

  bool is_rim(Side side) const {
    const int other = across(side);
    return other < 0 || net_of(other) != net_of(side.triangle);
  }

  void find_areas() {
    d_result.areas.assign(d_mesh.triangles.size(), -1);
    for (int i = 0; i < triangle_count(); ++i) {
      if (d_result.areas[at(i)] >= 0) continue;
      flood(i, static_cast<int>(d_result.area_nets.size()));
      d_result.area_nets.push_back(net_of(i));
    }
  }

  void flood(int first, int area) {
    std::vector<int> open = {first};
    d_result.areas[at(first)] = area;
    while (!open.empty()) {
      const int triangle = open.back();
      open.pop_back();
      for (int corner = 0; corner < 3; ++corner) {
        if (is_rim({triangle, corner})) continue;
        const int other = across({triangle, corner});
        if (d_result.areas[at(other)] >= 0) continue;
        d_result.areas[at(other)] = area;
        open.push_back(other);
      }
    }
  }

  void find_loops() {
    std::vector<std::array<bool, 3>> is_done(d_mesh.triangles.size());
    for (int i = 0; i < triangle_count(); ++i) {
      for (int corner = 0; corner < 3; ++corner) {
        if (is_rim({i, corner}) && !is_done[at(i)][at(corner)]) d_result.loops.push_back(walk({i, corner}, is_done));
      }
    }
    std::stable_sort(d_result.loops.begin(), d_result.loops.end(),
                     [](const Topology::Loop& left, const Topology::Loop& right) { return left.area < right.area; });
  }

  Topology::Loop walk(Side first, std::vector<std::array<bool, 3>>& is_done) const {
    Topology::Loop loop;
    loop.area = d_result.areas[at(first.triangle)];
    const TriangleMesh::Node& origin = d_mesh.nodes[at(begin_of(first))];  // seen from afar, small areas get lost
    for (Side side = first; !is_done[at(side.triangle)][at(side.corner)]; side = next_on_rim(side)) {
      is_done[at(side.triangle)][at(side.corner)] = true;
      loop.nodes.push_back(begin_of(side));
      loop.edges.push_back(edge_of(side));
      const TriangleMesh::Node& from = d_mesh.nodes[at(begin_of(side))];
      const TriangleMesh::Node& to = d_mesh.nodes[at(end_of(side))];
      loop.square_mm += ((from.x - origin.x) * (to.y - origin.y) - (to.x - origin.x) * (from.y - origin.y)) / 2;
    }
    return loop;
  }

  /// Turns around the side's end, through the area, until its rim comes again. Where areas touch themselves in a point,
  /// the walk so stays in its corner.
  Side next_on_rim(Side side) const {
    Side next = {side.triangle, (side.corner + 1) % 3};
    while (!is_rim(next)) {
      const int other = across(next);
      const int node = begin_of(next);
      int corner = 0;
      while (begin_of({other, corner}) != node) ++corner;
      next = {other, corner};
    }
    return next;
  }

  const TriangleMesh& d_mesh;
  Topology d_result;
};

}  // namespace

Topology find_topology(const TriangleMesh& mesh) { return TopologyFinder(mesh).run(); }

}  // namespace CorvaneMesher
