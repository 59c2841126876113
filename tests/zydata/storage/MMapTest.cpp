// Mapped storage, mapped arrays and mapped variable arrays: what their files hold, what windows show, and what loaded
// ones open and refuse.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/format/Tree.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "util/Platform.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/arrays/MMapVarArray.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Factories.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

using TestObjects::element;
using TestSupport::open_descriptors;
using TestSupport::read_file;
using TestSupport::write_file;

constexpr std::uint32_t kMapped = 0x1021;

class InFolder : public TestSupport::InFolder {
 protected:
  ~InFolder() override { allow_foreign_mapped_files(false); }
};

std::string already_open(const std::string& file) {
  return "mmap file \"" + file + "\" is already open: a file belongs to one array at a time";
}

std::uint64_t page() { return Util::platform().page_size(); }

void save(const std::shared_ptr<DataObj>& object, const std::string& path = "message") {
  TestSupport::save_tree(path, object);
}

std::shared_ptr<DataObj> load(const std::string& path = "message") { return TestSupport::load_tree(path); }

std::string printed(DataObj& object) {
  std::ostringstream stream;
  object.print(stream, 0);
  return stream.str();
}

template <class T>
std::string bytes_of(const std::vector<T>& values) {
  std::string bytes;
  for (const T value : values) bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  return bytes;
}

template <class T>
std::vector<T> elements(int first, int end) {
  std::vector<T> result;
  for (int i = first; i < end; ++i) result.push_back(element<T>(i));
  return result;
}

template <class T>
std::vector<T> content(const std::shared_ptr<DataObj>& object) {
  const auto span = object->get<MMapArray<T>>()->span();
  return {span.begin(), span.end()};
}

template <class T>
std::shared_ptr<MMapArray<T>> mapped(int n, const std::string& file = "") {
  auto array = std::make_shared<MMapArray<T>>(make_schema<T>("a", kMapped), 0, file);
  for (int i = 0; i < n; ++i) array->push_back(element<T>(i));
  return array;
}

// --- storage ---

class MappedStorage : public InFolder {};

TEST_F(MappedStorage, TheDefaultNamesNoFileAndDividesByNothing) {
  VMMap storage;
  EXPECT_EQ(storage.window(), std::make_pair(std::uint64_t{0}, std::uint64_t{0}));
  EXPECT_EQ(storage.stored_length() + storage.initial_length() + storage.min_capacity(), 0u);
  EXPECT_EQ(storage.window_end(), 4294967295u);
  EXPECT_TRUE(storage.available());
  EXPECT_FALSE(storage.in_process_memory());
  EXPECT_STREQ(storage.kind_name(), "MMap");
}

TEST_F(MappedStorage, WindowsRoundBothEndsDownAndSaturate) {
  const auto p = static_cast<std::uint32_t>(page());
  struct Case {
    std::uint64_t first, last, answer;
    std::uint32_t begin, end;
  };
  const std::uint64_t huge = ~std::uint64_t{0};
  const std::vector<Case> cases = {
      {0, 9, 0, 0, 0},  // ends inside the first page, which it excludes
      {0, p / 4 - 1, p, 0, p},
      {p / 4 + 1, p, p * 4, p, p * 4},
      {5, 4294967295, 4294967295, 0, 4294967295},
      {huge, huge, std::uint64_t{0u - p}, 0u - p, 0u - p},
  };
  for (const Case& test : cases) {
    VMMap storage(4, "x");
    EXPECT_EQ(storage.set_window(test.first, test.last), test.answer);
    EXPECT_EQ(storage.window_begin(), test.begin);
    EXPECT_EQ(storage.window_end(), test.end);
    const auto [first, end] = storage.window();
    EXPECT_EQ(first, test.begin / 4);
    EXPECT_EQ(end, (std::uint64_t{test.end} + 3) / 4);
    for (const std::uint64_t i : {std::uint64_t{0}, first, end - 1, end, std::uint64_t{1} << 30, huge}) {
      const bool inside = i < (std::uint64_t{1} << 62) && test.begin <= i * 4 && i * 4 < test.end;
      EXPECT_EQ(storage.in_window(i), inside) << i;
      EXPECT_EQ(storage.contains(i), inside) << i;
    }
  }
  VMMap bounded(4, "x", false, 0, p - 1);
  bounded.set_window(0, 4294967295);  // no end leaves an earlier one
  EXPECT_EQ(bounded.window_end(), p * 4);
  EXPECT_FALSE(std::filesystem::exists("x"));
}

TEST_F(MappedStorage, AVectorStartsWithWhatItsFileHolds) {
  write_file("ten", bytes_of(elements<int>(0, 10)));
  {
    const MMapVector<int> kept(MMap<int>("ten", true));
    EXPECT_EQ(kept.size(), 10u);
    EXPECT_EQ(kept[9], element<int>(9));
  }
  EXPECT_EQ(read_file("ten").size(), 40u);
  {
    MMapVector<int> fresh(MMap<int>("ten"));
    EXPECT_EQ(fresh.size(), 0u);
    EXPECT_EQ(fresh.capacity(), 10u);
    fresh.resize(3, 0);
    EXPECT_EQ(std::vector<int>(fresh.data(), fresh.data() + 3), std::vector<int>({0, 0, 0})) << "old bytes show";
  }
  EXPECT_EQ(read_file("ten"), std::string(12, '\0'));
  write_file("ten", bytes_of(elements<int>(0, 10)));
  { const MMapVector<int> first(4, MMap<int>("ten")); }
  EXPECT_EQ(read_file("ten"), bytes_of(elements<int>(0, 4)));
  write_file("ten", bytes_of(elements<int>(0, 4)) + "xy");  // two bytes belong to no element
  { const MMapVector<int> longer(6, MMap<int>("ten")); }
  EXPECT_EQ(read_file("ten"), bytes_of(elements<int>(0, 4)) + std::string(8, '\0'));
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
  EXPECT_EQ(std::filesystem::file_size("v"), 20000u);
  EXPECT_EQ(vector.size(), 0u);
  EXPECT_ERROR(vector.push_back(1), "mmap file \"v\" was closed by its vector");
  EXPECT_EQ(std::filesystem::file_size("v"), 20000u);
}

