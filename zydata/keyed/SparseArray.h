// Sparse arrays: data objects that map integer indices to values of one type.
//
// A long, mostly empty array costs its present entries only. An array shows the indices from `first` on, at most
// `count` of them; several arrays may show parts of one table. Indices that are shown but not present read as the
// default value. An array that shows everything from index 0 on takes negative indices, too: setting one moves `first`
// down to it.
//
// Not for several threads: an array and the table that it shares belong to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "util/Export.h"
#include "util/HashBase.h"
#include "zydata/arrays/Array.h"
#include "zydata/object/data.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/storage/Vector.h"

namespace ZyData {

template <class T>
struct SparseEntry {
  std::int32_t index;
  T value;
  std::int32_t next;  // of the same chain; -1: last; below -1: this entry is free
};
static_assert(sizeof(SparseEntry<int>) == 12 && offsetof(SparseEntry<int>, next) == 8);
static_assert(sizeof(SparseEntry<double>) == 24 && offsetof(SparseEntry<double>, next) == 16);

/// The indices that a sparse array shows, as they are stored.
struct SparseView {
  std::int32_t first = 0;  // lowest index shown
  std::uint32_t unused = 0;
  std::uint64_t count = kToTheEnd;  // number of indices shown; kToTheEnd: no upper bound

  /// True for an index that is shown.
  bool shows(std::int32_t index) const {
    return index >= first && static_cast<std::uint64_t>(std::int64_t{index} - first) < count;
  }
  /// True when negative indices may be added.
  bool is_whole() const { return first <= 0 && count == kToTheEnd; }
};
static_assert(sizeof(SparseView) == 16);

template <class T>
class SparseArray final : public DataObj {
 public:
  using DataObj::get;
  using DataObj::print;
  using DataObj::set;

  explicit SparseArray(std::shared_ptr<Schema> schema)
      : SparseArray(std::move(schema), std::make_shared<Table>(), SparseView()) {}

  // --- slots ---
  /// Entries that are present and shown. O(n).
  std::uint64_t size() const override;  // 1
  /// The indices [first, first + count) of the same table; both count from index 0. Throws Util::Error for a first
  /// index past 2147483647.
  std::shared_ptr<DataObj> slice(std::uint64_t first, std::uint64_t count) override;      // 3
  void* data() override { return d_table->entries.data(); }                               // 22
  void set(int index, const GenericValue& value) override { set(index, value.as<T>()); }  // 23
  GenericValue get(int index) const override { return GenericValue(value_at(index)); }    // 24
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;              // 29: buckets, entries, view
  std::uint64_t size_bytes() const override;                                              // 30
  void finish() override;                                 // 32: throws Util::Error for bad links
  void print(int indent) override;                        // 36
  void print(std::ostream& stream, int indent) override;  // 37

  // --- typed operations. An index that is not shown throws "index bounds error" ---
  /// The value at an index, or the default value.
  T value_at(int index) const;
  /// The value at an index, borrowed until the next insertion; null when it is not present.
  const T* find(int index) const;
  /// Inserts or replaces the value at an index, also at a negative one in front of a whole array. True when it was not
  /// present.
  bool set(int index, T value);
  /// Takes an entry out. False when it was not present.
  bool remove(int index);

  std::int32_t first() const { return d_view.first; }
  std::uint64_t count() const { return d_view.count; }
  T default_value() const { return d_default_value; }
  /// Of this object alone: a file keeps the schema's default value only.
  void set_default_value(T value) { d_default_value = value; }

 private:
  using Entry = SparseEntry<T>;
  using Table = Util::HashBase<CpuVector<std::int32_t>, CpuVector<Entry>>;

  SparseArray(std::shared_ptr<Schema> schema, std::shared_ptr<Table> table, SparseView view)
      : DataObj(std::move(schema)), d_table(std::move(table)), d_view(view) {}
  std::int32_t entry_of(int index) const;
  /// The same for an index that need not be shown.
  std::int32_t look_up(int index) const;
  static std::uint64_t hash_of(const Entry& entry) { return Util::index_hash(entry.index); }

  std::shared_ptr<Table> d_table;  // never null
  SparseView d_view;
  T d_default_value{};
};

#define ZYDATA_DECLARE_SPARSE_ARRAY(T, Name) extern template class CORVANE_API SparseArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_SPARSE_ARRAY)
#undef ZYDATA_DECLARE_SPARSE_ARRAY

}  // namespace ZyData
