// Internal consistency checks.
//
// UTIL_ASSERT stays active in every build: a failed check means that this library or its direct user broke a rule, and
// going on could damage data. It prints expression, source file and line to standard error and ends the program.
// UTIL_DEBUG_ASSERT marks a stub that a release build answers with an empty result; it disappears with NDEBUG.
#pragma once

#include "util/Export.h"

namespace Util {

using AssertionHandler = void (*)(const char* expression, const char* file, int line);

/// Sets a function that is called before the program ends, for a host that wants to log first; null removes it.
/// Returning from the handler does not save the program. Not synchronised: set it at start-up.
CORVANE_API void set_assertion_handler(AssertionHandler handler);

[[noreturn]] CORVANE_API void assertion_failed(const char* expression, const char* file, int line);

}  // namespace Util

/// Reports the quoted text, file and line that the design fixes, whatever the code's own names are.
#define UTIL_ASSERT_AT(condition, text, file, line) \
  (static_cast<bool>(condition) ? static_cast<void>(0) : ::Util::assertion_failed(text, file, line))
#define UTIL_ASSERT_TEXT(condition, text) UTIL_ASSERT_AT(condition, text, __FILE__, __LINE__)
#define UTIL_ASSERT(condition) UTIL_ASSERT_TEXT(condition, #condition)

#ifdef NDEBUG
#define UTIL_DEBUG_ASSERT(text) static_cast<void>(0)
#else
#define UTIL_DEBUG_ASSERT(text) ::Util::assertion_failed(text, __FILE__, __LINE__)
#endif