TEST_F(MappedStorage, IsClosedUntilItIsNextAsked) {
  VMMap storage(4, "s");
  storage.release(storage.reallocate(nullptr, 0, 10, 0), 10, 3);
  EXPECT_FALSE(storage.is_open());
  EXPECT_EQ(storage.stored_length(), 3u);
  EXPECT_NE(storage.reallocate(nullptr, 0, 5, 3), nullptr);
  MMapRegion region(4, "r");
  region.release(region.reallocate(nullptr, 0, 10, 0), 10, 3);
  EXPECT_EQ(open_descriptors(), d_descriptors + 1);
  EXPECT_EQ(region.stored_length(), 3u);
  EXPECT_NE(region.reallocate(nullptr, 0, 5, 3), nullptr);
}

TEST_F(MappedStorage, OfNoNameHoldsNothingThatCouldBeFoundAgain) {
  const auto copy = mapped<int>(3)->copy(0, 3)->get<MMapArray<int>>();
  EXPECT_EQ(copy->vector()->storage().stored_length(), 0u);
  EXPECT_EQ(content<int>(copy), elements<int>(0, 3));
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
  const std::string text = "failed to resize mmap file \"big\" to requested size (%)\n    File too large";
  const auto refusal = [&](const std::string& bytes) { return std::string(text).replace(text.find('%'), 1, bytes); };
  write_file("big", "keep");
  EXPECT_ERROR(MMapVector<int>((std::uint64_t{1} << 30), MMap<int>("big")), refusal("4294967296"));
  EXPECT_EQ(read_file("big"), "keep");
  std::filesystem::remove("big");
  MMapVector<int> vector(0, MMap<int>("big"));
  vector.push_back(5);
  EXPECT_ERROR(vector.reserve(std::uint64_t{1} << 30), refusal("4294967296"));
  EXPECT_ERROR(vector.reserve(~std::uint64_t{0}), refusal("18446744073709551615"));
  EXPECT_EQ(vector[0], 5);
  EXPECT_EQ(std::filesystem::file_size("big"), page());
}

