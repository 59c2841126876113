#include "tools/mesher/PlanarGraph.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "tools/mesher/CellGrid.h"

namespace CorvaneMesher {
namespace {

// A point this near to an edge lies on it, in spacings. A cut there makes two edges that are shorter than the one,
// since both of its ends are at least a spacing away: cutting comes to an end.
constexpr double kReach = 0.7;
constexpr int kMostRounds = 100;  // boards need fewer than ten
constexpr double kCellsPerEdge = 16;

struct PointHash {
  std::size_t operator()(Point point) const {
    const auto x = static_cast<std::uint64_t>(point.x), y = static_cast<std::uint64_t>(point.y);
    return (x * 0x9e3779b97f4a7c15u) ^ ((y + (x >> 29)) * 0xc2b2ae3d27d4eb4fu);
  }
};

// Exact: coordinates are at most 1e9.
std::int64_t cross(Point origin, Point to, Point other) {
  return (to.x - origin.x) * (other.y - origin.y) - (to.y - origin.y) * (other.x - origin.x);
}

std::int64_t dot(Point origin, Point to, Point other) {
  return (to.x - origin.x) * (other.x - origin.x) + (to.y - origin.y) * (other.y - origin.y);
}

double length(Point start, Point end) {
  return std::hypot(static_cast<double>(end.x - start.x), static_cast<double>(end.y - start.y));
}

bool lies_on(Point point, Point start, Point end, double reach) {
  const std::int64_t along = dot(start, end, point);
  if (along <= 0 || along >= dot(start, end, end)) return false;
  return std::abs(static_cast<double>(cross(start, end, point))) <= reach * length(start, end);
}

/// Where two edges that do not touch cross.
std::optional<Point> crossing(Point a, Point b, Point c, Point d) {
  const std::int64_t side_c = cross(a, b, c), side_d = cross(a, b, d);
  const std::int64_t side_a = cross(c, d, a), side_b = cross(c, d, b);
  if ((side_c > 0) == (side_d > 0) || (side_a > 0) == (side_b > 0)) return std::nullopt;
  if (side_a == 0 || side_b == 0 || side_c == 0 || side_d == 0) return std::nullopt;
  const long double part = static_cast<long double>(side_a) / (static_cast<long double>(side_a) - side_b);
  return Point{a.x + std::llround(part * static_cast<long double>(b.x - a.x)),
               a.y + std::llround(part * static_cast<long double>(b.y - a.y))};
}

class Cutter {
 public:
  Cutter(const std::vector<Strand>& strands, std::int64_t spacing, const MeshLimits& limits)
      : d_limits(limits),
        d_spacing(spacing),
        d_cell(
            std::max<std::int64_t>(1, static_cast<std::int64_t>(static_cast<double>(spacing) / std::numbers::sqrt2))) {
    for (const Strand& strand : strands) add_piece(point_at(strand.start), point_at(strand.end), strand.owner, true);
  }

  PlanarGraph run() {
    for (int round = 0; round < kMostRounds; ++round) {
      collect_edges();
      find_cuts();
      if (d_cuts.empty()) return result();
      apply_cuts();
    }
    throw PlaceError("crossing outlines cannot be separated", at(d_pieces.front().start));
  }

 private:
  // A stretch of an owner's walk. Fresh: not yet compared with all others.
  struct Piece {
    int start, end, owner;
    bool is_fresh;
    auto place() const { return std::tie(start, end, owner); }
  };

  struct Edge {
    int start, end;
    std::size_t first, last;  // its part of d_pieces
    bool is_fresh;
  };

  struct Cut {
    int edge;
    std::int64_t along;  // orders cuts of one edge
    int point;
    auto operator<=>(const Cut&) const = default;
  };

  /// The same for equal points, even when nearer ones have come in between.
  int point_at(Point point) {
    const auto [entry, is_new] = d_ids.try_emplace(point, -1);
    if (is_new) entry->second = nearest_or_new(point);
    return entry->second;
  }

  int nearest_or_new(Point point) {
    const std::int64_t range = d_spacing > 1 ? 2 : 0;
    const Point cell = {floor_divided(point.x), floor_divided(point.y)};
    std::pair<std::int64_t, int> nearest = {d_spacing * d_spacing, -1};
    for (std::int64_t dx = -range; dx <= range; ++dx) {
      for (std::int64_t dy = -range; dy <= range; ++dy) {
        const auto entry = d_cells.find({cell.x + dx, cell.y + dy});
        if (entry == d_cells.end()) continue;
        const Point other = at(entry->second);
        nearest = std::min(nearest, {dot(point, other, other), entry->second});
      }
    }
    if (nearest.second >= 0) return nearest.second;
    d_points.push_back(point);
    return d_cells[cell] = static_cast<int>(d_points.size()) - 1;
  }

