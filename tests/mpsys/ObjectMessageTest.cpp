// Receiving a data-object message: the order of the steps, and what stops them.
//
// The serializer's part is replaced by a stand-in that hands out a prepared object, so that every answer of an object
// can be tried.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "mpsys/FileConnection.h"
#include "mpsys/FrameReceiver.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/Schema.h"

namespace {

/// What the stand-in was given and what it hands out.
struct Serializer {
  std::vector<std::string> schemaFrames;
  std::shared_ptr<ZyData::DataObj> object;
};

Serializer& serializer() {
  static Serializer instance;
  return instance;
}

}  // namespace

namespace ZyData {

std::shared_ptr<DataObj> build_received_object(std::string_view nodes, std::string_view parameters,
                                               std::string_view strings) {
  serializer().schemaFrames = {std::string(nodes), std::string(parameters), std::string(strings)};
  return serializer().object;
}

void locate_frame(Util::Error& error, const DataObj&, std::size_t frame) {
  error.enter_field(std::to_string(frame), false);
}

}  // namespace ZyData

namespace MPSys {
namespace {

using ZyData::DataObj;
using ZyData::FixedMemoryData;
using ZyData::FrameList;
using ZyData::MallocMemoryData;
using ZyData::MessageDataObj;
using ZyData::Schema;

const std::string kSeven("\x07\0\0\0\0\0\0\0", 8);  // as a row count

std::string bytes_of(DataObj& frame) { return {static_cast<const char*>(frame.data()), frame.size_bytes()}; }

/// An object that lists the frames that it was given and remembers what they held when it was finished.
class TreeStandIn final : public DataObj {
 public:
  explicit TreeStandIn(FrameList frames) : DataObj(ZyData::raw_memory_schema()), d_frames(std::move(frames)) {}

  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override {
    EXPECT_EQ(self.get(), this);
    EXPECT_TRUE(frames.empty());
    frames = d_frames;
  }
  std::uint64_t size_bytes() const override { return 0; }
  void finish() override {
    for (const auto& frame : d_frames) finishedWith.push_back(bytes_of(*frame));
    if (refuses) throw Util::Error(std::string("the tree is damaged"));
  }

  std::vector<std::string> finishedWith;
  bool refuses = false;

 private:
  FrameList d_frames;
};

/// A frame whose answers to a size can be chosen.
class FrameStandIn final : public DataObj {
 public:
  enum class Answer { no, shorter, outOfMemory, tooLong };

  explicit FrameStandIn(Answer answer)
      : DataObj(std::make_shared<Schema>("f", "double", 1, nullptr)), d_answer(answer) {}

  bool fits(std::uint64_t n) override {
    ++asked;
    if (d_answer == Answer::outOfMemory) throw std::bad_alloc();
    if (d_answer == Answer::tooLong) std::string().resize(std::numeric_limits<std::size_t>::max());
    d_size = n / 8 * 8;
    return d_answer != Answer::no;
  }
  std::uint64_t size_bytes() const override { return d_size; }

  int asked = 0;

 private:
  Answer d_answer;
  std::uint64_t d_size = 0;
};

std::string object_message(const std::vector<std::uint64_t>& sizes, const std::string& bytes) {
  Util::ByteWriter writer;
  writer.put(static_cast<std::uint32_t>(sizes.size()));
  writer.put(std::uint32_t{0});
  writer.put(std::uint32_t{1});
  for (const std::uint64_t size : sizes) writer.put(size);
  writer.put_bytes(bytes);
  return writer.take();
}

class ObjectMessages : public testing::Test {
 protected:
  ObjectMessages() { serializer() = Serializer(); }

  std::shared_ptr<TreeStandIn> serveTree(FrameList frames) {
    auto tree = std::make_shared<TreeStandIn>(std::move(frames));
    serializer().object = tree;
    return tree;
  }
  bool receive(const std::string& file) {
    TestSupport::write_file(d_path, file);
    FileConnection connection(d_path.c_str(), FileMode::reading);
    return connection.receive(d_message, nullptr, -1);
  }

