// The texts with which sending and receiving fail.
#pragma once

#include <string>

#include "util/Error.h"

namespace MPSys {

inline constexpr const char* kSendFailed = "message send failed: ";
inline constexpr const char* kSizeTableSendFailed = "message send failed : ";  // Deliberate: unlike the other one.
inline constexpr const char* kReceiveFailed = "message receive failed: ";

[[noreturn]] inline void throw_failure(const char* what, const std::string& reason) {
  throw Util::Error("%s%s", what, reason.c_str());
}

/// `error_number` is what errno was after a short transfer: 0 when the system saw no error.
[[noreturn]] inline void throw_short(const char* what, int error_number, const char* without_error) {
  throw_failure(what, error_number != 0 ? Util::system_error_text(error_number) : without_error);
}

}  // namespace MPSys
