// Fixed-size arrays: data objects whose elements are plain values of one type.
//
// An array shows a range of a shared Vector; several arrays may show ranges of one vector. ArrayBase knows the range,
// ArrayBase2 the element type and the backend, Array<T> is the form in process memory. An array is a slice exactly when
// its first element is not element 0 of the vector. MMapArray<T> (MMapArray.h) is the form in a mapped file.
//
// Not for several threads: an array and the vector that it shares belong to one thread at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "util/Export.h"
#include "zydata/object/Column.h"
#include "zydata/object/data.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/TypeName.h"
#include "zydata/storage/Vector.h"

namespace ZyData {

/// A count that shows everything up to the end.
inline constexpr std::uint64_t kToTheEnd = ~std::uint64_t{0};
inline constexpr const char* kSliceRefusal = "can't modify the size of an array slice";

class CORVANE_API ArrayBase : public DataObj, public Column {
 public:
  std::uint64_t size() const override;        // 1
  std::uint64_t size_bytes() const override;  // 30: not to be called; prints a complaint
  /// The descriptor of the element type.
  virtual const GenericType& element_type() const = 0;
  /// The first shown element; null when there is no buffer.
  virtual const void* element_data() const = 0;

  std::uint64_t start() const { return d_start; }
  std::uint64_t count() const { return d_count; }
  bool is_slice() const { return d_start != 0; }

 protected:
  ArrayBase(std::shared_ptr<Schema> schema, std::uint64_t start, std::uint64_t count)
      : DataObj(std::move(schema)), d_start(start), d_count(count) {}

  virtual std::uint64_t vector_size() const = 0;
  /// The index of element `i` in the vector, which has `held` elements. Throws "index bounds error" for an index that
  /// is negative or not below the size.
  std::uint64_t checked_index(int i, std::uint64_t held) const {
    const auto index = static_cast<std::uint64_t>(std::int64_t{i});  // a negative index becomes a huge one
    if (index >= shown_of(held, d_start, d_count)) [[unlikely]]
      throw_outside();
    return d_start + index;
  }
  void check_resizable() const;
  /// Throws for a slice and for an array that does not show everything: a column must grow with its vector.
  void check_whole() const;
  void show_everything() { show(0, kToTheEnd); }
  void show(std::uint64_t start, std::uint64_t count);
  /// Elements of the range that lie in the vector, for a view of `count` elements from `first`.
  std::uint64_t shown_elements(std::uint64_t first, std::uint64_t count) const {
    return shown_of(vector_size(), first, count);
  }

 private:
  static std::uint64_t shown_of(std::uint64_t held, std::uint64_t first, std::uint64_t count) {
    return std::min(count, held - std::min(first, held));  // without a branch: loops compute it once
  }
  [[noreturn]] static void throw_outside();

  std::uint64_t d_start;  // the vector's index of element 0
  std::uint64_t d_count;  // the most elements shown; kToTheEnd: no limit
};

template <class T, class VectorT>
class ArrayBase2 : public ArrayBase {
 public:
  using value_type = T;

  using DataObj::get;
  using DataObj::print;
  using DataObj::push_back;
  using DataObj::set;

  // --- slots ---
  /// Deliberate: `first` counts from the vector's element 0, also for a slice of a slice.
  std::shared_ptr<DataObj> slice(std::uint64_t first, std::uint64_t count) override;  // 3
  /// Deliberate: `first` counts from the vector's element 0.
  std::shared_ptr<DataObj> copy(std::uint64_t first, std::uint64_t count) override;  // 4
  void concat(const DataObj& other) override { append(other); }                      // 16
  std::vector<std::int32_t> to_id_vector() const override;                           // 20
  void* address(int i) override { return at(i); }                                    // 21
  void* data() override { return elements(); }                                       // 22: as elements()
  void set(int i, const GenericValue& value) override { set(i, value.as<T>()); }     // 23
  GenericValue get(int i) const override;                                            // 24
  GenericValue value() const override;                                               // 25
  void set_value(const GenericValue& value) override;                                // 26
  void push_back(const GenericValue& value) override { push_back(value.as<T>()); }   // 27
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;         // 29
  std::uint64_t size_bytes() const override { return size() * sizeof(T); }           // 30
  bool fits(std::uint64_t n) override { return resize_bytes(n); }                    // 31
  void finish() override;                                                            // 32
  void print(int indent) override;                                                   // 36
  void print(std::ostream& stream, int indent) override;                             // 37

  const GenericType& element_type() const override { return GenericTypeT<T>::instance(); }
  const void* element_data() const override {
    check_shown_in_window();
    return elements();
  }

