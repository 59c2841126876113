// Messages in files: their bytes, what a damaged file answers, and how a file behaves as a stream.
#include "mpsys/FileConnection.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "zydata/object/MemoryData.h"

TEST_SUPPORT_MALLOC_MAY_FAIL

namespace MPSys {
namespace {

using TestSupport::FaultyPlatform;
using TestSupport::Operation;
using TestSupport::TempDir;

using namespace std::string_literals;

std::shared_ptr<ZyData::DataObj> frame_of(std::string bytes) {
  const auto owner = std::make_shared<std::string>(std::move(bytes));
  return std::make_shared<ZyData::StaticMemoryData>(owner->data(), owner->size(), owner);
}

std::string bytes_of(ZyData::DataObj& frame) { return {static_cast<const char*>(frame.data()), frame.size_bytes()}; }

std::vector<std::string> frame_texts(const Message& message) {
  std::vector<std::string> texts;
  for (const auto& frame : message.frames) texts.push_back(bytes_of(*frame));
  return texts;
}

Message message_of(std::uint32_t tag, const std::vector<std::string>& texts) {
  Message message;
  message.tag = tag;
  for (const auto& text : texts) message.frames.push_back(frame_of(text));
  return message;
}

std::string header_and_sizes(std::uint32_t frame_count, std::uint32_t tag, std::uint32_t flags,
                             const std::vector<std::uint64_t>& sizes) {
  Util::ByteWriter writer;
  writer.put(frame_count);
  writer.put(tag);
  writer.put(flags);
  for (const std::uint64_t size : sizes) writer.put(size);
  return writer.take();
}

class FileMessages : public testing::Test {
 protected:
  FileMessages() { FaultyPlatform::instance().reset(); }

  std::string sent(const Message& message) {
    FileConnection connection(d_path.c_str(), FileMode::writing);
    EXPECT_TRUE(connection.send(message, 0));
    connection.close();
    return TestSupport::read_file(d_path);
  }
  bool receive(const std::string& file, Message& message) {
    TestSupport::write_file(d_path, file);
    FileConnection connection(d_path.c_str(), FileMode::reading);
    errno = ENOTDIR;  // of something else: no message may show it
    return connection.receive(message, nullptr, -1);
  }

