// Variable arrays: data objects whose elements are runs of values of differing lengths.
//
// The values of all elements stand end to end in one vector; a second vector of int offsets says where each element
// begins, and has one entry more than there are elements. Elements are written in order: appended, or, in an array that
// was sized first, set one after the other. VarArrayBase is what all of them are, RunTable keeps the offsets, RunArray
// the values; VarArray, StringArray (String.h) and MMapVarArray (MMapVarArray.h) are what users see. Where offsets and
// values live is the matter of a Memory: ProcessRuns or MappedRuns.
//
// Offsets are int: an array holds at most 2147483647 values, and an operation that would pass that throws before
// anything changes. Not for several threads: element() writes into the array itself, so even reading is not safe from
// two threads at once.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/Assert.h"
#include "util/Export.h"
#include "util/USpan.h"
#include "zydata/arrays/Array.h"
#include "zydata/object/Value.h"
#include "zydata/object/data.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/storage/MMapRegion.h"
#include "zydata/storage/Vector.h"

namespace ZyData {

/// Offsets and values in process memory.
struct ProcessRuns {
  static constexpr bool kMapped = false;
  template <class T>
  using Elements = CpuVector<T>;
};

/// Offsets and values in mapped files.
struct MappedRuns {
  static constexpr bool kMapped = true;
  template <class T>
  using Elements = Vector<T, RegionMem<T>>;
};

/// The offsets that several views may share.
template <class Memory>
struct OffsetTable {
  using Entries = typename Memory::template Elements<std::int32_t>;

  /// One offset, which is 0.
  OffsetTable() requires(!Memory::kMapped) { entries.push_back(0); }
  explicit OffsetTable(Entries vector) : entries(std::move(vector)) {
    if (!entries.pending() && entries.empty()) entries.push_back(0);
  }
  OffsetTable(const OffsetTable&) = delete;
  OffsetTable& operator=(const OffsetTable&) = delete;
  ~OffsetTable() {
    if constexpr (Memory::kMapped) settle();  // the file stays
  }

  /// Writes the offsets of elements that were never filled.
  void settle() noexcept {
    if (Memory::kMapped && (entries.pending() || entries.empty())) return;
    const std::int32_t end = entries[filled];
    for (std::uint64_t k = entries.size() - 1; k > filled && entries[k] != end; --k) entries[k] = end;
  }
  std::shared_ptr<OffsetTable> empty_like() const {
    return std::make_shared<OffsetTable>(Entries(entries.storage().empty_like()));
  }

  Entries entries;  // one more than elements; those behind entry `filled` are written when they are next needed
  std::uint64_t filled = 0;    // elements that were written or appended; the others are empty
  std::uint64_t revision = 0;  // changes that were no appending: whoever remembers elements forgets them
  std::uint64_t base = 0;      // value position that the values begin with; not 0 only in a window of mapped files
  bool growable = true;        // false: a window that ends before its file does
};
using RunOffsets = OffsetTable<ProcessRuns>;

class CORVANE_API VarArrayBase : public DataObj, public Column {
 public:
  std::uint64_t start() const { return d_start; }
  std::uint64_t count() const { return d_count; }
  /// The value position that the first mapped value has; 0 unless the array is a window of mapped files.
  virtual std::uint64_t base() const = 0;
  /// The offsets of the shown elements, one more than there are; borrowed until the next change.
  virtual std::span<const std::int32_t> offsets() const = 0;

 protected:
  VarArrayBase(std::shared_ptr<Schema> schema, std::uint64_t start, std::uint64_t count);

  void reset_view();

 private:
  std::uint64_t d_start;  // index of element 0 in the offsets; 0: a whole array
  std::uint64_t d_count;  // the most elements shown; kToTheEnd: no limit
};

template <class Memory>
class RunTable : public VarArrayBase {
 public:
  std::uint64_t size() const override;  // 1
  void finish() override;               // 32: throws Util::Error for offsets that do not fit the values
  std::uint64_t base() const override { return table().base; }
  std::span<const std::int32_t> offsets() const override;

 protected:
  using Offsets = OffsetTable<Memory>;
  using OffsetVector = typename Offsets::Entries;

  /// First value and number of values of one element or of several, counted from the vector's first value.
  struct Range {
    std::uint64_t first = 0;
    std::uint64_t size = 0;
  };

