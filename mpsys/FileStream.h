// An open file descriptor with its blocking mode and time-out.
//
// Every transfer is one system call and starts with errno 0, so that a short result without an error can be told from a
// failed one: errno still holds the call's own answer when the transfer returns. Nothing is retried.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "util/Export.h"

namespace Util {
struct IoBuffer;
}

namespace MPSys {

class CORVANE_API VFileStream {
 public:
  explicit VFileStream(std::string fileName);
  ~VFileStream();  // closes quietly
  VFileStream(const VFileStream&) = delete;
  VFileStream& operator=(const VFileStream&) = delete;

  /// Takes the ownership of an open descriptor and finds out whether its blocking mode can be switched.
  void attach(std::int32_t fd);
  /// Closes the descriptor, if it is open. -1 when the system reports a failure, with errno set; the descriptor is gone
  /// either way.
  int close();

  /// Negative: reads wait without limit.
  ///
  /// Deliberate: the mode of a file cannot be switched, and a call that would have to switch it leaves its time-out as
  /// it is, too.
  void setTimeout(std::int32_t timeoutMs);

  /// Bytes moved, 0 at the end of the stream or when nothing arrives in time, -1 on failure. Throws when the wait
  /// itself fails.
  std::int64_t read(void* bytes, std::size_t size);
  std::int64_t readScattered(const Util::IoBuffer* buffers, std::size_t count);

  /// Bytes moved, or -1 on failure. A file has no use for the flags of a write.
  std::int64_t write(const void* bytes, std::size_t size, std::uint8_t flags);
  std::int64_t writeGathered(const Util::IoBuffer* buffers, std::size_t count, std::uint8_t flags);

  /// Bytes that all reads so far have moved.
  std::uint64_t bytesRead() const { return d_bytesRead; }
  /// Bytes from here to the end of a regular file; -1 when that cannot be known.
  std::int64_t bytesToEnd() const;

  std::int32_t fd() const { return d_fd; }
  std::int32_t status() const { return d_status; }
  std::uint8_t blocking() const { return d_blocking; }
  std::int32_t timeout() const { return d_timeout; }
  const std::string& fileName() const { return d_fileName; }

 private:
  template <class Call>
  std::int64_t readInTime(Call call);
  bool waitReadable() const;

  std::int32_t d_fd = -1;       // -1: closed
  std::int32_t d_status = 0;    // answer of the last mode switch; -1: the mode cannot be switched
  std::uint8_t d_blocking = 1;  // the mode that was last asked for
  std::int32_t d_timeout = -1;  // milliseconds; negative: no limit
  std::string d_fileName;       // as given
  std::uint64_t d_bytesRead = 0;
};

}  // namespace MPSys
