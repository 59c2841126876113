// Files in the making, out of the way of who lists a folder.
#pragma once

#include <list>
#include <string>

#include "tools/corvane/support/Interrupts.h"

namespace CorvaneTool {

/// A hidden folder inside the one where files will stand. A file is made in it and moved when it is known to be good;
/// what is not moved goes away with the object, with SIGINT and with SIGTERM, and so does a target folder that was
/// missing and is still empty. What a killed program has left in the target folder is taken away by the next one: the
/// folder of a program that runs is locked.
class PendingFolder {
 public:
  /// `directory` may be missing, but not its parent. Throws std::runtime_error, with its name, when it is something
  /// else than a directory or cannot be written to.
  explicit PendingFolder(const std::string& directory);
  ~PendingFolder();
  PendingFolder(const PendingFolder&) = delete;
  PendingFolder& operator=(const PendingFolder&) = delete;

  const std::string& path() const { return d_path; }

  /// The path of a file in this folder, which need not exist yet. Only files that were asked for are removed by
  /// signals.
  std::string file(const std::string& name);

  /// Moves a file of this folder to the target folder, where it replaces an earlier file of the name `new_name`. Throws
  /// std::runtime_error when a directory has that name.
  void commit(const std::string& name, const std::string& new_name);

 private:
  void make_directory();
  void make_folder();

  std::string d_directory;
  std::string d_path;
  int d_lock = -1;  // descriptor of the folder; -1: not made yet
  bool d_made_directory = false;
  std::list<RemovedOnInterrupt> d_removed;
};

}  // namespace CorvaneTool
