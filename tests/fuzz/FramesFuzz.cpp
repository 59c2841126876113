// Any bytes as a stream of messages: each is received or refused, holds what the stream holds, and is sent again with
// the same bytes.
//
// Input: one byte, odd for a stream whose length nobody knows, then the stream.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "mpsys/FileConnection.h"
#include "tests/format/Load.h"
#include "util/Bytes.h"

namespace {

using TestSupport::file;

constexpr std::size_t kHeader = 12;
constexpr std::size_t kFlags = 8;                // offset of the flags in a header
constexpr std::uint64_t kMostOfAPipe = 1 << 20;  // bytes of a frame: nothing limits a claim in a pipe
constexpr std::uint64_t kMostFramesOfAPipe = 1 << 16;

std::string path(const std::string& name) { return std::string(TestSupport::kMemory) + "/" + name + ".zydat"; }

std::uint64_t frame_count(const std::string& bytes) { return Util::load<std::uint32_t>(bytes.data()); }

/// False when receiving may ask for memory that the bytes can't fill.
bool suits_a_pipe(const std::string& bytes) {
  if (bytes.size() < kHeader) return true;
  if (frame_count(bytes) > kMostFramesOfAPipe) return false;
  const std::size_t sizes = std::min<std::size_t>(frame_count(bytes), (bytes.size() - kHeader) / 8);
  for (std::size_t i = 0; i < sizes; ++i)
    if (Util::load<std::uint64_t>(bytes.data() + kHeader + 8 * i) > kMostOfAPipe) return false;
  return true;
}

/// Bytes of the message at the start of a stream that holds it whole.
std::size_t message_size(const std::string& bytes) {
  std::size_t size = kHeader + 8 * frame_count(bytes);
  for (std::size_t i = 0; i < frame_count(bytes); ++i)
    size += Util::load<std::uint64_t>(bytes.data() + kHeader + 8 * i);
  return size;
}

std::string sent(const MPSys::Message& message) {
  MPSys::FileConnection connection(path("sent").c_str(), MPSys::FileMode::writing);
  connection.send(message, 0);
  connection.close();
  return file("sent");
}

/// False when nothing more can be received. A plain message that was received is compared with its bytes.
bool receive_next(MPSys::Connection& connection, const std::string& bytes) {
  MPSys::Message message;
  try {
    if (!connection.receive(message, nullptr, -1)) return false;
  } catch (const Util::Error&) {
    return false;
  }
  if (message.data != nullptr) return true;
  std::string expected = bytes.substr(0, message_size(bytes));
  expected.replace(kFlags, 4, 4, '\0');
  if (sent(message) != expected) throw std::logic_error("a message was sent with other bytes");
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::string& stream = file("stream");
  stream.assign(reinterpret_cast<const char*>(data) + 1, size - 1);
  const bool known = data[0] % 2 == 0;
  TestSupport::MemoryPlatform::instance().lengthsKnown = known;
  MPSys::FileConnection connection(path("stream").c_str(), MPSys::FileMode::reading);
  for (std::string rest = stream; TestSupport::has_sound_node_table(rest) && (known || suits_a_pipe(rest));) {
    if (!receive_next(connection, rest)) break;
    rest.erase(0, message_size(rest));
  }
  TestSupport::MemoryPlatform::instance().lengthsKnown = true;
  return 0;
}
