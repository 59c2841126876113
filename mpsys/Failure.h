// The texts with which sending and receiving fail.
#pragma once

#include "util/Error.h"

namespace MPSys {

inline constexpr const char* kSendFailed = "message send failed: ";
inline constexpr const char* kSizeTableSendFailed = "message send failed : ";  // Deliberate: unlike the other one.
inline constexpr const char* kReceiveFailed = "message receive failed: ";

[[noreturn]] inline void throw_failure(const char* what, const char* reason) {
  throw Util::Error("%s%s", what, reason);
}

[[noreturn]] inline void throw_failure(const char* what, int error_number) {
  Util::Error error("%s%s", what, Util::system_error_text(error_number).c_str());
  error.set_error_number(error_number);
  throw error;
}

/// `error_number` is what errno was after a short transfer: 0 when the system saw no error.
[[noreturn]] inline void throw_short(const char* what, int error_number, const char* without_error) {
  if (error_number == 0) throw_failure(what, without_error);
  throw_failure(what, error_number);
}

}  // namespace MPSys
