// The tables of the root: each knows the name and the fields of its record kind, and how rows go in and out.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "facade/Lookup.h"
#include "facade/RowFields.h"
#include "util/Error.h"
#include "zydata/object/data.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Frame.h"

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

/// An object that is written or filled. Throws Util::Error for null.
template <class Object>
Object& given(Object* object, const char* what) {
  if (object == nullptr) throw Util::Error("a null pointer instead of a %s object", what);
  return *object;
}

/// What `make` makes of an object of a list. Throws Util::Error with table, place in the list and reason when the
/// object is null or `make` throws Util::Error.
template <class P, class Object, class Make>
auto of_object(const std::vector<Object*>& objects, std::size_t i, Make&& make) {
  try {
    return make(given(objects[i], "layout"));
  } catch (const Util::Error& error) {
    throw Util::Error("table \"%s\" can't take row %zu of the list: %s", P::kTable, i, error.what());
  }
}

/// Appends one row per object, in order; `row_of` makes the row of an object. Throws as of_object() does. When anything
/// throws, the table is as it was.
template <class P, class Object, class RowOf>
void write_rows(ZyData::DataObj& tree, const std::vector<Object*>& objects, RowOf&& row_of) {
  constexpr std::size_t kPrefetch = 16;  // objects may lie anywhere in memory
  RowWriter<P> rows(tree, objects.size());
  for (std::size_t i = 0; i < objects.size(); ++i) {
    if (i + kPrefetch < objects.size()) __builtin_prefetch(objects[i + kPrefetch]);
    rows.append(of_object<P>(objects, i, row_of));
  }
  rows.done();
}

/// Appends one row per element of a list, in order, to `table`. When anything throws, the table is as it was.
template <class P, class List, class RowOf>
void write_list(ZyData::DataObj& tree, const List& list, RowOf&& row_of, const char* table = P::kTable) {
  RowWriter<P> rows(tree, list.size(), table);
  for (const auto& element : list) rows.append(row_of(element));
  rows.done();
}

/// Appends one new object per row; `make` builds it and may throw: objects appended before stay.
template <class P, class Object, class Make>
void read_rows(ZyData::DataObj& tree, std::vector<Object*>& objects, Make&& make) {
  const RowReader<P> rows(tree);
  objects.reserve(objects.size() + rows.size());
  for (std::uint64_t i = 0; i < rows.size(); ++i) {
    std::unique_ptr<Object> object = at_row(P::kTable, i, [&] { return make(rows[i]); });
    objects.push_back(object.get());
    object.release();
  }
}

}  // namespace Mesh2DPlat