TEST_F(MappedStorage, WhatDoesNotDoubleBelowTheLimitGrowsUpToIt) {
  struct Storage final : VStorageBase {
    std::uint64_t element_size() const override { return 4; }
    std::pair<std::uint64_t, std::uint64_t> window() const override { return {0, 0}; }
    std::uint64_t set_window(std::uint64_t, std::uint64_t) override { return 0; }
    bool in_window(std::uint64_t) const override { return true; }
    std::uint64_t stored_length() override { return 0; }
    std::uint64_t initial_length() override { return 0; }
    std::uint64_t min_capacity() const override { return 1024; }
    bool available() const override { return true; }
    void* reallocate(void*, std::uint64_t, std::uint64_t n, std::uint64_t) override {
      asked.push_back(n);
      return &asked;
    }
    void release(void*, std::uint64_t, std::uint64_t) override {}
    void fill(void*, std::uint64_t, std::uint64_t, const void*) override {}
    const char* kind_name() const override { return ""; }
    bool in_process_memory() const override { return false; }
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

class MappedWindow : public InFolder {
 protected:
  /// 4 pages of ints, of which the array shows the second and the third.
  std::shared_ptr<MMapArray<int>> windowed() {
    write_file("w", bytes_of(elements<int>(0, static_cast<int>(page()))));
    auto vector = std::make_shared<MMapVector<int>>(
        MMap<int>("w", true, static_cast<std::uint64_t>(d_first), static_cast<std::uint64_t>(d_end) - 1));
    return std::make_shared<MMapArray<int>>(make_schema<int>("a", kMapped), vector);
  }

  int d_first = static_cast<int>(page()) / 4;
  int d_end = static_cast<int>(page()) / 4 * 3;
};

#define EXPECT_OUTSIDE(statement) EXPECT_THROW(statement, StorageError::WindowViolation)

TEST_F(MappedWindow, OnlyItsElementsCanBeReached) {
  const auto array = windowed();
  const int size = static_cast<int>(page());
  EXPECT_EQ(array->size(), page());
  EXPECT_EQ(*array->at(d_first), element<int>(d_first));
  array->set(d_end - 1, 77);
  EXPECT_EQ(array->get(d_end - 1).as<int>(), 77);
  for (const int i : {0, d_first - 1, d_end, size - 1}) {
    EXPECT_OUTSIDE(array->at(i));
    EXPECT_OUTSIDE(array->set(i, 1));
    EXPECT_OUTSIDE(array->get(i));
  }
  EXPECT_ERROR(array->at(size), "index bounds error");
  const auto first = static_cast<std::uint64_t>(d_first);
  EXPECT_OUTSIDE(array->slice(first - 1, 2));
  EXPECT_OUTSIDE(array->slice(first, 2 * page()));
  EXPECT_OUTSIDE(array->copy(0, 1));
  EXPECT_OUTSIDE(array->push_back(1));
  EXPECT_OUTSIDE(array->resize(page() + 1));
  EXPECT_OUTSIDE(array->append(*array));
  const auto more = std::make_shared<Array<int>>(make_schema<int>("more", 0x1));
  more->push_back(1);
  EXPECT_OUTSIDE(array->append(*more));
  EXPECT_OUTSIDE(array->to_id_vector());
  EXPECT_OUTSIDE(array->value());
  EXPECT_OUTSIDE(array->span());
  const int one = 1;
  EXPECT_OUTSIDE(array->assign(&one, 1));
  EXPECT_OUTSIDE(array->append_strided(&one, sizeof one, 1));
  EXPECT_EQ(array->size(), page());
  EXPECT_EQ(content<int>(array->copy(first, 2)), elements<int>(d_first, d_first + 2));
  EXPECT_EQ(printed(*array), "a MMapArray[" + std::to_string(size) + "] = [... ]\n");
  EXPECT_EQ(printed(*array->slice(static_cast<std::uint64_t>(d_end) - 1, 1)), "a MMapArray[1] = [ 77 ]\n");
  EXPECT_STREQ(StorageError::WindowViolation().what(),
               "an attempt was made to access data outside of the delared size or slice range");
}

TEST_F(MappedWindow, MovesWithTheViewOfItsVector) {
  const auto array = windowed();
  array->vector()->storage().set_window(0, 4294967295);  // the view is still the old one
  EXPECT_OUTSIDE(array->at(0));
  EXPECT_EQ(*array->at(d_first), element<int>(d_first));
  array->vector()->set_window(0, static_cast<std::uint64_t>(d_first) - 1);
  EXPECT_EQ(*array->at(0), element<int>(0));
  EXPECT_OUTSIDE(array->at(d_first));
  EXPECT_ERROR(array->vector()->set_window(0, 9), "failed to map file 'w' into memory\n    Invalid argument");
  EXPECT_OUTSIDE(array->at(0));
  array->vector()->set_window(0, 2 * page());
  EXPECT_EQ(*array->at(0), element<int>(0));
}

// --- mapped arrays ---

template <class T>
class MMapArrayOf : public InFolder {};
TYPED_TEST_SUITE(MMapArrayOf, TestObjects::BasicTypes);

TYPED_TEST(MMapArrayOf, KeepsExactlyItsElementsInItsFile) {
  using T = TypeParam;
  {
    const auto array = mapped<T>(9);
    array->append(*array);
    array->resize(20);
    EXPECT_EQ(array->size_bytes(), 20 * sizeof(T));
  }
  std::vector<T> wanted = elements<T>(0, 9);
  wanted.insert(wanted.end(), wanted.begin(), wanted.end());
  wanted.resize(20);
  EXPECT_EQ(read_file("a"), bytes_of(wanted));
}

TYPED_TEST(MMapArrayOf, CopiesAndResetsOfSharedVectorsLeaveTheFileAlone) {
  using T = TypeParam;
  const auto array = mapped<T>(10);
  {
    const auto copy = array->copy(2, 3)->template get<MMapArray<T>>();
    EXPECT_TRUE(content<T>(copy) == elements<T>(2, 5));
    for (int i = 0; i < 5000; ++i) copy->push_back(element<T>(i));
    EXPECT_ERROR(data_message(copy), "mapped array \"a\" is in a file without a name and can't be stored");
  }
  EXPECT_TRUE(content<T>(array) == elements<T>(0, 10));
  const auto view = array->slice(2, 3)->template get<MMapArray<T>>();
  view->reset();
  view->push_back(element<T>(4));
  EXPECT_TRUE(content<T>(view) == elements<T>(4, 5));
  EXPECT_TRUE(content<T>(array) == elements<T>(0, 10));
  array->reset();  // alone again: it goes on in its file
  array->push_back(element<T>(7));
  array->close();
  EXPECT_EQ(read_file("a"), bytes_of(elements<T>(7, 8)));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 1) << "a nameless file has a name";
}

TYPED_TEST(MMapArrayOf, ComesBackByReference) {
  using T = TypeParam;
  const auto array = mapped<T>(30);
  array->set_default_value(element<T>(3));
  save(array);
  EXPECT_EQ(std::filesystem::file_size("a"), 30 * sizeof(T)) << "a stored reference is to exactly the elements";
  const std::string bytes = read_file("message");
  array->push_back(element<T>(30));  // the vector has stayed where it was
  array->close();
  {
    const auto again = load()->template get<MMapArray<T>>();
    save(again);
    EXPECT_EQ(read_file("message"), bytes);
    EXPECT_EQ(open_descriptors(), this->d_descriptors) << "opened before it was used";
    EXPECT_TRUE(content<T>(again) == elements<T>(0, 31));
    EXPECT_EQ(again->start(), 0u);
    EXPECT_EQ(again->count(), kToTheEnd);
    again->resize(32);
    EXPECT_TRUE(*again->at(31) == element<T>(3));
    save(again);
    EXPECT_EQ(std::filesystem::file_size("a"), 32 * sizeof(T)) << "a reader would take spare elements for real ones";
  }
  EXPECT_EQ(std::filesystem::file_size("a"), 32 * sizeof(T));
}

TYPED_TEST(MMapArrayOf, ASliceComesBackAsAView) {
  using T = TypeParam;
  save(mapped<T>(10)->slice(2, 3));
  const auto view = load()->template get<MMapArray<T>>();
  EXPECT_TRUE(content<T>(view) == elements<T>(2, 5));
  EXPECT_ERROR(view->resize(9), "can't modify the size of an array slice");
}

class MMapArrays : public InFolder {};

TEST_F(MMapArrays, PrintLikeArraysWithTheirKind) {
  EXPECT_EQ(printed(*mapped<int>(3)), "a MMapArray[3] = [ 1 2 3 ]\n");
  EXPECT_EQ(printed(*mapped<short>(16)), "a MMapArray[16] = [ 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15... ]\n");
}

TEST_F(MMapArrays, ReadAnyByteOfABool) {
  write_file("a", std::string("\0\1\2\xff", 4));
  const auto array = std::make_shared<MMapArray<bool>>(make_schema<bool>("a", kMapped), 4);
  EXPECT_EQ(array->to_id_vector(), (std::vector<std::int32_t>{0, 1, 1, 1}));
  EXPECT_EQ(array->get(2).as<bool>(), true);
  EXPECT_EQ(printed(*array), "a MMapArray[4] = [ 0 1 1 1 ]\n");
  const auto copy = array->copy(0, 4);
  EXPECT_EQ(std::string(static_cast<const char*>(copy->data()), 4), std::string("\0\1\1\1", 4));
  const auto in_memory = std::make_shared<Array<bool>>(make_schema<bool>("b", 1));
  in_memory->append(*array);
  EXPECT_EQ(in_memory->to_id_vector(), (std::vector<std::int32_t>{0, 1, 1, 1}));
  std::ostringstream stream;
  stream << array->value();
  EXPECT_EQ(stream.str(), "[0 1 1 1]");
}

TEST_F(MMapArrays, AFileBelongsToOneOfThemAtATime) {
  const auto array = mapped<int>(3);
  const auto view = array->slice(1, 2);  // shares the vector
  const auto again = [] { MMapArray<int>(make_schema<int>("a", kMapped), 0); };
  EXPECT_ERROR(again(), already_open("a"));
  EXPECT_EXIT(std::exit(TestSupport::error_text(again) == already_open("a") ? 0 : 1), testing::ExitedWithCode(0), "")
      << "another process opened it";
  std::filesystem::create_hard_link("a", "alias");
  EXPECT_ERROR(mapped<int>(1, "alias"), already_open("alias"));
  EXPECT_ERROR(MMapRegion(4, "a").open(), already_open("a"));
  EXPECT_EQ(content<int>(array), elements<int>(0, 3));
  array->close();
  EXPECT_EQ(mapped<int>(1, "alias")->size(), 1u);
}

TEST_F(MMapArrays, WithoutElementsOrUnopenedAreClosedToo) {
  const std::string closed = "mmap file \"a\" was closed by its vector";
  const auto empty = mapped<int>(0);
  empty->close();
  EXPECT_EQ(open_descriptors(), d_descriptors);
  EXPECT_ERROR(empty->push_back(1), closed);
  save(mapped<int>(3));
  const auto unopened = load()->get<MMapArray<int>>();
  unopened->close();
  EXPECT_EQ(unopened->size(), 0u);
  EXPECT_ERROR(unopened->push_back(1), closed);
  EXPECT_ERROR(unopened->resize(1), closed);
  EXPECT_EQ(open_descriptors(), d_descriptors);
  EXPECT_EQ(read_file("a"), bytes_of(elements<int>(0, 3)));
}

TEST_F(MMapArrays, ThatWereClosedStartAnewWithAReset) {
  const auto array = mapped<int>(3);
  for (int round = 0; round < 2; ++round) {  // the second time as one that was loaded
    const auto target = round == 0 ? array : load()->get<MMapArray<int>>();
    target->close();
    target->reset();
    EXPECT_EQ(target->size(), 0u);
    target->push_back(5);
    save(target);
    target->close();
    EXPECT_EQ(read_file("a"), bytes_of<int>({5}));
  }
  const auto copy = array->copy(0, 0)->get<MMapArray<int>>();
  copy->close();
  copy->reset();
  copy->push_back(6);
  EXPECT_EQ(content<int>(copy), std::vector<int>{6});
}

// --- loading ---

class LoadedMMapArray : public InFolder {
 protected:
  /// A message whose array of ints lies in `file`, which is removed.
  void save_reference(const std::string& file) {
    mapped<int>(0, "plain")->close();
    auto frames = TestObjects::stored(mapped<int>(3, "plain"));
    frames[3] = file;
    d_frames = frames;
    std::filesystem::remove("plain");
  }
  std::shared_ptr<MMapArray<int>> loaded() { return TestObjects::loaded(d_frames)->get<MMapArray<int>>(); }

  std::vector<std::string> d_frames;
};

TEST_F(LoadedMMapArray, CreatesNothing) {
  save_reference("missing");
  EXPECT_ERROR(loaded()->size(), "failed to open mmap file \"missing\"\n    No such file or directory");
  EXPECT_ERROR(loaded()->push_back(1), "failed to open mmap file \"missing\"\n    No such file or directory");
  EXPECT_FALSE(std::filesystem::exists("missing"));
}

TEST_F(LoadedMMapArray, RefusesNamesThatLeaveTheFolder) {
  const std::string bytes = bytes_of(elements<int>(0, 3));
  std::filesystem::create_directory("below");
  for (const std::string& name : {std::filesystem::absolute("target").string(), std::string("below/../target")}) {
    write_file("target", bytes);
    save_reference(name);
    EXPECT_ERROR(loaded()->size(),
                 "loaded data name the mapped file \"" + name + "\": absolute names and \"..\" are refused");
    allow_foreign_mapped_files(true);
    EXPECT_EQ(content<int>(loaded()), elements<int>(0, 3));
    allow_foreign_mapped_files(false);
  }
  EXPECT_EQ(read_file("target"), bytes);
  write_file("below/inside", bytes);
  save_reference("below/inside");
  EXPECT_EQ(content<int>(loaded()), elements<int>(0, 3));
}

TEST_F(LoadedMMapArray, RefusesLinksAndWhatIsNoRegularFile) {
  write_file("target", bytes_of(elements<int>(0, 3)));
  std::filesystem::create_symlink("target", "link");
  std::filesystem::create_directory("folder");
  save_reference("link");
  EXPECT_ERROR(loaded()->at(0), "failed to open mmap file \"link\"\n    Too many levels of symbolic links");
  allow_foreign_mapped_files(true);
  EXPECT_EQ(content<int>(loaded()), elements<int>(0, 3));
  save_reference("folder");
  EXPECT_ERROR(loaded()->at(0), "failed to open mmap file \"folder\"\n    Is a directory");
  save_reference("/dev/null");
  EXPECT_ERROR(loaded()->at(0), "failed to open mmap file \"/dev/null\"\n    Invalid argument");
  for (const std::string& name : {std::string(), std::string("a\0b", 3)}) {
    save_reference(name);
    EXPECT_ERROR(loaded()->at(0), "the stored name of a mapped file is empty or damaged");
  }
}

TEST_F(LoadedMMapArray, RefusesADamagedExtent) {
  save_reference("x");
  const auto extent = [](std::uint32_t begin, std::uint32_t end, std::uint32_t size) {
    return bytes_of<std::uint32_t>({begin, end, size, 0});
  };
  for (const std::string& bytes :
       {extent(0, 0xffffffff, 0), extent(0, 0xffffffff, 8), extent(1, 0xffffffff, 4), extent(0, 4, 4)}) {
    d_frames[4] = bytes;
    EXPECT_NE(TestSupport::error_text([&] { loaded(); }).find("is damaged"), std::string::npos);
  }
  EXPECT_ERROR(loaded(), "the stored window of mmap file \"x\" (bytes 0 to 4, element size 4) is damaged");
  d_frames[4] = extent(static_cast<std::uint32_t>(page()), 0xffffffff, 4);  // a window beyond the file
  write_file("x", bytes_of(elements<int>(0, 3)));
  EXPECT_ERROR(loaded()->at(0), "failed to map file 'x' into memory\n    Invalid argument");
  EXPECT_EQ(read_file("x").size(), 12u);
}

TEST_F(LoadedMMapArray, KeepsTheFilesLengthUntilTheProgramChangesTheSize) {
  const std::string odd = bytes_of(elements<int>(0, 3)) + "xyz";  // no multiple of the element size
  write_file("x", odd);
  save_reference("x");
  {
    const auto array = loaded();
    EXPECT_EQ(array->size(), 3u);
    array->set(0, 42);
  }
  EXPECT_EQ(read_file("x").size(), 15u);
  { loaded()->push_back(9); }
  EXPECT_EQ(read_file("x"), bytes_of<int>({42, element<int>(1), element<int>(2), 9}));
  { loaded()->resize(1); }
  EXPECT_EQ(read_file("x"), bytes_of<int>({42}));
}

TEST_F(LoadedMMapArray, SharesAFileThatKeepsItsLength) {
  const auto root = make_record("root");
  root->add_field("a", mapped<int>(3, "x"));
  root->add_field("b", mapped<int>(2, "y"));
  root->add_field("runs", std::make_shared<MMapVarArray<int>>(make_schema<int>("runs", 0x40)));
  auto frames = TestObjects::stored(root);
  root->clear_hierarchy();
  ASSERT_EQ(frames[6], "y");
  const auto load_naming = [&](const std::string& file) {
    frames[6] = file;
    return TestObjects::loaded(frames);
  };
  root->get<MMapArray<int>>("a")->close();
  root->get<MMapVarArray<int>>("runs")->close();
  auto tree = load_naming("x");
  const auto shown = tree->get<MMapArray<int>>("a");
  EXPECT_EQ(shown->size(), 3u);
  const auto other = tree->get<MMapArray<int>>("b");
  EXPECT_EQ(content<int>(other), elements<int>(0, 3));
  EXPECT_ERROR(other->resize(5000),
               "failed to resize mmap file \"x\" to requested size (20000)\n    Device or resource busy");
  other->resize(1);
  EXPECT_ERROR(other->close(), "failed to resize mmap file \"x\" to vector length (4)\n    Device or resource busy");
  EXPECT_EQ(content<int>(shown), elements<int>(0, 3));
  shown->resize(5000);  // alone again
  EXPECT_EQ(read_file("x").size() % 20000, 0u);
}

TEST_F(LoadedMMapArray, ShowsTheFileOfTheTreeThatWasStored) {
  const auto array = mapped<int>(3);
  save(array);
  const auto twin = load()->get<MMapArray<int>>();
  EXPECT_EQ(content<int>(twin), elements<int>(0, 3));
  EXPECT_THROW(array->resize(5000), Util::Error);
  EXPECT_THROW(twin->resize(5000), Util::Error);
  EXPECT_THROW(mapped<int>(1), Util::Error) << "a new array takes no file that is in use";
  twin->close();
  array->resize(5000);
  EXPECT_EQ(*array->at(2), element<int>(2));
}

TEST_F(LoadedMMapArray, HasASchemaThatMakesNoSecondOne) {
  const auto record = make_record("record");
  record->add_field("x", mapped<int>(3));
  record->add_field("runs", make_schema<int>("runs", 0x40));
  const auto frames = TestObjects::stored(record);
  record->clear_hierarchy();
  record->get<MMapArray<int>>("x")->close();
  const auto tree = TestObjects::loaded(frames);
  const std::string a = "no second object can be made from the stored schema of \"";
  const std::string b = "\", whose elements lie in a file";
  for (const std::string name : {"x", "runs"}) {
    const std::string text = a + name + b;
    const auto schema = tree->find_path(name)->schema();
    EXPECT_ERROR(schema->factory()->create_from(schema), text);
    EXPECT_ERROR(make_record("other")->add_field(name, schema), text);
    const auto frame_schema = make_frame_schema("table");
    EXPECT_ERROR(frame_schema->factory()->create_from(frame_schema)->add_field(name, schema), text);
  }
  const auto same = tree->schema()->clone(nullptr);
  EXPECT_ERROR(same->factory()->create_from(same), a + "x" + b);
  EXPECT_EQ(read_file("a"), bytes_of(elements<int>(0, 3)));
}

// --- mapped columns ---

struct Point {
  int id = 0;
  double x = 0;
  std::string_view name;
  Util::USpan<int> links;

  static std::shared_ptr<ClassSchema<Point>> class_schema() {
    auto schema = std::make_shared<ClassSchema<Point>>("points");
    schema->add(&Point::id, "id", 0).add_mapped(&Point::x, "x", 0.5, "points.x").add(&Point::name, "name");
    schema->add_mapped(&Point::links, "links", "points.links");
    return schema;
  }
};

class MappedColumn : public InFolder {
 protected:
  MappedColumn() { register_class_type<Point>(); }

  static std::shared_ptr<Frame<Point>> frame() {
    const auto schema = Point::class_schema()->vector_form();
    return schema->factory()->create_from(schema)->get<Frame<Point>>();
  }
  static void append(Frame<Point>& frame, int rows) {
    const std::vector<int> links = {1, 2, 3};
    for (int i = 0; i < rows; ++i) {
      frame.append({i,
                    i * 0.5,
                    "p" + std::string(static_cast<std::size_t>(i % 3), 'x'),
                    {links.data(), static_cast<std::size_t>(i % 4)}});
    }
  }
};

TEST_F(MappedColumn, LivesInItsFileAndComesBackWithTheFrame) {
  std::string text;
  {
    const auto points = frame();
    append(*points, 3000);
    EXPECT_EQ(points->get<MMapArray<double>>("x")->size(), 3000u);
    save(points);
    text = printed(*points);
  }
  EXPECT_EQ(std::filesystem::file_size("points.x"), 24000u);
  EXPECT_EQ(std::filesystem::file_size("points.links.offsets"), 12004u);
  const std::string bytes = read_file("message");
  {
    const auto points = load()->get<Frame<Point>>();
    EXPECT_EQ(points->size(), 3000u);
    EXPECT_EQ(open_descriptors(), d_descriptors) << "opened before it was used";
    save(points, "again");
    EXPECT_EQ(read_file("again"), bytes);
    EXPECT_EQ(printed(*points), text);
    append(*points, 1);
    points->truncate_rows(3000);
    points->truncate_rows(10);
    append(*points, 2);
    EXPECT_EQ(points->get<MMapVarArray<int>>("links")->size(), 12u);
    save(points);
  }
  EXPECT_EQ(std::filesystem::file_size("points.x"), 96u);
  EXPECT_EQ(load()->size(), 12u);
}

TEST_F(MappedColumn, AFileThatIsTooShortIsReportedWhenItIsOpened) {
  {
    const auto points = frame();
    append(*points, 30);
    save(points);
  }
  std::filesystem::resize_file("points.x", 29 * 8);
  const auto points = load()->get<Frame<Point>>();
  EXPECT_ERROR(points->get<MMapArray<double>>("x")->at(0),
               "mapped file \"points.x\" holds 29 elements, the data that refer to it have 30");
  std::filesystem::remove("points.x");
  EXPECT_ERROR(append(*points, 1), "failed to open mmap file \"points.x\"\n    No such file or directory");
  EXPECT_EQ(points->size(), 30u);
  EXPECT_EQ(points->field(0)->size(), 30u) << "a failed append takes every column back";
  EXPECT_FALSE(std::filesystem::exists("points.x"));
}

TEST_F(MappedColumn, OfTwoTablesAreNotOneFile) {
  const auto points = frame();
  append(*points, 5000);
  EXPECT_ERROR(frame(), already_open("points.x"));
  EXPECT_EQ(*points->get<MMapArray<double>>("x")->at(4999), 2499.5);
}

TEST_F(MappedColumn, TextsCannotBeMapped) {
  const auto schema = std::make_shared<Schema>("t", "const char*", 0x420u, find_factory("const char*", 0x400));
  EXPECT_ERROR(schema->vector_form(), "can't vectorize type 0x420 [string mmap]");
}

// --- mapped variable arrays ---

template <class T>
class MMapVarArrayOf : public InFolder {
 protected:
  static std::shared_ptr<MMapVarArray<T>> make(const std::string& name = "v") {
    return std::make_shared<MMapVarArray<T>>(make_schema<T>(name, 0x40));
  }
  /// Run `i` has i % 4 values.
  static std::vector<T> run(int i) { return elements<T>(i, i + i % 4); }
  static void fill(MMapVarArray<T>& array, int runs) {
    for (int i = static_cast<int>(array.size()); i < runs; ++i) {
      const std::vector<T> values = run(i);
      if constexpr (std::is_same_v<T, bool>) {
        const bool bits[3] = {element<bool>(i), element<bool>(i + 1), element<bool>(i + 2)};
        array.append({bits, values.size()});
      } else {
        array.append(values);
      }
    }
  }
  static void expect_runs(const MMapVarArray<T>& array, int first, int runs) {
    ASSERT_EQ(array.size(), static_cast<std::uint64_t>(runs));
    for (int i = 0; i < runs; ++i) {
      const auto shown = array.run(static_cast<std::uint64_t>(i));
      EXPECT_TRUE(std::vector<T>(shown.begin(), shown.end()) == run(first + i)) << i;
    }
  }
};
TYPED_TEST_SUITE(MMapVarArrayOf, TestObjects::BasicTypes);

TYPED_TEST(MMapVarArrayOf, KeepsItsRunsInTwoFilesOfExactLength) {
  using T = TypeParam;
  constexpr int kRuns = 4000;
  std::uintmax_t values = 0;
  for (int i = 0; i < kRuns; ++i) values += static_cast<std::uintmax_t>(i % 4);
  {
    const auto array = this->make();
    EXPECT_EQ(array->size(), 0u);
    this->fill(*array, kRuns);
    this->expect_runs(*array, 0, kRuns);
  }
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), (kRuns + 1) * 4u);
  EXPECT_EQ(std::filesystem::file_size("v.values"), values * sizeof(T));
  const std::string before = read_file("v.offsets");
  {
    const auto array = this->make();  // files that exist are kept
    this->expect_runs(*array, 0, kRuns);
  }
  EXPECT_EQ(read_file("v.offsets"), before);
  const auto array = this->make();
  this->fill(*array, kRuns + 5);
  array->close();
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), (kRuns + 6) * 4u);
  EXPECT_EQ(array->size(), 0u);
  EXPECT_THROW(array->append({}), StorageError::WindowViolation);
  save(this->make());
  const auto unopened = load()->template get<MMapVarArray<T>>();
  unopened->close();
  EXPECT_EQ(unopened->size(), 0u);
  EXPECT_THROW(unopened->append({}), StorageError::WindowViolation);
  EXPECT_EQ(open_descriptors(), this->d_descriptors);
}

