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

constexpr mode_t kPermissionBits = 0777;
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

/// The permission bits of a file whose owner or group becomes another one. Of the old group some now count among the
/// others, of the others some belong to the new group: both may do what both could. The old owner may be any of them.
mode_t access_without(mode_t mode, bool same_owner, bool same_group) {
  const mode_t owner = mode >> 6U & 7U;
  mode_t group = mode >> 3U & 7U;
  mode_t others = mode & 7U;
  if (!same_group) group = others = group & others;
  if (!same_owner) {
    group &= owner;
    others &= owner;
  }
  return owner << 6U | group << 3U | others;
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
  const int result = sync(fd);
  return result == 0 ? ::close(fd) : close_with(fd, errno);
}

int Platform::rename(const char* from, const char* to) { return ::rename(from, to); }

int Platform::link(const char* from, const char* to) { return ::link(from, to); }

int Platform::remove(const char* path) { return ::unlink(path); }

int Platform::permissions(const char* path) {
  struct stat status {};
  if (::stat(path, &status) != 0) return -1;
  if (S_ISREG(status.st_mode)) return static_cast<int>(status.st_mode & kPermissionBits);
  errno = EEXIST;
  return -1;
}

int Platform::copy_access(const char* path, int fd) {
  constexpr auto kAsItIs = static_cast<uid_t>(-1);
  struct stat old {
  }, made{};
  if (::stat(path, &old) != 0 || ::fstat(fd, &made) != 0) return -1;
  // The group first: who has given the file away may not change it any more.
  const bool same_group = made.st_gid == old.st_gid || ::fchown(fd, kAsItIs, old.st_gid) == 0;
  const bool same_owner = made.st_uid == old.st_uid || ::fchown(fd, old.st_uid, kAsItIs) == 0;
  return ::fchmod(fd, access_without(old.st_mode, same_owner, same_group));
}

int Platform::check_link(const std::string& link, const std::string& target) {
  const std::filesystem::path parent = std::filesystem::path(link).parent_path();
  struct stat folder {
  }, named{}, aim{};
  if (::stat(parent.empty() ? "." : parent.c_str(), &folder) != 0 || ::lstat(link.c_str(), &named) != 0) return -1;
  const bool shared = (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  if (!shared || named.st_uid == ::geteuid() || named.st_uid == folder.st_uid) return 0;
  if (::stat(target.c_str(), &aim) == 0 && aim.st_uid == named.st_uid) return 0;
  errno = EACCES;
  return -1;
}

}  // namespace Util
