// Every system call behind mapped storage fails in turn: the message says so, file and elements stay as they were, and
// no descriptor is lost. The real platform answers all calls that no fault is ordered for.
#include <cstring>

#include "tests/support/FaultyPlatform.h"
#include "tests/support/MappedObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/message/serialize.h"
#include "zydata/storage/MMapRegion.h"

namespace ZyData {
namespace {

using namespace TestSupport;
using namespace TestObjects;

constexpr const char* kFine = "<nothing thrown>";

class MMapFaults : public MappedFiles {
 protected:
  MMapFaults() { d_platform.reset(); }
  ~MMapFaults() override { d_platform.reset(); }

  /// The text of `action` while every such call fails, without the system's reason for it.
  std::string text_when(Operation call, const std::function<void()>& action, int error_number = EIO) {
    d_platform.reset();
    d_platform.fail(call, 0, error_number);
    if (call == Operation::openOrCreate) d_platform.fail(Operation::openExisting, 0, error_number);
    std::string text = error_text(action);
    EXPECT_GT(d_platform.faults(), 0);
    d_platform.reset();
    const std::string reason = "\n    " + Util::system_error_text(error_number);
    EXPECT_TRUE(text == kFine || text.ends_with(reason)) << text;
    return text.substr(0, text.size() - (text == kFine ? 0 : reason.size()));
  }

