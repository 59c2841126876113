// The tables of the root: each knows the name and the fields of its record kind, and how rows go in and out.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "facade/RowFields.h"
#include "util/Assert.h"
#include "zydata/Frame.h"
#include "zydata/Schema.h"
#include "zydata/data.h"

namespace Mesh2DPlat {

class EntityTable {
 public:
  virtual ~EntityTable() = default;
  EntityTable() = default;
  EntityTable(const EntityTable&) = delete;
  EntityTable& operator=(const EntityTable&) = delete;

  /// Adds the schema of this record kind to the top-level schema of a new database.
  virtual void define(ZyData::Schema& top) const = 0;
};

/// Adds the table of row structure P.
template <class P>
void define_frame(ZyData::Schema& top) {
  top.add_frame(ZyData::find_class_schema(ZyData::element_type_name<P>()));
}

/// Cuts a table back to its rows before a write unless the write has come to its end.
class RowGuard {
 public:
  explicit RowGuard(ZyData::FrameBase& frame) : d_frame(frame), d_rows(frame.size()) {}
  ~RowGuard() {
    if (!d_done) d_frame.truncate_rows(d_rows);
  }
  RowGuard(const RowGuard&) = delete;
  RowGuard& operator=(const RowGuard&) = delete;

  void done() { d_done = true; }

 private:
  ZyData::FrameBase& d_frame;
  std::uint64_t d_rows;
  bool d_done = false;
};

/// Appends one row per object, in order; `row_of` makes the row of an object. Rows are gathered in blocks that stay in
/// the first-level cache and then go column by column. When anything throws, the table is as it was.
template <class P, class Object, class RowOf>
void write_rows(ZyData::DataObj& tree, const std::vector<Object*>& objects, RowOf&& row_of) {
  constexpr std::size_t kBlock = 256;
  constexpr std::size_t kPrefetch = 16;  // objects may lie anywhere in memory
  std::size_t next_estimate = kBlock;    // rows after which the room for all is estimated again
  const auto frame = tree.get<ZyData::Frame<P>>(P::kTable);
  RowGuard guard(*frame);
  std::array<P, kBlock> block;
  for (std::size_t first = 0; first < objects.size(); first += kBlock) {
    const std::size_t count = std::min(kBlock, objects.size() - first);
    for (std::size_t i = 0; i < count; ++i) {
      if (first + i + kPrefetch < objects.size()) __builtin_prefetch(objects[first + i + kPrefetch]);
      const Object* object = objects[first + i];
      UTIL_ASSERT(object != nullptr);
      block[i] = row_of(*object);
    }
    frame->append_rows({block.data(), count});
    if (first + count != next_estimate) continue;
    frame->reserve_rows(objects.size() - next_estimate, next_estimate);
    next_estimate *= 16;
  }
  guard.done();
}

/// Appends one new object per row; `make` builds it and may throw: objects appended before stay.
template <class P, class Object, class Make>
void read_rows(ZyData::DataObj& tree, std::vector<Object*>& objects, Make&& make) {
  const RowReader<P> rows(tree);
  objects.reserve(objects.size() + rows.size());
  for (std::uint64_t i = 0; i < rows.size(); ++i) {
    std::unique_ptr<Object> object = make(rows[i]);
    objects.push_back(object.get());
    object.release();
  }
}

}  // namespace Mesh2DPlat
