// A file that replaces an earlier one only when it is known to be good.
#pragma once

#include <cstdint>
#include <string>

namespace CorvaneTool {

/// Until `commit`, the file goes by a temporary name; without it the temporary file goes away with the object, and an
/// earlier file stays.
class PendingFile {
 public:
  /// The two names must lie on one file system. Throws std::runtime_error when `path` is a directory.
  PendingFile(std::string path, std::string temporary_path);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  const std::string& path() const { return d_path; }
  const std::string& temporary_path() const { return d_temporary_path; }

  /// Bytes of the temporary file.
  std::uint64_t size() const;

  /// Gives the file its own name.
  void commit();

  /// Removes the temporary file, if there is one.
  void discard() noexcept;

 private:
  std::string d_path;
  std::string d_temporary_path;
};

}  // namespace CorvaneTool