  std::int64_t floor_divided(std::int64_t value) const {
    return value >= 0 ? value / d_cell : -((d_cell - 1 - value) / d_cell);
  }

  Point at(int point) const { return d_points[static_cast<std::size_t>(point)]; }

  void add_piece(int start, int end, int owner, bool is_fresh) {
    if (start != end) d_pieces.push_back({std::min(start, end), std::max(start, end), owner, is_fresh});
  }

  /// Pieces that an owner's walk runs there and back are dropped; those at the same place become one edge.
  void collect_edges() {
    std::sort(d_pieces.begin(), d_pieces.end(),
              [](const Piece& left, const Piece& right) { return left.place() < right.place(); });
    std::vector<Piece> kept;
    kept.reserve(d_pieces.size());
    for (const Piece& piece : d_pieces) {
      if (!kept.empty() && kept.back().place() == piece.place()) {
        kept.pop_back();
      } else {
        kept.push_back(piece);
      }
    }
    d_pieces.swap(kept);
    if (d_pieces.size() > d_limits.edges) too_many_edges(d_pieces.back().start);
    d_edges.clear();
    for (std::size_t i = 0; i < d_pieces.size(); ++i) {
      const Piece& piece = d_pieces[i];
      if (d_edges.empty() || d_edges.back().start != piece.start || d_edges.back().end != piece.end)
        d_edges.push_back({piece.start, piece.end, i, i, false});
      d_edges.back().last = i + 1;
      d_edges.back().is_fresh |= piece.is_fresh;
    }
  }

  void find_cuts() {
    d_cuts.clear();
    const CellGrid grid = grid_of_edges();
    for (std::size_t cell = 0; cell < grid.cell_count(); ++cell) {
      const auto members = grid.members(cell);
      d_comparisons += members.size() * members.size() / 2;
      if (d_comparisons > d_limits.comparisons)
        throw PlaceError("too many edges of outlines lie close together", grid.place(cell));
      for (std::size_t i = 0; i < members.size(); ++i) {
        for (std::size_t k = i + 1; k < members.size(); ++k) compare(members[i], members[k]);
        check_cuts();
      }
    }
    drop_doubled_cuts();
  }

  void drop_doubled_cuts() {
    std::sort(d_cuts.begin(), d_cuts.end());
    d_cuts.erase(std::unique(d_cuts.begin(), d_cuts.end()), d_cuts.end());
  }

  /// Each cut makes an edge, unless others lie there already; those are dropped once there are as many.
  void check_cuts() {
    if (d_cuts.size() < 2 * d_limits.edges) return;
    drop_doubled_cuts();
    if (d_cuts.size() + d_edges.size() > d_limits.edges) too_many_edges(d_cuts.back().point);
  }

  [[noreturn]] void too_many_edges(int point) const {
    throw PlaceError("outlines that cross make more than " + std::to_string(d_limits.edges) + " edges", at(point));
  }

  CellGrid grid_of_edges() const {
    CellGrid::Box bounds = {1e300, 1e300, -1e300, -1e300};
    for (const Point point : d_points) {
      const auto x = static_cast<double>(point.x), y = static_cast<double>(point.y);
      bounds = {std::min(bounds.x1, x), std::min(bounds.y1, y), std::max(bounds.x2, x), std::max(bounds.y2, y)};
    }
    CellGrid grid(bounds, cells_wanted(bounds));
    grid.fill(d_edges.size(), [&](std::size_t i, const auto& visit) {
      const Point start = at(d_edges[i].start), end = at(d_edges[i].end);
      grid.visit_segment(static_cast<double>(start.x), static_cast<double>(start.y), static_cast<double>(end.x),
                         static_cast<double>(end.y), static_cast<double>(d_spacing), visit);
    });
    return grid;
  }

