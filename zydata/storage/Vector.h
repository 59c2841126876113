// Growable element buffers over a storage backend.
//
// A Vector<T, S> owns its elements; S decides where they live and how they grow. Several arrays may share one vector.
// Sizes and capacities count elements. Whatever does not depend on T stands in VectorBase.
//
// A vector over a mapped storage (S::kMapped) can stand for elements that a message refers to: it then is pending, and
// opens their file when an element, or a number of elements that nobody knows yet, is asked for.
//
// Nothing here locks: a vector and all arrays that view it belong to one thread at a time.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "util/Export.h"
#include "zydata/object/data.h"
#include "zydata/storage/Storage.h"

namespace ZyData {

/// The untyped part of a vector: three numbers, and how they change. Every operation gets the backend of the vector
/// that it works on.
class CORVANE_API VectorBase {
 public:
  std::uint64_t size() const { return d_size; }
  std::uint64_t capacity() const { return d_capacity; }
  bool empty() const { return d_size == 0; }
  /// Lowers the size and keeps the buffer; `n` must not exceed the size.
  void truncate(std::uint64_t n) noexcept;

 protected:
  VectorBase() = default;
  VectorBase(const VectorBase&) = delete;
  VectorBase& operator=(const VectorBase&) = delete;
  VectorBase(VectorBase&& other) noexcept;
  VectorBase& operator=(VectorBase&&) = delete;
  ~VectorBase() = default;

  void start(VStorageBase& storage);
  void start(VStorageBase& storage, std::uint64_t n, const void* value);
  void close(VStorageBase& storage);
  void reserve(VStorageBase& storage, std::uint64_t new_capacity);
  void grow_for_append(VStorageBase& storage, std::uint64_t count);
  void resize(VStorageBase& storage, std::uint64_t n, const void* value);
  void resize_for_overwrite(VStorageBase& storage, std::uint64_t n);

  void* d_data = nullptr;        // address of element 0; null while nothing was reserved
  std::uint64_t d_capacity = 0;  // elements that d_data can hold
  std::uint64_t d_size = 0;      // elements in use
  std::uint64_t d_mark = 0;      // elements from d_size up to here may hold old values; no more than d_size: none do

 private:
  void set_size(std::uint64_t n) noexcept;
  void fill_new(VStorageBase& storage, std::uint64_t n, const void* value);
};

/// Throws the Util::Error of a mapped vector that was closed.
[[noreturn]] CORVANE_API void throw_closed(const std::string& file_name);

/// Throws Util::Error when a file holds fewer elements than data that refer to it ask for.
CORVANE_API void check_stored_length(const std::string& file_name, std::uint64_t stored, std::uint64_t wanted);

/// Selects the constructor of a vector whose elements are already in the storage's file.
struct StoredElements {};

template <class T, class S>
class Vector final : public VectorBase {
  static_assert(std::is_trivially_copyable_v<T>, "elements move as bytes");

 public:
  using value_type = T;
  static constexpr bool kMapped = S::kMapped;

  /// The elements that the backend starts with.
  explicit Vector(S storage = S()) : d_storage(std::move(storage)) { start(d_storage); }
  /// Exactly `n` elements: those that the backend holds, then value-initialised ones.
  Vector(std::uint64_t n, S storage) : d_storage(std::move(storage)) {
    const T value{};
    start(d_storage, n, &value);
  }
  /// The elements that the storage's file holds, opened when they are needed; none until expect() is called.
  Vector(StoredElements, S storage) : d_storage(std::move(storage)) {}
  Vector(Vector&&) noexcept = default;
  ~Vector() {
    if (d_data == nullptr) return;
    if constexpr (S::kMapped) {
      try {
        VectorBase::close(d_storage);
      } catch (const std::exception&) {  // who must know calls close()
      }
    } else {
      VectorBase::close(d_storage);
    }
  }

  /// Lets go of the buffer: the vector is empty, and the file of a mapped one holds exactly the elements. A mapped
  /// vector can't be filled again, also one that has nothing open. Throws Util::Error when the file could not be cut to
  /// the elements; the vector is closed all the same.
  void close() {
    if constexpr (S::kMapped) {
      d_stored = {};
      d_closed = true;
    }
    VectorBase::close(d_storage);
  }
  /// True once a mapped vector was closed.
  bool closed() const { return d_closed; }

