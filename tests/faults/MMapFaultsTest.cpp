// Every system call behind mapped storage fails in turn: the message says so, file and elements stay as they were, and
// no descriptor is lost. The real platform answers all calls that no fault is ordered for.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"
#include "util/Platform.h"
#include "zydata/Factories.h"
#include "zydata/MMapArray.h"
#include "zydata/MMapRegion.h"
#include "zydata/MMapVarArray.h"
#include "zydata/Schema.h"

namespace {

enum Call { kCreate, kOpen, kOpenRegular, kOpenUnnamed, kSize, kSetSize, kReserve, kMap, kUnmap, kCloseFile, kCalls };

class FaultyFiles final : public Util::Platform {
 public:
  static FaultyFiles& instance() {
    static FaultyFiles platform;
    return platform;
  }

  void reset() {
    d_failing.fill(0);
    d_made.fill(0);
    d_faults = 0;
  }
  /// From the `from`-th call on (1: the next) `count` calls fail.
  void fail(Call call, int error_number, int from = 1, int count = 1 << 30) {
    d_error[call] = error_number;
    d_failing[call] = count;
    d_made[call] = 1 - from;
  }
  int faults() const { return d_faults; }

  int open_or_create(const char* path, unsigned permissions) override {
    return fails(kCreate) ? -1 : Platform::open_or_create(path, permissions);
  }
  int open_existing(const char* path) override { return fails(kOpen) ? -1 : Platform::open_existing(path); }
  int open_regular(const char* path, bool follow_link) override {
    return fails(kOpenRegular) ? -1 : Platform::open_regular(path, follow_link);
  }
  int open_unnamed(const std::string& folder) override {
    return fails(kOpenUnnamed) ? -1 : Platform::open_unnamed(folder);
  }
  std::int64_t file_size(int fd) override { return fails(kSize) ? -1 : Platform::file_size(fd); }
  int set_file_size(int fd, std::uint64_t size) override {
    return fails(kSetSize) ? -1 : Platform::set_file_size(fd, size);
  }
  int reserve_blocks(int fd, std::uint64_t size) override {
    return fails(kReserve) ? -1 : Platform::reserve_blocks(fd, size);
  }
  void* map(void* hint, std::size_t length, int protection, int flags, int fd, std::uint64_t offset) override {
    return fails(kMap) ? Util::kMapFailed : Platform::map(hint, length, protection, flags, fd, offset);
  }
  int unmap(void* address, std::size_t length) override {
    return fails(kUnmap) ? -1 : Platform::unmap(address, length);
  }
  int close(int fd) override {
    const int result = Platform::close(fd);
    return fails(kCloseFile) ? -1 : result;
  }

 private:
  bool fails(Call call) {
    if (d_failing[call] == 0) return false;
    if (++d_made[call] <= 0) return false;
    --d_failing[call];
    ++d_faults;
    errno = d_error[call];
    return true;
  }

  std::array<int, kCalls> d_failing{};
  std::array<int, kCalls> d_made{};
  std::array<int, kCalls> d_error{};
  int d_faults = 0;
};

}  // namespace

namespace Util {

Platform& platform() { return FaultyFiles::instance(); }

}  // namespace Util

namespace ZyData {
namespace {

using TestSupport::open_descriptors;
using TestSupport::read_file;
using TestSupport::write_file;

class MMapFaults : public testing::Test {
 protected:
  MMapFaults() {
    std::filesystem::current_path(d_folder.path());
    d_platform.reset();
  }
  ~MMapFaults() override {
    d_platform.reset();
    std::filesystem::current_path(d_before);
    EXPECT_EQ(open_descriptors(), d_descriptors);
  }

  /// The text of `action` while `call` fails.
  template <class Action>
  std::string text_when(Call call, int error_number, Action action) {
    d_platform.reset();
    d_platform.fail(call, error_number);
    const std::string text = TestSupport::error_text(action);
    EXPECT_GT(d_platform.faults(), 0);
    d_platform.reset();
    return text;
  }

