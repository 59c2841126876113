#include "zydata/storage/MMapStorage.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>

#include "util/Assert.h"
#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/object/MemoryData.h"

namespace ZyData {
namespace {

constexpr std::uint64_t kMostBytes = 0xffffffff;  // of one file, because window bounds have 32 bits
constexpr const char* kRequested = "requested size";
constexpr const char* kVectorLength = "vector length";
constexpr const char* kMapFailed = "failed to map file '%s' into memory";

std::atomic<bool> foreign_files_allowed{false};

/// The byte offset of an element's page; beyond what the bounds can express it is the last page below 4 GiB.
std::uint32_t page_of(std::uint64_t index, std::uint64_t element_size) {
  std::uint64_t bytes = 0;
  if (__builtin_mul_overflow(index, element_size, &bytes)) bytes = kMostBytes;
  const std::uint64_t page = Util::platform().page_size();
  return static_cast<std::uint32_t>(std::min(bytes, kMostBytes) / page * page);
}

std::uint64_t elements_up_to(std::uint64_t bytes, std::uint64_t element_size) {
  return element_size == 0 ? 0 : (bytes + element_size - 1) / element_size;
}

}  // namespace

void allow_foreign_mapped_files(bool allowed) { foreign_files_allowed = allowed; }

bool foreign_mapped_files_allowed() { return foreign_files_allowed; }

VMMap::VMMap(std::uint64_t element_size, std::string file_name, bool keep_contents, std::uint64_t first,
             std::uint64_t last)
    : d_file_name(std::move(file_name)), d_keep_contents(keep_contents) {
  d_extent.element_size = element_size;
  VMMap::set_window(first, last);
}

VMMap::VMMap(const VMMap& other)
    : VStorageBase(other),
      d_file_name(other.d_file_name),
      d_keep_contents(other.d_keep_contents),
      d_extent(other.d_extent),
      d_referenced(other.d_referenced),
      d_pending(other.d_referenced) {
  refresh_inside();
}

VMMap::~VMMap() = default;

std::pair<std::uint64_t, std::uint64_t> VMMap::window() const {
  return {elements_up_to(d_extent.window_begin, d_extent.element_size),
          elements_up_to(d_extent.window_end, d_extent.element_size)};
}

// Deliberate: both ends are rounded down, so a window that ends inside a page excludes that page.
std::uint64_t VMMap::set_window(std::uint64_t first, std::uint64_t last) {
  d_extent.window_begin = page_of(first, d_extent.element_size);
  std::uint64_t result = kNoWindowEnd;
  if (last != kNoWindowEnd) {
    d_extent.window_end = page_of(last == ~std::uint64_t{0} ? last : last + 1, d_extent.element_size);
    result = d_extent.window_end;
  }
  refresh_inside();
  return result;
}

bool VMMap::in_window(std::uint64_t index) const {
  std::uint64_t begin = 0;
  if (__builtin_mul_overflow(index, d_extent.element_size, &begin)) return false;
  return d_extent.window_begin <= begin && begin < d_extent.window_end;
}

std::uint64_t VMMap::stored_length() {
  if (d_file_name.empty()) return 0;
  ensure_open();
  const std::int64_t bytes = d_file.size();
  const int error_number = errno;
  if (bytes < 0) throw Util::Error(error_number, "failed to get file info of mmap array \"%s\"", d_file_name.c_str());
  return d_extent.element_size == 0 ? 0 : static_cast<std::uint64_t>(bytes) / d_extent.element_size;
}

std::uint64_t VMMap::min_capacity() const {
  return d_extent.element_size == 0 ? 0 : Util::platform().page_size() / d_extent.element_size;
}

void* VMMap::reallocate(void* /*old_data*/, std::uint64_t /*old_capacity*/, std::uint64_t new_capacity,
                        std::uint64_t /*size*/) {
  UTIL_ASSERT(d_extent.element_size > 0);
  const std::uint64_t bytes = checked_bytes(new_capacity);
  ensure_open();
  const std::int64_t answer = d_file.size();
  if (answer < 0) fail_resize(errno, kRequested, bytes);
  const auto old_bytes = static_cast<std::uint64_t>(answer);
  const bool grows = bytes > old_bytes;
  const bool cuts = bytes < old_bytes && old_bytes - bytes >= d_extent.element_size;  // bytes of no element may stay
  if (grows && !d_file.set_length(bytes, old_bytes)) fail_resize(errno, kRequested, bytes);
  MappedView view;
  if (new_capacity > 0) {
    view = map_window(bytes);
    const int error_number = errno;
    if (!view && grows) d_file.restore_length(old_bytes);
    if (!view) throw Util::Error(error_number, kMapFailed, d_file_name.c_str());
  }
  if (cuts && !d_file.set_length(bytes, old_bytes)) fail_resize(errno, kRequested, bytes);
  replace_view(std::move(view));
  d_resized |= grows || cuts;
  d_pending = false;
  if (!d_view) return nullptr;
  clear_partial_element(old_bytes);
  return address();
}

void VMMap::release(void* /*data*/, std::uint64_t capacity, std::uint64_t size) {
  d_pending = false;
  if (!d_file.is_open()) return;
  replace_view({});
  const std::uint64_t bytes = size * d_extent.element_size;
  const bool fits = keeps_length(size) || capacity <= size || d_file.cut(bytes);
  const int error_number = errno;
  d_file.close();
  d_resized = false;
  d_adopted = 0;
  if (!fits) fail_resize(error_number, kVectorLength, bytes);
}

void VMMap::fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) {
  UTIL_ASSERT(d_extent.element_size > 0);
  const char* bytes = static_cast<const char*>(value);
  if (std::all_of(bytes, bytes + d_extent.element_size, [](char c) { return c == 0; })) return;
  pattern_fill(data, d_extent.element_size, from, to, value);
}

