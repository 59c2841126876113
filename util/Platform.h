// The operating system as the library sees it. No other header or source includes a system header.
//
// The operations answer like the system's own: a negative result means failure with `errno` set. Tests link another
// definition of Util::platform() that fails chosen calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace Util {

/// One buffer of a scatter or gather call.
struct IoBuffer {
  void* data = nullptr;
  std::size_t size = 0;  // bytes
};

class Platform {
 public:
  virtual ~Platform() = default;

  /// Opens for reading only. Closed on exec.
  virtual int open_for_reading(const char* path);
  /// Opens for writing only; creates the file with the given permission bits or cuts an existing one to nothing. Closed
  /// on exec.
  virtual int open_for_writing(const char* path, unsigned permissions);
  virtual int close(int fd);

  virtual std::int64_t read(int fd, void* data, std::size_t size);
  virtual std::int64_t write(int fd, const void* data, std::size_t size);
  /// Fills or empties `count` buffers in order with one call; the result counts bytes.
  virtual std::int64_t read_scattered(int fd, const IoBuffer* buffers, std::size_t count);
  virtual std::int64_t write_gathered(int fd, const IoBuffer* buffers, std::size_t count);

  /// Bytes from the current position to the end of a regular file; -1 for anything else, whose length nobody knows.
  virtual std::int64_t bytes_to_end(int fd);
  /// Hands `value` to the descriptor's blocking-mode control call. A regular file has no such mode: -1, and nothing is
  /// called.
  virtual int control_blocking_mode(int fd, int value);
  /// Waits until `fd` can be read, at most `timeout_ms` milliseconds: 1 readable, 0 not, -1 failed.
  virtual int wait_readable(int fd, int timeout_ms);

  virtual bool exists(const std::string& path, std::error_code& error);
  /// One level only; an existing directory is no error.
  virtual void create_directory(const std::string& path, std::error_code& error);

  virtual std::size_t page_size();
  /// Asks for huge pages behind a block of process memory. Advice only: failure changes nothing but speed.
  virtual void advise_huge_pages(void* data, std::size_t size);
};

/// The platform in use.
Platform& platform();

}  // namespace Util
