// Variable arrays: data objects whose elements are runs of values of differing lengths.
//
// The values of all elements stand end to end in one vector; a second vector of int offsets says where each element
// begins, and has one entry more than there are elements. Elements are written in order: appended, or, in an array that
// was sized first, set one after the other. VarArrayBase keeps the offsets, RunArray the values, VarArray and
// StringArray (String.h) are what users see.
//
// Offsets are int: an array holds at most 2147483647 values, and an operation that would pass that throws before
// anything changes. Not for several threads: element() writes into the array itself, so even reading is not safe from
// two threads at once.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/Export.h"
#include "util/USpan.h"
#include "zydata/Array.h"
#include "zydata/GenericValue.h"
#include "zydata/Vector.h"
#include "zydata/data.h"

namespace ZyData {

/// The offsets that several views may share.
struct RunOffsets {
  RunOffsets() { entries.push_back(0); }

  CpuVector<std::int32_t>
      entries;  // one more than elements; those behind entry `filled` are written when they are next needed
  std::uint64_t filled = 0;    // elements that were written or appended; the others are empty
  std::uint64_t revision = 0;  // changes that were no appending: whoever remembers elements forgets them
};

class CORVANE_API VarArrayBase : public DataObj, public Column {
 public:
  std::uint64_t size() const override;  // 1
  void finish() override;               // 32: throws Util::Error for offsets that do not fit the values

  std::uint64_t start() const { return d_start; }
  std::uint64_t count() const { return d_count; }
  std::uint64_t base() const { return d_base; }
  /// The offsets of the shown elements, one more than there are; borrowed until the next change.
  std::span<const std::int32_t> offsets() const;

 protected:
  /// First value and end value of one element.
  struct Range {
    std::uint64_t first = 0;
    std::uint64_t size = 0;
  };

  VarArrayBase(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets, std::uint64_t start,
               std::uint64_t count);

  virtual std::uint64_t value_count() const = 0;

  Range range(std::uint64_t i) const;
  /// First value and number of values of `count` elements from `first`, both counted from the offsets' start.
  Range values_of(std::uint64_t first, std::uint64_t count) const;
  /// Elements of the offsets that a view of `count` elements from `first` shows.
  std::uint64_t shown_elements(std::uint64_t first, std::uint64_t count) const;
  void check_modifiable() const;
  /// Throws for a view: a column must grow with its vectors.
  void check_whole() const;
  void check_in_order(std::uint64_t i, const char* refusal) const;
  void check_room(std::uint64_t values) const;
  void store_end(std::uint64_t i);
  void grow_elements(std::uint64_t n);
  void drop_elements(std::uint64_t n) noexcept;
  /// Writes the offsets of elements that were never filled.
  void settle() const noexcept;
  void reset_view();
  /// Shown elements that were written or appended.
  std::uint64_t filled_elements() const;
  std::shared_ptr<CpuVector<std::int32_t>> offset_vector() const;
  const std::shared_ptr<RunOffsets>& shared_offsets() const { return d_offsets; }
  /// Offsets of their own for `count` elements from `first`, beginning at 0.
  std::shared_ptr<RunOffsets> copy_offsets(std::uint64_t first, std::uint64_t count) const;

 private:
  std::uint64_t d_start;                  // index of element 0 in the offsets; 0: a whole array
  std::uint64_t d_count;                  // the most elements shown; kToTheEnd: no limit
  std::uint64_t d_base = 0;               // value position that offset 0 stands for; 0 in process memory
  std::shared_ptr<RunOffsets> d_offsets;  // never null
};

/// Runs of T, handed in and out as Run, a view of values that lie side by side.
template <class T, class Run>
class RunArray : public VarArrayBase {
 public:
  using DataObj::set;
  using DataObj::set_field;

  // --- slots
  // ----------------------------------------------------------------------------------------------------------------------
  /// As for fixed arrays, `first` counts from the whole array's element 0.
  std::shared_ptr<DataObj> slice(std::uint64_t first, std::uint64_t count) override;  // 3
  std::shared_ptr<DataObj> copy(std::uint64_t first, std::uint64_t count) override;   // 4
  void concat(const DataObj& other) override;                                         // 16
  void* data() override { return d_values->data(); }                          // 22: the first value of the whole array
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;  // 29: offsets, then values
  std::uint64_t size_bytes() const override;                                  // 30

  // --- typed operations
  // -----------------------------------------------------------------------------------------------------------
  /// Element `i` as a view that is valid until the next change. An index that is not below the size ends the program.
  Run run(std::uint64_t i) const {
    const Range at = range(i);
    return Run(d_values->data() + at.first, at.size);
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

  // --- rows of a frame
  // ------------------------------------------------------------------------------------------------------------
  void reserve_rows(std::uint64_t rows, std::uint64_t sample) override;
  /// The runs must not lie in this array.
  void append_strided(const void* first, std::size_t stride, std::uint64_t count) override;
  void append_defaults(std::uint64_t count) override;
  void truncate_rows(std::uint64_t rows) noexcept override;

 protected:
  RunArray(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
           std::uint64_t start, std::uint64_t count)
      : VarArrayBase(std::move(schema), std::move(offsets), start, count), d_values(std::move(values)) {}

  std::uint64_t value_count() const override { return d_values->size(); }
  virtual std::shared_ptr<DataObj> view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
                                        std::uint64_t start, std::uint64_t count) const = 0;
  /// What set() says when element `i` is not the next one.
  virtual const char* order_refusal() const = 0;

 private:
  std::shared_ptr<CpuVector<T>> d_values;  // never null
};

/// Runs of numbers.
template <class T>
class VarArray final : public RunArray<T, Util::USpan<T>> {
 public:
  using Run = Util::USpan<T>;
  using DataObj::get;
  using DataObj::print;
  using DataObj::push_back;
  using DataObj::set_field;
  using RunArray<T, Run>::set;

  /// An empty array.
  explicit VarArray(std::shared_ptr<Schema> schema);

  /// Replaces the content; `name` must be empty, because an array has no fields.
  void set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                 const GenericValue& values) override;  // 13
  /// The values of the shown elements in order, as ids; throws Util::Error for floating-point values.
  std::vector<std::int32_t> to_id_vector() const override;                                   // 20
  GenericValue get(int i) const override;                                                    // 23
  void set(int i, const GenericValue& value) override;                                       // 24
  void push_back(const GenericValue& value) override { this->append(value.elements<T>()); }  // 27
  void print(int indent) override;                                                           // 36
  void print(std::ostream& stream, int indent) override;                                     // 37

  /// Element `i` in a span held by the array; overwritten by the next call.
  const Run& element(std::uint64_t i) { return d_current = this->run(i); }

 private:
  using Base = RunArray<T, Run>;

  VarArray(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
           std::uint64_t start, std::uint64_t count)
      : Base(std::move(schema), std::move(offsets), std::move(values), start, count) {}
  std::shared_ptr<DataObj> view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
                                std::uint64_t start, std::uint64_t count) const override;
  const char* order_refusal() const override {
    return "To set the element of vararray, please append it in order or use set method!\n";
  }

  Run d_current;  // what element() returned last
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
  extern template class CORVANE_API VarArray<T>;                 \
  extern template class CORVANE_API VarValue<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_VAR_ARRAY)
#undef ZYDATA_DECLARE_VAR_ARRAY

}  // namespace ZyData
