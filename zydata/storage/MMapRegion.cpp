#include "zydata/storage/MMapRegion.h"

#include <algorithm>
#include <cerrno>

#include "util/Assert.h"
#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/storage/MMapStorage.h"

namespace ZyData {
namespace {

/// Sums and products of claims: the largest number instead of one that does not fit.
std::uint64_t saturated_product(std::uint64_t a, std::uint64_t b) {
  std::uint64_t result = 0;
  return __builtin_mul_overflow(a, b, &result) ? ~std::uint64_t{0} : result;
}
std::uint64_t saturated_sum(std::uint64_t a, std::uint64_t b) { return a > ~b ? ~std::uint64_t{0} : a + b; }

}  // namespace

const MMapRegion::Failure MMapRegion::kNoInfo{"getting file info in initialization of ", " fails!"};
const MMapRegion::Failure MMapRegion::kNoInfoInResize{"getting file info in resize of ", " fails!"};
const MMapRegion::Failure MMapRegion::kNoDefaultSize{"Resizing ", " to default size fails!"};
const MMapRegion::Failure MMapRegion::kResizeFailed{"resizing ", " fails!"};
const MMapRegion::Failure MMapRegion::kMapFailed{"Mapping file ", " to memory in initialization fails!"};
const MMapRegion::Failure MMapRegion::kMapFailedInResize{"Mapping file ", " to memory in resize step fails!"};

MMapRegion::MMapRegion(std::uint64_t unit, std::string file_name, std::uint64_t first, std::uint64_t length)
    : d_unit(unit),
      d_first(first),
      d_length(length),
      d_file_name(std::move(file_name)),
      d_open_ended(length == kWholeFile) {
  UTIL_ASSERT(unit > 0);
}

MMapRegion::MMapRegion(const MMapRegion& other, std::uint64_t unit) : MMapRegion(unit, "") {
  d_pending = false;
  d_reaches_end = true;
  d_length = 0;
  if (!d_file.open_unnamed(folder_of(other.d_file_name))) throw_open_failed(errno, "");
}

MMapRegion::~MMapRegion() = default;

void MMapRegion::open() {
  if (d_file.is_open()) return;
  try {
    open_file();
    open_view();
  } catch (...) {
    d_file.close();
    throw;
  }
  d_pending = false;
}

void MMapRegion::open_view() {
  const std::uint64_t page = Util::platform().page_size();
  const std::uint64_t old_bytes = query_size(kNoInfo);
  d_begin = saturated_product(d_unit, d_first) / page * page;
  const std::uint64_t length = length_to_map(old_bytes);
  const std::uint64_t end = end_bytes(length);
  const bool grows = end > old_bytes;
  if (grows && !d_file.set_length(end, old_bytes)) fail(errno, old_bytes == 0 ? kNoDefaultSize : kMapFailed);
  MappedView view;
  if (length > 0 || !d_referenced) {
    view = map(length);
    const int error_number = errno;
    if (!view && grows) d_file.restore_length(old_bytes);
    if (!view) fail(error_number, kMapFailed);
  }
  d_resized = grows;
  d_reaches_end = std::max(end, old_bytes) / d_unit == d_first + length;
  d_length = length;
  take(std::move(view));
}

// The file is cut last, because nothing brings back what a cut has taken.
void MMapRegion::resize(std::uint64_t new_length) {
  if (new_length < d_first) fail(EINVAL, kResizeFailed);
  const std::uint64_t bytes = saturated_product(new_length, d_unit);
  const std::uint64_t old_bytes = query_size(kNoInfoInResize);
  const bool grows = bytes > old_bytes;
  if (grows && !d_file.set_length(bytes, old_bytes)) fail(errno, kResizeFailed);
  try {
    view_anew(new_length - d_first);
  } catch (...) {
    if (grows) d_file.restore_length(old_bytes);
    throw;
  }
  if (!grows && !d_file.set_length(bytes, old_bytes)) {
    const int error_number = errno;
    MappedView old_view = map(d_length);
    if (old_view) {
      take(std::move(old_view));
    } else {
      d_length = new_length - d_first;  // all that the new view shows
    }
    fail(error_number, kResizeFailed);
  }
  d_length = new_length - d_first;
  d_resized = true;
}

void MMapRegion::view_anew(std::uint64_t length) {
  MappedView view = map(length);
  if (!view) fail(errno, kMapFailedInResize);
  if (!d_view.unmap()) throw Util::Error(errno, "Unmapping in resize step fails");
  take(std::move(view));
}

std::uint64_t MMapRegion::stored_length() {
  if (d_file_name.empty()) return 0;
  open();
  return d_length;
}

std::uint64_t MMapRegion::min_capacity() const { return Util::platform().page_size() / d_unit; }

void* MMapRegion::reallocate(void*, std::uint64_t, std::uint64_t new_capacity, std::uint64_t) {
  open();
  resize(saturated_sum(d_first, new_capacity));
  return d_data;
}

void MMapRegion::release(void*, std::uint64_t, std::uint64_t size) {
  d_pending = false;
  if (!d_file.is_open()) return;
  take({});
  const bool cut = keeps_length(size) || d_file.cut((d_first + size) * d_unit);
  const int error_number = errno;
  d_file.close();
  d_length = d_referenced ? size : kWholeFile;
  d_resized = false;
  d_adopted = 0;
  if (!cut) fail(error_number, kResizeFailed);
}

void MMapRegion::fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) {
  pattern_fill(data, d_unit, from, to, value);
}