  TestSupport::TempDir d_dir;
  std::string d_path = d_dir.path("object");
  Message d_message;
};

TEST_F(ObjectMessages, FillTheObjectsOwnMemoryAndFinishItLast) {
  std::uint64_t count = 0;
  const auto tree =
      serveTree({std::make_shared<FixedMemoryData>(&count, sizeof count, nullptr),
                 std::make_shared<MallocMemoryData>(nullptr), std::make_shared<MallocMemoryData>(nullptr)});
  ASSERT_TRUE(receive(object_message({3, 0, 2, 8, 0, 4}, "abcde" + kSeven + "data")));
  EXPECT_EQ(serializer().schemaFrames, (std::vector<std::string>{"abc", "", "de"}));
  EXPECT_EQ(count, 7u);
  EXPECT_EQ(tree->finishedWith, (std::vector<std::string>{kSeven, "", "data"}));
  EXPECT_EQ(d_message.data, tree);
  EXPECT_EQ(d_message.isData, 1);
  EXPECT_EQ(d_message.frames.size(), 3u);
}

TEST_F(ObjectMessages, TakeFewerBytesThanAFixedMemberHasWithoutLosingTheirPlace) {
  std::string first = "abcdef";
  std::string second = "ghi";
  serveTree({std::make_shared<ZyData::StaticMemoryData>(first.data(), first.size(), nullptr),
             std::make_shared<ZyData::StaticMemoryData>(second.data(), second.size(), nullptr)});
  ASSERT_TRUE(receive(object_message({0, 0, 0, 2, 3}, "12345")));
  EXPECT_EQ(first, "12cdef");
  EXPECT_EQ(second, "345");
}

TEST_F(ObjectMessages, AreComparedWithObjectAndFileBeforeAnyMemoryIsSized) {
  const auto frame = std::make_shared<FrameStandIn>(FrameStandIn::Answer::no);
  serveTree({frame, frame});
  EXPECT_ERROR(receive(object_message({5, 0}, "abcde")),
               "message receive failed: a data object needs at least 3 frames, the message has 2");
  EXPECT_ERROR(receive(object_message({4, 1ull << 40, 1, 9, 9}, "abcde")),
               "message truncated: received only 5 of 1099511627781 bytes");
  EXPECT_TRUE(serializer().schemaFrames.empty());
  EXPECT_ERROR(receive(object_message({4, 0, 1, 9, 9}, "abcdefg")), "message truncated: received only 2 of 18 bytes");
  EXPECT_ERROR(receive(object_message({0, 0, 0, 1, 1, 1}, "abc")),
               "message receive failed: the data object has 2 storage frames, the message has 3");
  EXPECT_EQ(frame->asked, 0);
}

TEST_F(ObjectMessages, NameTheFrameThatRefusesItsSize) {
  const std::string refusal = "message receive failed: can't resize frame 1 \"double\" to requested byte size (9)";
  for (const auto answer : {FrameStandIn::Answer::no, FrameStandIn::Answer::shorter, FrameStandIn::Answer::outOfMemory,
                            FrameStandIn::Answer::tooLong}) {
    const auto tree = serveTree({std::make_shared<MallocMemoryData>(nullptr), std::make_shared<FrameStandIn>(answer)});
    EXPECT_ERROR(receive(object_message({0, 0, 0, 1, 9}, "abcdefghij")), refusal);
    EXPECT_TRUE(tree->finishedWith.empty());
    EXPECT_EQ(d_message.data, nullptr);
  }
}

TEST_F(ObjectMessages, HoldNoObjectThatRefusedItsContent) {
  const auto tree = serveTree({});
  tree->refuses = true;
  EXPECT_ERROR(receive(object_message({0, 0, 0}, "")), "the tree is damaged");
  EXPECT_EQ(d_message.data, nullptr);
}

}  // namespace
}  // namespace MPSys
