// The points at which something ends, one per net, layer and position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/corvane/support/Geometry.h"

namespace CorvaneTool {

/// What ends at a vertex, as bits of its option word.
enum VertexRole : int { kTrackEnd = 1, kViaEnd = 2, kPadCentre = 4 };

struct VertexRecord {
  int net;
  int layer;
  Point position;
  int roles = 0;
  std::string pad_name;  // of the first pad there
};

class VertexTable {
 public:
  void reserve(std::size_t count) { d_ids.reserve(count); }

  /// The id of the vertex at this place, made when it is first asked for; ids count from 0.
  int at(int net, int layer, Point position, int roles);

  VertexRecord& operator[](int id) { return d_records[static_cast<std::size_t>(id)]; }
  const std::vector<VertexRecord>& records() const { return d_records; }

 private:
  struct Key {
    int net;
    int layer;
    Point position;
    bool operator==(const Key&) const = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const;
  };

  std::unordered_map<Key, int, KeyHash> d_ids;
  std::vector<VertexRecord> d_records;
};

}  // namespace CorvaneTool
