#include "mpsys/FileConnection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "mpsys/IOVec.h"
#include "util/Assert.h"
#include "util/Bytes.h"
#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/MemoryData.h"

namespace MPSys {
namespace {

using ZyData::DataObj;
using ZyData::FrameList;
using ZyData::MallocMemoryData;

constexpr unsigned kFilePermissions = 0666;
constexpr std::int32_t kWaitWithoutLimit = -1;
constexpr std::uint32_t kIsDataFlag = 1;
constexpr std::size_t kMostFrames = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kSchemaFrames = 3;  // node table, parameters, string pool

constexpr const char* kSendFailed = "message send failed: ";
constexpr const char* kSizeTableSendFailed = "message send failed : ";  // Deliberate: another text than the other one.
constexpr const char* kReceiveFailed = "message receive failed: ";
constexpr const char* kUnexpectedEnd = "unexpected end of file";

/// The start of every message, as it lies in the file.
struct Header {
  std::uint32_t frameCount = 0;
  std::uint32_t tag = 0;
  std::uint32_t flags = 0;
};
static_assert(sizeof(Header) == 12);

[[noreturn]] void throw_failure(const char* what, const std::string& reason) {
  throw Util::Error("%s%s", what, reason.c_str());
}

/// `error_number` is what errno was after a short transfer: 0 when the system saw no error.
[[noreturn]] void throw_short(const char* what, int error_number, const char* without_error) {
  throw_failure(what, error_number != 0 ? Util::system_error_text(error_number) : without_error);
}

// --- sending -------------------------------------------------------------------------------------

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

// --- receiving -----------------------------------------------------------------------------------

/// False when the stream ends before a whole header.
bool receive_header(VFileStream& stream, Header& header) {
  const std::int64_t received = stream.read(&header, sizeof header);
  const int error_number = errno;
  if (received == -1) throw_failure(kReceiveFailed, Util::system_error_text(error_number));
  return received == static_cast<std::int64_t>(sizeof header);
}

using SizeTable = std::span<const std::uint64_t>;

/// The sum of a group's frame sizes; 2^63-1 when it is not smaller.
std::int64_t total_bytes(SizeTable sizes) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  std::uint64_t total = 0;
  for (const std::uint64_t size : sizes) total = size > kMost - total ? kMost : total + size;
  return static_cast<std::int64_t>(total);
}

/// Running out of memory is a refusal like any other.
bool takes(DataObj& frame, std::uint64_t size) {
  try {
    return frame.fits(size) && frame.size_bytes() >= size;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

void prepare_frame(std::size_t index, DataObj& frame, std::uint64_t size) {
  if (takes(frame, size)) return;
  throw Util::Error("message receive failed: can't resize frame %d \"%s\" to requested byte size (%lu)",
                    static_cast<int>(index), frame.type_name().c_str(), static_cast<unsigned long>(size));
}

/// Reads what follows the header, part after part, and keeps count of the bytes that the file still has.
class FrameReader {
 public:
  explicit FrameReader(VFileStream& stream) : d_stream(stream), d_remaining(stream.bytesToEnd()) {}

  /// The two checks come before memory is taken for what they look at.
  void checkTableFits(std::uint32_t frameCount) const;
  void checkFramesFit(SizeTable sizes) const;
  void readSizes(std::span<std::uint64_t> sizes);
  void readFrames(const FrameList& frames, SizeTable sizes);

 private:
  void consume(std::int64_t bytes) { d_remaining -= d_remaining == -1 ? 0 : bytes; }

  VFileStream& d_stream;
  std::int64_t d_remaining;  // bytes; -1: not known, because the stream is no regular file
};

void FrameReader::checkTableFits(std::uint32_t frameCount) const {
  const auto table_bytes = static_cast<std::int64_t>(frameCount * sizeof(std::uint64_t));
  if (d_remaining != -1 && table_bytes > d_remaining) throw_failure(kReceiveFailed, kUnexpectedEnd);
}

void FrameReader::checkFramesFit(SizeTable sizes) const {
  const std::int64_t total = total_bytes(sizes);
  if (d_remaining == -1 || total <= d_remaining) return;
  throw Util::Error("message truncated: received only %ld of %ld bytes", static_cast<long>(d_remaining),
                    static_cast<long>(total));
}

void FrameReader::readSizes(std::span<std::uint64_t> sizes) {
  const auto wanted = static_cast<std::int64_t>(sizes.size_bytes());
  const std::int64_t received = d_stream.read(sizes.data(), sizes.size_bytes());
  const int error_number = errno;
  if (received != wanted) throw_short(kReceiveFailed, error_number, kUnexpectedEnd);
  consume(wanted);
}

/// Deliberate: a frame's bytes are counted by the table, not by the frame, which may keep a greater length.
void FrameReader::readFrames(const FrameList& frames, SizeTable sizes) {
  IOVec transfer;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    prepare_frame(i, *frames[i], sizes[i]);
    if (sizes[i] > 0) transfer.addToReceive(frames[i]->data(), sizes[i]);
  }
  transfer.receive(d_stream);
  consume(total_bytes(sizes));
}

/// Memory for a size table. Not cleared: a claim that cannot be compared with a file's length takes no memory before
/// its bytes arrive.
std::unique_ptr<std::uint64_t[]> allocate_sizes(std::uint32_t count) {
  std::unique_ptr<std::uint64_t[]> sizes(new (std::nothrow) std::uint64_t[count]);
  if (sizes == nullptr) throw_failure(kReceiveFailed, Util::system_error_text(ENOMEM));
  return sizes;
}

FrameList fresh_frames(std::size_t count) {
  FrameList frames(count);
  for (auto& frame : frames) frame = std::make_shared<MallocMemoryData>(nullptr);
  return frames;
}

std::string_view frame_bytes(DataObj& frame) { return {static_cast<const char*>(frame.data()), frame.size_bytes()}; }

void receive_plain(FrameReader& reader, std::uint32_t frameCount, Message& message) {
  reader.checkTableFits(frameCount);
  const auto table = allocate_sizes(frameCount);
  const std::span<std::uint64_t> sizes(table.get(), frameCount);
  reader.readSizes(sizes);
  reader.checkFramesFit(sizes);
  message.frames = fresh_frames(frameCount);
  reader.readFrames(message.frames, sizes);
}

std::shared_ptr<DataObj> receive_empty_object(FrameReader& reader, SizeTable sizes) {
  reader.checkFramesFit(sizes);
  const FrameList frames = fresh_frames(kSchemaFrames);
  reader.readFrames(frames, sizes);
  return ZyData::build_received_object(frame_bytes(*frames[0]), frame_bytes(*frames[1]), frame_bytes(*frames[2]));
}

void receive_object(FrameReader& reader, std::uint32_t frameCount, Message& message) {
  if (frameCount < kSchemaFrames) {
    throw Util::Error("message receive failed: a data object needs at least %u frames, the message has %u",
                      kSchemaFrames, frameCount);
  }
  reader.checkTableFits(frameCount);
  const auto table = allocate_sizes(frameCount);
  const std::span<std::uint64_t> sizes(table.get(), frameCount);
  reader.readSizes(sizes.first(kSchemaFrames));
  reader.readSizes(sizes.subspan(kSchemaFrames));
  const std::shared_ptr<DataObj> object = receive_empty_object(reader, sizes.first(kSchemaFrames));
  message.frames.clear();
  object->vectorize(message.frames, object);
  const SizeTable storage_sizes = sizes.subspan(kSchemaFrames);
  if (message.frames.size() != storage_sizes.size()) {
    throw Util::Error("message receive failed: the data object has %zu storage frames, the message has %zu",
                      message.frames.size(), storage_sizes.size());
  }
  reader.checkFramesFit(storage_sizes);
  reader.readFrames(message.frames, storage_sizes);
  object->finish();
  message.attach(object);
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
FileConnectionBase<Stream>::FileConnectionBase(const char* fileName, FileMode mode) : d_stream(fileName), d_mode(mode) {
  d_stream.attach(open_file(fileName, mode));
}

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
  d_stream.setTimeout(timeoutMs);
  Header header;
  if (!receive_header(d_stream, header)) return false;
  message = Message();
  message.tag = header.tag;
  if (header.frameCount == 0) return true;
  d_stream.setTimeout(kWaitWithoutLimit);
  FrameReader reader(d_stream);
  if ((header.flags & kIsDataFlag) != 0) {
    receive_object(reader, header.frameCount, message);
  } else {
    receive_plain(reader, header.frameCount, message);
  }
  return true;
}

template <class Stream>
void FileConnectionBase<Stream>::close() {
  if (d_stream.close() == 0) return;
  const int error_number = errno;
  throw_failure(d_mode == FileMode::writing ? kSendFailed : kReceiveFailed, Util::system_error_text(error_number));
}

template class FileConnectionBase<VFileStream>;

}  // namespace MPSys
