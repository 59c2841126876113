#include "mpsys/FileConnection.h"

#include <cerrno>
#include <limits>
#include <vector>

#include "mpsys/Failure.h"
#include "mpsys/FrameReceiver.h"
#include "mpsys/IOVec.h"
#include "util/Error.h"
#include "util/Platform.h"

namespace MPSys {
namespace {

using ZyData::FrameList;

constexpr unsigned kFilePermissions = 0666;
constexpr std::int32_t kWaitWithoutLimit = -1;
constexpr std::uint32_t kIsDataFlag = 1;
constexpr std::size_t kMostFrames = std::numeric_limits<std::uint32_t>::max();

/// The start of every message, as it lies in the file.
struct Header {
  std::uint32_t frameCount = 0;
  std::uint32_t tag = 0;
  std::uint32_t flags = 0;
};
static_assert(sizeof(Header) == 12);

// --- sending ---

void write_whole(VFileStream& stream, const void* bytes, std::size_t size, const char* failure) {
  const std::int64_t written = stream.write(bytes, size, 0);
  const int error_number = errno;
  if (written != static_cast<std::int64_t>(size)) throw_short(failure, error_number, "short write");
}

/// An empty entry of the list counts as a frame of 0 bytes.
std::vector<std::uint64_t> frame_sizes(const FrameList& frames) {
  std::vector<std::uint64_t> sizes;
  sizes.reserve(frames.size());
  for (const auto& frame : frames) sizes.push_back(frame == nullptr ? 0 : frame->size_bytes());
  return sizes;
}

void send_header(VFileStream& stream, const Message& message) {
  if (message.frames.size() > kMostFrames) throw_failure(kSendFailed, "too many message frames");
  const Header header{static_cast<std::uint32_t>(message.frames.size()), message.tag, message.isData & kIsDataFlag};
  write_whole(stream, &header, sizeof header, kSendFailed);
}

void send_frames(VFileStream& stream, const FrameList& frames) {
  const std::vector<std::uint64_t> sizes = frame_sizes(frames);
  write_whole(stream, sizes.data(), sizes.size() * sizeof sizes[0], kSizeTableSendFailed);
  IOVec transfer;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    if (sizes[i] > 0) transfer.addToSend(frames[i]->data(), sizes[i]);
  }
  transfer.send(stream);
}

// --- receiving ---

/// False when the stream ends before a whole header.
bool receive_header(VFileStream& stream, Header& header) {
  const std::int64_t received = stream.read(&header, sizeof header);
  const int error_number = errno;
  if (received == -1) throw_failure(kReceiveFailed, error_number);
  return received == static_cast<std::int64_t>(sizeof header);
}

std::int32_t open_file(const char* fileName, FileMode mode) {
  Util::Platform& platform = Util::platform();
  const bool reading = mode == FileMode::reading;
  const int fd = reading ? platform.open_for_reading(fileName) : platform.open_for_writing(fileName, kFilePermissions);
  const int error_number = errno;
  if (fd < 0) throw Util::Error(error_number, "can't open file '%s' for %s", fileName, reading ? "reading" : "writing");
  return fd;
}

}  // namespace

template <class Stream>
FileConnectionBase<Stream>::FileConnectionBase(const char* fileName, FileMode mode)
    : FileConnectionBase(fileName, mode, [&] { return open_file(fileName, mode); }) {}

template <class Stream>
FileConnectionBase<Stream>::~FileConnectionBase() = default;

template <class Stream>
bool FileConnectionBase<Stream>::send(const Message& message, std::uint32_t /*flags*/) {
  send_header(d_stream, message);
  if (!message.frames.empty()) send_frames(d_stream, message.frames);
  return true;
}

template <class Stream>
bool FileConnectionBase<Stream>::receive(Message& message, std::int32_t* sender, std::int32_t timeoutMs) {
  if (sender != nullptr) *sender = 0;
  const std::uint64_t message_start = d_stream.bytesRead();
  try {
    return receive_message(message, timeoutMs);
  } catch (Util::Error& error) {
    error.set_file(name());
    if (!error.offset()) error.set_offset(message_start);
    throw;
  }
}

template <class Stream>
bool FileConnectionBase<Stream>::receive_message(Message& message, std::int32_t timeoutMs) {
  d_stream.setTimeout(timeoutMs);
  Header header;
  if (!receive_header(d_stream, header)) return false;
  message = Message();
  message.tag = header.tag;
  if (header.frameCount == 0) return true;
  d_stream.setTimeout(kWaitWithoutLimit);
  receive_frames(d_stream, header.frameCount, (header.flags & kIsDataFlag) != 0, message);
  return true;
}

template <class Stream>
void FileConnectionBase<Stream>::close() {
  if (d_stream.close() == 0) return;
  const int error_number = errno;
  throw_failure(d_mode == FileMode::writing ? kSendFailed : kReceiveFailed, error_number);
}

template class FileConnectionBase<VFileStream>;

}  // namespace MPSys
