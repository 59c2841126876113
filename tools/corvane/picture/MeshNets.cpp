#include "tools/corvane/picture/MeshNets.h"

#include <algorithm>
#include <numeric>

namespace CorvaneTool {
namespace {

// Positive if the way from `from` over `to` to `point` turns from the x axis to the y axis.
double turn(Point from, Point to, Point point) {
  const double x = static_cast<double>(to.x - from.x), y = static_cast<double>(to.y - from.y);
  return x * static_cast<double>(point.y - from.y) - y * static_cast<double>(point.x - from.x);
}

}  // namespace

MeshNets::MeshNets(const Outline& nodes, std::size_t face_count)
    : d_nodes(nodes), d_parents(face_count), d_nets(face_count, -1) {
  std::iota(d_parents.begin(), d_parents.end(), 0);
}

void MeshNets::add_polygon(const std::vector<int>& ring, int net, bool is_hole) {
  if (ring.empty()) return;
  const auto place = [&](std::size_t i) { return d_nodes[static_cast<std::size_t>(ring[i])]; };
  double doubled_area = 0;
  for (std::size_t i = 1; i + 1 < ring.size(); ++i) doubled_area += turn(place(0), place(i), place(i + 1));
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const int start = ring[i], end = ring[(i + 1) % ring.size()];
    Sides& sides = d_sides[key_of(start, end)];
    const bool inside_is_left = (doubled_area > 0) == (start < end);
    int& side = inside_is_left != is_hole ? sides.left_net : sides.right_net;
    if (side == kNoCopper) side = net;
  }
}

void MeshNets::add_edge(int start, int end, int left_face, int right_face) {
  if (left_face < 0 || right_face < 0 || d_sides.contains(key_of(start, end))) return;
  d_parents[static_cast<std::size_t>(root_of(left_face))] = root_of(right_face);
}

void MeshNets::add_face(int face, const std::vector<int>& corners) {
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const int start = corners[i], end = corners[(i + 1) % corners.size()];
    const auto sides = d_sides.find(key_of(start, end));
    if (sides == d_sides.end()) continue;
    // The next corner tells the side, for faces are convex.
    const int other = corners[(i + 2) % corners.size()];
    const int net = is_left(start, end, d_nodes[static_cast<std::size_t>(other)]) ? sides->second.left_net
                                                                                  : sides->second.right_net;
    if (net != kNoCopper) d_nets[static_cast<std::size_t>(root_of(face))] = net;
  }
}

int MeshNets::net_of(int face) { return d_nets[static_cast<std::size_t>(root_of(face))]; }

std::uint64_t MeshNets::key_of(int start, int end) {
  const auto [low, high] = std::minmax(start, end);
  return static_cast<std::uint64_t>(low) << 32U | static_cast<std::uint32_t>(high);
}

bool MeshNets::is_left(int start, int end, Point point) const {
  const auto [low, high] = std::minmax(start, end);
  return turn(d_nodes[static_cast<std::size_t>(low)], d_nodes[static_cast<std::size_t>(high)], point) > 0;
}

// Halves the way to the root as it goes.
int MeshNets::root_of(int face) {
  auto at = static_cast<std::size_t>(face);
  while (d_parents[at] != static_cast<int>(at)) {
    d_parents[at] = d_parents[static_cast<std::size_t>(d_parents[at])];
    at = static_cast<std::size_t>(d_parents[at]);
  }
  return static_cast<int>(at);
}

}  // namespace CorvaneTool