  RunTable(std::shared_ptr<Schema> schema, std::shared_ptr<Offsets> offsets, std::uint64_t start, std::uint64_t count);

  virtual std::uint64_t value_count() const = 0;
  /// Opens the files of mapped runs; not called for others, nor when they are open.
  virtual void open_stored() const {}

  /// The offsets, opened when they lie in a file.
  Offsets& table() const {
    ensure_open();
    return *d_offsets;
  }
  void ensure_open() const {
    if constexpr (Memory::kMapped) {
      if (d_offsets->entries.pending()) [[unlikely]]
        open_stored();
    }
  }
  /// Of one element. An index that is not below the size ends the program. Inline, as `between`: element access is
  /// this.
  Range range(std::uint64_t i) const {
    ensure_open();
    const std::uint64_t k = start() + i;
    UTIL_ASSERT_TEXT(i < shown_elements(start(), count()), "i < size()");
    if (k >= d_offsets->filled) return {};  // its offsets may not have been written yet
    return between(d_offsets->entries[k], d_offsets->entries[k + 1]);
  }
  /// What two offsets enclose. Offsets that fall or, in a file, lie outside the values end the program.
  Range between(std::int32_t first, std::int32_t end) const {
    UTIL_ASSERT_TEXT(first >= 0 && end >= first,
                     "(*offsets)[i+offset] >= 0 and (*offsets)[i+offset+1] >= (*offsets)[i+offset]");
    Range range{static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(end - first)};
    if constexpr (Memory::kMapped) {
      range.first -= d_offsets->base;
      // Checked whenever they are used: something else may have written into the file.
      const std::uint64_t held = value_count();
      UTIL_ASSERT(range.first <= held && range.size <= held - range.first);
    }
    return range;
  }
  /// First value and number of values of `count` elements from `first`, which counts from the offsets' start.
  Range values_of(std::uint64_t first, std::uint64_t count) const;
  /// Elements of the offsets that a view of `count` elements from `first` shows.
  std::uint64_t shown_elements(std::uint64_t first, std::uint64_t count) const {
    const std::uint64_t entries = d_offsets->entries.size();
    const std::uint64_t held = entries - std::min<std::uint64_t>(entries, 1);
    return std::min(count, held - std::min(first, held));
  }
  /// Throws StorageError::WindowViolation for a window of mapped files that does not reach their ends.
  void check_modifiable() const;
  /// Throws for a view: a column must grow with its vectors.
  void check_whole() const;
  void check_in_order(std::uint64_t i, const char* refusal) const;
  void check_room(std::uint64_t values) const;
  void store_end(std::uint64_t i);
  void grow_elements(std::uint64_t n);
  void drop_elements(std::uint64_t n) noexcept;
  void settle() const noexcept { d_offsets->settle(); }
  /// Shown elements that were written or appended.
  std::uint64_t filled_elements() const;
  std::shared_ptr<OffsetVector> offset_vector() const;
  const std::shared_ptr<Offsets>& shared_offsets() const { return d_offsets; }
  void share_offsets(std::shared_ptr<Offsets> offsets) { d_offsets = std::move(offsets); }
  /// Offsets of their own for `count` elements from `first`, beginning at 0.
  std::shared_ptr<Offsets> copy_offsets(std::uint64_t first, std::uint64_t count) const;
  /// Throws Util::Error unless the offsets rise and span `values` values.
  void check_offsets(std::uint64_t values) const;

 private:
  std::shared_ptr<Offsets> d_offsets;  // never null
};

extern template class CORVANE_API RunTable<ProcessRuns>;
extern template class CORVANE_API RunTable<MappedRuns>;

/// Runs of T, handed in and out as Run, a view of values that lie side by side.
template <class T, class Run, class Memory = ProcessRuns>
class RunArray : public RunTable<Memory> {
 public:
  using DataObj::set;
  using DataObj::set_field;

  // --- slots ---
  /// As for fixed arrays, `first` counts from the whole array's element 0.
  std::shared_ptr<DataObj> slice(std::uint64_t first, std::uint64_t count) override;  // 3
  std::shared_ptr<DataObj> copy(std::uint64_t first, std::uint64_t count) override;   // 4
  void concat(const DataObj& other) override;                                         // 16
  void* data() override { return values_vector().data(); }                    // 22: the first value of the whole array
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;  // 29: offsets, then values
  std::uint64_t size_bytes() const override;                                  // 30
  void finish() override;                                                     // 32

