#include "tools/corvane/support/PendingFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace CorvaneTool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPrefix = ".corvane-pending-";

[[noreturn]] void fail(const std::string& directory, int error) {
  throw std::runtime_error(directory + ": cannot be written to: " + std::generic_category().message(error));
}

// The folder, opened and locked; -1 when there is none or when somebody else works in it.
int lock_folder(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor >= 0 && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0) return descriptor;
  const int reason = errno;
  if (descriptor >= 0) ::close(descriptor);
  errno = reason;
  return -1;
}

void remove_stale_folders(const std::string& directory) {
  std::error_code ignored;
  for (fs::directory_iterator entry(directory, ignored), end; !ignored && entry != end; entry.increment(ignored)) {
    if (!entry->path().filename().string().starts_with(kPrefix)) continue;
    const int lock = lock_folder(entry->path().string());
    if (lock < 0) continue;
    std::error_code left_behind;
    fs::remove_all(entry->path(), left_behind);
    ::close(lock);
  }
}

}  // namespace

PendingFolder::PendingFolder(const std::string& directory) : d_directory(directory.empty() ? "." : directory) {
  make_directory();
  try {
    remove_stale_folders(d_directory);
    make_folder();
  } catch (...) {
    if (d_made_directory) ::rmdir(d_directory.c_str());
    throw;
  }
}

PendingFolder::~PendingFolder() {
  std::error_code ignored;
  fs::remove_all(d_path, ignored);
  if (d_made_directory) ::rmdir(d_directory.c_str());  // only when it is empty
  if (d_lock >= 0) ::close(d_lock);
}

void PendingFolder::make_directory() {
  std::error_code error;
  const fs::file_status status = fs::status(d_directory, error);
  if (is_directory(status)) return;
  if (status.type() != fs::file_type::not_found) throw std::runtime_error(d_directory + ": not a directory");
  d_removed.emplace_back(d_directory);
  d_made_directory = fs::create_directory(d_directory, error);
  if (!d_made_directory) fail(d_directory, error.value());
}

// Another program may take a new folder for a stale one until it is locked; then there is a next try.
void PendingFolder::make_folder() {
  for (int tries = 0; tries < 10; ++tries) {
    d_path = d_directory + "/" + kPrefix + std::to_string(std::random_device()());
    d_removed.emplace_back(d_path);
    std::error_code error;
    if (fs::create_directory(d_path, error)) {
      d_lock = lock_folder(d_path);
      // Where the file system knows no locks, none is needed: nobody removes what cannot be locked.
      if ((d_lock >= 0 || errno != EWOULDBLOCK) && fs::exists(d_path, error)) return;
      if (d_lock >= 0) ::close(std::exchange(d_lock, -1));
    } else if (error) {
      fail(d_directory, error.value());
    }
    d_removed.pop_back();
  }
  fail(d_directory, EEXIST);
}

std::string PendingFolder::file(const std::string& name) {
  std::string path = d_path + "/" + name;
  d_removed.emplace_back(path);
  return path;
}

void PendingFolder::commit(const std::string& name, const std::string& new_name) {
  const std::string target = d_directory + "/" + new_name;
  std::error_code error;
  if (fs::is_directory(target, error)) throw std::runtime_error(target + ": is a directory");
  fs::rename(d_path + "/" + name, target, error);
  if (error) throw std::runtime_error(target + ": cannot be replaced: " + error.message());
  d_made_directory = false;
}

}  // namespace CorvaneTool
