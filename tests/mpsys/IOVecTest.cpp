// Gathering and scattering: which system calls a list of buffers becomes, and that every byte goes through them.
#include "mpsys/IOVec.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "mpsys/FileStream.h"
#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"

namespace MPSys {
namespace {

using TestSupport::FaultyPlatform;
using TestSupport::Operation;
using TestSupport::Transfer;

/// A list of buffers and the calls that it becomes: "5" is a plain call for 5 bytes, "2:7" one for 2 buffers of 7
/// bytes.
struct Case {
  std::string name;
  IOVec::Limits limits;
  std::vector<std::size_t> sizes;
  std::string sent;
  std::string received;
};

std::vector<Case> cases() {
  const IOVec::Limits standard;
  const std::vector<std::size_t> tiny(12000, 100);  // more than one staging block takes
  return {
      {"only empty ones", standard, {0, 0}, "", ""},
      {"empty ones take no place", {0, 100, 2}, {0, 3, 0, 4, 0}, "2:7 ", "2:7 "},
      {"a segment closes by count", {0, 100, 2}, {3, 4, 5}, "2:7 5 ", "2:7 5 "},
      {"a segment closes by bytes", {0, 10, 9}, {6, 8}, "2:10 4 ", "2:10 4 "},
      {"a segment closes exactly", {0, 10, 9}, {4, 6, 10}, "2:10 10 ", "2:10 10 "},
      {"a large buffer is split", {0, 10, 9}, {25}, "10 10 5 ", "10 10 5 "},
      {"staged ones are one buffer", {8, 100, 1}, {1, 2, 1, 3}, "7 ", "1 2 1 3 "},
      {"a staging block stays below its limit", {8, 100, 9}, {4, 4, 8, 9}, "4:25 ", "4:25 "},
      {"staging meets the byte limit", {8, 5, 9}, {3, 4}, "5 2 ", "2:5 2 "},
      {"large ones stand between staged ones", standard, {100, 100, 20000, 100}, "3:20300 ", "4:20300 "},
      {"large ones are never staged", standard, {1000000, 500000, 128}, "3:1500128 ", "3:1500128 "},
      {"thousands of small ones", standard, tiny, "2:1200000 ",
       "1024:102400 1024:102400 1024:102400 1024:102400 1024:102400 1024:102400 1024:102400 1024:102400 1024:102400 "
       "1024:102400 1024:102400 736:73600 "},
  };
}

std::string calls_made() {
  std::string calls;
  for (const Transfer& call : FaultyPlatform::instance().transfers()) {
    const bool plain = call.operation == Operation::write || call.operation == Operation::read;
    calls += (plain ? "" : std::to_string(call.bufferCount) + ":") + std::to_string(call.bytes) + " ";
  }
  return calls;
}

/// Buffers of these sizes, neighbours with different letters.
std::vector<std::string> make_buffers(const std::vector<std::size_t>& sizes) {
  std::vector<std::string> buffers;
  for (const std::size_t size : sizes) buffers.emplace_back(size, static_cast<char>('a' + buffers.size() % 26));
  return buffers;
}

std::string joined(const std::vector<std::string>& buffers) {
  std::string all;
  for (const auto& buffer : buffers) all += buffer;
  return all;
}

class IOVecTransfer : public testing::Test {
 protected:
  IOVecTransfer() { d_platform.reset(); }

  void openForWriting() { d_stream.attach(d_platform.open_for_writing(d_stream.fileName().c_str(), 0666)); }
  void openForReading() { d_stream.attach(d_platform.open_for_reading(d_stream.fileName().c_str())); }
  void send(const std::vector<std::string>& buffers, const IOVec::Limits& limits) {
    d_platform.reset();
    openForWriting();
    IOVec transfer(limits);
    for (const auto& buffer : buffers) transfer.addToSend(buffer.data(), buffer.size());
    transfer.send(d_stream);
    d_stream.close();
    EXPECT_EQ(TestSupport::read_file(d_stream.fileName()), joined(buffers));
  }

  TestSupport::TempDir d_dir;
  FaultyPlatform& d_platform = FaultyPlatform::instance();
  VFileStream d_stream{d_dir.path("stream")};
};

TEST_F(IOVecTransfer, MovesEveryByteInOrderWithTheFewestCalls) {
  for (const Case& test : cases()) {
    SCOPED_TRACE(test.name);
    const std::vector<std::string> buffers = make_buffers(test.sizes);
    send(buffers, test.limits);
    EXPECT_EQ(calls_made(), test.sent);

    d_platform.reset();
    openForReading();
    std::vector<std::string> destinations;
    for (const std::size_t size : test.sizes) destinations.emplace_back(size, '?');
    IOVec transfer(test.limits);
    for (auto& destination : destinations) transfer.addToReceive(destination.data(), destination.size());
    transfer.receive(d_stream);
    d_stream.close();
    EXPECT_EQ(calls_made(), test.received);
    EXPECT_EQ(destinations, buffers);
  }
}

TEST_F(IOVecTransfer, NoCallExceedsALimitWhateverTheSizes) {
  const std::vector<std::string> buffers = make_buffers({1, 2, 0, 5, 1, 1, 13, 3, 0, 2, 2, 7, 1});
  for (std::uint32_t code = 0; code < 6 * 7 * 4; ++code) {
    const IOVec::Limits limits{code % 6, 1 + code / 6 % 7, 1 + code / 42};
    SCOPED_TRACE(code);
    send(buffers, limits);
    for (const Transfer& call : d_platform.transfers()) {
      EXPECT_LE(call.bytes, limits.maxBytesPerCall);
      EXPECT_LE(call.bufferCount, limits.maxBuffersPerCall);
    }
  }
}

TEST_F(IOVecTransfer, LargeBuffersGoOutFromTheirOwnMemory) {
  std::string large(128, 'a');
  openForWriting();
  IOVec transfer;
  transfer.addToSend(large.data(), large.size());
  large.assign(large.size(), 'b');
  transfer.send(d_stream);
  EXPECT_EQ(TestSupport::read_file(d_stream.fileName()), large);
}

TEST_F(IOVecTransfer, ReportsTheNumbersOfTheSegmentThatFellShort) {
  const IOVec::Limits limits{0, 10, 9};
  d_platform.reset();
  std::string bytes(25, 'a');
  openForWriting();
  IOVec sending(limits);
  sending.addToSend(bytes.data(), bytes.size());
  d_platform.shorten(Operation::write, 2, 3);
  EXPECT_ERROR(sending.send(d_stream), "message send failed: could only send 3 of 10 bytes");
  d_stream.close();

  openForReading();  // 13 bytes are in the file
  IOVec receiving(limits);
  receiving.addToReceive(bytes.data(), bytes.size());
  EXPECT_ERROR(receiving.receive(d_stream), "message truncated: received only 3 of 10 bytes");
}

using IOVecDeathTest = IOVecTransfer;

TEST_F(IOVecDeathTest, NothingIsAddedOnceTheTransferHasStarted) {
  openForWriting();
  IOVec transfer;
  transfer.send(d_stream);
  EXPECT_DEATH(transfer.addToSend("a", 1), "not d_syscalls_made");
  EXPECT_DEATH(transfer.send(d_stream), "not d_syscalls_made");
}

}  // namespace
}  // namespace MPSys
