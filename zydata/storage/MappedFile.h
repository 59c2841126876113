// A file that is open for mapping, and a view of a part of it: the resources behind mapped storage.
//
// Nothing here throws: an operation that fails answers false, leaves errno as the system set it and the file and the
// view as they were. Destructors close quietly. Offsets and lengths count bytes.
#pragma once

#include <cstdint>
#include <string>

#include "util/Export.h"

namespace ZyData {

/// A mapped part of a file; exactly this part is unmapped, and once.
class CORVANE_API MappedView {
 public:
  MappedView() = default;
  /// Maps [offset, offset + length), shared, for reading and writing. Empty when that failed.
  MappedView(int fd, std::uint64_t offset, std::uint64_t length);
  MappedView(MappedView&& other) noexcept;
  MappedView& operator=(MappedView&& other) noexcept;
  ~MappedView() { unmap(); }

  explicit operator bool() const { return d_begin != nullptr; }
  /// The byte at `offset` of the file would lie here: an address inside the view only when the view has that byte.
  void* address_of(std::uint64_t offset) const;
  bool holds(std::uint64_t offset, std::uint64_t length) const;
  /// False when the system refuses: the view then is still mapped. True for an empty view.
  bool unmap() noexcept;

 private:
  void* d_begin = nullptr;     // null: no view
  std::uint64_t d_offset = 0;  // of the view's first byte in the file
  std::uint64_t d_length = 0;
};

/// Whether a file that is opened may be open elsewhere, in this process or in another.
enum class Company { refused, welcome };

/// An open file is locked, in this process and for others. Its length can only be changed by one that is alone with the
/// file, because a view must not lose its file; nor does company ever get a file that somebody wants alone. Where the
/// system has no locks for a file, nobody is kept out.
class CORVANE_API MappedFile {
 public:
  MappedFile() = default;
  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) noexcept;
  ~MappedFile() { close(); }

  bool is_open() const { return d_fd != -1; }
  int fd() const { return d_fd; }

  /// Opens or creates the file. EWOULDBLOCK: somebody has it open.
  bool open(const std::string& name, Company company);
  /// Opens a regular file that exists, in company.
  bool open_referenced(const std::string& name, bool follow_link);
  bool open_unnamed(const std::string& folder);
  void close() noexcept;

  /// -1 when the system can't tell.
  std::int64_t size() const;
  /// Sets the length and gives blocks to what is new, so that no store there meets a full disk. When it fails, the
  /// length is `old_length`, as it was before.
  bool set_length(std::uint64_t length, std::uint64_t old_length);
  /// Sets the length only. EBUSY: somebody else has the file open.
  bool cut(std::uint64_t length);
  /// The same after a failure: errno stays.
  void restore_length(std::uint64_t length) noexcept;

 private:
  bool take(int fd, Company company);

  int d_fd = -1;  // -1: not open
};

/// Throws the Util::Error of a file that could not be opened.
[[noreturn]] void throw_open_failed(int error_number, const std::string& file_name);

/// The folder part of a file name, "." when it has none.
std::string folder_of(const std::string& file_name);

/// Throws Util::Error for a name that data from outside may not bring along: an absolute one, one with a "..", an empty
/// one, and one with a zero byte. The first two pass once the program has called allow_foreign_mapped_files().
void check_referenced_name(const std::string& file_name);

}  // namespace ZyData