  // --- typed operations ---
  /// Element `i` as a view that is valid until the next change; of mapped bools it shows the bytes as the file has
  /// them. An index that is not below the size ends the program.
  Run run(std::uint64_t i) const {
    const Range at = this->range(i);
    return Run(values_vector().data() + at.first, at.size);
  }
  /// Adds one element, which may be one of this array.
  void append(Run values);
  /// Gives element `i` its values. Throws Util::Error unless it is the next one to be filled.
  void set(std::uint64_t i, Run values);
  /// Grows to `n` elements; new ones are empty. A smaller `n` is a programming error.
  void resize(std::uint64_t n);
  /// Replaces all elements. Throws Util::Error when the offsets do not describe the values; the array is then
  /// unchanged.
  void assign(std::span<const std::int32_t> offsets, std::span<const T> values);

  /// The values of the shown elements, end to end.
  std::span<const T> values() const;

  /// Appends elements one by one to a whole array, straight into its vectors.
  class Appender;

  // --- rows of a frame ---
  /// The runs must not lie in this array.
  void append_strided(const void* first, std::size_t stride, std::uint64_t count) override;
  void append_defaults(std::uint64_t count) override;
  void truncate_rows(std::uint64_t rows) noexcept override;

 protected:
  using Table = RunTable<Memory>;
  using typename Table::Offsets;
  using typename Table::Range;
  using Values = typename Memory::template Elements<T>;

  RunArray(std::shared_ptr<Schema> schema, std::shared_ptr<Offsets> offsets, std::shared_ptr<Values> values,
           std::uint64_t start, std::uint64_t count)
      : Table(std::move(schema), std::move(offsets), start, count), d_values(std::move(values)) {}

  std::uint64_t value_count() const override { return d_values->size(); }
  virtual std::shared_ptr<DataObj> view(std::shared_ptr<Offsets> offsets, std::shared_ptr<Values> values,
                                        std::uint64_t start, std::uint64_t count) const = 0;
  /// What set() says when element `i` is not the next one.
  virtual const char* order_refusal() const = 0;

  /// The values, opened when they lie in a file.
  Values& values_vector() const {
    this->ensure_open();
    return *d_values;
  }
  const std::shared_ptr<Values>& shared_values() const { return d_values; }
  /// For a class that makes its vectors after its base.
  void share(std::shared_ptr<Offsets> offsets, std::shared_ptr<Values> values) {
    this->share_offsets(std::move(offsets));
    d_values = std::move(values);
  }

 private:
  /// The values may lie in a mapped file, which may hold any byte for a bool.
  static void add_values(Values& target, const T* first, std::uint64_t count);

  std::shared_ptr<Values> d_values;  // never null
};

/// Nothing else may use the array until done(); without it, the elements go again.
template <class T, class Run, class Memory>
class RunArray<T, Run, Memory>::Appender {
 public:
  /// Exactly `count` elements will come. Throws Util::Error for a view.
  Appender(RunArray& array, std::uint64_t count);
  ~Appender() {
    if (!d_done) d_array.truncate_rows(d_before);
  }
  Appender(const Appender&) = delete;
  Appender& operator=(const Appender&) = delete;

  /// The values must not lie in the array. Throws Util::Error for more values than an array can hold.
  void append(const Run& run) {
    if (run.size() > d_limit - d_end) make_room(run.size());
    if (!run.empty()) std::memcpy(d_values + d_end, run.data(), run.size() * sizeof(T));
    normalise_loaded(d_values + d_end, run.size());
    d_end += run.size();
    *d_next_end++ = static_cast<std::int32_t>(d_end);
  }
  void done();

 private:
  /// Counts the values appended so far.
  void commit();
  void make_room(std::uint64_t values);
  /// Values to come if the elements to come are as long as those before them.
  std::uint64_t expected_values() const;

