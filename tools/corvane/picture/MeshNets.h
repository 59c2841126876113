// The nets of a mesh's faces. Faces do not name them; the polygons around them do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "tools/corvane/support/Geometry.h"
#include "tools/corvane/support/SpreadHash.h"

namespace CorvaneTool {

/// First all polygons are told, then all edges, then faces; then nets can be asked for.
class MeshNets {
 public:
  /// `nodes` are the places of the nodes by number, and must outlive this.
  MeshNets(const Outline& nodes, std::size_t face_count);

  /// Copper of `net` lies inside the ring, or outside if it is the rim of a hole. Where polygons overlap, the first one
  /// counts.
  void add_polygon(const std::vector<int>& ring, int net, bool is_hole);

  /// A face spreads its net over every edge that no polygon runs along. -1: no face.
  void add_edge(int start, int end, int left_face, int right_face);

  /// Gives the face the net of a polygon that has it inside along one of its sides.
  void add_face(int face, const std::vector<int>& corners);

  /// -1 for faces that no polygon surrounds.
  int net_of(int face);

 private:
  // As seen by who walks from the smaller node to the larger one; kNoCopper where no polygon lies.
  struct Sides {
    int left_net = kNoCopper;
    int right_net = kNoCopper;
  };
  static constexpr int kNoCopper = -2;

  static std::uint64_t key_of(int start, int end);
  bool is_left(int start, int end, Point point) const;
  int root_of(int face);

  const Outline& d_nodes;
  std::unordered_map<std::uint64_t, Sides, SpreadHash> d_sides;  // by the two nodes
  std::vector<int> d_parents;                                    // of faces that share a net; a root is its own parent
  std::vector<int> d_nets;                                       // of roots
};

}  // namespace CorvaneTool
