// Growable element buffers over a storage backend.
//
// A Vector<T, S> owns its elements; S decides where they live and how they grow. Several arrays may share one vector.
// Sizes and capacities count elements. Whatever does not depend on T stands in VectorBase.
//
// Nothing here locks: a vector and all arrays that view it belong to one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "util/Export.h"
#include "zydata/Storage.h"
#include "zydata/data.h"

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
  void close(VStorageBase& storage) noexcept;
  void reserve(VStorageBase& storage, std::uint64_t new_capacity);
  void grow_for_append(VStorageBase& storage, std::uint64_t count);
  void resize(VStorageBase& storage, std::uint64_t n, const void* value);
  void resize_for_overwrite(VStorageBase& storage, std::uint64_t n);

  void* d_data = nullptr;        // address of element 0; null while nothing was reserved
  std::uint64_t d_capacity = 0;  // elements that d_data can hold
  std::uint64_t d_size = 0;      // elements in use
};

template <class T, class S>
class Vector final : public VectorBase {
  static_assert(std::is_trivially_copyable_v<T>, "elements move as bytes");

 public:
  using value_type = T;

  /// The elements that the backend starts with.
  explicit Vector(S storage = S()) : d_storage(std::move(storage)) { start(d_storage); }
  /// Exactly `n` elements: those that the backend holds, then value-initialised ones.
  Vector(std::uint64_t n, S storage) : d_storage(std::move(storage)) {
    const T value{};
    start(d_storage, n, &value);
  }
  Vector(Vector&&) noexcept = default;
  ~Vector() { close(d_storage); }

  T* data() { return static_cast<T*>(d_data); }
  const T* data() const { return static_cast<const T*>(d_data); }
  T& operator[](std::uint64_t i) { return data()[i]; }
  const T& operator[](std::uint64_t i) const { return data()[i]; }
  T& back() { return data()[d_size - 1]; }
  const T& back() const { return data()[d_size - 1]; }
  std::span<const T> elements() const { return {data(), d_size}; }
  S& storage() { return d_storage; }
  const S& storage() const { return d_storage; }

  /// Makes room for `new_capacity` elements, which must be more than 0; never shrinks. Throws std::bad_alloc and
  /// changes nothing when memory is exhausted.
  void reserve(std::uint64_t new_capacity) { VectorBase::reserve(d_storage, new_capacity); }
  /// Makes room for `count` more elements by the growth rule of appends.
  void grow_for_append(std::uint64_t count) { VectorBase::grow_for_append(d_storage, count); }
  /// New elements get `value`.
  void resize(std::uint64_t n, T value) { VectorBase::resize(d_storage, n, &value); }
  /// New elements are left as the memory is: for a caller that writes all of them. Reserves exactly `n`.
  void resize_for_overwrite(std::uint64_t n) { VectorBase::resize_for_overwrite(d_storage, n); }

  void push_back(T value) {
    if (d_size == d_capacity) grow_for_append(1);
    data()[d_size++] = value;
  }
  /// Appends `count` elements, which may lie in this vector.
  void append(const T* values, std::uint64_t count);
  /// Appends `count` elements and returns the address of the first, for the caller to write.
  T* append_for_overwrite(std::uint64_t count) {
    if (count > d_capacity - d_size) grow_for_append(count);
    T* first = data() + d_size;
    d_size += count;
    return first;
  }

 private:
  S d_storage;
};

template <class T, class S>
void Vector<T, S>::append(const T* values, std::uint64_t count) {
  if (count == 0) return;
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