TYPED_TEST(MMapVarArrayOf, ComesBackByReference) {
  using T = TypeParam;
  const auto array = this->make();
  this->fill(*array, 50);
  save(array);
  const std::string bytes = read_file("message");
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), 51 * 4u) << "a stored reference is to exactly the runs";
  array->close();
  {
    const auto again = load()->template get<MMapVarArray<T>>();
    EXPECT_EQ(again->size(), 50u);
    save(again, "again");
    EXPECT_EQ(read_file("again"), bytes);
    EXPECT_EQ(open_descriptors(), this->d_descriptors) << "opened before it was used";
    this->expect_runs(*again, 0, 50);
    this->fill(*again, 60);
    const auto copy = again->copy(10, 5)->template get<MMapVarArray<T>>();
    this->expect_runs(*copy, 10, 5);
    copy->append({});
    save(again->slice(20, 30), "slice");
  }
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), 61 * 4u);
  const auto window = load("slice")->template get<MMapVarArray<T>>();
  EXPECT_EQ(window->size(), 30u);
  this->expect_runs(*window, 20, 30);
  EXPECT_GT(window->base(), 0u);
  EXPECT_THROW(window->append({}), StorageError::WindowViolation);
}

class MMapVarArrays : public InFolder {
 protected:
  static std::shared_ptr<MMapVarArray<char>> letters() {
    auto array = std::make_shared<MMapVarArray<char>>(make_schema<char>("v", 0x40));
    for (const std::string_view run : {"ab", "", "xyz"}) array->append({run.data(), run.size()});
    return array;
  }
};

