// Every system call behind mapped storage fails in turn: the message says so, file and elements stay as they were, and
// no descriptor is lost. The real platform answers all calls that no fault is ordered for.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/arrays/MMapVarArray.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/Schema.h"
#include "zydata/storage/MMapRegion.h"
#include "zydata/tables/Factories.h"

namespace ZyData {
namespace {

using TestSupport::FaultyPlatform;
using TestSupport::open_descriptors;
using TestSupport::Operation;
using TestSupport::read_file;
using TestSupport::write_file;

class MMapFaults : public TestSupport::InFolder {
 protected:
  MMapFaults() { d_platform.reset(); }
  ~MMapFaults() override { d_platform.reset(); }

  /// The text of `action` while `call` fails.
  template <class Action>
  std::string text_when(Operation call, int error_number, Action action) {
    d_platform.reset();
    d_platform.fail(call, 0, error_number);
    const std::string text = TestSupport::error_text(action);
    EXPECT_GT(d_platform.faults(), 0);
    d_platform.reset();
    return text;
  }

  FaultyPlatform& d_platform = FaultyPlatform::instance();
};

std::shared_ptr<MMapArray<int>> three(const std::string& file = "a") {
  auto array = std::make_shared<MMapArray<int>>(make_schema<int>("a", 0x1021), 0, file);
  for (int i = 1; i <= 3; ++i) array->push_back(i);
  return array;
}

void expect_three(MMapArray<int>& array) {
  ASSERT_EQ(array.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(*array.at(i), i + 1);
}

TEST_F(MMapFaults, AnArrayThatCannotBeMadeSaysWhy) {
  const auto make = [] { MMapArray<int>(make_schema<int>("a", 0x1021), 5); };
  d_platform.fail(Operation::openExisting, 0, EACCES);
  d_platform.fail(Operation::openOrCreate, 0, EROFS);
  EXPECT_ERROR(make(), "failed to open mmap file \"a\"\n    Permission denied");
  d_platform.reset();
  EXPECT_EQ(text_when(Operation::lock, ENOLCK, make), "failed to open mmap file \"a\"\n    No locks available");
  EXPECT_EQ(open_descriptors(), d_descriptors);
  write_file("a", "");
  d_platform.fail(Operation::openOrCreate, 0, EACCES);  // opened without creating
  make();
  d_platform.reset();
  EXPECT_EQ(text_when(Operation::fileSize, EIO, make),
            "failed to get file info of mmap array \"a\"\n    Input/output error");
  EXPECT_ERROR(MMapArray<int>(make_schema<int>("a", 0x1021), 1, std::string("b\0c", 3)),
               "failed to open mmap file \"b\"\n    Invalid argument");
  EXPECT_FALSE(std::filesystem::exists("b"));
  std::filesystem::remove("a");
  EXPECT_EQ(text_when(Operation::setFileSize, EFBIG, make),
            "failed to resize mmap file \"a\" to requested size (20)\n    File too large");
  EXPECT_EQ(std::filesystem::file_size("a"), 0u);
  EXPECT_EQ(text_when(Operation::reserveBlocks, ENOSPC, make),
            "failed to resize mmap file \"a\" to requested size (20)\n    No space left on device");
  EXPECT_EQ(std::filesystem::file_size("a"), 0u);
  EXPECT_EQ(text_when(Operation::map, ENOMEM, make), "failed to map file 'a' into memory\n    Cannot allocate memory");
  EXPECT_EQ(std::filesystem::file_size("a"), 0u);
}

/// What grows an array, and the bytes that it then asks for.
struct Growth {
  std::function<void(MMapArray<int>&)> grow;
  std::uint64_t bytes;
};

std::vector<Growth> growths() {
  const std::uint64_t page = Util::platform().page_size();
  static const std::vector<int> many(5000, 9);
  return {
      {[](MMapArray<int>& array) { array.resize(5000); }, 20000},
      {[](MMapArray<int>& array) { array.append_strided(many.data(), 4, 5000); }, 20012},
      {[](MMapArray<int>& array) { array.assign(many.data(), 5000); }, 20000},
      {[](MMapArray<int>& array) { array.vector()->grow_for_append(2 * Util::platform().page_size() / 4); },
       2 * page + 12},
  };
}

TEST_F(MMapFaults, GrowthThatFailsChangesNothing) {
  for (const Growth& growth : growths()) {
    const auto array = three();
    const std::uint64_t length = std::filesystem::file_size("a");
    const int* address = array->elements();
    const auto grow = [&] { growth.grow(*array); };
    const std::string resize =
        "failed to resize mmap file \"a\" to requested size (" + std::to_string(growth.bytes) + ")";
    EXPECT_EQ(text_when(Operation::setFileSize, EFBIG, grow), resize + "\n    File too large");
    EXPECT_EQ(text_when(Operation::fileSize, EIO, grow), resize + "\n    Input/output error");
    EXPECT_EQ(text_when(Operation::reserveBlocks, ENOSPC, grow), resize + "\n    No space left on device");
    EXPECT_EQ(text_when(Operation::map, ENOMEM, grow),
              "failed to map file 'a' into memory\n    Cannot allocate memory");
    EXPECT_EQ(std::filesystem::file_size("a"), length);
    EXPECT_EQ(array->elements(), address);
    expect_three(*array);
    array->close();
    EXPECT_EQ(std::filesystem::file_size("a"), 12u);
  }
}

TEST_F(MMapFaults, AViewThatCannotBeUnmappedIsOnlyRecorded) {
  const auto array = three();
  d_platform.fail(Operation::unmap, 1, EINVAL);
  array->resize(5000);
  EXPECT_EQ(d_platform.faults(), 1);
  EXPECT_EQ(array->vector()->storage().unmap_error(), EINVAL);
  array->resize(3);
  expect_three(*array);
  d_platform.fail(Operation::unmap, 1, EINVAL);
  array->close();
  EXPECT_EQ(read_file("a").size(), 12u);
}

TEST_F(MMapFaults, CloseReportsAndTheDestructorDoesNot) {
  const std::string text = "failed to resize mmap file \"a\" to vector length (12)\n    Input/output error";
  const auto array = three();
  EXPECT_EQ(text_when(Operation::setFileSize, EIO, [&] { array->close(); }), text);
  EXPECT_EQ(open_descriptors(), d_descriptors) << "closed all the same";
  EXPECT_EQ(array->size(), 0u);
  auto other = three("b");
  d_platform.fail(Operation::setFileSize, 0, EIO);
  d_platform.fail(Operation::close, 0, EIO);
  EXPECT_EQ(TestSupport::error_text([&] { other.reset(); }), "<nothing thrown>");
}

TEST_F(MMapFaults, ACopyThatFindsNoPlaceLeavesTheArray) {
  const auto array = three();
  EXPECT_EQ(text_when(Operation::openUnnamed, EMFILE, [&] { array->copy(0, 3); }),
            "failed to open mmap file \"\"\n    Too many open files");
  const auto view = array->slice(0, 2)->get<MMapArray<int>>();
  EXPECT_NE(text_when(Operation::openUnnamed, EMFILE, [&] { view->reset(); }), "<nothing thrown>");
  EXPECT_EQ(view->size(), 2u);
  EXPECT_NE(text_when(Operation::reserveBlocks, ENOSPC, [&] { array->copy(0, 3); }), "<nothing thrown>");
  expect_three(*array);
}

TEST_F(MMapFaults, TheTemporaryFolderTakesWhatTheOwnFolderDoesNot) {
  const int fd = Util::platform().open_unnamed("no/such/folder");
  ASSERT_GE(fd, 0);
  EXPECT_EQ(Util::platform().close(fd), 0);
}

TEST_F(MMapFaults, OpeningARegionNamesTheStepThatFailed) {
  const auto open = [] { MMapRegion(4, "r").open(); };
  d_platform.fail(Operation::openExisting, 0, EACCES);
  EXPECT_EQ(text_when(Operation::fileSize, EIO, open),
            "getting file info in initialization of r fails!\n    Input/output error");
  d_platform.fail(Operation::openOrCreate, 0, EACCES);
  d_platform.fail(Operation::openExisting, 0, EACCES);
  EXPECT_ERROR(open(), "getting file info in initialization of r fails!\n    Bad file descriptor");
  d_platform.reset();
  EXPECT_EQ(text_when(Operation::setFileSize, ENOSPC, open),
            "Resizing r to default size fails!\n    No space left on device");
  EXPECT_EQ(text_when(Operation::reserveBlocks, ENOSPC, open),
            "Resizing r to default size fails!\n    No space left on device");
  EXPECT_EQ(text_when(Operation::map, ENOMEM, open),
            "Mapping file r to memory in initialization fails!\n    Cannot allocate memory");
  const auto open_behind = [] { MMapRegion(4, "r", 100, 5).open(); };
  EXPECT_EQ(text_when(Operation::map, ENOMEM, open_behind),
            "Mapping file r to memory in initialization fails!\n    Cannot allocate memory");
  EXPECT_EQ(text_when(Operation::reserveBlocks, ENOSPC, open_behind),
            "Resizing r to default size fails!\n    No space left on device");
  EXPECT_ERROR(MMapRegion(4, "r", ~std::uint64_t{0} / 8).open(),
               "Resizing r to default size fails!\n    File too large");
  EXPECT_EQ(std::filesystem::file_size("r"), 0u);
  write_file("r", "12345678");
  EXPECT_EQ(text_when(Operation::reserveBlocks, ENOSPC, [] { MMapRegion(4, "r", 0, 5).open(); }),
            "Mapping file r to memory in initialization fails!\n    No space left on device");
  EXPECT_EQ(read_file("r"), "12345678");
}

TEST_F(MMapFaults, ResizingARegionNamesTheStepThatFailedAndChangesNothing) {
  write_file("r", "12345678");
  MMapRegion region(4, "r");
  region.open();
  const auto resize = [&] { region.resize(3000); };
  EXPECT_EQ(text_when(Operation::unmap, EINVAL, resize), "Unmapping in resize step fails\n    Invalid argument");
  EXPECT_EQ(text_when(Operation::setFileSize, ENOSPC, resize), "resizing r fails!\n    No space left on device");
  EXPECT_EQ(text_when(Operation::reserveBlocks, ENOSPC, resize), "resizing r fails!\n    No space left on device");
  EXPECT_EQ(text_when(Operation::fileSize, EIO, resize),
            "getting file info in resize of r fails!\n    Input/output error");
  EXPECT_EQ(text_when(Operation::map, ENOMEM, resize),
            "Mapping file r to memory in resize step fails!\n    Cannot allocate memory");
  EXPECT_EQ(read_file("r"), "12345678");
  EXPECT_EQ(std::string(static_cast<char*>(region.data()), 8), "12345678");
  EXPECT_EQ(region.length(), 2u);
  resize();
  EXPECT_EQ(region.length(), 3000u);
}

TEST_F(MMapFaults, ARegionThatCannotShrinkKeepsItsElements) {
  const std::string bytes(20000, 'x');
  write_file("r", bytes);
  MMapRegion region(4, "r");
  region.open();
  for (const Operation call :
       {Operation::unmap, Operation::setFileSize, Operation::reserveBlocks, Operation::fileSize, Operation::map}) {
    EXPECT_NE(text_when(call, ENOMEM, [&] { region.resize(10); }), "<nothing thrown>");
    EXPECT_EQ(region.length(), 5000u);
    EXPECT_TRUE(std::string(static_cast<char*>(region.data()), bytes.size()) == bytes);
    EXPECT_TRUE(read_file("r") == bytes);
  }
  region.resize(10);
  EXPECT_EQ(region.length(), 10u);
  EXPECT_EQ(read_file("r"), bytes.substr(0, 40));
}

std::shared_ptr<MMapVarArray<int>> runs() {
  auto array = std::make_shared<MMapVarArray<int>>(make_schema<int>("v", 0x40));
  const std::vector<int> values = {1, 2, 3};
  for (int i = 0; i < 2; ++i) array->append(values);
  return array;
}

TEST_F(MMapFaults, ARunThatDoesNotFitChangesNothing) {
  const auto array = runs();
  const std::vector<int> many(5000, 7);
  const auto append = [&] { array->append(many); };
  for (const Operation call :
       {Operation::setFileSize, Operation::reserveBlocks, Operation::fileSize, Operation::map, Operation::unmap}) {
    EXPECT_NE(text_when(call, ENOSPC, append), "<nothing thrown>");
    EXPECT_EQ(array->size(), 2u);
    EXPECT_EQ(array->values().size(), 6u);
  }
  const Util::USpan<int> run(many);
  EXPECT_NE(text_when(Operation::reserveBlocks, ENOSPC, [&] { array->append_strided(&run, sizeof run, 1); }),
            "<nothing thrown>");
  EXPECT_EQ(array->size(), 2u);
  append();
  array->close();
  EXPECT_EQ(read_file("v.values").size(), 5006u * 4);
}

TEST_F(MMapFaults, TheSecondFileThatCannotBeOpenedClosesTheFirst) {
  d_platform.fail(Operation::openOrCreate, 2, EACCES);
  d_platform.fail(Operation::openExisting, 0, EACCES);
  EXPECT_ERROR(runs(), "getting file info in initialization of v.values fails!\n    Bad file descriptor");
  EXPECT_EQ(open_descriptors(), d_descriptors);
}

TEST_F(MMapFaults, ClosingRunsReportsAndClosesBothFiles) {
  const auto array = runs();
  EXPECT_EQ(text_when(Operation::setFileSize, EIO, [&] { array->close(); }),
            "resizing v.offsets fails!\n    Input/output error");
  EXPECT_EQ(open_descriptors(), d_descriptors);
}

TEST_F(MMapFaults, WhatCannotBeCutIsNotStored) {
  const auto array = three();
  EXPECT_EQ(text_when(Operation::setFileSize, EIO, [&] { data_message(array); }),
            "failed to resize mmap file \"a\" to vector length (12)\n    Input/output error");
  expect_three(*array);
  const auto lists = runs();
  EXPECT_EQ(text_when(Operation::setFileSize, EIO, [&] { data_message(lists); }),
            "resizing v.offsets fails!\n    Input/output error");
  EXPECT_EQ(text_when(Operation::openUnnamed, EMFILE, [&] { lists->copy(0, 1); }),
            "failed to open mmap file \"\"\n    Too many open files");
  EXPECT_EQ(lists->size(), 2u);
}

TEST_F(MMapFaults, NoViewInATableOpensItsFileDuringTheLoad) {
  const auto schema = make_frame_schema("t");
  const auto table = schema->factory()->create_from(schema);
  table->add_field("c", make_mapped_schema<int, 0x21>("c", "c"));
  for (int i = 0; i < 3; ++i) table->get<MMapArray<int>>("c")->push_back(i);
  table->refresh();
  auto frames = TestObjects::stored(table);
  table->clear_hierarchy();
  ASSERT_EQ(frames[6].size(), 24u);
  constexpr std::uint64_t kAll = ~std::uint64_t{0};
  d_platform.reset();
  for (const std::uint64_t start : {std::uint64_t{0}, std::uint64_t{1}, kAll / 2, kAll - 2, kAll}) {
    for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{3}, kAll / 2 + 2, kAll}) {
      std::memcpy(frames[6].data(), &start, 8);
      std::memcpy(frames[6].data() + 8, &count, 8);
      const std::string text = TestSupport::error_text([&] { TestObjects::loaded(frames); });
      const bool damaged = start > kAll - std::min<std::uint64_t>(count, 3);
      EXPECT_EQ(text == "the stored view of mapped array \"c\" is damaged", damaged) << start << ' ' << count;
    }
  }
  EXPECT_EQ(d_platform.calls(Operation::openRegular), 0);
}

/// A limit on file sizes stands in for a disk that is full: reserving blocks meets it, too.
TEST_F(MMapFaults, AFullDiskIsAnErrorAndNoBusError) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const auto array = three();
  const rlimit small{64 * 1024, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  std::string text;
  while (text.empty() || text == "<nothing thrown>") text = TestSupport::error_text([&] { array->push_back(1); });
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(text, "failed to resize mmap file \"a\" to requested size (131072)\n    File too large");
  EXPECT_EQ(array->size(), 16384u);
  for (int i = 3; i < 16384; ++i) array->set(i, i);
  array->push_back(1);
  EXPECT_EQ(array->size(), 16385u);
}

}  // namespace
}  // namespace ZyData
