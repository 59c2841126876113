#include "util/Platform.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <limits>

namespace Util {
namespace {

static_assert(sizeof(IoBuffer) == sizeof(iovec) && offsetof(IoBuffer, data) == offsetof(iovec, iov_base) &&
                  offsetof(IoBuffer, size) == offsetof(iovec, iov_len),
              "buffer lists are handed to the system as they stand");

const iovec* as_iovec(const IoBuffer* buffers) { return reinterpret_cast<const iovec*>(buffers); }

static_assert(kMapRead == PROT_READ && kMapWrite == PROT_WRITE && kMapExecute == PROT_EXEC &&
                  kMapShared == MAP_SHARED && kMapFixed == MAP_FIXED && kMapAnonymous == MAP_ANONYMOUS,
              "protection and flags are handed to the system as they stand");

bool is_regular_file(int fd, struct stat& status) { return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode); }

/// Closes a descriptor that turned out to be unusable.
int refuse(int fd, int error_number) {
  ::close(fd);
  errno = error_number;
  return -1;
}

int create_unnamed(const std::filesystem::path& folder) {
  std::string path = (folder / ".mapped-XXXXXX").string();
  const int fd = ::mkostemp(path.data(), O_CLOEXEC);
  if (fd < 0) return -1;
  if (::unlink(path.c_str()) != 0) return refuse(fd, errno);
  return fd;
}

/// Lengths and positions that the system can express.
bool is_file_position(std::uint64_t value) {
  return value <= static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
}

/// A file that ends before `end` is extended to it.
bool reaches(int fd, std::uint64_t end) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return false;
  if (!S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) >= end) return true;
  return ::ftruncate(fd, static_cast<off_t>(end)) == 0;
}

/// All of the file.
int set_lock(int fd, short type) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  return ::fcntl(fd, F_OFD_SETLK, &range);
}

/// Mappings begin at a page: the bytes between the page and `position`.
std::size_t bytes_before(std::uintptr_t position) {
  return position % static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace

int Platform::open_for_reading(const char* path) { return ::open(path, O_RDONLY | O_CLOEXEC); }

int Platform::open_for_writing(const char* path, unsigned permissions) {
  return ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, permissions);
}

int Platform::close(int fd) { return ::close(fd); }

std::int64_t Platform::read(int fd, void* data, std::size_t size) { return ::read(fd, data, size); }

std::int64_t Platform::write(int fd, const void* data, std::size_t size) { return ::write(fd, data, size); }

std::int64_t Platform::read_scattered(int fd, const IoBuffer* buffers, std::size_t count) {
  return ::readv(fd, as_iovec(buffers), static_cast<int>(count));
}

std::int64_t Platform::write_gathered(int fd, const IoBuffer* buffers, std::size_t count) {
  return ::writev(fd, as_iovec(buffers), static_cast<int>(count));
}

std::int64_t Platform::bytes_to_end(int fd) {
  struct stat status {};
  if (!is_regular_file(fd, status)) return -1;
  const off_t position = ::lseek(fd, 0, SEEK_CUR);
  if (position < 0) return -1;
  return position < status.st_size ? status.st_size - position : 0;
}

int Platform::control_blocking_mode(int fd, int value) {
  struct stat status {};
  if (is_regular_file(fd, status)) return -1;
  return ::ioctl(fd, FIONBIO, &value);
}

int Platform::wait_readable(int fd, int timeout_ms) {
  pollfd entry{fd, POLLRDNORM | POLLRDBAND, 0};
  return ::poll(&entry, 1, timeout_ms);
}

bool Platform::exists(const std::string& path, std::error_code& error) { return std::filesystem::exists(path, error); }

void Platform::create_directory(const std::string& path, std::error_code& error) {
  std::filesystem::create_directory(path, error);
}

int Platform::open_or_create(const char* path, unsigned permissions) {
  return ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, permissions);
}

int Platform::open_existing(const char* path) { return ::open(path, O_RDWR | O_CLOEXEC); }

int Platform::open_regular(const char* path, bool follow_link) {
  const int fd = ::open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (follow_link ? 0 : O_NOFOLLOW));
  if (fd < 0) return -1;
  struct stat status {};
  return is_regular_file(fd, status) ? fd : refuse(fd, EINVAL);
}

int Platform::open_unnamed(const std::string& folder) {
  const int fd = create_unnamed(folder.empty() ? std::filesystem::path(".") : std::filesystem::path(folder));
  if (fd >= 0) return fd;
  std::error_code error;
  const std::filesystem::path temporary = std::filesystem::temp_directory_path(error);
  return error ? -1 : create_unnamed(temporary);
}

// Of the open file, not of the process, and changed in one step: flock would give a shared lock up first.
int Platform::lock(int fd, bool alone) {
  if (set_lock(fd, alone ? F_WRLCK : F_RDLCK) == 0) return 0;
  if (errno == EACCES) errno = EWOULDBLOCK;
  return -1;
}

void Platform::unlock(int fd) { set_lock(fd, F_UNLCK); }

std::int64_t Platform::file_size(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 ? status.st_size : -1;
}

int Platform::set_file_size(int fd, std::uint64_t size) {
  if (is_file_position(size)) return ::ftruncate(fd, static_cast<off_t>(size));
  errno = EFBIG;
  return -1;
}

int Platform::reserve_blocks(int fd, std::uint64_t offset, std::uint64_t size) {
  if (size == 0) return 0;
  int error_number = EFBIG;
  if (is_file_position(offset) && is_file_position(size)) {
    do {
      error_number = ::posix_fallocate(fd, static_cast<off_t>(offset), static_cast<off_t>(size));
    } while (error_number == EINTR);
  }
  if (error_number == 0) return 0;
  errno = error_number;
  return -1;
}

void* Platform::map(void* hint, std::size_t length, int protection, int flags, int fd, std::uint64_t offset) {
  const std::size_t before = bytes_before(offset);
  const bool anonymous = (flags & kMapAnonymous) != 0;
  if (length == 0 || protection == kMapExecute || length > std::numeric_limits<std::size_t>::max() - offset ||
      !is_file_position(offset + length)) {
    errno = EINVAL;
    return kMapFailed;
  }
  if (!anonymous && fd < 0) {
    errno = EBADF;
    return kMapFailed;
  }
  if (!anonymous && !reaches(fd, offset + length)) return kMapFailed;
  if ((flags & kMapShared) == 0) flags |= MAP_PRIVATE;
  if (hint != nullptr) hint = static_cast<char*>(hint) - before;
  void* start = ::mmap(hint, length + before, protection, flags, fd, static_cast<off_t>(offset - before));
  return start == MAP_FAILED ? kMapFailed : static_cast<char*>(start) + before;
}

int Platform::unmap(void* address, std::size_t length) {
  const std::size_t before = bytes_before(reinterpret_cast<std::uintptr_t>(address));
  return ::munmap(static_cast<char*>(address) - before, length + before);
}

std::size_t Platform::page_size() { return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); }

void Platform::advise_huge_pages(void* data, std::size_t size) {
  const int saved = errno;
  ::madvise(data, size, MADV_HUGEPAGE);
  errno = saved;
}

}  // namespace Util