TEST_F(MMapVarArrays, OffsetsAndValuesStandAsTheyAre) {
  const auto array = letters();
  EXPECT_EQ(printed(*array), "v MMapVarArray[3] = [ [a b] [] [x y z] ]\n");
  EXPECT_ERROR(to_var_array<char>(array), "Provided VarArrayBase object is not VarArray!\n");
  array->resize(5);
  array->set(3, {"q", 1});
  EXPECT_ERROR(array->set(1, {"q", 1}),
               "To set the element of vararray, please append it in order or use set method!\n");
  EXPECT_EQ(array->run(4).size(), 0u);
  const auto frames = TestObjects::stored(array);
  ASSERT_EQ(frames.size(), 7u);
  EXPECT_EQ(frames[3] + frames[4] + frames[5] + frames[6], bytes_of<std::uint64_t>({0, 6, 0, 6}));
  EXPECT_EQ(read_file("v.offsets"), bytes_of<std::int32_t>({0, 2, 2, 5, 6, 6}));
  EXPECT_EQ(read_file("v.values"), "abxyzq");
}

/// What another program may do to the offsets while they are mapped.
TEST_F(MMapVarArrays, OffsetsThatChangeUnderAnOpenArrayEndTheProgram) {
  const auto array = letters();  // 0, 2, 2, 5
  const auto overwrite = [](int place, std::int32_t offset) {
    std::fstream file("v.offsets", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(place * 4).write(reinterpret_cast<const char*>(&offset), 4);
  };
  const std::string rising = "(*offsets)[i+offset] >= 0 and (*offsets)[i+offset+1] >= (*offsets)[i+offset]";
  const std::string inside = "range.first <= held && range.size <= held - range.first";
  overwrite(2, -1);
  EXPECT_ASSERTION(array->run(1), rising);
  EXPECT_ASSERTION(array->run(2), rising);
  overwrite(2, 1);
  EXPECT_ASSERTION(array->run(1), rising);
  overwrite(2, 6);
  EXPECT_ASSERTION(array->run(1), inside);
  overwrite(2, 2);
  overwrite(3, 6);
  EXPECT_ASSERTION(array->run(2), inside);
  EXPECT_ASSERTION(array->values(), inside);
  EXPECT_ASSERTION(array->append({}), "offsets->back() == int(values->size())");
  overwrite(3, 5);
  EXPECT_EQ(array->run(2).size(), 3u);
}

TEST_F(MMapVarArrays, ReadAnyByteOfABool) {
  write_file("b.offsets", bytes_of<std::int32_t>({0, 2}));
  write_file("b.values", "\x02\x80");
  const auto array = std::make_shared<MMapVarArray<bool>>(make_schema<bool>("b", 0x40));
  VarArray<bool> target(make_schema<bool>("t", 0x5));
  target.append(array->run(0));
  target.push_back(array->get(0));
  const Util::USpan<bool> run = array->run(0);
  target.append_strided(&run, sizeof run, 1);
  array->concat(*array);
  const auto copy = array->copy(0, 1);
  EXPECT_EQ(std::string(static_cast<const char*>(target.data()), 6), std::string(6, '\1'));
  EXPECT_EQ(std::string(static_cast<const char*>(copy->data()), 2), std::string(2, '\1'));
  array->close();
  EXPECT_EQ(read_file("b.values"), "\x02\x80\x01\x01");
}

TEST_F(MMapVarArrays, ElementsThatWereNeverSetAreEmptyInTheFile) {
  {
    MMapVarArray<char> array(make_schema<char>("v", 0x40));
    array.resize(3);
    array.set(0, {"ab", 2});
  }
  EXPECT_EQ(read_file("v.offsets"), bytes_of<std::int32_t>({0, 2, 2, 2}));
}

TEST_F(MMapVarArrays, AWindowShowsAPartOfTheFiles) {
  letters()->close();
  EXPECT_ERROR(MMapVarArray<char>(make_schema<char>("v", 0x40), "", 1, 2, 0, 3),
               "the mapped values of \"v\" begin with value 0, its offsets with value 2");
  const auto window = std::make_shared<MMapVarArray<char>>(make_schema<char>("v", 0x40), "", 2, 2, 2, 3);
  EXPECT_EQ(window->base(), 2u);
  EXPECT_EQ(printed(*window), "v MMapVarArray[1] = [ [x y z] ]\n");
  EXPECT_THROW(window->append({}), StorageError::WindowViolation);
  EXPECT_THROW(window->resize(4), StorageError::WindowViolation);
  EXPECT_THROW(window->append_defaults(1), StorageError::WindowViolation);
  const Util::USpan<char> row;
  EXPECT_THROW(window->append_strided(&row, sizeof row, 1), StorageError::WindowViolation);
  window->truncate_rows(0);
  EXPECT_EQ(window->size(), 1u);
  EXPECT_EQ(read_file("v.values"), "abxyz");
}

TEST_F(MMapVarArrays, FilesThatContradictEachOtherAreRefused) {
  const auto open = [] { MMapVarArray<char>(make_schema<char>("v", 0x40)); };
  write_file("v.values", "abc");
  for (const std::vector<std::int32_t>& offsets :
       std::vector<std::vector<std::int32_t>>{{0, 2, 1}, {0, -1, 3}, {-1, 0}}) {
    write_file("v.offsets", bytes_of(offsets));
    EXPECT_NE(TestSupport::error_text(open).find("the stored offsets of \"v\" do not describe its"), std::string::npos);
    EXPECT_EQ(read_file("v.offsets"), bytes_of(offsets));
  }
  write_file("v.offsets", bytes_of<std::int32_t>({0, 4}));
  EXPECT_ERROR(open(), "mapped file \"v.values\" holds 3 elements, the data that refer to it have 4");
  write_file("v.offsets", bytes_of<std::int32_t>({1, 2}));
  EXPECT_ERROR(open(), "the mapped values of \"v\" begin with value 0, its offsets with value 1");
}

TEST_F(MMapVarArrays, DamagedReferencesAreRefused) {
  letters()->close();
  auto frames = TestObjects::stored(std::make_shared<MMapVarArray<char>>(make_schema<char>("v", 0x40)));
  struct Case {
    std::vector<std::uint64_t> window;
    std::string text;
  };
  const std::string damaged = "the stored window of mapped variable array \"v\" is damaged";
  const std::vector<Case> cases = {
      {{0, 0, 0, 5}, damaged},
      {{0, ~std::uint64_t{0}, 0, 5}, damaged},
      {{0, 4, 0x7fffffff, 1}, damaged},
      {{0, 5, 0, 5}, "mapped file \"v.offsets\" holds 4 elements, the data that refer to it have 5"},
      {{0, 4, 0, 6}, "the stored offsets of \"v\" do not describe its 6 values"},
      {{1, 3, 0, 3}, "the mapped values of \"v\" begin with value 0, its offsets with value 2"},
      {{0, 4, 0, 5}, "<nothing thrown>"},
  };
  for (const Case& test : cases) {
    for (std::size_t i = 0; i < 4; ++i) frames[3 + i] = bytes_of<std::uint64_t>({test.window[i]});
    EXPECT_ERROR(TestObjects::loaded(frames)->get<MMapVarArray<char>>()->run(0), test.text);
  }
  EXPECT_EQ(read_file("v.values"), "abxyz");
  std::filesystem::remove("v.values");
  EXPECT_ERROR(TestObjects::loaded(frames)->get<MMapVarArray<char>>()->run(0),
               "failed to open mmap file \"v.values\"\n    No such file or directory");
  EXPECT_FALSE(std::filesystem::exists("v.values"));
}

TEST_F(MMapVarArrays, ANameThatAReaderWouldNotFindIsNotStored) {
  const MMapVarArray<char> unused(make_schema<char>("v", 0x40));
  const auto array = std::make_shared<MMapVarArray<char>>(make_schema<char>("v", 0x40), "elsewhere");
  EXPECT_ERROR(data_message(array),
               "mapped variable array \"v\" can't be stored: its files are called \"elsewhere\", "
               "its schema says \"v\"");
  array->close();
  const auto named = make_mapped_schema<char, 0x40>("v", "elsewhere");
  save(std::make_shared<MMapVarArray<char>>(named, "elsewhere"));
  EXPECT_EQ(load()->get<MMapVarArray<char>>()->base_name(), "elsewhere");
}

// --- regions ---

class Regions : public InFolder {};

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

TEST_F(Regions, GiveEmptyFilesALength) {
  MMapRegion unspecified(8, "one");
  unspecified.open();
  EXPECT_EQ(unspecified.length(), 1u);
  MMapRegion specified(8, "seven", 0, 7);
  specified.open();
  EXPECT_EQ(std::filesystem::file_size("one"), 8u);
  EXPECT_EQ(std::filesystem::file_size("seven"), 56u);
}

TEST_F(Regions, RefuseToBeginBehindTheFile) {
  write_file("r", std::string(page(), 'x'));
  const std::string text = "File r size is less than the offset!";
  EXPECT_ERROR(MMapRegion(4, "r", page() / 4).open(), text);
  EXPECT_ERROR(MMapRegion(4, "r", ~std::uint64_t{0}).open(), text);
  write_file("r", std::string(6, 'x'));
  EXPECT_ERROR(MMapRegion(4, "r", 2).open(), text) << "the first page is there, the element is not";
  EXPECT_EQ(std::filesystem::file_size("r"), 6u);
}

}  // namespace
}  // namespace ZyData