  RunArray& d_array;
  std::uint64_t d_before;              // elements before the first call
  std::uint64_t d_first_value;         // values before the first call
  T* d_values = nullptr;               // the first value of the whole array
  std::uint64_t d_end = 0;             // values in all
  std::uint64_t d_limit = 0;           // values for which there is room
  std::int32_t* d_next_end = nullptr;  // where the end of the next element goes
  std::uint64_t d_count;               // elements that will have come
  bool d_done = false;
};

/// Runs of numbers: what VarArray and MMapVarArray have in common.
template <class T, class Memory>
class NumberRuns : public RunArray<T, Util::USpan<T>, Memory> {
 public:
  using Run = Util::USpan<T>;
  using DataObj::get;
  using DataObj::print;
  using DataObj::push_back;
  using DataObj::set_field;
  using RunArray<T, Run, Memory>::set;

  /// Replaces the content; `name` must be empty, because an array has no fields.
  void set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                 const GenericValue& values) override;  // 13
  /// The values of the shown elements in order, as ids; throws Util::Error for floating-point values.
  std::vector<std::int32_t> to_id_vector() const override;                                   // 20
  void set(int i, const GenericValue& value) override;                                       // 23
  GenericValue get(int i) const override;                                                    // 24
  void push_back(const GenericValue& value) override { this->append(value.elements<T>()); }  // 27
  void print(int indent) override;                                                           // 36
  void print(std::ostream& stream, int indent) override;                                     // 37

  /// Element `i` in a span held by the array; overwritten by the next call.
  const Run& element(std::uint64_t i) { return d_current = this->run(i); }

 protected:
  using Base = RunArray<T, Run, Memory>;
  using Base::Base;

 private:
  const char* order_refusal() const override {
    return "To set the element of vararray, please append it in order or use set method!\n";
  }

  Run d_current;  // what element() returned last
};

/// Runs of numbers in process memory.
template <class T>
class VarArray final : public NumberRuns<T, ProcessRuns> {
 public:
  /// An empty array.
  explicit VarArray(std::shared_ptr<Schema> schema);

 private:
  using Base = NumberRuns<T, ProcessRuns>;

  VarArray(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
           std::uint64_t start, std::uint64_t count)
      : Base(std::move(schema), std::move(offsets), std::move(values), start, count) {}
  std::shared_ptr<DataObj> view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
                                std::uint64_t start, std::uint64_t count) const override;
};

/// One run of numbers: the single-element companion of VarArray.
template <class T>
class VarValue final : public DataObj {
 public:
  using DataObj::print;
  using DataObj::set;

  explicit VarValue(std::shared_ptr<Schema> schema)
      : DataObj(std::move(schema)), d_values(std::make_shared<CpuVector<T>>()) {}

  /// The values, borrowed until the next change.
  Util::USpan<T> run() const { return d_values->elements(); }
  void set(Util::USpan<T> values);

  std::uint64_t size() const override { return d_values->size(); }                                  // 1
  std::vector<std::int32_t> to_id_vector() const override;                                          // 20
  void* data() override { return d_values->data(); }                                                // 22
  GenericValue value() const override { return GenericValue(d_values->data(), size(), NoCopy()); }  // 25
  void set_value(const GenericValue& value) override { set(value.elements<T>()); }                  // 26
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;                        // 29
  std::uint64_t size_bytes() const override { return size() * sizeof(T); }                          // 30
  void finish() override;                                                                           // 32
  void print(int indent) override;                                                                  // 36
  void print(std::ostream& stream, int indent) override;                                            // 37

 private:
  std::shared_ptr<CpuVector<T>> d_values;  // never null
};

/// The array as a VarArray<T>. Throws Util::Error when its kind has no "var", or when its values are of another type.
template <class T>
std::shared_ptr<VarArray<T>> to_var_array(const std::shared_ptr<VarArrayBase>& array);

/// Throws Util::Error unless the kind of `array` has "var".
CORVANE_API void check_is_var_array(const VarArrayBase& array);

template <class T>
std::shared_ptr<VarArray<T>> to_var_array(const std::shared_ptr<VarArrayBase>& array) {
  check_is_var_array(*array);
  return array->get<VarArray<T>>();
}

#define ZYDATA_DECLARE_VAR_ARRAY(T, Name)                        \
  extern template class CORVANE_API RunArray<T, Util::USpan<T>>; \
  extern template class CORVANE_API NumberRuns<T, ProcessRuns>;  \
  extern template class CORVANE_API VarArray<T>;                 \
  extern template class CORVANE_API VarValue<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_VAR_ARRAY)
#undef ZYDATA_DECLARE_VAR_ARRAY

}  // namespace ZyData