  std::filesystem::path d_before = std::filesystem::current_path();
  TestSupport::TempDir d_folder;
  std::ptrdiff_t d_descriptors = open_descriptors();
  FaultyFiles& d_platform = FaultyFiles::instance();
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
  d_platform.fail(kOpen, EACCES);
  d_platform.fail(kCreate, EROFS);
  EXPECT_ERROR(make(), "failed to open mmap file \"a\"\n    Permission denied");
  d_platform.reset();
  write_file("a", "");
  d_platform.fail(kCreate, EACCES);  // opened without creating
  make();
  d_platform.reset();
  EXPECT_EQ(text_when(kSize, EIO, make), "failed to get file info of mmap array \"a\"\n    Input/output error");
  std::filesystem::remove("a");
  EXPECT_EQ(text_when(kSetSize, EFBIG, make),
            "failed to resize mmap file \"a\" to requested size (20)\n    File too large");
  EXPECT_EQ(std::filesystem::file_size("a"), 0u);
  EXPECT_EQ(text_when(kReserve, ENOSPC, make),
            "failed to resize mmap file \"a\" to requested size (20)\n    No space left on device");
  EXPECT_EQ(std::filesystem::file_size("a"), 0u);
  EXPECT_EQ(text_when(kMap, ENOMEM, make), "failed to map file 'a' into memory\n    Cannot allocate memory");
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
      {[](MMapArray<int>& array) { array.reserve_rows(2 * Util::platform().page_size() / 4, 0); }, 2 * page + 12},
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
    EXPECT_EQ(text_when(kSetSize, EFBIG, grow), resize + "\n    File too large");
    EXPECT_EQ(text_when(kSize, EIO, grow), resize + "\n    Input/output error");
    EXPECT_EQ(text_when(kReserve, ENOSPC, grow), resize + "\n    No space left on device");
    EXPECT_EQ(text_when(kMap, ENOMEM, grow), "failed to map file 'a' into memory\n    Cannot allocate memory");
    EXPECT_EQ(std::filesystem::file_size("a"), length);
    EXPECT_EQ(array->elements(), address);
    expect_three(*array);
    array->close();
    EXPECT_EQ(std::filesystem::file_size("a"), 12u);
  }
}

TEST_F(MMapFaults, AViewThatCannotBeUnmappedIsOnlyRecorded) {
  const auto array = three();
  d_platform.fail(kUnmap, EINVAL, 1, 1);
  array->resize(5000);
  EXPECT_EQ(d_platform.faults(), 1);
  EXPECT_EQ(array->vector()->storage().unmap_error(), EINVAL);
  array->resize(3);
  expect_three(*array);
  d_platform.fail(kUnmap, EINVAL, 1, 1);
  array->close();
  EXPECT_EQ(read_file("a").size(), 12u);
}

TEST_F(MMapFaults, CloseReportsAndTheDestructorDoesNot) {
  const std::string text = "failed to resize mmap file \"a\" to vector length (12)\n    Input/output error";
  const auto array = three();
  EXPECT_EQ(text_when(kSetSize, EIO, [&] { array->close(); }), text);
  EXPECT_EQ(open_descriptors(), d_descriptors) << "closed all the same";
  EXPECT_EQ(array->size(), 0u);
  auto other = three("b");
  d_platform.fail(kSetSize, EIO);
  d_platform.fail(kCloseFile, EIO);
  EXPECT_EQ(TestSupport::error_text([&] { other.reset(); }), "<nothing thrown>");
}

TEST_F(MMapFaults, ACopyThatFindsNoPlaceLeavesTheArray) {
  const auto array = three();
  EXPECT_EQ(text_when(kOpenUnnamed, EMFILE, [&] { array->copy(0, 3); }),
            "failed to open mmap file \"\"\n    Too many open files");
  const auto view = array->slice(0, 2)->get<MMapArray<int>>();
  EXPECT_NE(text_when(kOpenUnnamed, EMFILE, [&] { view->reset(); }), "<nothing thrown>");
  EXPECT_EQ(view->size(), 2u);
  EXPECT_NE(text_when(kReserve, ENOSPC, [&] { array->copy(0, 3); }), "<nothing thrown>");
  expect_three(*array);
}

TEST_F(MMapFaults, TheTemporaryFolderTakesWhatTheOwnFolderDoesNot) {
  const int fd = Util::platform().open_unnamed("no/such/folder");
  ASSERT_GE(fd, 0);
  EXPECT_EQ(Util::platform().close(fd), 0);
}

TEST_F(MMapFaults, OpeningARegionNamesTheStepThatFailed) {
  const auto open = [] { MMapRegion(4, "r").open(); };
  d_platform.fail(kOpen, EACCES);
  EXPECT_EQ(text_when(kSize, EIO, open), "getting file info in initialization of r fails!\n    Input/output error");
  d_platform.fail(kCreate, EACCES);
  d_platform.fail(kOpen, EACCES);
  EXPECT_ERROR(open(), "getting file info in initialization of r fails!\n    Bad file descriptor");
  d_platform.reset();
  EXPECT_EQ(text_when(kSetSize, ENOSPC, open), "Resizing r to default size fails!\n    No space left on device");
  EXPECT_EQ(text_when(kReserve, ENOSPC, open), "Resizing r to default size fails!\n    No space left on device");
  EXPECT_EQ(text_when(kMap, ENOMEM, open),
            "Mapping file r to memory in initialization fails!\n    Cannot allocate memory");
  EXPECT_EQ(std::filesystem::file_size("r"), 0u);
  write_file("r", "12345678");
  EXPECT_EQ(text_when(kReserve, ENOSPC, [] { MMapRegion(4, "r", 0, 5).open(); }),
            "Mapping file r to memory in initialization fails!\n    No space left on device");
  EXPECT_EQ(read_file("r"), "12345678");
}

TEST_F(MMapFaults, ResizingARegionNamesTheStepThatFailedAndChangesNothing) {
  write_file("r", "12345678");
  MMapRegion region(4, "r");
  region.open();
  const auto resize = [&] { region.resize(3000); };
  EXPECT_EQ(text_when(kUnmap, EINVAL, resize), "Unmapping in resize step fails\n    Invalid argument");
  EXPECT_EQ(text_when(kSetSize, ENOSPC, resize), "resizing r fails!\n    No space left on device");
  EXPECT_EQ(text_when(kReserve, ENOSPC, resize), "resizing r fails!\n    No space left on device");
  EXPECT_EQ(text_when(kSize, EIO, resize), "getting file info in resize of r fails!\n    Input/output error");
  EXPECT_EQ(text_when(kMap, ENOMEM, resize),
            "Mapping file r to memory in resize step fails!\n    Cannot allocate memory");
  EXPECT_EQ(read_file("r"), "12345678");
  EXPECT_EQ(std::string(static_cast<char*>(region.data()), 8), "12345678");
  EXPECT_EQ(region.length(), 2u);
  resize();
  EXPECT_EQ(region.length(), 3000u);
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
  for (const Call call : {kSetSize, kReserve, kSize, kMap, kUnmap}) {
    EXPECT_NE(text_when(call, ENOSPC, append), "<nothing thrown>");
    EXPECT_EQ(array->size(), 2u);
    EXPECT_EQ(array->values().size(), 6u);
  }
  const Util::USpan<int> run(many);
  EXPECT_NE(text_when(kReserve, ENOSPC, [&] { array->append_strided(&run, sizeof run, 1); }), "<nothing thrown>");
  EXPECT_EQ(array->size(), 2u);
  append();
  array->close();
  EXPECT_EQ(read_file("v.values").size(), 5006u * 4);
}

TEST_F(MMapFaults, TheSecondFileThatCannotBeOpenedClosesTheFirst) {
  d_platform.fail(kCreate, EACCES, 2);
  d_platform.fail(kOpen, EACCES);
  EXPECT_ERROR(runs(), "getting file info in initialization of v.values fails!\n    Bad file descriptor");
  EXPECT_EQ(open_descriptors(), d_descriptors);
}

TEST_F(MMapFaults, ClosingRunsReportsAndClosesBothFiles) {
  const auto array = runs();
  EXPECT_EQ(text_when(kSetSize, EIO, [&] { array->close(); }), "resizing v.offsets fails!\n    Input/output error");
  EXPECT_EQ(open_descriptors(), d_descriptors);
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
