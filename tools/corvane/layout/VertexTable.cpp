#include "tools/corvane/layout/VertexTable.h"

namespace CorvaneTool {

std::size_t VertexTable::KeyHash::operator()(const Key& key) const {
  std::uint64_t hash = 0;
  const auto mix = [&hash](std::uint64_t value) {
    hash = (hash ^ value) * 0x9e3779b97f4a7c15U;
    hash ^= hash >> 32;
  };
  mix(static_cast<std::uint64_t>(key.position.x));
  mix(static_cast<std::uint64_t>(key.position.y));
  mix((static_cast<std::uint64_t>(static_cast<std::uint32_t>(key.net)) << 32) | static_cast<std::uint32_t>(key.layer));
  return static_cast<std::size_t>(hash);
}

int VertexTable::at(int net, int layer, Point position, int roles) {
  const auto [entry, is_new] = d_ids.try_emplace(Key{net, layer, position}, static_cast<int>(d_records.size()));
  if (is_new) d_records.push_back({net, layer, position, 0, {}});
  d_records[static_cast<std::size_t>(entry->second)].roles |= roles;
  return entry->second;
}

}  // namespace CorvaneTool
