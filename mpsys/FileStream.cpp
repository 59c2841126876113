#include "mpsys/FileStream.h"

#include <cerrno>
#include <utility>

#include "util/Error.h"
#include "util/Platform.h"

namespace MPSys {
namespace {

constexpr std::int32_t kNonBlockingBit = 0x4000;  // in the status of a stream whose mode can be switched
constexpr std::int32_t kNotSwitchable = -1;

/// One transfer, with errno cleared before it.
template <class Call>
std::int64_t transfer(Call call) {
  errno = 0;
  return call();
}

/// One read in which "would block" counts as nothing read.
template <class Call>
std::int64_t read_once(Call call) {
  const std::int64_t moved = transfer(call);
  return moved == -1 && errno == EAGAIN ? 0 : moved;
}

}  // namespace

VFileStream::VFileStream(std::string fileName) : d_fileName(std::move(fileName)) {}

VFileStream::~VFileStream() { close(); }

void VFileStream::attach(std::int32_t fd) {
  d_fd = fd;
  d_status = Util::platform().control_blocking_mode(d_fd, 0);
  d_blocking = 0;
  d_timeout = 0;
}

int VFileStream::close() { return d_fd == -1 ? 0 : Util::platform().close(std::exchange(d_fd, -1)); }

void VFileStream::setTimeout(std::int32_t timeoutMs) {
  const auto wanted = static_cast<std::uint8_t>(timeoutMs < 0);
  if (wanted != d_blocking) {
    if (d_status == kNotSwitchable) return;
    d_status = wanted != 0 ? d_status & ~kNonBlockingBit : d_status | kNonBlockingBit;
    Util::platform().control_blocking_mode(d_fd, 0);  // Deliberate: the value is 0 in both directions.
    d_blocking = wanted;
  }
  d_timeout = timeoutMs;
}

std::int64_t VFileStream::read(void* bytes, std::size_t size) {
  if (size == 0) return 0;
  return readInTime([&] { return Util::platform().read(d_fd, bytes, size); });
}

std::int64_t VFileStream::readScattered(const Util::IoBuffer* buffers, std::size_t count) {
  if (count == 0) return 0;
  return readInTime([&] { return Util::platform().read_scattered(d_fd, buffers, count); });
}

std::int64_t VFileStream::write(const void* bytes, std::size_t size, std::uint8_t /*flags*/) {
  return transfer([&] { return Util::platform().write(d_fd, bytes, size); });
}

std::int64_t VFileStream::writeGathered(const Util::IoBuffer* buffers, std::size_t count, std::uint8_t /*flags*/) {
  return transfer([&] { return Util::platform().write_gathered(d_fd, buffers, count); });
}

std::int64_t VFileStream::bytesToEnd() const { return Util::platform().bytes_to_end(d_fd); }

template <class Call>
std::int64_t VFileStream::readInTime(Call call) {
  std::int64_t moved = read_once(call);
  if (moved == 0 && d_timeout >= 1 && waitReadable()) moved = read_once(call);
  if (moved > 0) d_bytesRead += static_cast<std::uint64_t>(moved);
  return moved;
}

bool VFileStream::waitReadable() const {
  const int saved = errno;
  const int ready = Util::platform().wait_readable(d_fd, d_timeout);
  if (ready < 0) throw Util::Error(errno, "timeout poll error");
  errno = saved;
  return ready > 0;
}

}  // namespace MPSys
