// What a mesh may take, so that no layout takes all of a machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "tools/corvane/support/Geometry.h"

namespace CorvaneMesher {

struct MeshLimits {
  // Of one layer:
  std::size_t edges = 4'000'000;              // of its outlines, each cut where it meets others
  std::uint64_t comparisons = 4'000'000'000;  // of two edges, to find where they cross
  std::size_t cells = 2'000'000;              // of the map of edge lengths
  std::size_t spare_nodes = 100'000;          // for detail of outlines, which is left as it is beyond them

  std::size_t nodes = 4'000'000;  // of all layers: more than the largest board known here needs
};

/// Something about a layer's copper, with the place.
class PlaceError : public std::runtime_error {
 public:
  PlaceError(const std::string& what, CorvaneTool::Point place) : std::runtime_error(what), d_place(place) {}

  CorvaneTool::Point place() const { return d_place; }

 private:
  CorvaneTool::Point d_place;
};

}  // namespace CorvaneMesher
