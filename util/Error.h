// The one error type of the library.
//
// A failure that a caller or a file has caused is thrown as Util::Error; its text is one fixed English sentence. Errors
// copy without throwing and may be passed between threads.
#pragma once

#include <exception>
#include <memory>
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

 private:
  std::shared_ptr<const std::string> d_text;
};

/// The system's text for an error number, safe to call from several threads.
CORVANE_API std::string system_error_text(int error_number);

}  // namespace Util
