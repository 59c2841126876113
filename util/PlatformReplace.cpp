// Files that take another's place.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "util/Platform.h"

namespace Util {
namespace {

constexpr int kMostAttempts = 16;  // each but the last means that another process came in between

int close_with(int fd, int error_number) {
  ::close(fd);
  errno = error_number;
  return -1;
}

bool lock_alone(int fd) { return ::flock(fd, LOCK_EX | LOCK_NB) == 0; }

/// False when the file has lost its name: whoever saw it unlocked took it for one that was left behind.
bool is_named(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && status.st_nlink > 0;
}

bool names(const char* path, int fd) {
  struct stat named {
  }, opened{};
  return ::lstat(path, &named) == 0 && ::fstat(fd, &opened) == 0 && named.st_ino == opened.st_ino &&
         named.st_dev == opened.st_dev;
}

bool is_regular(const char* path) {
  struct stat status {};
  return ::lstat(path, &status) == 0 && S_ISREG(status.st_mode);
}

/// Takes a file away that nobody has locked. False, with errno, when it has to stay.
bool remove_left_behind(const char* path) {
  if (!is_regular(path)) {
    if (errno == ENOENT) return true;
    errno = EEXIST;
    return false;
  }
  const int fd = ::open(path, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT;
  if (!lock_alone(fd)) return close_with(fd, EBUSY) == 0;
  if (names(path, fd) && ::unlink(path) != 0) return close_with(fd, errno) == 0;
  ::close(fd);
  return true;
}

}  // namespace

int Platform::open_locked(const char* path, unsigned permissions) {
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (fd >= 0 && lock_alone(fd) && is_named(fd)) return fd;
    if (fd >= 0) {
      ::close(fd);
      continue;
    }
    if (errno != EEXIST || !remove_left_behind(path)) return -1;
  }
  errno = EBUSY;
  return -1;
}

int Platform::sync(int fd) { return ::fsync(fd); }

int Platform::sync_folder_of(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return -1;
  const int result = ::fsync(fd);
  return result == 0 ? ::close(fd) : close_with(fd, errno);
}

int Platform::rename(const char* from, const char* to) { return ::rename(from, to); }

int Platform::link(const char* from, const char* to) { return ::link(from, to); }

int Platform::remove(const char* path) { return ::unlink(path); }

int Platform::permissions(const char* path) {
  struct stat status {};
  if (::stat(path, &status) != 0) return -1;
  if (S_ISREG(status.st_mode)) return static_cast<int>(status.st_mode & 07777U);
  errno = EEXIST;
  return -1;
}

int Platform::set_permissions(int fd, int permissions) { return ::fchmod(fd, static_cast<mode_t>(permissions)); }

}  // namespace Util
