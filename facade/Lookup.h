// References of rows, resolved through the tables that a reader gets from its caller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "facade/DBInterface.h"
#include "facade/DanglingReference.h"

namespace Mesh2DPlat {

[[noreturn]] void throw_missing_key(int id);
[[noreturn]] void throw_missing_key(const std::string& name);

/// Does the work of one row; a reference that leads nowhere gets the row's place.
template <class Work>
auto at_row(const char* table, std::uint64_t row, Work&& work) {
  try {
    return work();
  } catch (DanglingReference& error) {
    error.set_place(table, row);
    throw;
  }
}

/// The entry of a table. Throws DanglingReference when there is none.
template <class Key, class Object>
Object* look_up(const Table<Key, Object>& table, const Key& key) {
  const auto found = table.find(key);
  if (found == table.end()) throw_missing_key(key);
  return found->second;
}

/// Ids looked up many times over. When the rows are many and the ids dense, the table is laid out once as a list by id:
/// look-ups in an arbitrary order then cost a fraction.
template <class Object>
class IdLookup {
 public:
  IdLookup(const Table<int, Object>& table, std::uint64_t rows) : d_table(table) {
    constexpr std::uint64_t kMaxSpread = 8;
    if (table.empty() || 8 * rows <= table.size()) return;
    std::int64_t low = table.begin()->first;
    std::int64_t high = low;
    for (const auto& [id, object] : table) {
      low = id < low ? id : low;
      high = id > high ? id : high;
    }
    const auto range = static_cast<std::uint64_t>(high - low) + 1;
    if (range > kMaxSpread * table.size()) return;
    d_low = low;
    d_objects.assign(range, absent());
    for (const auto& [id, object] : table) d_objects[static_cast<std::uint64_t>(id - low)] = object;
  }

  /// Throws DanglingReference for an id that is not in the table.
  Object* operator[](int id) const {
    if (d_objects.empty()) return look_up(d_table, id);
    const auto place = static_cast<std::uint64_t>(std::int64_t{id} - d_low);
    if (place >= d_objects.size() || d_objects[place] == absent()) throw_missing_key(id);
    return d_objects[place];
  }

 private:
  /// Marks an id without an entry; a null pointer is a legal entry.
  static Object* absent() {
    alignas(std::max_align_t) static char mark;
    return reinterpret_cast<Object*>(&mark);
  }

  const Table<int, Object>& d_table;
  std::vector<Object*> d_objects;  // by id - d_low; empty: look into the table
  std::int64_t d_low = 0;
};

/// Names looked up row by row, of which few are distinct: each is looked up in the table once.
template <class Object>
class NameLookup {
 public:
  explicit NameLookup(const Table<std::string, Object>& table) : d_table(table) {}

  /// Null for an empty name. Throws DanglingReference for a name that is not in the table.
  Object* operator[](std::string_view name) {
    if (name.empty()) return nullptr;
    if (d_last < d_known.size() && d_known[d_last].first == name) return d_known[d_last].second;
    for (d_last = 0; d_last < d_known.size(); ++d_last) {
      if (d_known[d_last].first == name) return d_known[d_last].second;
    }
    std::string key(name);
    Object* object = look_up(d_table, key);
    if (d_known.size() == kMaxKnown) d_known.clear();
    d_last = d_known.size();
    d_known.emplace_back(std::move(key), object);
    return object;
  }

 private:
  static constexpr std::size_t kMaxKnown = 64;  // searching a longer list would cost more than the table

  const Table<std::string, Object>& d_table;
  std::vector<std::pair<std::string, Object*>> d_known;
  std::size_t d_last = 0;  // of the last name that was found
};

}  // namespace Mesh2DPlat
