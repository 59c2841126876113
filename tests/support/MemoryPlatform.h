// A platform whose files are texts in memory: for tests that load thousands of files. A test program that lists
// MemoryPlatform.cpp among its sources runs the whole library on it.
//
// A path exists that was written, and every path without a dot, which is taken for a folder. A file that is opened to
// be mapped is a copy on the disk, without a name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "util/Platform.h"

namespace TestSupport {

class MemoryPlatform final : public Util::Platform {
 public:
  /// The one that Util::platform() answers with.
  static MemoryPlatform& instance();

  std::map<std::string, std::string> files;  // bytes by path
  bool lengthsKnown = true;                  // false: as for a pipe

  int open_for_reading(const char* path) override;
  int open_for_writing(const char* path, unsigned permissions) override;
  int close(int fd) override;
  std::int64_t read(int fd, void* data, std::size_t size) override;
  std::int64_t write(int fd, const void* data, std::size_t size) override;
  std::int64_t read_scattered(int fd, const Util::IoBuffer* buffers, std::size_t count) override;
  std::int64_t write_gathered(int fd, const Util::IoBuffer* buffers, std::size_t count) override;
  std::int64_t bytes_to_end(int fd) override;
  int control_blocking_mode(int fd, int value) override;
  bool exists(const std::string& path, std::error_code& error) override;
  int open_regular(const char* path, bool follow_link) override;
  int permissions(const char* path) override;

 private:
  static constexpr int kFirst = 1 << 20;  // descriptors below are the system's

  struct OpenFile {
    std::string* bytes = nullptr;  // null: closed
    std::size_t position = 0;
  };

  int open(std::string& bytes);
  OpenFile& at(int fd) { return d_open[static_cast<std::size_t>(fd - kFirst)]; }

  std::vector<OpenFile> d_open;  // by descriptor less kFirst
};

}  // namespace TestSupport
