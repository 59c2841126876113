#include "tools/mesher/RingRegions.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <span>
#include <utility>

#include "tools/mesher/PlanarGraph.h"

namespace CorvaneMesher {
namespace {

constexpr std::size_t kUsualCrossings = 4;  // per corner; boards have fewer than one
constexpr std::size_t kFewCrossings = 10'000;
constexpr std::size_t kRingsAtOnce = 4;

/// The outline of all that rings of one net cover.
std::vector<Strand> united(std::span<const Ring> rings, const MeshLimits& limits) {
  std::vector<Strand> strands;
  std::vector<Label> owners;
  if (rings.size() <= kRingsAtOnce) {
    strands = strands_of(rings);
    owners.assign(rings.size(), Label{0, false});
  } else {
    for (const auto half : {rings.first(rings.size() / 2), rings.subspan(rings.size() / 2)}) {
      for (Strand strand : united(half, limits)) {
        strand.owner = static_cast<int>(owners.size());
        strands.push_back(strand);
      }
      owners.push_back({0, false});
    }
  }
  const RegionOutlines regions = find_regions(cut_at_crossings(strands, 1, limits), owners);
  std::vector<Strand> outline;
  outline.reserve(regions.edges.size());
  for (const RegionOutlines::Edge& edge : regions.edges)
    outline.push_back(
        {regions.points[static_cast<std::size_t>(edge.start)], regions.points[static_cast<std::size_t>(edge.end)], 0});
  return outline;
}

/// With one owner per ring and, behind them, one per net of those that were united.
RegionOutlines united_regions(const std::vector<Ring>& rings, std::vector<Label> owners, const MeshLimits& limits) {
  std::vector<Strand> strands;
  std::map<int, std::vector<Ring>> by_net;
  for (std::size_t i = 0; i < rings.size(); ++i) {
    if (!rings[i].is_fill) {
      by_net[rings[i].net].push_back(rings[i]);
      continue;
    }
    for (Strand strand : strands_of({&rings[i], 1})) {
      strand.owner = static_cast<int>(i);
      strands.push_back(strand);
    }
  }
  for (const auto& [net, of_net] : by_net) {
    for (Strand strand : united(of_net, limits)) {
      strand.owner = static_cast<int>(owners.size());
      strands.push_back(strand);
    }
    owners.push_back({net, false});
  }
  return find_regions(cut_at_crossings(strands, 1, limits), owners);
}

}  // namespace

RegionOutlines regions_of_rings(const std::vector<Ring>& rings, const MeshLimits& limits) {
  std::vector<Label> owners;
  std::transform(rings.begin(), rings.end(), std::back_inserter(owners), [](const Ring& ring) {
    return Label{ring.net, ring.is_fill};
  });
  const std::vector<Strand> strands = strands_of(rings);
  MeshLimits usual = limits;
  usual.edges = std::min(limits.edges, kUsualCrossings * strands.size() + kFewCrossings);
  try {
    return find_regions(cut_at_crossings(strands, 1, usual), owners);
  } catch (const PlaceError&) {
    return united_regions(rings, owners, limits);
  }
}

}  // namespace CorvaneMesher
