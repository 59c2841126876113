#include "mpsys/IOVec.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "mpsys/Failure.h"
#include "mpsys/FileStream.h"
#include "util/Assert.h"
#include "util/Error.h"
#include "util/Platform.h"

namespace MPSys {
namespace {

// Bytes from which a buffer goes out from its own memory. Below, copying it costs less than its entry in a gather call;
// above, copies into fresh staging blocks take up to three times as long as the gather call (measured: the two meet
// between 100 and 250 bytes).
constexpr std::uint64_t kNotSmall = 128;

/// `moved` is a transfer's answer, `error_number` what errno was then, `wanted` what the segment must move.
void check_sent(std::int64_t moved, int error_number, std::uint64_t wanted) {
  if (moved == -1) throw_failure(kSendFailed, error_number);
  if (static_cast<std::uint64_t>(moved) >= wanted) return;
  throw Util::Error("message send failed: could only send %ld of %ld bytes", static_cast<long>(moved),
                    static_cast<long>(wanted));
}

void check_received(std::int64_t moved, int error_number, std::uint64_t wanted) {
  if (moved == -1) throw_failure(kReceiveFailed, error_number);
  if (static_cast<std::uint64_t>(moved) >= wanted) return;
  throw Util::Error("message truncated: received only %ld of %ld bytes", static_cast<long>(moved),
                    static_cast<long>(wanted));
}

}  // namespace

IOVec::IOVec() : IOVec(Limits()) {}

IOVec::IOVec(const Limits& limits) : d_limits(limits) {
  UTIL_ASSERT(limits.maxBytesPerCall > 0 && limits.maxBuffersPerCall > 0);
}

IOVec::~IOVec() = default;

void IOVec::addToSend(const void* bytes, std::uint64_t size) {
  // Cast: the buffer list serves both directions, and a gather call only reads.
  char* source = const_cast<char*>(static_cast<const char*>(bytes));
  const bool small = size < kNotSmall && size < d_limits.copyLimit;
  append(small && size > 0 ? stage(source, size) : source, size);
}

void IOVec::addToReceive(void* bytes, std::uint64_t size) { append(static_cast<char*>(bytes), size); }

char* IOVec::stage(const char* bytes, std::uint64_t size) {
  if (d_stagingBlocks.empty() || d_stagedBytes + size >= d_limits.copyLimit) {
    d_stagingBlocks.push_back(std::make_unique_for_overwrite<char[]>(d_limits.copyLimit));
    d_stagedBytes = 0;
  }
  char* staged = d_stagingBlocks.back().get() + d_stagedBytes;
  std::memcpy(staged, bytes, size);
  d_stagedBytes += static_cast<std::uint32_t>(size);
  return staged;
}

/// Buffers that touch each other in memory, such as staged neighbours, become one.
void IOVec::append(char* bytes, std::uint64_t size) {
  UTIL_ASSERT_TEXT(!d_syscallsMade, "not d_syscalls_made");
  while (size > 0) {
    if (isFullFor(bytes)) closeSegment();
    const std::uint64_t piece = std::min(size, d_limits.maxBytesPerCall - d_openBytes);
    if (continuesLastBuffer(bytes)) {
      d_buffers.back().size += piece;
    } else {
      d_buffers.push_back({bytes, piece});
    }
    d_openBytes += piece;
    bytes += piece;
    size -= piece;
  }
}

bool IOVec::continuesLastBuffer(const char* bytes) const {
  if (d_buffers.size() == d_firstBuffer) return false;
  return static_cast<const char*>(d_buffers.back().data) + d_buffers.back().size == bytes;
}

bool IOVec::isFullFor(const char* bytes) const {
  if (d_openBytes == d_limits.maxBytesPerCall) return true;
  return d_buffers.size() - d_firstBuffer == d_limits.maxBuffersPerCall && !continuesLastBuffer(bytes);
}

void IOVec::closeSegment() {
  if (d_openBytes == 0) return;
  d_segments.push_back({d_firstBuffer, d_buffers.size() - d_firstBuffer, 0, d_openBytes});
  d_firstBuffer = d_buffers.size();
  d_openBytes = 0;
}

void IOVec::start() {
  UTIL_ASSERT_TEXT(!d_syscallsMade, "not d_syscalls_made");
  closeSegment();
  d_syscallsMade = true;
}

void IOVec::send(VFileStream& stream) {
  start();
  for (const Segment& segment : d_segments) {
    const std::int64_t sent = writeSegment(stream, segment);
    check_sent(sent, errno, segment.bytes);
  }
}

void IOVec::receive(VFileStream& stream) {
  start();
  for (const Segment& segment : d_segments) {
    const std::int64_t received = readSegment(stream, segment);
    check_received(received, errno, segment.bytes);
  }
}

std::int64_t IOVec::writeSegment(VFileStream& stream, const Segment& segment) const {
  const Util::IoBuffer* buffers = &d_buffers[segment.firstBuffer];
  if (segment.bufferCount == 1) return stream.write(buffers->data, buffers->size, segment.flags);
  return stream.writeGathered(buffers, segment.bufferCount, segment.flags);
}

std::int64_t IOVec::readSegment(VFileStream& stream, const Segment& segment) const {
  const Util::IoBuffer* buffers = &d_buffers[segment.firstBuffer];
  if (segment.bufferCount == 1) return stream.read(buffers->data, buffers->size);
  return stream.readScattered(buffers, segment.bufferCount);
}

}  // namespace MPSys
