#include "zydata/Vector.h"

#include <algorithm>
#include <new>

#include "util/Assert.h"

namespace ZyData {

VectorBase::VectorBase(VectorBase&& other) noexcept
    : d_data(std::exchange(other.d_data, nullptr)),
      d_capacity(std::exchange(other.d_capacity, 0)),
      d_size(std::exchange(other.d_size, 0)) {}

void VectorBase::truncate(std::uint64_t n) noexcept {
  UTIL_ASSERT(n <= d_size);
  d_size = n;
}

void VectorBase::start(VStorageBase& storage) {
  const std::uint64_t stored = storage.stored_length();
  if (stored > 0) reserve(storage, stored);
  d_size = storage.initial_length();
}

void VectorBase::start(VStorageBase& storage, std::uint64_t n, const void* value) {
  const std::uint64_t stored = storage.stored_length();
  if (std::max(stored, n) > 0) reserve(storage, std::max(stored, n));
  d_size = stored;
  if (n > d_size) storage.fill(d_data, d_size, n, value);
  d_size = n;
}

void VectorBase::close(VStorageBase& storage) noexcept {
  if (d_data == nullptr) return;
  storage.release(d_data, d_capacity, d_size);
  d_data = nullptr;
}

void VectorBase::reserve(VStorageBase& storage, std::uint64_t new_capacity) {
  UTIL_ASSERT_AT(new_capacity > 0, "new_capacity > 0", "Vector", 251);
  if (new_capacity <= d_capacity) return;
  void* block = storage.reallocate(d_data, d_capacity, new_capacity, d_size);
  if (block == nullptr) throw std::bad_alloc();
  d_data = block;
  d_capacity = new_capacity;
}

// Deliberate: appends double the size, resize doubles the capacity.
void VectorBase::grow_for_append(VStorageBase& storage, std::uint64_t count) {
  if (count > ~d_size) throw std::bad_alloc();
  if (d_size + count > d_capacity) reserve(storage, std::max({2 * d_size, d_size + count, storage.min_capacity()}));
}

void VectorBase::resize(VStorageBase& storage, std::uint64_t n, const void* value) {
  if (n > d_capacity) reserve(storage, std::max({2 * d_capacity, n, storage.min_capacity()}));
  if (n > d_size) storage.fill(d_data, d_size, n, value);
  d_size = n;
}

void VectorBase::resize_for_overwrite(VStorageBase& storage, std::uint64_t n) {
  if (n > d_capacity) reserve(storage, n);
  d_size = n;
}

}  // namespace ZyData