  std::uint64_t size() const {
    if constexpr (S::kMapped) {
      if (d_stored.size_unknown) [[unlikely]]
        open_stored();
    }
    return d_size;
  }
  std::uint64_t capacity() const {
    ensure_open();
    return d_capacity;
  }
  bool empty() const { return size() == 0; }
  /// Lowers the size and keeps the buffer; `n` must not exceed the size.
  void truncate(std::uint64_t n) noexcept {
    if (pending()) d_stored.exactly = true;  // whatever the file holds
    VectorBase::truncate(n);
  }

  T* data() {
    ensure_open();
    return static_cast<T*>(d_data);
  }
  const T* data() const { return const_cast<Vector*>(this)->data(); }
  T& operator[](std::uint64_t i) { return data()[i]; }
  const T& operator[](std::uint64_t i) const { return data()[i]; }
  T& back() { return data()[d_size - 1]; }
  const T& back() const { return data()[d_size - 1]; }
  std::span<const T> elements() const { return {data(), size()}; }
  S& storage() { return d_storage; }
  const S& storage() const { return d_storage; }

  /// Restricts a mapped vector to the pages of elements `first` to `last`; what the storage's set_window() answers.
  std::uint64_t set_window(std::uint64_t first, std::uint64_t last) {
    const std::uint64_t result = d_storage.set_window(first, last);
    if constexpr (S::kMapped) {
      if (d_data != nullptr) d_data = d_storage.map_stored(d_capacity);
    }
    return result;
  }
  bool in_window(std::uint64_t index) const {
    if constexpr (S::kMapped) return d_storage.contains(index);
    return true;
  }
  /// Throws StorageError::WindowViolation unless both elements lie in the window; Util::Error for elements that no
  /// mapped file can hold.
  void check_window(std::uint64_t first, std::uint64_t last) const {
    if constexpr (S::kMapped) d_storage.check_inside(first, last);
  }

  /// A new, empty vector over a storage of the same kind.
  std::shared_ptr<Vector> empty_like() const { return std::make_shared<Vector>(d_storage.empty_like()); }

  /// Makes room for `new_capacity` elements, which must be more than 0; never shrinks. Throws std::bad_alloc and
  /// changes nothing when memory is exhausted.
  void reserve(std::uint64_t new_capacity) {
    ensure_growable();
    VectorBase::reserve(d_storage, new_capacity);
  }
  /// Makes room for `count` more elements by the growth rule of appends.
  void grow_for_append(std::uint64_t count) {
    ensure_open();
    if (count <= d_capacity - d_size) return;  // the usual case, without a call
    ensure_growable();
    VectorBase::grow_for_append(d_storage, count);
  }
  /// New elements get `value`. Throws StorageError::WindowViolation when they do not all lie in the window.
  void resize(std::uint64_t n, T value) {
    ensure_growable();
    if (n > d_size) check_window(d_size, n - 1);
    VectorBase::resize(d_storage, n, &value);
  }
  /// New elements are left as the memory is: for a caller that writes all of them. Reserves exactly `n`.
  void resize_for_overwrite(std::uint64_t n) {
    ensure_growable();
    VectorBase::resize_for_overwrite(d_storage, n);
  }

  void push_back(T value) {
    if (d_size >= d_capacity) grow_for_append(1);  // a pending vector has elements and no capacity
    static_cast<T*>(d_data)[d_size++] = value;
  }
  /// Appends `count` elements, which may lie in this vector.
  void append(const T* values, std::uint64_t count);
  /// Appends `count` elements and returns the address of the first, for the caller to write.
  T* append_for_overwrite(std::uint64_t count) {
    ensure_open();
    if (count > d_capacity - d_size) grow_for_append(count);
    T* first = static_cast<T*>(d_data) + d_size;
    d_size += count;
    return first;
  }