void MMapRegion::refer_to(std::string file_name, std::uint64_t first, std::uint64_t length) {
  d_file_name = std::move(file_name);
  d_first = first;
  d_length = length;
  d_referenced = true;
}

void* MMapRegion::map_stored(std::uint64_t) { return d_data; }

void MMapRegion::unmap_stored() noexcept {
  take({});
  d_file.close();
  d_pending = true;
}

void MMapRegion::cut_to(std::uint64_t size) {
  if (!d_file.cut((d_first + size) * d_unit)) fail(errno, kResizeFailed);
  d_length = size;
  d_resized = true;
}

// A file that can't be opened is one whose size can't be queried, unless data from outside have named it.
void MMapRegion::open_file() {
  if (!d_referenced) {
    if (d_file.open(d_file_name, is_part() ? Company::welcome : Company::refused)) return;
    if (errno == EWOULDBLOCK) throw_open_failed(errno, d_file_name);
    fail(errno, kNoInfo);
  }
  check_referenced_name(d_file_name);
  if (!d_file.open_referenced(d_file_name, foreign_mapped_files_allowed())) throw_open_failed(errno, d_file_name);
}

std::uint64_t MMapRegion::query_size(const Failure& failure) const {
  const std::int64_t bytes = d_file.size();
  if (bytes < 0) fail(errno, failure);
  return static_cast<std::uint64_t>(bytes);
}

std::uint64_t MMapRegion::length_to_map(std::uint64_t file_bytes) const {
  if (d_referenced) {
    check_holds_reference(file_bytes);
    return d_length;
  }
  if (file_bytes == 0) return d_length == kWholeFile ? 1 : d_length;
  check_begin(file_bytes);
  return d_length == kWholeFile ? (file_bytes - d_unit * d_first) / d_unit : d_length;
}

void MMapRegion::check_begin(std::uint64_t file_bytes) const {
  const bool unknown_end_before_begin = d_length == kWholeFile && saturated_product(d_unit, d_first) > file_bytes;
  if (file_bytes > d_begin && !unknown_end_before_begin) return;
  throw Util::Error("File %s size is less than the offset!", d_file_name.c_str());
}

void MMapRegion::check_holds_reference(std::uint64_t file_bytes) const {
  if (end_bytes(d_length) <= file_bytes) return;
  throw Util::Error("mapped file \"%s\" holds %lu elements, the data that refer to it have %lu", d_file_name.c_str(),
                    static_cast<unsigned long>(file_bytes / d_unit),
                    static_cast<unsigned long>(saturated_sum(d_first, d_length)));
}

/// Where `length` elements from the first one end in the file.
std::uint64_t MMapRegion::end_bytes(std::uint64_t length) const {
  return saturated_product(saturated_sum(d_first, length), d_unit);
}

/// Empty, with errno, when it failed.
MappedView MMapRegion::map(std::uint64_t length) const {
  return MappedView(d_file.fd(), d_begin, end_bytes(length) - d_begin);
}

void MMapRegion::take(MappedView view) {
  d_view = std::move(view);
  d_data = d_view ? d_view.address_of(d_unit * d_first) : nullptr;
}

void MMapRegion::fail(int error_number, const Failure& failure) const {
  throw Util::Error(error_number, "%s%s%s", failure.before_name, d_file_name.c_str(), failure.after_name);
}

}  // namespace ZyData
