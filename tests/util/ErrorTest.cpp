// Errors and assertions: what their texts hold, where they are cut, and what a failed check leaves on standard error.
#include "util/Error.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "tests/support/TestSupport.h"
#include "util/Assert.h"

namespace Util {
namespace {

TEST(Error, FormattedTextIsCutAt1999Characters) {
  for (const std::size_t size : {0u, 1u, 1998u, 1999u, 2000u, 3000u}) {
    const std::string text(size, 'x');
    EXPECT_EQ(Error("%s", text.c_str()).what(), text.substr(0, 1999)) << size;
  }
  EXPECT_STREQ(Error("%d of %s, 0x%x", -3, "five", 0xabcU).what(), "-3 of five, 0xabc");
}

TEST(Error, CompleteTextIsNoFormatAndIsNeverCut) {
  const std::string text = std::string(3000, 'x') + "%s%n%%";
  EXPECT_EQ(Error(text).what(), text);
}

TEST(Error, SystemTextFollowsOnItsOwnLineWithinTheSameLimit) {
  for (const int number : {0, ENOENT, EFBIG, 99999}) {
    EXPECT_EQ(Error(number, "open '%s'", "a/b").what(), std::string("open 'a/b'\n    ") + std::strerror(number));
  }
  for (const int size : {1970, 1990, 1994, 1995, 1998, 1999, 2500}) {
    const std::string whole =
        std::string(static_cast<std::size_t>(std::min(size, 1999)), 'x') + "\n    " + std::strerror(ENOENT);
    EXPECT_EQ(Error(ENOENT, "%*s", size, "").what(), [&] {
      std::string cut = whole.substr(0, 1999);
      for (char& c : cut) c = c == 'x' ? ' ' : c;
      return cut;
    }());
  }
}

TEST(Error, EveryCopyKeepsTheText) {
  static_assert(std::is_nothrow_copy_constructible_v<Error> && std::is_nothrow_copy_assignable_v<Error>);
  Error first("first");
  const Error taken = std::move(first);
  Error other("other");
  other = taken;
  EXPECT_STREQ(first.what(), "first");
  EXPECT_STREQ(taken.what(), "first");
  EXPECT_STREQ(other.what(), "first");
}

TEST(AssertDeathTest, FailedCheckReportsExpressionFileAndLineAndAborts) {
  const int three = 3;
  UTIL_ASSERT(three == 3);
  EXPECT_EXIT(UTIL_ASSERT(three == 4), testing::KilledBySignal(SIGABRT),
              "assertion failed: \"three == 4\", file .*ErrorTest.cpp, line [0-9]+");
  EXPECT_DEATH(UTIL_ASSERT_TEXT(three == 4, "siz>=size()"), "assertion failed: \"siz>=size\\(\\)\", file .*ErrorTest");
  EXPECT_DEATH(UTIL_ASSERT_AT(three == 4, "old_p", "Storage", 41),
               "assertion failed: \"old_p\", file Storage, line 41\n");
}

TEST(AssertDeathTest, HandlerHearsOfItFirstAndCannotSaveTheProgram) {
  const auto fail_with_handler = [] {
    set_assertion_handler([](const char* expression, const char* file, int line) {
      std::fprintf(stderr, "host: %s %s %d\n", expression, file, line);
    });
    UTIL_ASSERT_AT(false, "new_capacity > 0", "Vector", 251);
  };
  EXPECT_EXIT(fail_with_handler(), testing::KilledBySignal(SIGABRT), "line 251\nhost: new_capacity > 0 Vector 251\n");
}

TEST(AssertDeathTest, StubStopsDebugBuildsOnly) {
#ifdef NDEBUG
  UTIL_DEBUG_ASSERT("stub");
#else
  EXPECT_DEATH(UTIL_DEBUG_ASSERT("stub"), "assertion failed: \"stub\"");
#endif
}

}  // namespace
}  // namespace Util
