// Tables by id or name, as databases take them to resolve references.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "facade/DBInterface.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

/// The first object of each id. The table's hash of a number is the number, so ids from a file could all fall into one
/// bucket: the number of buckets is chosen so that they do not.
template <class T>
Mesh2DPlat::Table<int, T> table_by_id(const OwnedList<T>& list) {
  constexpr std::size_t kFullest = 32;  // entries of a bucket
  constexpr int kTries = 12;            // many equal ids fill a bucket whatever its number; they do no harm
  Mesh2DPlat::Table<int, T> table;
  table.reserve(list.size());
  std::vector<std::size_t> entries;
  for (int tries = 0; tries < kTries; ++tries) {
    entries.assign(table.bucket_count(), 0);
    std::size_t fullest = 0;
    for (const T* item : list) fullest = std::max(fullest, ++entries[table.bucket(item->id())]);
    if (fullest <= kFullest) break;
    table.rehash(table.bucket_count() + 1);
  }
  for (T* item : list) table.emplace(item->id(), item);
  return table;
}

template <class T>
Mesh2DPlat::Table<std::string, T> table_by_name(const OwnedList<T>& list) {
  Mesh2DPlat::Table<std::string, T> table;
  for (T* item : list) table.emplace(item->name(), item);
  return table;
}

}  // namespace CorvaneTool