  // --- elements that a message refers to ---
  bool pending() const {
    if constexpr (S::kMapped) return d_storage.pending();
    return false;
  }
  /// As long as nothing was opened: the file holds at least `n` elements. With `exactly`, only those count.
  void expect(std::uint64_t n, bool exactly) {
    d_size = n;
    d_stored = {false, exactly, n};
  }
  /// As long as nothing was opened: all elements of the file count, and how many they are shows when it is opened.
  void expect_any() { d_stored = {true, false, 0}; }
  /// Opens the file of a pending vector. Throws Util::Error and stays pending when that fails.
  void ensure_open() const {
    if constexpr (S::kMapped) {
      if (d_storage.pending()) [[unlikely]]
        open_stored();
    }
  }
  /// Back to a pending vector of as many elements as were expected.
  void unopen() noexcept {
    d_storage.unmap_stored();
    d_data = nullptr;
    d_capacity = d_mark = 0;
    d_size = d_stored.expected;
  }
  /// Gives the file exactly the elements, which stay where they are. A file that was opened for a message and has as
  /// many elements as then keeps its length.
  void trim() {
    if (d_data == nullptr || d_capacity == d_size || d_storage.keeps_length(d_size)) return;
    d_storage.cut_to(d_size);
    d_capacity = d_size;
    d_mark = 0;
  }

 private:
  struct StoredSize {
    bool size_unknown = false;
    bool exactly = false;        // d_size is the size, even if the file holds more
    std::uint64_t expected = 0;  // elements, before the program took some away
  };

  void open_stored() const;
  void ensure_growable() const {
    if constexpr (S::kMapped) {
      if (d_closed) throw_closed(d_storage.file_name());
    }
    ensure_open();
  }

  S d_storage;
  StoredSize d_stored;    // of a pending vector
  bool d_closed = false;  // mapped, and has let go of its file
};

template <class T, class S>
void Vector<T, S>::open_stored() const {
  auto& self = const_cast<Vector&>(*this);
  try {
    const std::uint64_t stored = self.d_storage.stored_length();
    if (!d_stored.size_unknown) check_stored_length(d_storage.file_name(), stored, d_size);
    self.d_data = self.d_storage.map_stored(stored);
    self.d_capacity = self.d_mark = stored;
  } catch (...) {
    self.d_storage.unmap_stored();
    throw;
  }
  if (!d_stored.exactly) self.d_size = self.d_stored.expected = d_capacity;
  self.d_storage.adopt(d_stored.expected);
  self.d_stored = {false, true, d_stored.expected};
}

template <class T, class S>
void Vector<T, S>::append(const T* values, std::uint64_t count) {
  if (count == 0) return;
  ensure_open();
  const auto offset = reinterpret_cast<std::uintptr_t>(values) - reinterpret_cast<std::uintptr_t>(d_data);
  const bool from_here = d_data != nullptr && offset < d_size * sizeof(T);
  T* target = append_for_overwrite(count);
  if (from_here) values = reinterpret_cast<const T*>(static_cast<const char*>(d_data) + offset);
  std::char_traits<char>::move(reinterpret_cast<char*>(target), reinterpret_cast<const char*>(values),
                               count * sizeof(T));
}

/// The vector of a column in process memory.
template <class T>
using CpuVector = Vector<T, CpuMem<T>>;

/// What a column contributes to a message: a range of its vector's elements for sending, the whole vector for
/// receiving. Sizing it for a receive leaves the memory as it is, because the message overwrites all of it.
template <class VectorT>
class ElementFrame final : public DataObj {
 public:
  ElementFrame(std::shared_ptr<Schema> schema, std::shared_ptr<VectorT> vector, std::uint64_t first,
               std::uint64_t count)
      : DataObj(std::move(schema)), d_vector(std::move(vector)), d_first(first), d_count(count) {}

  void* data() override { return d_vector->data() == nullptr ? nullptr : d_vector->data() + d_first; }
  std::uint64_t size_bytes() const override { return d_count * kElementSize; }
  bool fits(std::uint64_t n) override {
    if (n % kElementSize != 0 || d_first != 0) return false;
    d_vector->resize_for_overwrite(n / kElementSize);
    d_count = n / kElementSize;
    return true;
  }

 private:
  static constexpr std::uint64_t kElementSize = sizeof(typename VectorT::value_type);

  std::shared_ptr<VectorT> d_vector;
  std::uint64_t d_first;  // elements
  std::uint64_t d_count;  // elements
};

}  // namespace ZyData
