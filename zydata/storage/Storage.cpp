#include "zydata/storage/Storage.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "util/Assert.h"
#include "util/Platform.h"

namespace ZyData {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kFillBlock = 1024;

std::size_t saturated_product(std::uint64_t count, std::uint64_t size) {
  std::size_t bytes = 0;
  return __builtin_mul_overflow(count, size, &bytes) ? std::numeric_limits<std::size_t>::max() : bytes;
}

std::size_t round_down(std::size_t bytes) { return bytes / kHugePage * kHugePage; }
std::size_t round_up(std::size_t bytes) { return round_down(bytes + kHugePage - 1); }

/// The bytes at the start of a block that huge pages should stand behind. The last page, of which a part stays unused,
/// counts only where that part is small against the block: a large one would take memory for nothing.
std::size_t huge_bytes(std::size_t bytes) {
  constexpr std::size_t kMaxWaste = 4;  // a quarter of the block
  if (bytes > std::numeric_limits<std::size_t>::max() / 2) return 0;
  return round_up(bytes) - bytes <= bytes / kMaxWaste ? round_up(bytes) : round_down(bytes);
}

/// An aligned block's size must be a multiple of its alignment.
void* allocate_large(std::size_t bytes) {
  void* block = std::aligned_alloc(kHugePage, round_up(bytes));
  if (block != nullptr) Util::platform().advise_huge_pages(block, huge_bytes(bytes));
  return block;
}

}  // namespace

namespace StorageError {

const char* WindowViolation::what() const noexcept {
  return "an attempt was made to access data outside of the delared size or slice range";
}

}  // namespace StorageError

void VStorageBase::describe(FrameList&, const std::shared_ptr<void>&) {}

VStorageBase::~VStorageBase() = default;

void* VCpuMem::reallocate(void* old_data, std::uint64_t /*old_capacity*/, std::uint64_t new_capacity,
                          std::uint64_t size) {
  if (new_capacity == 0) {
    std::free(old_data);
    return nullptr;
  }
  const std::uint64_t kept = std::min(size, new_capacity);
  UTIL_ASSERT_AT(kept == 0 || old_data != nullptr, "old_p", "Storage", 41);
  const std::size_t bytes = saturated_product(new_capacity, d_element_size);
  if (huge_bytes(bytes) == 0) return std::realloc(old_data, bytes);
  void* block = allocate_large(bytes);
  if (block == nullptr) return nullptr;
  if (kept > 0) std::memcpy(block, old_data, kept * d_element_size);
  std::free(old_data);
  return block;
}

void VCpuMem::release(void* data, std::uint64_t, std::uint64_t) { std::free(data); }

void VCpuMem::fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) {
  pattern_fill(data, d_element_size, from, to, value);
}

void pattern_fill(void* data, std::uint64_t element_size, std::uint64_t from, std::uint64_t to, const void* value) {
  if (to <= from) return;
  UTIL_ASSERT(element_size > 0);
  char* at = static_cast<char*>(data) + from * element_size;
  const char* bytes = static_cast<const char*>(value);
  if (std::all_of(bytes, bytes + element_size, [&](char c) { return c == bytes[0]; })) {
    std::memset(at, bytes[0], (to - from) * element_size);
    return;
  }
  const std::uint64_t per_block = kFillBlock / element_size;
  std::uint64_t left = to - from;
  const auto copy_elements = [&](std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i, at += element_size) std::memcpy(at, value, element_size);
  };
  if (per_block == 0 || left < per_block) return copy_elements(left);
  std::array<char, kFillBlock> block;
  const std::uint64_t block_bytes = per_block * element_size;
  for (std::uint64_t i = 0; i < block_bytes; i += element_size) std::memcpy(block.data() + i, value, element_size);
  for (; left >= per_block; left -= per_block, at += block_bytes) std::memcpy(at, block.data(), block_bytes);
  std::memcpy(at, block.data(), left * element_size);
}

}  // namespace ZyData
