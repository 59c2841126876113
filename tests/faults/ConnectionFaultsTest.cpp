// Every system call of a send and of a receive fails in turn: the message says so, no descriptor is lost, nothing is
// tried again.

#include "mpsys/FileConnection.h"
#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"
#include "zydata/object/MemoryData.h"

namespace MPSys {
namespace {

using namespace TestSupport;

/// What stands in the way of the n-th call of an operation, from n = 1 on, until everything succeeds.
struct Case {
  Operation operation;
  int errorNumber;  // 0: the call moves `bytes` bytes instead
  std::size_t bytes;
  std::vector<std::string>
      texts;  // of the first call, the second, ...; "%" stands for the file's name, "@" for the reason
};

constexpr const char* kFalse = "<false>";  // receive answers false
constexpr const char* kTrue = "<true>";    // the fault does no harm

class ConnectionFaults : public testing::Test {
 protected:
  ConnectionFaults() {
    for (const std::size_t size : {std::size_t{3}, std::size_t{40000}}) {
      const auto owner = std::make_shared<std::string>(size, 'x');
      d_message.frames.push_back(std::make_shared<ZyData::StaticMemoryData>(owner->data(), owner->size(), owner));
    }
    d_platform.reset();
  }

  std::string send() {
    FileConnection connection(d_path.c_str(), FileMode::writing);
    errno = ENOTDIR;  // of something else: no message may show it
    connection.send(d_message, 0);
    connection.close();
    return kTrue;
  }

  std::string receive() {
    Message message;
    FileConnection connection(d_path.c_str(), FileMode::reading);
    const bool received = connection.receive(message, nullptr, -1);
    connection.close();
    EXPECT_EQ(message.frames.size(), received ? 2u : 0u);
    return received ? kTrue : kFalse;
  }

  template <class Action>
  std::string outcome(Action action) {
    std::string result;
    const std::string error = TestSupport::error_text([&] { result = action(); });
    return result.empty() ? error : result;
  }

  /// Runs `action` with each call of the case's operation disturbed once, then undisturbed.
  template <class Action>
  void failEachCall(const Case& test, Action action) {
    const std::ptrdiff_t descriptors = TestSupport::open_descriptors();
    std::vector<std::string> texts;
    for (int n = 1;; ++n) {
      d_platform.reset();
      test.errorNumber != 0 ? d_platform.fail(test.operation, n, test.errorNumber)
                            : d_platform.shorten(test.operation, n, test.bytes);
      const std::string text = outcome(action);
      EXPECT_EQ(TestSupport::open_descriptors(), descriptors);
      if (d_platform.faults() == 0) {
        EXPECT_EQ(text, kTrue);
        break;
      }
      EXPECT_EQ(d_platform.faults(), 1);
      EXPECT_TRUE(text == kTrue || d_platform.calls(test.operation) == n) << "nothing is retried";
      texts.push_back(text);
    }
    EXPECT_EQ(texts, expected(test)) << "operation " << static_cast<int>(test.operation);
  }

  std::vector<std::string> expected(const Case& test) const {
    std::vector<std::string> texts = test.texts;
    const std::string reason = Util::system_error_text(test.errorNumber);
    for (std::string& text : texts) {
      for (const auto& [mark, meaning] : {std::pair("%", d_path), std::pair("@", reason)}) {
        if (const auto place = text.find(mark); place != std::string::npos) text.replace(place, 1, meaning);
      }
    }
    return texts;
  }

  TestSupport::TempDir d_dir;
  std::string d_path = d_dir.path("message");
  Message d_message;  // of 3 and 40000 bytes: one gather call
  FaultyPlatform& d_platform = FaultyPlatform::instance();
};

TEST_F(ConnectionFaults, EveryCallOfASendIsReported) {
  const std::string failed = "message send failed: @";
  const std::vector<std::string> twice = {failed, "message send failed : @"};
  const std::vector<Case> cases = {
      {Operation::openForWriting, EACCES, 0, {"can't open file '%' for writing\n    @"}},
      {Operation::controlBlockingMode, EBADF, 0, {kTrue}},
      {Operation::write, ENOSPC, 0, twice},
      {Operation::write, EINTR, 0, twice},
      {Operation::write, 0, 11, {"message send failed: short write", "message send failed : short write"}},
      {Operation::writeGathered, EIO, 0, {failed}},
      {Operation::writeGathered, 0, 0, {"message send failed: could only send 0 of 40003 bytes"}},
      {Operation::writeGathered, 0, 40002, {"message send failed: could only send 40002 of 40003 bytes"}},
      {Operation::close, EIO, 0, {failed}},
  };
  for (const Case& test : cases) failEachCall(test, [&] { return send(); });
}

TEST_F(ConnectionFaults, EveryCallOfAReceiveIsReported) {
  send();
  const std::string file = read_file(d_path), failed = "message receive failed: @";
  const std::vector<Case> cases = {
      {Operation::openForReading, EMFILE, 0, {"can't open file '%' for reading\n    @"}},
      {Operation::controlBlockingMode, EBADF, 0, {kTrue}},
      {Operation::bytesToEnd, EBADF, 0, {kTrue}},
      {Operation::read, EIO, 0, {failed, failed}},
      {Operation::read, EINTR, 0, {failed, failed}},
      {Operation::read, EAGAIN, 0, {kFalse, failed}},
      {Operation::read, 0, 11, {kFalse, "message receive failed: unexpected end of file"}},
      {Operation::readScattered, EISDIR, 0, {failed}},
      {Operation::readScattered, EAGAIN, 0, {"message truncated: received only 0 of 40003 bytes"}},
      {Operation::readScattered, 0, 4, {"message truncated: received only 4 of 40003 bytes"}},
      {Operation::close, EIO, 0, {failed}},
  };
  for (const Case& test : cases) failEachCall(test, [&] { return receive(); });
  EXPECT_EQ(read_file(d_path), file);
}

TEST_F(ConnectionFaults, AWaitThatFailsIsReported) {
  TestSupport::write_file(d_path, "");
  FileConnection connection(d_path.c_str(), FileMode::reading);
  d_platform.fail(Operation::waitReadable, 1, EINTR);
  Message message;
  EXPECT_ERROR(connection.receive(message, nullptr, 5), "timeout poll error\n    Interrupted system call");
}

TEST_F(ConnectionFaults, AReadThatWouldBlockIsTriedAgainAfterTheWait) {
  send();
  FileConnection connection(d_path.c_str(), FileMode::reading);
  d_platform.fail(Operation::read, 1, EAGAIN);
  Message message;
  EXPECT_TRUE(connection.receive(message, nullptr, 5));
  EXPECT_EQ(message.frames.size(), 2u);
}

TEST_F(ConnectionFaults, TheDestructorClosesQuietly) {
  const std::ptrdiff_t descriptors = TestSupport::open_descriptors();
  d_platform.fail(Operation::close, 0, EIO);
  { FileConnection connection(d_path.c_str(), FileMode::writing); }
  EXPECT_EQ(d_platform.faults(), 1);
  EXPECT_EQ(TestSupport::open_descriptors(), descriptors);
}

}  // namespace
}  // namespace MPSys