  // --- typed operations ---
  /// Address of element `i`; throws Util::Error outside the array. Valid until the vector grows.
  T* at(int i) {
    if constexpr (VectorT::kMapped) {
      const std::uint64_t index = checked_index(i, d_vector->size());
      d_vector->check_window(index, index);
      return d_vector->data() + index;
    } else {
      T* first = d_vector->data();  // before the test, so that loops fetch it once
      return first + checked_index(i, d_vector->size());
    }
  }
  void set(int i, T value) { *at(i) = value; }
  /// All shown elements, borrowed until the vector grows; null when there is no buffer. Unchecked: of a mapped array
  /// with a window, only the elements in the window are there, and the bytes of a mapped bool are as the file has them.
  T* elements();
  const T* elements() const;
  /// The same. Throws StorageError::WindowViolation unless all shown elements lie in the window.
  std::span<const T> span() const {
    if constexpr (VectorT::kMapped) check_shown_in_window();
    return {elements(), size()};
  }

  /// Sets the number of elements; new ones get the default value. Throws Util::Error on a slice.
  void resize(std::uint64_t n);
  /// resize() to the elements that fit into `nbytes`; always true.
  bool resize_bytes(std::uint64_t nbytes);
  /// Writes `k` elements over the vector's elements from this array's first one on; the vector grows as needed.
  void assign(const T* values, std::uint64_t k);
  /// Appends the elements of an array of the same element type, this one included. Throws Util::Error on a slice and
  /// for another type.
  void append(const DataObj& array);
  /// Deliberate: on a slice, too, the element goes to the vector's end. May move the elements. Amortised O(1).
  void push_back(T value);
  /// Lets go of the vector and starts with a new, empty one.
  void reset() override;  // 35
  /// What the array contributes to a message; `owner` keeps the bytes alive.
  virtual void describe(FrameList& parts, const std::shared_ptr<void>& owner);

  const std::shared_ptr<VectorT>& vector() const { return d_vector; }
  T default_value() const { return d_default_value; }
  void set_default_value(T value) { d_default_value = value; }

  /// Appends elements one by one to a whole array, straight into its vector.
  class Appender;

  // --- rows of a frame ---
  void append_strided(const void* first, std::size_t stride, std::uint64_t count) override;
  void append_defaults(std::uint64_t count) override;
  void truncate_rows(std::uint64_t rows) noexcept override;

 protected:
  ArrayBase2(std::shared_ptr<Schema> schema, std::shared_ptr<VectorT> vector, std::uint64_t start, std::uint64_t count,
             T default_value);

  std::uint64_t vector_size() const override { return d_vector->size(); }
  /// Shows everything in another vector.
  void take_vector(std::shared_ptr<VectorT> vector) {
    d_vector = std::move(vector);
    show_everything();
  }
  /// A new array of the same class over `vector`.
  virtual std::shared_ptr<DataObj> view(std::shared_ptr<VectorT> vector, std::uint64_t start,
                                        std::uint64_t count) const = 0;

 private:
  void check_shown_in_window() const;
  T value_at(std::uint64_t index) const;

  std::shared_ptr<VectorT> d_vector;  // never null
  T d_default_value;                  // of elements that resizing adds
};

/// Nothing else may use the array until done(); without it, the elements go again.
template <class T, class VectorT>
class ArrayBase2<T, VectorT>::Appender {
 public:
  /// Exactly `count` elements will come. Throws Util::Error on a slice, StorageError::WindowViolation when they do not
  /// all lie in the window.
  Appender(ArrayBase2& array, std::uint64_t count) : d_vector(*array.d_vector), d_size(d_vector.size()) {
    array.check_whole();
    if (count > 0) d_vector.check_window(d_size, d_size + count - 1);
    d_next = d_vector.append_for_overwrite(count);
  }
  ~Appender() {
    if (!d_done) d_vector.truncate(d_size);
  }
  Appender(const Appender&) = delete;
  Appender& operator=(const Appender&) = delete;

  void append(T value) { *d_next++ = value; }
  void done() { d_done = true; }

 private:
  VectorT& d_vector;
  std::uint64_t d_size;  // elements before the first call
  T* d_next = nullptr;
  bool d_done = false;
};

/// An array in process memory.
template <class T>
class Array final : public ArrayBase2<T, CpuVector<T>> {
 public:
  /// A whole array of `n` value-initialised elements.
  explicit Array(std::shared_ptr<Schema> schema, std::uint64_t n = 0);

 private:
  using Base = ArrayBase2<T, CpuVector<T>>;

  Array(std::shared_ptr<Schema> schema, std::shared_ptr<CpuVector<T>> vector, std::uint64_t start, std::uint64_t count,
        T default_value);
  std::shared_ptr<DataObj> view(std::shared_ptr<CpuVector<T>> vector, std::uint64_t start,
                                std::uint64_t count) const override;
};

#define ZYDATA_DECLARE_ARRAY(T, Name)                            \
  extern template class CORVANE_API ArrayBase2<T, CpuVector<T>>; \
  extern template class CORVANE_API Array<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_ARRAY)
#undef ZYDATA_DECLARE_ARRAY

}  // namespace ZyData
