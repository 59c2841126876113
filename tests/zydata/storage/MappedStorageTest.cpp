// Mapped storage: what vectors and regions leave in their files, what windows show, and who may have a file open.
#include <sys/stat.h>

#include "tests/support/Child.h"
#include "tests/support/MappedObjects.h"
#include "tests/support/TestSupport.h"
#include "util/Platform.h"
#include "zydata/storage/MMapRegion.h"
#include "zydata/storage/MMapStorage.h"

namespace ZyData {
namespace {

using namespace TestObjects;
using namespace TestSupport;

constexpr std::uint64_t kHuge = ~std::uint64_t{0};

class MappedStorage : public MappedFiles {};

TEST_F(MappedStorage, TheDefaultNamesNoFileAndDividesByNothing) {
  VMMap storage;
  EXPECT_EQ(storage.window(), std::make_pair(std::uint64_t{0}, std::uint64_t{0}));
  EXPECT_EQ(storage.stored_length() + storage.initial_length() + storage.min_capacity(), 0u);
  EXPECT_EQ(storage.window_end(), 4294967295u);
  EXPECT_TRUE(storage.available() && !storage.in_process_memory());
  EXPECT_STREQ(storage.kind_name(), "MMap");
}

TEST_F(MappedStorage, WindowsRoundBothEndsDownAndSaturate) {
  const auto p = static_cast<std::uint32_t>(page());
  struct Case {
    std::uint64_t first, last, answer;
    std::uint32_t begin, end;
  };
  const std::vector<Case> cases = {
      {0, 9, 0, 0, 0},  // ends inside the first page, which it excludes
      {0, p / 4 - 1, p, 0, p},
      {p / 4 + 1, p, p * 4, p, p * 4},
      {5, 4294967295, 4294967295, 0, 4294967295},
      {kHuge, kHuge, std::uint64_t{0u - p}, 0u - p, 0u - p},
  };
  for (const Case& test : cases) {
    VMMap storage(4, "x");
    EXPECT_EQ(storage.set_window(test.first, test.last), test.answer);
    EXPECT_EQ(storage.window_begin(), test.begin);
    EXPECT_EQ(storage.window_end(), test.end);
    const auto [first, end] = storage.window();
    EXPECT_EQ(first, test.begin / 4);
    EXPECT_EQ(end, (std::uint64_t{test.end} + 3) / 4);
    for (const std::uint64_t i : {std::uint64_t{0}, first, end - 1, end, std::uint64_t{1} << 30, kHuge}) {
      const bool inside = i < (std::uint64_t{1} << 62) && test.begin <= i * 4 && i * 4 < test.end;
      EXPECT_TRUE(storage.in_window(i) == inside && storage.contains(i) == inside) << i;
    }
  }
  VMMap bounded(4, "x", false, 0, p - 1);
  bounded.set_window(0, 4294967295);  // no end leaves an earlier one
  EXPECT_EQ(bounded.window_end(), p * 4);
  EXPECT_FALSE(std::filesystem::exists("x"));
}

TEST_F(MappedStorage, AVectorStartsWithWhatItsFileHolds) {
  using Ints = MMapVector<int>;
  const auto ten = elements<int>(0, 10);
  const auto zeros = [](std::size_t n) { return std::string(n, '\0'); };
  struct Case {
    std::string before;
    std::function<Ints()> open;
    std::uint64_t size, capacity;
    std::string after;
  };
  const std::string two = "xy";  // bytes that belong to no element
  const std::vector<Case> cases = {
      {bytes_of(ten), [] { return Ints(MMap<int>("f", true)); }, 10, 10, bytes_of(ten)},
      {bytes_of(ten) + two, [] { return Ints(MMap<int>("f", true)); }, 10, 10, bytes_of(ten) + two},
      {bytes_of(ten), [] { return Ints(MMap<int>("f")); }, 0, 10, ""},
      {bytes_of(ten), [] { return Ints(4, MMap<int>("f")); }, 4, 10, bytes_of(elements<int>(0, 4))},
      {bytes_of(ten) + two, [] { return Ints(12, MMap<int>("f")); }, 12, 12, bytes_of(ten) + zeros(8)},
  };
  for (const Case& test : cases) {
    write_file("f", test.before);
    {
      const Ints vector = test.open();
      EXPECT_EQ(vector.size(), test.size);
      EXPECT_EQ(vector.capacity(), test.capacity);
      if (test.size > 0) {
        EXPECT_EQ(vector[3], ten[3]);
      }
    }
    EXPECT_EQ(read_file("f"), test.after);
  }
}

TEST_F(MappedStorage, GrowsByPagesAndDoublesWithoutCopying) {
  MMapVector<int> vector(0, MMap<int>("v"));
  EXPECT_EQ(vector.data(), nullptr);
  std::vector<std::uint64_t> capacities;
  for (int i = 0; i < 5000; ++i) {
    vector.push_back(i);
    if (capacities.empty() || capacities.back() != vector.capacity()) capacities.push_back(vector.capacity());
  }
  EXPECT_EQ(capacities, (std::vector<std::uint64_t>{page() / 4, page() / 2, page(), 2 * page()}));
  EXPECT_EQ(vector[4999], 4999);
  vector.close();
  EXPECT_EQ(vector.size(), 0u);
  EXPECT_ERROR(vector.push_back(1), "mmap file \"v\" was closed by its vector");
  EXPECT_EQ(std::filesystem::file_size("v"), 20000u);
}

TEST_F(MappedStorage, IsClosedUntilItIsNextAsked) {
  VMMap storage(4, "s");
  MMapRegion region(4, "r");
  for (VStorageBase* each : {static_cast<VStorageBase*>(&storage), static_cast<VStorageBase*>(&region)}) {
    const std::ptrdiff_t descriptors = open_descriptors();
    each->release(each->reallocate(nullptr, 0, 10, 0), 10, 3);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(each->stored_length(), 3u);
    EXPECT_NE(each->reallocate(nullptr, 0, 5, 3), nullptr);
  }
}

TEST_F(MappedStorage, ElementsOfNoSizeEndTheProgram) {
  struct Bare : VectorBase {
    using VectorBase::grow_for_append;
  } vector;
  VMMap storage;
  EXPECT_ASSERTION(vector.grow_for_append(storage, 1), "storage.element_size() > 0");
  EXPECT_ASSERTION(MMapRegion(0, "u").open(), "unit > 0");
}

TEST_F(MappedStorage, ShrinkingAndGrowingWithZeroReadsZeros) {
  MMapVector<int> vector(0, MMap<int>("v"));
  vector.resize(100, 7);
  vector.resize(5, 7);
  vector.resize(10, 0);
  EXPECT_EQ(std::count(vector.data() + 5, vector.data() + 10, 0), 5);
  vector.truncate(2);
  vector.push_back(9);
  vector.resize(200, 0);
  EXPECT_EQ(std::count(vector.data() + 3, vector.data() + 200, 0), 197);
  vector.trim();
  vector.resize(2000, 0);
  EXPECT_EQ(std::count(vector.data() + 3, vector.data() + 2000, 0), 1997);
}

TEST_F(MappedStorage, MoreThanFourGibibytesAreRefusedBeforeTheFileIsTouched) {
  constexpr std::uint64_t kMany = std::uint64_t{1} << 30;
  write_file("a", "keep");
  EXPECT_NE(error_text([] { MMapVector<int>(kMany, MMap<int>("a")); }), "<nothing thrown>");
  EXPECT_EQ(read_file("a"), "keep");
  const auto array = mapped<int>(3);
  MMapVector<int>& vector = *array->vector();
  struct Case {
    std::function<void()> grow;
    std::string bytes;
  };
  const std::vector<Case> cases = {
      {[&] { vector.reserve(kMany); }, "4294967296"},
      {[&] { vector.reserve(kHuge); }, "18446744073709551615"},
      {[&] { array->resize(kMany); }, "4294967296"},
      {[&] { array->resize(kMany + 5); }, "4294967316"},
      {[&] { array->append_defaults(kMany); }, "4294967308"},
      {[&] { array->resize(kHuge); }, "18446744073709551615"},
      {[&] { array->append_strided(&vector, 4, kMany); }, "4294967308"},
  };
  for (const Case& test : cases)
    EXPECT_ERROR(test.grow(),
                 "failed to resize mmap file \"a\" to requested size (" + test.bytes + ")\n    File too large");
  EXPECT_EQ(content<int>(array), elements<int>(0, 3));
  EXPECT_EQ(std::filesystem::file_size("a"), page());
}

TEST_F(MappedStorage, WhatDoesNotDoubleBelowTheLimitGrowsUpToIt) {
  struct Storage final : VMMap {
    Storage() : VMMap(4, "") {}
    void* reallocate(void*, std::uint64_t, std::uint64_t n, std::uint64_t) override {
      asked.push_back(n);
      return &asked;
    }
    std::vector<std::uint64_t> asked;
  } storage;
  struct Bare : VectorBase {
    using VectorBase::grow_for_append;
    using VectorBase::resize_for_overwrite;
  } vector;
  constexpr std::uint64_t kMost = 0xffffffff / 4;
  vector.resize_for_overwrite(storage, kMost - 10);
  vector.grow_for_append(storage, 10);
  EXPECT_EQ(storage.asked, (std::vector<std::uint64_t>{kMost - 10, kMost}));
}

TEST_F(MappedStorage, OneMappingOperationHoldsItsContract) {
  Util::Platform& platform = Util::platform();
  const int fd = platform.open_or_create("m", 0644);
  const auto refused = [&](std::size_t length, int protection, int descriptor) {
    errno = 0;
    return platform.map(nullptr, length, protection, Util::kMapShared, descriptor, 0) == Util::kMapFailed ? errno : 0;
  };
  EXPECT_EQ(refused(0, Util::kMapRead, fd), EINVAL);
  EXPECT_EQ(refused(10, Util::kMapExecute, fd), EINVAL);
  EXPECT_EQ(refused(10, Util::kMapRead, -1), EBADF);
  EXPECT_EQ(refused(10, Util::kMapRead, 12345), EBADF);
  EXPECT_EQ(platform.file_size(fd), 0);
  const int both = Util::kMapRead | Util::kMapWrite;
  auto* byte = static_cast<char*>(platform.map(nullptr, 10, both, Util::kMapShared, fd, page() + 5));
  EXPECT_EQ(platform.file_size(fd), static_cast<std::int64_t>(page()) + 15);
  *byte = 'x';
  EXPECT_EQ(read_file("m")[page() + 5], 'x') << "the address of another byte";
  EXPECT_EQ(platform.unmap(byte, 10), 0);
  EXPECT_EQ(platform.close(fd), 0);
}

TEST_F(MappedStorage, ANewFileIsForItsOwnerToWrite) {
  { const MMapVector<char> vector(1, MMap<char>("v")); }
  using std::filesystem::perms;
  const perms granted = std::filesystem::status("v").permissions();
  EXPECT_EQ(granted & ~(perms::owner_read | perms::owner_write | perms::group_read | perms::others_read), perms::none);
}

// --- windows ---

class MappedWindow : public MappedFiles {
 protected:
  /// 4 pages of ints, of which the array shows the second and the third.
  MappedWindow() { write_file("w", bytes_of(elements<int>(0, static_cast<int>(page())))); }