void VMMap::describe(FrameList& parts, const std::shared_ptr<void>& owner) {
  parts.push_back(std::make_shared<StringReferenceData>(d_file_name, owner));
  parts.push_back(std::make_shared<FixedMemoryData>(&d_extent, sizeof d_extent, owner));
}

void VMMap::check_reference(std::uint64_t element_size) {
  const std::uint64_t page = Util::platform().page_size();
  const bool end_fits = d_extent.window_end == kNoWindowEnd || d_extent.window_end % page == 0;
  if (d_extent.element_size != element_size || d_extent.window_begin % page != 0 || !end_fits ||
      d_extent.window_end < d_extent.window_begin) {
    throw Util::Error("the stored window of mmap file \"%s\" (bytes %u to %u, element size %lu) is damaged",
                      d_file_name.c_str(), d_extent.window_begin, d_extent.window_end,
                      static_cast<unsigned long>(d_extent.element_size));
  }
  refresh_inside();
}

void* VMMap::map_stored(std::uint64_t count) {
  ensure_open();
  if (count > 0) {
    std::uint64_t bytes = 0;
    if (__builtin_mul_overflow(count, d_extent.element_size, &bytes)) bytes = kMostBytes;
    MappedView view = map_window(bytes);
    const int error_number = errno;
    if (!view) throw Util::Error(error_number, kMapFailed, d_file_name.c_str());
    replace_view(std::move(view));
  }
  d_pending = false;
  return d_view ? address() : nullptr;
}

void VMMap::unmap_stored() noexcept {
  replace_view({});
  d_file.close();
  d_pending = true;
}

void VMMap::cut_to(std::uint64_t size) {
  const std::uint64_t bytes = size * d_extent.element_size;
  if (!d_file.cut(bytes)) fail_resize(errno, kVectorLength, bytes);
  d_resized = true;
}

void VMMap::become_unnamed_beside(const VMMap& other) {
  if (d_file.open_unnamed(folder_of(other.d_file_name))) return;
  throw_open_failed(errno, "");
}

void VMMap::ensure_open() {
  if (d_file.is_open()) return;
  if (d_referenced) check_referenced_name(d_file_name);
  const Company company = has_window() || d_keep_contents ? Company::welcome : Company::refused;
  const bool opened = d_referenced ? d_file.open_referenced(d_file_name, foreign_mapped_files_allowed())
                                   : d_file.open(d_file_name, company);
  if (!opened) throw_open_failed(errno, d_file_name);
}

void VMMap::throw_outside(std::uint64_t last) const {
  if (d_extent.window_end == kNoWindowEnd) checked_bytes(last == ~std::uint64_t{0} ? last : last + 1);
  throw StorageError::WindowViolation();
}

/// The bytes of `count` elements. More than the window bounds can express are refused.
std::uint64_t VMMap::checked_bytes(std::uint64_t count) const {
  std::uint64_t bytes = 0;
  if (__builtin_mul_overflow(count, d_extent.element_size, &bytes)) bytes = ~std::uint64_t{0};
  if (bytes > kMostBytes) fail_resize(EFBIG, kRequested, bytes);
  return bytes;
}

void VMMap::fail_resize(int error_number, const char* to_what, std::uint64_t bytes) const {
  throw Util::Error(error_number, "failed to resize mmap file \"%s\" to %s (%lu)", d_file_name.c_str(), to_what,
                    static_cast<unsigned long>(bytes));
}

/// The part of `bytes` bytes of the file that lies in the window. Empty, with errno, when there is none.
MappedView VMMap::map_window(std::uint64_t bytes) {
  const std::uint64_t begin = d_extent.window_begin;
  const std::uint64_t end = std::min<std::uint64_t>(bytes, d_extent.window_end);
  return MappedView(d_file.fd(), begin, end > begin ? end - begin : 0);
}

void VMMap::replace_view(MappedView view) {
  std::swap(d_view, view);
  if (!view.unmap()) d_unmap_error = errno;
  d_view_begin = d_extent.window_begin;
  d_view_end = d_extent.window_end;
  refresh_inside();
}

/// A file whose length is no multiple of the element size ends in bytes that belong to no element; when the file grows,
/// they become part of one that must read as zero.
void VMMap::clear_partial_element(std::uint64_t old_bytes) {
  const std::uint64_t rest = old_bytes % d_extent.element_size;
  if (rest > 0 && d_view.holds(old_bytes - rest, rest)) std::memset(d_view.address_of(old_bytes - rest), 0, rest);
}

void VMMap::refresh_inside() {
  auto [first, end] = window();
  if (d_view) {
    first = std::max(first, elements_up_to(d_view_begin, d_extent.element_size));
    end = std::min(end, elements_up_to(d_view_end, d_extent.element_size));
  }
  d_first_inside = first;
  d_inside = end > first ? end - first : 0;
}

}  // namespace ZyData
