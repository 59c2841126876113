#include "mpsys/FrameReceiver.h"

#include <cerrno>
#include <limits>
#include <new>
#include <span>
#include <stdexcept>

#include "mpsys/Failure.h"
#include "mpsys/IOVec.h"
#include "zydata/object/MemoryData.h"

namespace MPSys {
namespace {

using ZyData::DataObj;
using ZyData::FrameList;
using ZyData::MallocMemoryData;

constexpr std::uint32_t kSchemaFrames = 3;  // node table, parameters, string pool
constexpr const char* kUnexpectedEnd = "unexpected end of file";

using SizeTable = std::span<const std::uint64_t>;

/// The sum of a group's frame sizes; 2^63-1 when it is not smaller.
std::int64_t total_bytes(SizeTable sizes) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  std::uint64_t total = 0;
  for (const std::uint64_t size : sizes) total = size > kMost - total ? kMost : total + size;
  return static_cast<std::int64_t>(total);
}

/// Running out of memory is a refusal like any other, but has an error number.
bool takes(DataObj& frame, std::uint64_t size, int& error_number) {
  try {
    return frame.fits(size) && frame.size_bytes() >= size;
  } catch (const std::bad_alloc&) {
    error_number = ENOMEM;
  } catch (const std::length_error&) {
  }
  return false;
}

/// `error_number` tells why a frame of this kind refuses: 0 when the size is to blame.
void prepare_frame(std::size_t index, DataObj& frame, std::uint64_t size, int error_number = 0) {
  if (takes(frame, size, error_number)) return;
  Util::Error error("message receive failed: can't resize frame %d \"%s\" to requested byte size (%lu)",
                    static_cast<int>(index), frame.type_name().c_str(), static_cast<unsigned long>(size));
  error.set_error_number(error_number);
  throw error;
}

/// Reads what follows the header, part after part, and keeps count of the bytes that the file still has.
class FrameReader {
 public:
  explicit FrameReader(VFileStream& stream)
      : d_stream(stream), d_remaining(stream.bytesToEnd()), d_position(stream.bytesRead()) {}

  /// Bytes from the file's start to the part that comes next.
  std::uint64_t position() const { return d_position; }

  /// The two checks come before memory is taken for what they look at.
  void checkTableFits(std::uint32_t frameCount) const;
  void checkFramesFit(SizeTable sizes) const;
  void readSizes(std::span<std::uint64_t> sizes);
  /// Sizes fresh frames, which only a lack of memory limits, and fills them.
  void readFrames(const FrameList& frames, SizeTable sizes);
  /// Fills frames that have their sizes.
  void fill(const FrameList& frames, SizeTable sizes);
  /// How many of these frames the rest of the file can fill.
  std::size_t fittingFrames(SizeTable sizes) const;

 private:
  void consume(std::int64_t bytes) {
    d_remaining -= d_remaining == -1 ? 0 : bytes;
    d_position += static_cast<std::uint64_t>(bytes);
  }

  VFileStream& d_stream;
  std::int64_t d_remaining;  // bytes; -1: not known, because the stream is no regular file
  std::uint64_t d_position;  // bytes from the file's start
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

void FrameReader::readFrames(const FrameList& frames, SizeTable sizes) {
  for (std::size_t i = 0; i < frames.size(); ++i) prepare_frame(i, *frames[i], sizes[i], ENOMEM);
  fill(frames, sizes);
}

std::size_t FrameReader::fittingFrames(SizeTable sizes) const {
  auto left = static_cast<std::uint64_t>(d_remaining);
  std::size_t count = 0;
  for (; count < sizes.size() && sizes[count] <= left; ++count) left -= sizes[count];
  return count;
}

/// Deliberate: a frame's bytes are counted by the table, not by the frame, which may keep a greater length.
void FrameReader::fill(const FrameList& frames, SizeTable sizes) {
  IOVec transfer;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    if (sizes[i] > 0) transfer.addToReceive(frames[i]->data(), sizes[i]);
  }
  transfer.receive(d_stream);
  consume(total_bytes(sizes));
}

/// Memory for a size table. Not cleared: a claim that cannot be compared with a file's length takes no memory before
/// its bytes arrive.
std::unique_ptr<std::uint64_t[]> allocate_sizes(std::uint32_t count) {
  std::unique_ptr<std::uint64_t[]> sizes(new (std::nothrow) std::uint64_t[count]);
  if (sizes == nullptr) throw_failure(kReceiveFailed, ENOMEM);
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

/// The storage frames of one object: how they are filled, and to what a failure belongs.
class StorageReceiver {
 public:
  StorageReceiver(FrameReader& reader, DataObj& object, const FrameList& frames, SizeTable sizes)
      : d_reader(reader), d_object(object), d_frames(frames), d_sizes(sizes), d_start(reader.position()) {}

  void receive() {
    check_fit();
    prepare();
    d_reader.fill(d_frames, d_sizes);
    finish();
  }

 private:
  std::uint64_t offset(std::size_t frame) const {
    return d_start + static_cast<std::uint64_t>(total_bytes(d_sizes.first(frame)));
  }
  void blame(Util::Error& error, std::size_t frame) const {
    ZyData::locate_frame(error, d_object, frame);
    error.set_offset(offset(frame));
  }

  void check_fit() const {
    try {
      d_reader.checkFramesFit(d_sizes);
    } catch (Util::Error& error) {
      blame(error, d_reader.fittingFrames(d_sizes));
      throw;
    }
  }
  void prepare() const {
    std::size_t next = 0;
    try {
      for (; next < d_frames.size(); ++next) prepare_frame(next, *d_frames[next], d_sizes[next]);
    } catch (Util::Error& error) {
      blame(error, next);
      throw;
    }
  }
  void finish() const {
    try {
      d_object.finish();
    } catch (Util::Error& error) {
      error.set_offset(offset(error.frame()));
      throw;
    }
  }

  FrameReader& d_reader;
  DataObj& d_object;
  const FrameList& d_frames;
  SizeTable d_sizes;
  std::uint64_t d_start;  // bytes from the file's start to the first storage frame
};

std::shared_ptr<DataObj> receive_empty_object(FrameReader& reader, SizeTable sizes) {
  reader.checkFramesFit(sizes);
  const std::uint64_t nodes_start = reader.position();
  const FrameList frames = fresh_frames(kSchemaFrames);
  reader.readFrames(frames, sizes);
  try {
    return ZyData::build_received_object(frame_bytes(*frames[0]), frame_bytes(*frames[1]), frame_bytes(*frames[2]));
  } catch (Util::Error& error) {
    error.set_offset(nodes_start + error.offset().value_or(0));
    throw;
  }
}

void receive_object(FrameReader& reader, std::uint32_t frameCount, Message& message) {
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
  StorageReceiver(reader, *object, message.frames, storage_sizes).receive();
  message.attach(object);
}

}  // namespace

void receive_frames(VFileStream& stream, std::uint32_t frameCount, bool isData, Message& message) {
  if (isData && frameCount < kSchemaFrames) {
    throw Util::Error("message receive failed: a data object needs at least %u frames, the message has %u",
                      kSchemaFrames, frameCount);
  }
  FrameReader reader(stream);
  try {
    if (isData) {
      receive_object(reader, frameCount, message);
    } else {
      receive_plain(reader, frameCount, message);
    }
  } catch (Util::Error& error) {
    if (!error.offset()) error.set_offset(reader.position());
    throw;
  }
}

}  // namespace MPSys
