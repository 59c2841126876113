#include "zydata/storage/MappedFile.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/storage/MMapStorage.h"

namespace ZyData {
namespace {

constexpr unsigned kFilePermissions = 0644;
constexpr auto kLongestChange = std::chrono::milliseconds(200);  // of a file's length by somebody else

/// False, with EWOULDBLOCK, when somebody else has the file. A file system without locks keeps nobody out.
bool lock(int fd, bool alone) { return Util::platform().lock(fd, alone) == 0 || errno != EWOULDBLOCK; }

/// Who has a file alone is changing its length, which is soon done.
bool lock_in_company(int fd) {
  constexpr auto kStep = std::chrono::milliseconds(1);
  for (auto waited = kStep; !lock(fd, false); waited += kStep) {
    if (waited > kLongestChange) {
      errno = EWOULDBLOCK;
      return false;
    }
    std::this_thread::sleep_for(kStep);
  }
  return true;
}

}  // namespace

MappedView::MappedView(int fd, std::uint64_t offset, std::uint64_t length) : d_offset(offset), d_length(length) {
  using namespace Util;
  void* begin = platform().map(nullptr, length, kMapRead | kMapWrite, kMapShared, fd, offset);
  if (begin != kMapFailed) d_begin = begin;
}

MappedView::MappedView(MappedView&& other) noexcept
    : d_begin(std::exchange(other.d_begin, nullptr)), d_offset(other.d_offset), d_length(other.d_length) {}

MappedView& MappedView::operator=(MappedView&& other) noexcept {
  if (this == &other) return *this;
  unmap();
  d_begin = std::exchange(other.d_begin, nullptr);
  d_offset = other.d_offset;
  d_length = other.d_length;
  return *this;
}

// Integers, because the address of a byte before the view lies in no object.
void* MappedView::address_of(std::uint64_t offset) const {
  return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(d_begin) - d_offset + offset);
}

bool MappedView::holds(std::uint64_t offset, std::uint64_t length) const {
  return d_begin != nullptr && offset >= d_offset && offset - d_offset <= d_length &&
         length <= d_length - (offset - d_offset);
}

bool MappedView::unmap() noexcept {
  if (d_begin != nullptr && Util::platform().unmap(d_begin, d_length) != 0) return false;
  d_begin = nullptr;
  return true;
}

MappedFile::MappedFile(MappedFile&& other) noexcept : d_fd(std::exchange(other.d_fd, -1)) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
  if (this == &other) return *this;
  close();
  d_fd = std::exchange(other.d_fd, -1);
  return *this;
}

// The system would take a name up to its zero byte, which is another file.
bool MappedFile::open(const std::string& name, Company company) {
  if (name.find('\0') != std::string::npos) {
    errno = EINVAL;
    return false;
  }
  const int fd = Util::platform().open_or_create(name.c_str(), kFilePermissions);
  return take(fd >= 0 ? fd : Util::platform().open_existing(name.c_str()), company);
}

bool MappedFile::open_referenced(const std::string& name, bool follow_link) {
  return take(Util::platform().open_regular(name.c_str(), follow_link), Company::welcome);
}

bool MappedFile::take(int fd, Company company) {
  if (fd < 0) return false;
  if ((company == Company::refused && !lock(fd, true)) || !lock_in_company(fd)) {
    const int error_number = errno;
    Util::platform().close(fd);
    errno = error_number;
    return false;
  }
  d_fd = fd;
  return true;
}

bool MappedFile::open_unnamed(const std::string& folder) {
  d_fd = Util::platform().open_unnamed(folder);
  return d_fd >= 0;
}

// Unlocked first, because a process that was forked meanwhile may still have the descriptor, and with it the lock.
void MappedFile::close() noexcept {
  if (d_fd < 0) return;
  Util::platform().unlock(d_fd);
  Util::platform().close(d_fd);
  d_fd = -1;
}

std::int64_t MappedFile::size() const { return Util::platform().file_size(d_fd); }

bool MappedFile::set_length(std::uint64_t length, std::uint64_t old_length) {
  if (!cut(length)) return false;
  if (length <= old_length) return true;
  if (Util::platform().reserve_blocks(d_fd, old_length, length - old_length) == 0) return true;
  restore_length(old_length);
  return false;
}

// A length that is right already may be set in company, too.
bool MappedFile::cut(std::uint64_t length) {
  Util::Platform& platform = Util::platform();
  const bool alone = lock(d_fd, true);
  int error_number = alone ? 0 : EBUSY;
  if (alone && platform.set_file_size(d_fd, length) != 0) error_number = errno;
  platform.lock(d_fd, false);
  if (error_number == 0 || (!alone && size() == static_cast<std::int64_t>(length))) return true;
  errno = error_number;
  return false;
}

void MappedFile::restore_length(std::uint64_t length) noexcept {
  const int error_number = errno;
  cut(length);
  errno = error_number;
}

void throw_open_failed(int error_number, const std::string& file_name) {
  if (error_number == EWOULDBLOCK) {
    Util::Error error("mmap file \"%s\" is already open: a file belongs to one array at a time", file_name.c_str());
    error.set_error_number(EBUSY);
    throw error;
  }
  throw Util::Error(error_number, "failed to open mmap file \"%s\"", file_name.c_str());
}

std::string folder_of(const std::string& file_name) {
  const std::string folder = std::filesystem::path(file_name).parent_path().string();
  return folder.empty() ? "." : folder;
}

void check_referenced_name(const std::string& file_name) {
  if (file_name.empty() || file_name.find('\0') != std::string::npos)
    throw Util::Error(std::string("the stored name of a mapped file is empty or damaged"));
  if (foreign_mapped_files_allowed()) return;
  const std::filesystem::path path(file_name);
  bool leaves_folder = path.is_absolute();
  for (const auto& part : path) leaves_folder |= part == "..";
  if (!leaves_folder) return;
  throw Util::Error("loaded data name the mapped file \"%s\": absolute names and \"..\" are refused",
                    file_name.c_str());
}

}  // namespace ZyData
