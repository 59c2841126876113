// The bytes of one message transfer, in as few system calls as possible.
//
// Buffers are added in order and then moved in order. Each goes to or comes from its own memory; only those below
// 128 bytes that are sent are copied side by side into staging blocks, so that thousands of them need one call. Buffers
// collect in segments, and a segment is one system call: it closes when it has as many buffers or as many bytes as one
// call may move, and a buffer that reaches beyond the byte limit continues in the next one. Empty buffers take no
// place. Every byte must go through: a call that moves fewer throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Util {
struct IoBuffer;
}

namespace MPSys {

class VFileStream;

class IOVec {
 public:
  /// Tests make these small; the library uses them as they stand.
  struct Limits {
    std::uint32_t copyLimit = 0x100000;          // the bytes in a staging block stay below this
    std::uint32_t maxBytesPerCall = 0x7ffff000;  // the system moves no more at once
    std::uint32_t maxBuffersPerCall = 1024;
  };

  IOVec();
  explicit IOVec(const Limits& limits);
  ~IOVec();
  IOVec(const IOVec&) = delete;
  IOVec& operator=(const IOVec&) = delete;

  /// The bytes are borrowed until the transfer is done; those to send must not change until then. Adding after the
  /// transfer has started fails the assertion "not d_syscalls_made".
  void addToSend(const void* bytes, std::uint64_t size);
  void addToReceive(void* bytes, std::uint64_t size);

  /// Moves everything that was added, in the one direction for which it was added, once. Throws Util::Error.
  void send(VFileStream& stream);
  void receive(VFileStream& stream);

 private:
  /// What one system call moves: a single buffer with a plain call, several with a gather or scatter call.
  struct Segment {
    std::size_t firstBuffer;  // index into d_buffers
    std::size_t bufferCount;
    std::uint8_t flags;   // handed to the write call
    std::uint64_t bytes;  // that the call must move
  };

  char* stage(const char* bytes, std::uint64_t size);
  void append(char* bytes, std::uint64_t size);
  bool continuesLastBuffer(const char* bytes) const;
  bool isFullFor(const char* bytes) const;
  void closeSegment();
  void start();
  std::int64_t writeSegment(VFileStream& stream, const Segment& segment) const;
  std::int64_t readSegment(VFileStream& stream, const Segment& segment) const;

  Limits d_limits;
  std::vector<Segment> d_segments;                       // closed ones, in order
  std::vector<Util::IoBuffer> d_buffers;                 // what the segments point into
  bool d_syscallsMade = false;                           // the transfer has started
  std::size_t d_firstBuffer = 0;                         // of the open segment: all before it are in closed ones
  std::uint32_t d_stagedBytes = 0;                       // in the last staging block
  std::uint64_t d_openBytes = 0;                         // in the open segment
  std::vector<std::unique_ptr<char[]>> d_stagingBlocks;  // of copyLimit bytes each; freed after the transfer
};

}  // namespace MPSys
