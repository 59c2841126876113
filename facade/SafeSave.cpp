#include "facade/SafeSave.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "facade/DatabaseFile.h"
#include "mpsys/FileConnection.h"
#include "util/Error.h"
#include "util/Platform.h"

namespace Mesh2DPlat {
namespace {

constexpr unsigned kNewFile = 0666;
constexpr unsigned kReplacement = 0600;  // until it has the old file's permissions, with nothing in it yet

/// Takes a file's name away again unless it is given up.
class TemporaryName {
 public:
  explicit TemporaryName(const std::string& path) : d_path(path) {}
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;
  ~TemporaryName() {
    if (d_is_there) Util::platform().remove(d_path.c_str());
  }

  void gone() { d_is_there = false; }

 private:
  const std::string& d_path;
  bool d_is_there = true;
};

class Replacement {
 public:
  explicit Replacement(const std::string& path) : d_path(path), d_temporary(path + ".tmp") {}

  void run(const MPSys::Message& message, bool keep_previous) {
    const bool replaces = has_old();
    MPSys::FileConnection connection(d_temporary.c_str(), MPSys::FileMode::writing, [&] {
      return check(Util::platform().open_locked(d_temporary.c_str(), replaces ? kReplacement : kNewFile),
                   "create its new file");
    });
    TemporaryName temporary(d_temporary);  // goes before the descriptor does, which has the name locked
    const int fd = connection.descriptor();
    if (replaces) check(Util::platform().copy_access(d_path.c_str(), fd), "keep its mode");
    connection.send(message, 0);
    check(Util::platform().sync(fd), "write it to the disk");
    if (keep_previous && replaces) keep_old();
    check(Util::platform().rename(d_temporary.c_str(), d_path.c_str()), "put the new file in its place");
    temporary.gone();
    connection.close();
    check(Util::platform().sync_folder_of(d_path), "write its folder to the disk");
  }

 private:
  /// `result` is a system call's answer.
  int check(int result, const char* step) const {
    if (result >= 0) return result;
    throw Util::Error(errno, "can't save '%s': failed to %s", d_path.c_str(), step);
  }

  bool has_old() const {
    const int permissions = Util::platform().permissions(d_path.c_str());
    if (permissions < 0 && errno == ENOENT) return false;
    if (permissions < 0 && errno == EEXIST) throw Util::Error("can't save '%s': it is no regular file", d_path.c_str());
    return check(permissions, "look at the old file") >= 0;
  }

  /// The old file gets a second name first, so that it is never without one.
  void keep_old() const {
    const std::string backup = d_path + ".bak";
    const std::string second = backup + ".tmp";
    Util::Platform& platform = Util::platform();
    if (platform.remove(second.c_str()) != 0 && errno != ENOENT) check(-1, "remove an old link");
    check(platform.link(d_path.c_str(), second.c_str()), "keep the previous version");
    const int renamed = platform.rename(second.c_str(), backup.c_str());
    const int error_number = errno;
    platform.remove(second.c_str());  // also behind a rename: between two names of one file that does nothing
    errno = error_number;
    check(renamed, "keep the previous version");
  }

  std::string d_path;
  std::string d_temporary;
};

/// The file itself, or its place, where `path` is a symbolic link. A link of a loop stays what it is. Throws
/// Util::Error for a link that somebody else may have laid.
std::string linked_file(const std::string& path) {
  constexpr int kMostLinks = 40;  // as many as the system follows
  std::filesystem::path file = path;
  std::error_code error;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(file, error); ++i) {
    const std::filesystem::path target = std::filesystem::read_symlink(file, error);
    if (error) break;
    const std::filesystem::path next = file.parent_path() / target;
    if (Util::platform().check_link(file.string(), next.string()) != 0)
      throw Util::Error(errno, "can't save '%s': failed to follow its link", file.c_str());
    file = next;
  }
  return file.string();
}

}  // namespace

void replace_file(const std::string& path, const MPSys::Message& message, bool keep_previous) {
  check_path(path);
  Replacement(linked_file(path)).run(message, keep_previous);
}

}  // namespace Mesh2DPlat
