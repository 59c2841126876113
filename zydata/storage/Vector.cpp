#include "zydata/storage/Vector.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "util/Assert.h"
#include "util/Error.h"

namespace ZyData {
namespace {

/// A vector that doubles must not fail because of elements that nobody asked for: mapped files end below 4 GiB.
std::uint64_t clamped_growth(const VStorageBase& storage, std::uint64_t wanted, std::uint64_t needed) {
  if (storage.in_process_memory()) return wanted;
  UTIL_ASSERT(storage.element_size() > 0);
  const std::uint64_t most = std::numeric_limits<std::uint32_t>::max() / storage.element_size();
  return wanted > most && needed <= most ? most : wanted;
}

}  // namespace

VectorBase::VectorBase(VectorBase&& other) noexcept
    : d_data(std::exchange(other.d_data, nullptr)),
      d_capacity(std::exchange(other.d_capacity, 0)),
      d_size(std::exchange(other.d_size, 0)),
      d_mark(std::exchange(other.d_mark, 0)) {}

void VectorBase::truncate(std::uint64_t n) noexcept {
  UTIL_ASSERT(n <= d_size);
  set_size(n);
}

void VectorBase::start(VStorageBase& storage) {
  const std::uint64_t stored = storage.stored_length();
  if (stored > 0) reserve(storage, stored);
  d_mark = stored;
  d_size = storage.initial_length();
}

void VectorBase::start(VStorageBase& storage, std::uint64_t n, const void* value) {
  const std::uint64_t stored = storage.stored_length();
  if (std::max(stored, n) > 0) reserve(storage, std::max(stored, n));
  d_size = stored;
  fill_new(storage, n, value);
  set_size(n);
}

void VectorBase::close(VStorageBase& storage) {
  void* data = std::exchange(d_data, nullptr);
  const std::uint64_t capacity = std::exchange(d_capacity, 0);
  const std::uint64_t size = std::exchange(d_size, 0);
  d_mark = 0;
  storage.release(data, capacity, size);
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
  const std::uint64_t needed = d_size + count;
  if (needed <= d_capacity) return;
  reserve(storage, clamped_growth(storage, std::max({2 * d_size, needed, storage.min_capacity()}), needed));
}

void VectorBase::resize(VStorageBase& storage, std::uint64_t n, const void* value) {
  if (n > d_capacity) {
    reserve(storage, clamped_growth(storage, std::max({2 * d_capacity, n, storage.min_capacity()}), n));
  }
  fill_new(storage, n, value);
  set_size(n);
}

void VectorBase::resize_for_overwrite(VStorageBase& storage, std::uint64_t n) {
  if (n > d_capacity) reserve(storage, n);
  set_size(n);
}

void VectorBase::set_size(std::uint64_t n) noexcept {
  if (n < d_size) d_mark = std::max(d_mark, d_size);
  d_size = n;
}

// Mapped storage writes no zeros, because the new part of a file is zero already. What vectors have left behind is not.
void VectorBase::fill_new(VStorageBase& storage, std::uint64_t n, const void* value) {
  if (n <= d_size) return;
  const std::uint64_t stale_end = std::min(n, d_mark);
  if (stale_end > d_size && !storage.in_process_memory()) {
    const std::uint64_t element_size = storage.element_size();
    std::memset(static_cast<char*>(d_data) + d_size * element_size, 0, (stale_end - d_size) * element_size);
  }
  storage.fill(d_data, d_size, n, value);
}

void throw_closed(const std::string& file_name) {
  throw Util::Error("mmap file \"%s\" was closed by its vector", file_name.c_str());
}

void check_stored_length(const std::string& file_name, std::uint64_t stored, std::uint64_t wanted) {
  if (stored >= wanted) return;
  throw Util::Error("mapped file \"%s\" holds %lu elements, the data that refer to it have %lu", file_name.c_str(),
                    static_cast<unsigned long>(stored), static_cast<unsigned long>(wanted));
}

}  // namespace ZyData
