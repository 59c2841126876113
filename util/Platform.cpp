#include "util/Platform.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace Util {
namespace {

static_assert(sizeof(IoBuffer) == sizeof(iovec) && offsetof(IoBuffer, data) == offsetof(iovec, iov_base) &&
                  offsetof(IoBuffer, size) == offsetof(iovec, iov_len),
              "buffer lists are handed to the system as they stand");

const iovec* as_iovec(const IoBuffer* buffers) { return reinterpret_cast<const iovec*>(buffers); }

bool is_regular_file(int fd, struct stat& status) { return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode); }

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

std::size_t Platform::page_size() { return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); }

void Platform::advise_huge_pages(void* data, std::size_t size) {
  const int saved = errno;
  ::madvise(data, size, MADV_HUGEPAGE);
  errno = saved;
}

}  // namespace Util
