#include "tools/mesher/Straightener.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace CorvaneMesher {
namespace {

constexpr std::size_t kMostDropped = 100;  // corners in a row: keeps long chains from taking quadratic time

std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// From a point to the nearest place of a segment.
double distance(Point point, Point start, Point end) {
  const double x = static_cast<double>(point.x - start.x), y = static_cast<double>(point.y - start.y);
  const double along_x = static_cast<double>(end.x - start.x), along_y = static_cast<double>(end.y - start.y);
  const double square = along_x * along_x + along_y * along_y;
  const double part = square > 0 ? std::clamp((x * along_x + y * along_y) / square, 0.0, 1.0) : 0;
  return std::hypot(x - part * along_x, y - part * along_y);
}

class Straightener {
 public:
  Straightener(RegionOutlines& outlines, double tolerance)
      : d_outlines(outlines), d_tolerance(tolerance), d_ends(outlines.points.size()), d_is_done(outlines.edges.size()) {
    for (std::size_t i = 0; i < outlines.edges.size(); ++i) {
      for (const int point : {outlines.edges[i].start, outlines.edges[i].end}) {
        Ends& ends = d_ends[at(point)];
        if (ends.count < 2) ends.edges[ends.count] = static_cast<int>(i);
        ++ends.count;
      }
    }
  }

  void run() {
    for (const bool from_fixed_points : {true, false}) {  // what the first pass leaves are closed walks without any
      for (std::size_t i = 0; i < d_outlines.edges.size(); ++i) {
        for (const int start : {d_outlines.edges[i].start, d_outlines.edges[i].end}) {
          if (!d_is_done[i] && (is_fixed(start) || !from_fixed_points)) follow(start, static_cast<int>(i));
        }
      }
    }
    d_outlines.edges.swap(d_result);
  }

 private:
  struct Ends {
    std::size_t count = 0;
    int edges[2] = {-1, -1};  // the first two
  };

  bool is_fixed(int point) const { return d_ends[at(point)].count != 2; }

  /// Along edges from one point to the next fixed one, or around.
  void follow(int start, int edge) {
    const RegionOutlines::Edge& first = d_outlines.edges[at(edge)];
    const bool is_forward = first.start == start;
    const Label left = is_forward ? first.left : first.right, right = is_forward ? first.right : first.left;
    std::vector<int> chain = {start};
    while (!d_is_done[at(edge)]) {
      d_is_done[at(edge)] = true;
      const RegionOutlines::Edge& here = d_outlines.edges[at(edge)];
      const int next = here.start == chain.back() ? here.end : here.start;
      chain.push_back(next);
      if (is_fixed(next)) break;
      const Ends& ends = d_ends[at(next)];
      edge = ends.edges[0] == edge ? ends.edges[1] : ends.edges[0];
    }
    for (std::size_t i = 0; i + 1 < chain.size();) {
      const std::size_t next = furthest(chain, i);
      d_result.push_back({chain[i], chain[next], left, right});
      i = next;
    }
  }

  std::size_t furthest(const std::vector<int>& chain, std::size_t from) const {
    std::size_t to = from + 1;
    while (to + 1 < chain.size() && to - from < kMostDropped && is_straight(chain, from, to + 1)) ++to;
    return to;
  }

  bool is_straight(const std::vector<int>& chain, std::size_t from, std::size_t to) const {
    const Point start = d_outlines.points[at(chain[from])], end = d_outlines.points[at(chain[to])];
    for (std::size_t i = from + 1; i < to; ++i) {
      if (distance(d_outlines.points[at(chain[i])], start, end) > d_tolerance) return false;
    }
    return true;
  }

  RegionOutlines& d_outlines;
  double d_tolerance;
  std::vector<Ends> d_ends;  // per point
  std::vector<bool> d_is_done;
  std::vector<RegionOutlines::Edge> d_result;
};

}  // namespace

void straighten(RegionOutlines& outlines, double tolerance) { Straightener(outlines, tolerance).run(); }

}  // namespace CorvaneMesher
