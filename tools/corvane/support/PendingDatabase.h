// A database file that replaces an earlier one only when it is known to be good.
#pragma once

#include <cstdint>
#include <string>

#include "tools/corvane/support/PendingFile.h"

namespace CorvaneTool {

/// Until `commit`, the file goes by a temporary name beside its own; without it the temporary file goes away with the
/// object, an earlier file stays, and so does a missing directory.
class PendingDatabase {
 public:
  /// Throws std::runtime_error when `name` is no file name or `directory` is something else than a directory.
  PendingDatabase(std::string directory, std::string name);
  ~PendingDatabase();
  PendingDatabase(const PendingDatabase&) = delete;
  PendingDatabase& operator=(const PendingDatabase&) = delete;

  const std::string& directory() const { return d_directory; }
  const std::string& name() const { return d_name; }
  const std::string& temporary_name() const { return d_temporary_name; }

  /// The file under its own name.
  const std::string& path() const { return d_file.path(); }

  /// Bytes of the temporary file.
  std::uint64_t size() const { return d_file.size(); }

  /// Gives the file its own name.
  void commit();

 private:
  std::string d_directory;
  std::string d_name;
  std::string d_temporary_name;
  PendingFile d_file;
  bool d_makes_directory = false;
};

}  // namespace CorvaneTool