  TempDir d_dir;
  std::string d_path = d_dir.path("message");
};

TEST_F(FileMessages, StandAsHeaderSizesAndFrames) {
  TestSupport::write_file(d_path, std::string(100, 'x'));  // opening for writing cuts the file
  Message message = message_of(0x01020304, {"abc", "de"});
  message.frames.insert(message.frames.begin() + 1, nullptr);  // counts as an empty frame
  const std::string expected =
      "\x03\0\0\0\x04\x03\x02\x01\0\0\0\0"
      "\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0"
      "abcde"s;
  EXPECT_EQ(sent(message), expected);
  Message object = message_of(7, {});
  object.attach(frame_of("x"));
  EXPECT_EQ(sent(object), "\0\0\0\0\x07\0\0\0\x01\0\0\0"s);
}

TEST_F(FileMessages, AreForEverybodyWhomTheUmaskLets) {
  const ::mode_t before = ::umask(0);
  sent(message_of(0, {}));
  ::umask(before);
  EXPECT_EQ(std::filesystem::status(d_path).permissions(), std::filesystem::perms{0666});
}

TEST_F(FileMessages, WithoutFramesReadBackEmpty) {
  for (const std::uint32_t flags : {0u, 1u}) {
    Message message = message_of(1, {"old"});
    message.attach(frame_of("old"));
    ASSERT_TRUE(receive(header_and_sizes(0, 9, flags, {}), message));
    EXPECT_EQ(message.tag, 9u);
    EXPECT_TRUE(message.frames.empty());
    EXPECT_EQ(message.data, nullptr);
  }
}

TEST_F(FileMessages, RoundTripOneAfterTheOther) {
  const std::vector<std::string> first = {
      "", "a", std::string(7, 'b'), std::string(8, 'c'), std::string(9, 'd'), std::string(70000, 'e'), ""};
  std::vector<std::string> second;
  for (int i = 0; i < 2500; ++i) second.push_back(std::to_string(i));
  {
    FileConnection connection(d_path.c_str(), FileMode::writing);
    connection.send(message_of(1, first), 0);
    connection.send(message_of(2, second), 0);
    connection.close();
  }
  FileConnection connection(d_path.c_str(), FileMode::reading);
  Message message;
  std::int32_t sender = 5;
  ASSERT_TRUE(connection.receive(message, &sender, -1));
  EXPECT_EQ(sender, 0);
  EXPECT_EQ(message.tag, 1u);
  EXPECT_EQ(frame_texts(message), first);
  EXPECT_EQ(message.isData, 0);
  ASSERT_TRUE(connection.receive(message, nullptr, -1));
  EXPECT_EQ(message.tag, 2u);
  EXPECT_EQ(frame_texts(message), second);
  EXPECT_FALSE(connection.receive(message, nullptr, -1));
}

TEST_F(FileMessages, IgnoreOtherFlagBitsAndWhatFollows) {
  Message message;
  ASSERT_TRUE(receive(header_and_sizes(1, 0, 0xfffffffe, {2}) + "abtrailing", message));
  EXPECT_EQ(frame_texts(message), std::vector<std::string>{"ab"});
}

TEST_F(FileMessages, ShorterThanAHeaderAreNoMessage) {
  for (std::size_t n = 0; n < 12; ++n) {
    SCOPED_TRACE(n);
    Message message = message_of(3, {"old"});
    EXPECT_FALSE(receive(std::string(n, '\1'), message));
    EXPECT_EQ(message.tag, 3u);
    EXPECT_EQ(frame_texts(message), std::vector<std::string>{"old"});
  }
}

TEST_F(FileMessages, CutAnywhereAreReported) {
  const std::string file = sent(message_of(0, {"abc", "", "defgh"}));
  const std::size_t table_end = 12 + 3 * 8;
  for (const bool length_known : {true, false}) {
    if (!length_known) FaultyPlatform::instance().fail(Operation::bytesToEnd, 0, ESPIPE);
    for (std::size_t n = 12; n < file.size(); ++n) {
      const std::string truncated = "message truncated: received only " + std::to_string(n - table_end) + " of 8 bytes";
      Message message;
      EXPECT_ERROR(receive(file.substr(0, n), message),
                   n < table_end ? "message receive failed: unexpected end of file" : truncated)
          << "cut to " << n << " bytes, length known: " << length_known;
    }
  }
}

TEST_F(FileMessages, ClaimsAreComparedWithTheFileBeforeMemoryIsTaken) {
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
  const std::string no_room_for_table = "message receive failed: unexpected end of file";
  const std::vector<std::pair<std::string, std::string>> claims = {
      {header_and_sizes(0xffffffff, 0, 0, {}), no_room_for_table},
      {header_and_sizes(0xffffffff, 0, 1, {1, 2, 3}), no_room_for_table},
      {header_and_sizes(1, 0, 0, {1ull << 60}) + "abc",
       "message truncated: received only 3 of 1152921504606846976 bytes"},
      {header_and_sizes(3, 0, 0, {kHalf, kHalf, 1}) + "abc",
       "message truncated: received only 3 of 9223372036854775807 bytes"}};
  for (const auto& claim : claims) {
    Message message;
    EXPECT_ERROR(receive(claim.first, message), claim.second);
    EXPECT_TRUE(message.frames.empty());
  }
}

TEST_F(FileMessages, MemoryThatCannotBeHadIsARefusal) {
  FaultyPlatform::instance().fail(Operation::bytesToEnd, 0, ESPIPE);  // like a pipe: nobody knows how much will come
  Message message;
  EXPECT_ERROR(receive(header_and_sizes(2, 0, 0, {1, 1ull << 62}) + "abc", message),
               "message receive failed: can't resize frame 1 \"void\" to requested byte size (4611686018427387904)");
}

TEST_F(FileMessages, AConnectionKnowsItsNameUntilAndAfterItIsClosed) {
  FileConnection connection(d_path.c_str(), FileMode::writing);
  const Connection& base = connection;
  EXPECT_TRUE(base.isUsable() && base.isUsableToReceive());
  EXPECT_EQ(base.name(), d_path);
  EXPECT_GE(base.descriptor(), 0);
  EXPECT_EQ(base.peer(), 0xffffffffu);
  connection.close();
  connection.close();
  EXPECT_EQ(base.descriptor(), -1);
  EXPECT_ERROR(connection.send(message_of(0, {}), 0), "message send failed: Bad file descriptor");
}

// --- the stream ---

/// Status, blocking mode and time-out.
std::string state_of(const VFileStream& stream) {
  return std::to_string(stream.status()) + "/" + std::to_string(stream.blocking()) + "/" +
         std::to_string(stream.timeout());
}

/// The states of a stream when it is made, when it gets the descriptor, and after each of these time-outs.
std::vector<std::string> states_after(std::int32_t fd, const std::vector<std::int32_t>& timeouts) {
  VFileStream stream("name");
  std::vector<std::string> states = {state_of(stream)};
  stream.attach(fd);
  states.push_back(state_of(stream));
  for (const std::int32_t timeout : timeouts) {
    stream.setTimeout(timeout);
    states.push_back(state_of(stream));
  }
  return states;
}

TEST_F(FileMessages, TheModeOfAPipeFollowsTheTimeOutAndThatOfAFileStays) {
  // A wait without limit would need the other mode and changes nothing; the mode of a limited wait is set already.
  const int fd = Util::platform().open_for_writing(d_path.c_str(), 0666);
  EXPECT_EQ(states_after(fd, {-1, 20, -1}),
            (std::vector<std::string>{"0/1/-1", "-1/0/0", "-1/0/0", "-1/0/20", "-1/0/20"}));
  EXPECT_EQ(FaultyPlatform::instance().calls(Operation::controlBlockingMode), 1);
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ::close(ends[1]);
  EXPECT_EQ(states_after(ends[0], {-1, 20, 30, -1}),
            (std::vector<std::string>{"0/1/-1", "0/0/0", "0/1/-1", "16384/0/20", "16384/0/30", "0/1/-1"}));
  EXPECT_EQ(FaultyPlatform::instance().calls(Operation::controlBlockingMode), 1 + 4);
}

TEST_F(FileMessages, AnEmptyReadWaitsOnlyWithATimeOut) {
  FaultyPlatform& platform = FaultyPlatform::instance();
  TestSupport::write_file(d_path, "");
  for (const std::int32_t timeout : {-1, 0, 1}) {
    platform.reset();
    Message message;
    FileConnection connection(d_path.c_str(), FileMode::reading);
    EXPECT_FALSE(connection.receive(message, nullptr, timeout));
    EXPECT_EQ(platform.calls(Operation::waitReadable), timeout > 0 ? 1 : 0) << timeout;
    EXPECT_EQ(platform.calls(Operation::read), timeout > 0 ? 2 : 1) << timeout;
  }
}

// --- the exception ---

TEST(NonDataMessage, IsAnErrorOfItsOwnThatKeepsTheMessage) {
  static_assert(!std::is_base_of_v<Util::Error, NonDataMessageException>);
  static_assert(std::is_nothrow_copy_constructible_v<NonDataMessageException>);
  auto thrown = std::make_unique<NonDataMessageException>(message_of(8, {"abc"}));
  const NonDataMessageException copy = *thrown;
  thrown.reset();
  EXPECT_STREQ(copy.what(), "failed to receive an zydata message when one was expected");
  EXPECT_EQ(copy.message().tag, 8u);
  EXPECT_EQ(frame_texts(copy.message()), std::vector<std::string>{"abc"});
}

}  // namespace
}  // namespace MPSys
