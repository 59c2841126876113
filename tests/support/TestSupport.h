// What tests of every folder need: exact comparison of errors and prints, a folder of their own, and files as byte
// strings. It brings GoogleTest and the standard headers that nearly every test uses.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "util/Error.h"

#if defined(__SANITIZE_ADDRESS__)
#define TEST_SUPPORT_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TEST_SUPPORT_ADDRESS_SANITIZER 1
#endif
#endif

/// A line of its own at file scope: malloc answers a request that cannot be met with null, as it does without the
/// sanitizer, which stops the program. There is no such line for `new`.
#ifdef TEST_SUPPORT_ADDRESS_SANITIZER
#define TEST_SUPPORT_MALLOC_MAY_FAIL                                               \
  extern "C" [[gnu::visibility("default")]] const char* __asan_default_options() { \
    return "allocator_may_return_null=1";                                          \
  }
#else
#define TEST_SUPPORT_MALLOC_MAY_FAIL
#endif

namespace TestSupport {

#ifdef TEST_SUPPORT_ADDRESS_SANITIZER
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

/// The message of the Util::Error that `action` throws, or a text in angle brackets that says what happened instead.
template <class Action>
std::string error_text(Action action) {
  try {
    action();
  } catch (const std::exception& error) {
    if (typeid(error) == typeid(Util::Error)) return error.what();
    return std::string("<") + typeid(error).name() + ": " + error.what() + ">";
  }
  return "<nothing thrown>";
}

/// What `action` writes to standard output, by whatever stream.
template <class Action>
std::string printed_text(Action action) {
  std::cout.flush();
  testing::internal::CaptureStdout();
  action();
  std::cout.flush();
  return testing::internal::GetCapturedStdout();
}

/// An empty folder that goes with the object.
class TempDir {
 public:
  TempDir() {
    std::random_device random;
    do {
      d_path = std::filesystem::temp_directory_path() /
               ("corvane-test-" + std::to_string(random()) + std::to_string(random()));
    } while (!std::filesystem::create_directory(d_path));
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(d_path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string path() const { return d_path.string(); }
  std::string path(std::string_view file_name) const { return (d_path / file_name).string(); }

 private:
  std::filesystem::path d_path;
};

inline std::string read_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << path;
  std::ostringstream bytes;
  bytes << stream.rdbuf();
  return std::move(bytes).str();
}

inline void write_file(const std::string& path, std::string_view bytes) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(stream.flush().good()) << path;
}

/// Descriptors that this process has open. Compare two counts: a difference is a leak or a double close.
inline std::ptrdiff_t open_descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

/// Tests in an empty folder of their own as the current one, because mapped objects name their files from there. Every
/// descriptor that a test opens must be closed at its end.
class InFolder : public testing::Test {
 protected:
  InFolder() { std::filesystem::current_path(d_folder.path()); }
  ~InFolder() override {
    std::filesystem::current_path(d_before);
    EXPECT_EQ(open_descriptors(), d_descriptors);
  }

  const std::filesystem::path d_before = std::filesystem::current_path();
  const TempDir d_folder;
  const std::ptrdiff_t d_descriptors = open_descriptors();
};

}  // namespace TestSupport

/// The statement throws exactly a Util::Error, with exactly this message.
#define EXPECT_ERROR(statement, text) EXPECT_EQ(::TestSupport::error_text([&] { statement; }), std::string(text))

/// The statement writes exactly this to standard output.
#define EXPECT_PRINTS(statement, text) EXPECT_EQ(::TestSupport::printed_text([&] { statement; }), std::string(text))