  FaultyPlatform& d_platform = FaultyPlatform::instance();
};

TEST_F(MMapFaults, OpeningSaysWhichStepFailedAndLeavesTheFile) {
  const auto region = [](std::uint64_t first, std::uint64_t length) {
    return [=] { MMapRegion(4, "a", first, length).open(); };
  };
  const auto array = [] { MMapArray<int>(make_schema<int>("a", 0x1021), 5); };
  const auto whole = region(0, kWholeFile), behind = region(100, 5);
  const std::string no_info = "getting file info in initialization of a fails!";
  const std::string no_size = "Resizing a to default size fails!";
  const std::string no_map = "Mapping file a to memory in initialization fails!";
  const std::string no_resize = "failed to resize mmap file \"a\" to requested size (20)";
  struct Case {
    std::function<void()> open;
    Operation call;
    std::string text;
    std::string file = {};
  };
  for (const Case& test : std::vector<Case>{
           {array, Operation::openOrCreate, "failed to open mmap file \"a\""},
           {array, Operation::fileSize, "failed to get file info of mmap array \"a\""},
           {array, Operation::setFileSize, no_resize},
           {array, Operation::reserveBlocks, no_resize},
           {array, Operation::map, "failed to map file 'a' into memory"},
           {array, Operation::map, "failed to map file 'a' into memory", "12345678"},
           {whole, Operation::openOrCreate, no_info},
           {whole, Operation::fileSize, no_info},
           {whole, Operation::setFileSize, no_size},
           {whole, Operation::reserveBlocks, no_size},
           {whole, Operation::map, no_map},
           {behind, Operation::map, no_map},
           {behind, Operation::reserveBlocks, no_size},
           {region(0, 5), Operation::reserveBlocks, no_map, "12345678"},
       }) {
    write_file("a", test.file);
    EXPECT_EQ(text_when(test.call, test.open), test.text);
    EXPECT_EQ(read_file("a"), test.file);
    EXPECT_EQ(open_descriptors(), d_descriptors);
  }
  d_platform.fail(Operation::openOrCreate, 0, EACCES);  // opened without creating
  array();
  d_platform.reset();
  EXPECT_ERROR(region(~std::uint64_t{0} / 8, kWholeFile)(), "File a size is less than the offset!");
  write_file("a", "");
  EXPECT_ERROR(region(~std::uint64_t{0} / 8, kWholeFile)(), no_size + "\n    File too large");
  EXPECT_ERROR(mapped<int>(1, std::string("b\0c", 3)), "failed to open mmap file \"b\"\n    Invalid argument");
  EXPECT_FALSE(std::filesystem::exists("b"));
  EXPECT_GE(Util::platform().close(Util::platform().open_unnamed("no/such/folder")), 0);  // the temporary folder
  const auto lists = [] { runs({}); };
  lists();
  d_platform.fail(Operation::openOrCreate, 2, EACCES);
  d_platform.fail(Operation::openExisting, 0, EACCES);
  EXPECT_ERROR(lists(), "getting file info in initialization of v.values fails!\n    Permission denied");
}

TEST_F(MMapFaults, WhereThereAreNoLocksNobodyIsKeptOut) {
  for (const int error_number : {ENOLCK, EOPNOTSUPP, EINVAL}) {
    EXPECT_EQ(text_when(
                  Operation::lock, [] { mapped<int>(5000)->close(); }, error_number),
              kFine);
    EXPECT_EQ(std::filesystem::file_size("a"), 20000u);
  }
  d_platform.fail(Operation::lock, 0, EWOULDBLOCK);
  EXPECT_ERROR(mapped<int>(1), already_open("a"));
  EXPECT_ERROR(windowed("a", 0, 1024), already_open("a"));
  d_platform.fail(Operation::lock, 1, EWOULDBLOCK);
  EXPECT_EQ(windowed("a", 0, 1024)->size(), 5000u) << "a length that is changed is soon changed";
}

TEST_F(MMapFaults, ChangesThatFailChangeNothing) {
  static const std::vector<int> many(5000, 9);
  const auto array = mapped<int>(3);
  const auto lists = std::make_shared<MMapVarArray<int>>(make_schema<int>("v", 0x40));
  for (int i = 0; i < 2; ++i) lists->append({many.data(), 3});
  write_file("r", "12345678");
  write_file("s", std::string(20000, 'x'));
  MMapRegion grown(4, "r"), cut(4, "s");
  grown.open();
  cut.open();
  const auto state = [&] {
    const auto text = [](const MMapRegion& region) {
      return std::string(static_cast<char*>(region.data()), 4 * region.length());
    };
    std::string all = printed(*array) + printed(*lists) + text(grown) + text(cut);
    for (const char* file : {"a", "v.offsets", "v.values", "r", "s"})
      all += std::to_string(std::filesystem::file_size(file)) + " ";
    return all;
  };
  using Texts = std::vector<std::pair<Operation, std::string>>;
  const auto of_array = [](std::uint64_t bytes) {
    const std::string resize = "failed to resize mmap file \"a\" to requested size (" + std::to_string(bytes) + ")";
    return Texts{{Operation::setFileSize, resize},
                 {Operation::fileSize, resize},
                 {Operation::reserveBlocks, resize},
                 {Operation::map, "failed to map file 'a' into memory"}};
  };
  const auto of_region = [](const std::string& file) {
    return Texts{{Operation::unmap, "Unmapping in resize step fails"},
                 {Operation::setFileSize, "resizing " + file + " fails!"},
                 {Operation::reserveBlocks, "resizing " + file + " fails!"},
                 {Operation::fileSize, "getting file info in resize of " + file + " fails!"},
                 {Operation::map, "Mapping file " + file + " to memory in resize step fails!"}};
  };
  const Util::USpan<int> run(many);
  struct Change {
    std::function<void()> make;
    Texts texts;
  };
  const int* address = array->elements();
  const std::vector<Change> changes = {
      {[&] { array->resize(5000); }, of_array(20000)},
      {[&] { array->append_strided(many.data(), 4, 5000); }, of_array(20012)},
      {[&] { array->assign(many.data(), 5000); }, of_array(20000)},
      {[&] { array->vector()->grow_for_append(page() / 2); }, of_array(2 * page() + 12)},
      {[&] { lists->append(many); }, of_region("v.values")},
      {[&] { lists->append_strided(&run, sizeof run, 1); }, of_region("v.values")},
      {[&] { grown.resize(3000); }, of_region("r")},
      {[&] { cut.resize(10); }, of_region("s")},
  };
  const std::string before = state();
  for (const auto& [make, texts] : changes) {
    for (const auto& [call, text] : texts) {
      if (&make == &changes.back().make && call == Operation::reserveBlocks) continue;  // a cut needs none
      EXPECT_EQ(text_when(call, make), text);
      EXPECT_TRUE(state() == before) << text;
    }
  }
  EXPECT_EQ(array->elements(), address);
  for (const Change& change : changes) EXPECT_ERROR(change.make(), kFine);
  EXPECT_EQ(read_file("s"), std::string(40, 'x'));
}

TEST_F(MMapFaults, AViewThatCannotBeUnmappedIsOnlyRecorded) {
  const auto array = mapped<int>(3);
  d_platform.fail(Operation::unmap, 1, EINVAL);
  array->resize(5000);
  EXPECT_EQ(d_platform.faults(), 1);
  EXPECT_EQ(array->vector()->storage().unmap_error(), EINVAL);
  array->resize(3);
  EXPECT_EQ(content<int>(array), elements<int>(0, 3));
  d_platform.fail(Operation::unmap, 1, EINVAL);
  array->close();
  EXPECT_EQ(read_file("a").size(), 12u);
}

TEST_F(MMapFaults, WhatCannotBeCopiedStoredOrCutStays) {
  auto array = mapped<int>(3);
  const auto view = array->slice(0, 2)->get<MMapArray<int>>();
  const auto lists = runs({"ab"});
  const std::string unopened = "failed to open mmap file \"\"";
  const std::string uncut = "failed to resize mmap file \"a\" to vector length (12)";
  struct Case {
    Operation call;
    std::function<void()> action;
    std::string text;
  };
  for (const Case& test : std::vector<Case>{
           {Operation::openUnnamed, [&] { array->copy(0, 3); }, unopened},
           {Operation::openUnnamed, [&] { view->reset(); }, unopened},
           {Operation::openUnnamed, [&] { lists->copy(0, 1); }, unopened},
           {Operation::reserveBlocks, [&] { array->copy(0, 3); },
            "failed to resize mmap file \"\" to requested size (" + std::to_string(page()) + ")"},
           {Operation::setFileSize, [&] { data_message(array); }, uncut},
           {Operation::setFileSize, [&] { data_message(lists); }, "resizing v.offsets fails!"},
       }) {
    EXPECT_EQ(text_when(test.call, test.action), test.text);
    EXPECT_EQ(content<int>(array), elements<int>(0, 3));
    EXPECT_EQ(view->size() + lists->size(), 3u);
  }
  EXPECT_EQ(text_when(Operation::setFileSize, [&] { array->close(); }), uncut);
  EXPECT_EQ(text_when(Operation::setFileSize, [&] { lists->close(); }), "resizing v.offsets fails!");
  EXPECT_EQ(open_descriptors(), d_descriptors) << "closed all the same";
  EXPECT_EQ(array->size() + lists->size(), 0u);
  auto other = mapped<int>(3, "b");
  EXPECT_EQ(text_when(Operation::setFileSize, [&] { other.reset(); }), kFine) << "a destructor throws nothing";
  EXPECT_EQ(text_when(Operation::close, [] { mapped<int>(3, "c"); }), kFine);
}

TEST_F(MMapFaults, NoViewInATableOpensItsFileDuringTheLoad) {
  const auto schema = make_frame_schema("t");
  const auto table = schema->factory()->create_from(schema);
  table->add_field("c", make_mapped_schema<int, 0x21>("c", "c"));
  for (int i = 0; i < 3; ++i) table->get<MMapArray<int>>("c")->push_back(i);
  table->refresh();
  auto frames = stored(table);
  table->clear_hierarchy();
  ASSERT_EQ(frames[6].size(), 24u);
  constexpr std::uint64_t kAll = ~std::uint64_t{0}, kMost = 0xffffffff / 4;
  d_platform.reset();
  for (const std::uint64_t start : {std::uint64_t{0}, std::uint64_t{1}, kMost - 3, kMost - 2, kMost, kMost + 1, kAll}) {
    for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{3}, kAll / 2 + 2, kAll}) {
      std::memcpy(frames[6].data(), &start, 8);
      std::memcpy(frames[6].data() + 8, &count, 8);
      const bool damaged = start > kMost - std::min<std::uint64_t>(count, 3);
      const std::string text = error_text([&] { loaded(frames); });
      EXPECT_EQ(text == "the stored view of mapped array \"c\" is damaged", damaged) << start << ' ' << count;
    }
  }
  EXPECT_EQ(d_platform.calls(Operation::openRegular), 0);
}

}  // namespace
}  // namespace ZyData