  const int d_first = static_cast<int>(page()) / 4;
  const int d_end = static_cast<int>(page()) / 4 * 3;
  const std::uint64_t d_begin = page() / 4;
};

TEST_F(MappedWindow, OnlyItsElementsCanBeReached) {
  const auto array = windowed("w", d_begin, 3 * d_begin);
  const int size = static_cast<int>(page());
  EXPECT_EQ(array->size(), page());
  EXPECT_EQ(*array->at(d_first), element<int>(d_first));
  array->set(d_end - 1, 77);
  EXPECT_EQ(array->get(d_end - 1).as<int>(), 77);
  const auto more = std::make_shared<Array<int>>(make_schema<int>("more", 0x1), 1);
  const int one = 1;
  for (const int i : {0, d_first - 1, d_end, size - 1}) {
    EXPECT_OUTSIDE(array->at(i));
    EXPECT_OUTSIDE(array->set(i, 1));
    EXPECT_OUTSIDE(array->get(i));
  }
  const std::vector<std::function<void()>> outside = {
      [&] { array->slice(d_begin - 1, 2); },
      [&] { array->slice(d_begin, 2 * page()); },
      [&] { array->copy(0, 1); },
      [&] { array->push_back(1); },
      [&] { array->resize(page() + 1); },
      [&] { array->resize(std::uint64_t{1} << 30); },
      [&] { array->append(*array); },
      [&] { array->append(*more); },
      [&] { array->to_id_vector(); },
      [&] { array->value(); },
      [&] { array->span(); },
      [&] { array->assign(&one, 1); },
      [&] { array->append_strided(&one, sizeof one, 1); },
  };
  for (const auto& call : outside) EXPECT_OUTSIDE(call());
  EXPECT_ERROR(array->at(size), "index bounds error");
  EXPECT_EQ(array->size(), page());
  EXPECT_EQ(content<int>(array->copy(d_begin, 2)), elements<int>(d_first, d_first + 2));
  EXPECT_EQ(printed(*array), "a MMapArray[" + std::to_string(size) + "] = [... ]\n");
  EXPECT_EQ(printed(*array->slice(3 * d_begin - 1, 1)), "a MMapArray[1] = [ 77 ]\n");
}

TEST_F(MappedWindow, MovesWithTheViewOfItsVector) {
  const auto array = windowed("w", d_begin, 3 * d_begin);
  array->vector()->storage().set_window(0, 4294967295);  // the view is still the old one
  EXPECT_OUTSIDE(array->at(0));
  EXPECT_EQ(*array->at(d_first), element<int>(d_first));
  array->vector()->set_window(0, d_begin - 1);
  EXPECT_EQ(*array->at(0), element<int>(0));
  EXPECT_OUTSIDE(array->at(d_first));
  EXPECT_ERROR(array->vector()->set_window(0, 9), "failed to map file 'w' into memory\n    Invalid argument");
  EXPECT_OUTSIDE(array->at(0));
  array->vector()->set_window(0, 2 * page());
  EXPECT_EQ(*array->at(0), element<int>(0));
}

// --- company ---

class MappedCompany : public MappedFiles {};

TEST_F(MappedCompany, TwoProcessesReadOneLargeFileThroughWindowsAndGiveItNoBlocks) {
  constexpr std::uint64_t kLast = std::uint64_t{1023} << 20;  // 4 MiB before the largest length
  write_file("large", bytes_of<int>({1}));
  std::filesystem::resize_file("large", 4 * kLast);
  { windowed("large", kLast - 1024, kLast)->set(static_cast<int>(kLast) - 1, 2); }
  const auto first = windowed("large", 0, 1024);
  EXPECT_EQ(*first->at(0), 1);
  EXPECT_EQ(in_child([&] {
              const auto last = windowed("large", kLast - 1024, kLast);
              const auto all = windowed("large", 0, 0x100000000);
              last->set(static_cast<int>(kLast) - 2, 3);
              return std::to_string(last->size()) + error_text([&] { all->resize(kLast + 1); }) +
                     error_text([&] { mapped<int>(0, "large"); });
            }),
            std::to_string(kLast) +
                "failed to resize mmap file \"large\" to requested size (4294967292)\n    Device or resource busy" +
                already_open("large"));
  EXPECT_EQ(*windowed("large", kLast - 1024, kLast)->at(static_cast<int>(kLast) - 2), 3);
  struct stat status {};
  ASSERT_EQ(::stat("large", &status), 0);
  EXPECT_LT(status.st_blocks * 512, 1 << 20);
}

TEST_F(MappedCompany, KeptContentsWindowsAndPartsOfFilesShareAndOnlyOneAloneChangesALength) {
  write_file("f", bytes_of(elements<int>(0, 2048)));
  using Vector = MMapVector<int>;
  const auto part = [](std::uint64_t first, std::uint64_t length) { MMapRegion(4, "f", first, length).open(); };
  auto kept = std::make_unique<Vector>(MMap<int>("f", true));
  Vector other(2048, MMap<int>("f", true));
  EXPECT_EQ(windowed("f", 1024, 2048)->size(), 2048u);
  part(0, 2048);
  part(2047, kWholeFile);
  const std::string busy = "failed to resize mmap file \"f\" to ";
  for (Vector* each : {kept.get(), &other}) {
    EXPECT_ERROR(each->push_back(7), busy + "requested size (16384)\n    Device or resource busy");
  }
  EXPECT_ERROR(MMapRegion(4, "f").open(), already_open("f"));
  EXPECT_ERROR(MMapRegion(4, "f", 0, 3000).open(),
               "Mapping file f to memory in initialization fails!\n    Device or resource busy");
  kept->truncate(3);
  EXPECT_ERROR(kept->close(), busy + "vector length (12)\n    Device or resource busy");
  other.push_back(7);
  other.close();
  EXPECT_EQ(read_file("f"), bytes_of(elements<int>(0, 2048)) + bytes_of<int>({7}));
}

TEST_F(MappedCompany, AFileIsOfOneNewArrayWhateverItsNameAndProcess) {
  const auto array = mapped<int>(3);
  const auto view = array->slice(1, 2);  // shares the vector
  const auto again = [] { return error_text([] { mapped<int>(0); }); };
  EXPECT_EQ(again(), already_open("a"));
  EXPECT_EQ(in_child(again), already_open("a"));
  std::filesystem::create_hard_link("a", "alias");
  EXPECT_ERROR(mapped<int>(1, "alias"), already_open("alias"));
  EXPECT_ERROR(MMapRegion(4, "a").open(), already_open("a"));
  try {
    mapped<int>(0);
  } catch (const Util::Error& error) {
    EXPECT_EQ(error.error_number(), EBUSY);
  }
  EXPECT_EQ(content<int>(array), elements<int>(0, 3));
  array->close();
  EXPECT_EQ(mapped<int>(1, "alias")->size(), 1u);
}

TEST_F(MappedCompany, AClosedFileIsFreeWhoeverInheritedIt) {
  const auto array = mapped<int>(3);
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t child = ::fork();
  if (child == 0) {  // has the descriptor until it is told to end
    char byte = 0;
    ::close(ends[1]);
    ::_exit(::read(ends[0], &byte, 1) == 0 ? 0 : 1);
  }
  array->close();
  EXPECT_EQ(error_text([] { mapped<int>(1); }), "<nothing thrown>");
  ::close(ends[0]);
  ::close(ends[1]);
  EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST_F(MappedCompany, ALockThatIsRefusedLeavesTheOneThatThereWas) {
  Util::Platform& platform = Util::platform();
  const int a = platform.open_or_create("f", 0644), b = platform.open_existing("f");
  EXPECT_EQ(platform.lock(a, false) + platform.lock(b, false), 0);
  for (const int each : {a, b, a}) {
    EXPECT_EQ(platform.lock(each, true), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
  }
  platform.unlock(a);
  EXPECT_EQ(platform.lock(b, true), 0);
  EXPECT_EQ(platform.lock(a, false), -1);
  EXPECT_EQ(platform.close(a) + platform.close(b), 0);
}

// --- regions ---

class Regions : public MappedFiles {};

TEST_F(Regions, AreMappedFromTheirFirstElement) {
  write_file("r", bytes_of(elements<int>(0, 3000)));
  MMapRegion region(4, "r", 2000);
  region.open();
  EXPECT_EQ(region.length(), 1000u);
  EXPECT_EQ(*static_cast<int*>(region.data()), element<int>(2000));
  region.resize(5000);
  EXPECT_EQ(region.length(), 3000u);
  EXPECT_EQ(static_cast<int*>(region.data())[999], element<int>(2999));
  EXPECT_EQ(static_cast<int*>(region.data())[2999], 0);
  EXPECT_EQ(std::filesystem::file_size("r"), 20000u);
}

TEST_F(Regions, OfAClosedVectorStayClosed) {
  Vector<int, RegionMem<int>> vector(RegionMem<int>("r"));
  vector.push_back(5);
  vector.close();
  EXPECT_ERROR(vector.push_back(6), "mmap file \"r\" was closed by its vector");
  EXPECT_EQ(read_file("r"), bytes_of<int>({0, 5}));  // a new region has one element
}

TEST_F(Regions, GiveEmptyFilesALengthAndRefuseToBeginBehindOthers) {
  MMapRegion(8, "one").open();
  MMapRegion(8, "seven", 0, 7).open();
  EXPECT_EQ(std::filesystem::file_size("one"), 8u);
  EXPECT_EQ(std::filesystem::file_size("seven"), 56u);
  write_file("r", std::string(page(), 'x'));
  const std::string text = "File r size is less than the offset!";
  EXPECT_ERROR(MMapRegion(4, "r", page() / 4).open(), text);
  EXPECT_ERROR(MMapRegion(4, "r", kHuge).open(), text);
  write_file("r", std::string(6, 'x'));
  EXPECT_ERROR(MMapRegion(4, "r", 2).open(), text) << "the first page is there, the element is not";
  EXPECT_EQ(std::filesystem::file_size("r"), 6u);
  EXPECT_ERROR(MMapRegion(4, "no/r").open(),
               "getting file info in initialization of no/r fails!\n    No such file or directory");
}

}  // namespace
}  // namespace ZyData
