// Errors and assertions: what their texts hold, where they are cut, and what a failed check leaves on standard error.
#include "util/Error.h"

#include <libintl.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>
#include <utility>

#include "tests/support/TestSupport.h"
#include "util/Assert.h"
#include "util/Bytes.h"

namespace Util {
namespace {

TEST(Error, FormattedTextIsCutAt1999Characters) {
  for (const std::size_t size : {0u, 1u, 1998u, 1999u, 2000u, 3000u}) {
    const std::string text(size, 'x');
    EXPECT_EQ(Error("%s", text.c_str()).what(), text.substr(0, 1999)) << size;
  }
  const std::string complete = std::string(3000, 'x') + "%s%n%%";
  EXPECT_EQ(Error(complete).what(), complete);  // no format, never cut
}

TEST(Error, SystemTextFollowsOnItsOwnLineWithinTheSameLimit) {
  for (const std::size_t size : {0u, 20u, 1970u, 1994u, 1998u, 1999u, 2500u}) {
    const std::string text(size, 'x');
    const std::string whole = text.substr(0, 1999) + "\n    " + std::strerror(ENOENT);
    EXPECT_EQ(Error(ENOENT, "%s", text.c_str()).what(), whole.substr(0, 1999)) << size;
  }
  EXPECT_EQ(Error(ENOENT, "file").error_number(), ENOENT);
  EXPECT_EQ(Error("file").error_number(), 0);
}

TEST(Error, PathOfTablesEndsWhereItWouldGrowLong) {
  Error error("no");
  EXPECT_EQ(error.file() + error.table() + error.column(), "");
  EXPECT_FALSE(error.offset().has_value());
  const Error unknown = error;
  error.set_offset(7);
  error.enter_field("column", false, 1);
  for (const char* table : {"inner", "outer"}) error.enter_field(table, true, 1);
  EXPECT_EQ(error.table(), "outer/inner");
  const std::string name(5000, 'n');
  error.enter_field(name, true, 1);
  for (int i = 0; i < 2; ++i) {
    error.enter_field("left out", true, 1);
    EXPECT_EQ(error.table(), ".../" + name + "/outer/inner");
  }
  EXPECT_EQ(error.column(), "column");
  EXPECT_EQ(error.frame(), 6u);
  EXPECT_EQ(unknown.table() + unknown.column(), "");  // a copy has a place of its own
  EXPECT_FALSE(unknown.offset().has_value());
}

TEST(Error, SystemTextIsNotTranslated) {
  const TestSupport::TempDir dir;
  const std::string key = std::strerror(ENOENT), translated = "Gibt es nicht";
  ByteWriter catalog;  // one text: magic, version, count, where the two tables are; the tables; the texts
  for (const std::uint32_t word : {0x950412deu, 0u, 1u, 28u, 36u, 0u, 0u}) catalog.put(word);
  for (const std::size_t word : {key.size(), std::size_t{44}, translated.size(), 45 + key.size()})
    catalog.put(static_cast<std::uint32_t>(word));
  catalog.put_bytes(key + '\0' + translated + '\0');
  const std::string folder = dir.path("xx") + "/LC_MESSAGES";
  std::filesystem::create_directories(folder);
  std::ofstream(folder + "/libc.mo", std::ios::binary) << catalog.bytes();

  const char* language = std::getenv("LANGUAGE");
  const std::string domain = ::bindtextdomain("libc", nullptr), language_before = language == nullptr ? "" : language;
  ::bindtextdomain("libc", dir.path().c_str());
  ::setenv("LANGUAGE", "xx", 1);
  std::setlocale(LC_ALL, "C.UTF-8");
  const std::string system = std::strerror(ENOENT), ours = system_error_text(ENOENT);
  std::setlocale(LC_ALL, "C");
  ::setenv("LANGUAGE", language_before.c_str(), 1);
  ::bindtextdomain("libc", domain.c_str());

  if (system != translated) GTEST_SKIP() << "this system does not translate in the locale C.UTF-8";
  EXPECT_EQ(ours, key);
  EXPECT_EQ(system_error_text(12345), std::strerror(12345));
}

TEST(Error, EveryCopyKeepsTheText) {
  static_assert(std::is_nothrow_copy_constructible_v<Error> && std::is_nothrow_copy_assignable_v<Error>);
  Error first("first");
  Error other("other");
  other = std::move(first);
  EXPECT_STREQ(first.what(), "first");
  EXPECT_STREQ(other.what(), "first");
}

TEST(AssertDeathTest, FailedCheckReportsExpressionFileAndLineAndAborts) {
  const int three = 3;
  EXPECT_EXIT(UTIL_ASSERT(three == 4), testing::KilledBySignal(SIGABRT),
              "assertion failed: \"three == 4\", file .*ErrorTest.cpp, line [0-9]+");
  EXPECT_DEATH(UTIL_ASSERT_TEXT(three == 4, "siz>=size()"), "\"siz>=size\\(\\)\", file .*ErrorTest");
  EXPECT_DEATH(UTIL_ASSERT_AT(three == 4, "old_p", "Storage", 41), "\"old_p\", file Storage, line 41\n");
#ifdef NDEBUG
  UTIL_DEBUG_ASSERT("stub");
#else
  EXPECT_DEATH(UTIL_DEBUG_ASSERT("stub"), "assertion failed: \"stub\"");
#endif
}

TEST(AssertDeathTest, HandlerHearsOfItAndCannotSaveTheProgram) {
  const auto fail_with_handler = [] {
    set_assertion_handler([](const char* expression, const char* file, int line) {
      std::fprintf(stderr, "host: %s %s %d\n", expression, file, line);
    });
    UTIL_ASSERT_AT(false, "new_capacity > 0", "Vector", 251);
  };
  EXPECT_EXIT(fail_with_handler(), testing::KilledBySignal(SIGABRT), "line 251\nhost: new_capacity > 0 Vector 251\n");
}

}  // namespace
}  // namespace Util
