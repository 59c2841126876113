// The one error type of the library.
//
// A failure that a caller or a file has caused is thrown as Util::Error; its text is one fixed English sentence. Errors
// copy without throwing and may be passed between threads.
//
// An error that was raised while a file is loaded also says where: what() is the same with and without.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "util/Export.h"

namespace Util {

class CORVANE_API Error : public std::exception {
 public:
  /// Formats like printf; the text is cut at 1999 characters.
  [[gnu::format(printf, 2, 3)]] explicit Error(const char* format, ...);

  /// Formats like printf, then appends "\n    " and the system's text for `error_number`; cut at 1999 characters in
  /// all.
  [[gnu::format(printf, 3, 4)]] Error(int error_number, const char* format, ...);

  /// Takes a text that is already complete: it is no format and is never cut.
  explicit Error(std::string text);

  // Copies share the text. There is no move: what() of a moved-from error would have nothing to return.
  Error(const Error&) = default;
  Error& operator=(const Error&) = default;

  const char* what() const noexcept override;

  /// The system's number for what failed, ENOMEM when it was the memory; 0 when no call of the system failed.
  int error_number() const noexcept { return d_error_number; }

  // Where a load came to grief; empty where that is not known. A table's path leads from the top-level object to the
  // table, "/" between names; "..." stands for the outer tables of one that is longer than 4096 bytes. Settings count
  // as columns of "simeshconfig". The offset is that of the first byte of the part in question: the header, the size
  // table, a schema node, a storage frame.
  const std::string& file() const noexcept;
  const std::string& table() const noexcept;
  const std::string& column() const noexcept;
  std::optional<std::uint64_t> offset() const noexcept;

  // For whoever raises the error, or passes it on.
  void set_error_number(int error_number) { d_error_number = error_number; }
  void set_file(std::string file);
  void set_offset(std::uint64_t offset);
  /// What was raised lies in this field; to be called from the innermost field outwards. `frames_before` counts the
  /// storage frames from the start of the object that has the field to the field's own.
  void enter_field(const std::string& name, bool is_table, std::size_t frames_before = 0);
  /// Storage frames from the start of the object whose fields were entered to the part in question.
  std::size_t frame() const noexcept;

 private:
  struct Place {
    std::string file;
    std::string table;
    std::string column;
    std::optional<std::uint64_t> offset;  // bytes from the file's start
    std::size_t frame = 0;
  };

  const Place& place() const noexcept;
  /// The place, no longer shared with copies of this error.
  Place& own_place();

  std::shared_ptr<const std::string> d_text;
  std::shared_ptr<Place> d_place;  // null: nothing is known
  int d_error_number = 0;
};

/// The system's text for an error number, in English whatever the locale is; safe to call from several threads.
CORVANE_API std::string system_error_text(int error_number);

}  // namespace Util