  /// About as many as edges, but fewer where edges are so long that each would lie in many.
  std::size_t cells_wanted(const CellGrid::Box& bounds) const {
    double steps = 0;  // over all edges, in both directions
    for (const Edge& edge : d_edges) {
      const Point start = at(edge.start), end = at(edge.end);
      steps += static_cast<double>(std::abs(end.x - start.x) + std::abs(end.y - start.y));
    }
    const double least_size = steps / (kCellsPerEdge * static_cast<double>(std::max<std::size_t>(d_edges.size(), 1)));
    const double size = CellGrid(bounds, d_edges.size()).cell_size();
    const double part = least_size > size ? std::pow(size / least_size, 2) : 1;
    return static_cast<std::size_t>(std::ceil(part * static_cast<double>(d_edges.size())));
  }

  void compare(int left, int right) {
    const Edge& a = d_edges[static_cast<std::size_t>(left)];
    const Edge& b = d_edges[static_cast<std::size_t>(right)];
    if (!a.is_fresh && !b.is_fresh) return;
    const Point a1 = at(a.start), a2 = at(a.end), b1 = at(b.start), b2 = at(b.end);
    const auto apart = [this](std::int64_t p1, std::int64_t p2, std::int64_t q1, std::int64_t q2) {
      return std::max(p1, p2) + d_spacing < std::min(q1, q2) || std::max(q1, q2) + d_spacing < std::min(p1, p2);
    };
    if (apart(a1.x, a2.x, b1.x, b2.x) || apart(a1.y, a2.y, b1.y, b2.y)) return;
    const std::size_t before = d_cuts.size();
    for (const int end : {b.start, b.end}) cut_if_on(left, end);
    for (const int end : {a.start, a.end}) cut_if_on(right, end);
    if (d_cuts.size() > before) return;  // whether the parts cross will be seen
    if (const std::optional<Point> point = crossing(a1, a2, b1, b2)) {
      const int id = point_at(*point);
      cut(left, id);
      cut(right, id);
    }
  }

  void cut_if_on(int edge, int point) {
    const Edge& target = d_edges[static_cast<std::size_t>(edge)];
    if (lies_on(at(point), at(target.start), at(target.end), reach())) cut(edge, point);
  }

  double reach() const { return kReach * static_cast<double>(d_spacing); }

  void cut(int edge, int point) {
    const Edge& target = d_edges[static_cast<std::size_t>(edge)];
    if (point == target.start || point == target.end) return;
    d_cuts.push_back({edge, dot(at(target.start), at(target.end), at(point)), point});
  }

  void apply_cuts() {
    std::vector<Piece> old;
    old.swap(d_pieces);
    auto cut = d_cuts.begin();
    for (std::size_t i = 0; i < d_edges.size(); ++i) {
      const Edge& edge = d_edges[i];
      const auto first = cut;
      while (cut != d_cuts.end() && cut->edge == static_cast<int>(i)) ++cut;
      for (std::size_t k = edge.first; k < edge.last; ++k) {
        int from = edge.start;
        for (auto at_cut = first; at_cut != cut; from = (at_cut++)->point)
          add_piece(from, at_cut->point, old[k].owner, true);
        add_piece(from, edge.end, old[k].owner, first != cut);
      }
    }
  }

  PlanarGraph result() const {
    PlanarGraph graph;
    graph.points = d_points;
    graph.edges.reserve(d_edges.size());
    for (const Edge& edge : d_edges) graph.edges.push_back({edge.start, edge.end, edge.first, edge.last});
    graph.owners.reserve(d_pieces.size());
    for (const Piece& piece : d_pieces) graph.owners.push_back(piece.owner);
    return graph;
  }

  const MeshLimits& d_limits;
  std::uint64_t d_comparisons = 0;
  std::int64_t d_spacing;  // nm
  std::int64_t d_cell;
  std::vector<Point> d_points;
  std::unordered_map<Point, int, PointHash> d_ids;    // by position, also of points that became others
  std::unordered_map<Point, int, PointHash> d_cells;  // by cell, which holds one point at most
  std::vector<Piece> d_pieces;
  std::vector<Edge> d_edges;
  std::vector<Cut> d_cuts;
};

}  // namespace

std::vector<Strand> strands_of(std::span<const Ring> rings) {
  std::vector<Strand> strands;
  for (std::size_t i = 0; i < rings.size(); ++i) {
    const Outline& corners = rings[i].corners;
    for (std::size_t k = 0; k < corners.size(); ++k)
      strands.push_back({corners[k], corners[(k + 1) % corners.size()], static_cast<int>(i)});
  }
  return strands;
}

PlanarGraph cut_at_crossings(const std::vector<Strand>& strands, std::int64_t spacing, const MeshLimits& limits) {
  return Cutter(strands, spacing, limits).run();
}

}  // namespace CorvaneMesher
