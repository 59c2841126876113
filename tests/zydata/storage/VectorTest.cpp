// Process memory and the growth rules of vectors.
#include "zydata/storage/Vector.h"

#include <limits>
#include <new>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"

TEST_SUPPORT_MALLOC_MAY_FAIL

namespace ZyData {
namespace {

constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();

template <class T>
std::vector<T> content(const CpuVector<T>& vector) {
  return {vector.elements().begin(), vector.elements().end()};
}

template <class T>
CpuVector<T> filled(int n) {
  CpuVector<T> vector;
  for (int i = 0; i < n; ++i) vector.push_back(TestObjects::element<T>(i));
  return vector;
}

TEST(Vector, AppendsElementsOfItsOwn) {
  for (const std::uint64_t first : {0u, 3u, 7u}) {
    CpuVector<int> vector = filled<int>(8);  // full: the append moves the elements
    std::vector<int> expected = content(vector);
    for (std::uint64_t i = first; i < 8; ++i) expected.push_back(expected[i]);
    vector.append(vector.data() + first, 8 - first);
    EXPECT_EQ(content(vector), expected);
  }
  CpuVector<int> vector = filled<int>(8);
  const int& last = vector.back();
  vector.push_back(last);
  vector.resize(17, vector[0]);
  EXPECT_TRUE(vector[8] == 8 && vector[16] == 1);
}

TEST(Vector, SingleAppendsDoubleTheSizeFromEightAndNothingShrinks) {
  EXPECT_EQ(CpuVector<int>(0, CpuMem<int>()).data(), nullptr);
  for (const auto& [size, capacity] : {std::pair(1, 8u), {8, 8u}, {9, 16u}, {16, 16u}, {17, 32u}, {33, 64u}})
    EXPECT_EQ(filled<int>(size).capacity(), capacity);
  CpuVector<int> vector = filled<int>(33);
  vector.reserve(5);
  vector.truncate(1);
  vector.resize(3, 9);
  EXPECT_EQ(vector.capacity(), 64u);
  EXPECT_EQ(content(vector), (std::vector<int>{1, 9, 9}));
}

TEST(Vector, GrowthRulesDoubleTheSizeForAppendsAndTheCapacityForResize) {
  struct Case {
    std::uint64_t size, capacity, appended, resized, expected;
  };
  const std::vector<Case> cases = {
      {0, 0, 3, 0, 8},       {0, 0, 9, 0, 9},        {4, 4, 1, 0, 8},        {10, 10, 1, 0, 20},  {10, 10, 15, 0, 25},
      {10, 100, 90, 0, 100}, {10, 100, 91, 0, 101},  {0, 0, 0, 3, 8},        {0, 0, 0, 9, 9},     {10, 10, 0, 11, 20},
      {10, 10, 0, 21, 21},   {10, 100, 0, 101, 200}, {10, 100, 0, 100, 100}, {10, 100, 0, 5, 100}};
  for (const Case& test : cases) {
    CpuVector<int> vector(test.size, CpuMem<int>());
    if (test.capacity > 0) vector.reserve(test.capacity);
    const std::vector<int> more(test.appended, 1);
    if (test.appended > 0) {
      vector.append(more.data(), more.size());
      EXPECT_EQ(vector.size(), test.size + test.appended);
    } else {
      vector.resize(test.resized, 1);
      EXPECT_EQ(vector.size(), test.resized);
    }
    EXPECT_EQ(vector.capacity(), test.expected)
        << test.size << ' ' << test.capacity << ' ' << test.appended << ' ' << test.resized;
  }
}

TEST(VectorDeathTest, ReservingNothingAndCuttingUpwardsAreMistakes) {
  CpuVector<int> vector;
  EXPECT_DEATH(vector.reserve(0), "assertion failed: \"new_capacity > 0\", file Vector, line 251");
  EXPECT_ASSERTION(vector.truncate(1), "n <= d_size");
}

TEST(Vector, StaysAsItWasWhenMemoryIsExhausted) {
  CpuVector<double> vector = filled<double>(3);
  const double* data = vector.data();
  for (const std::uint64_t n : {std::uint64_t{1} << 60, std::uint64_t{1} << 61, kNone / 2, kNone - 1, kNone}) {
    EXPECT_THROW(vector.reserve(n), std::bad_alloc) << n;
    EXPECT_THROW(vector.resize(n, 0), std::bad_alloc) << n;
    EXPECT_THROW(vector.resize_for_overwrite(n), std::bad_alloc) << n;
    EXPECT_THROW(vector.append_for_overwrite(n), std::bad_alloc) << n;
    EXPECT_EQ(vector.data(), data);
    EXPECT_EQ(vector.capacity(), 8u);
    EXPECT_EQ(content(vector), (std::vector<double>{1, 2, 3}));
  }
  EXPECT_THROW(CpuVector<int>(std::uint64_t{1} << 60, CpuMem<int>()), std::bad_alloc);
}

TEST(Vector, KeepsItsElementsWhenItMovesToHugePages) {
  constexpr std::uint64_t kPage = (std::uint64_t{2} << 20) / sizeof(int);
  CpuVector<int> vector(1000, CpuMem<int>());
  for (const std::uint64_t capacity : {kPage / 2, kPage, kPage + 1, 2 * kPage - 1, 2 * kPage, 3 * kPage + 3}) {
    vector.resize(vector.capacity(), static_cast<int>(capacity));
    const std::vector<int> before = content(vector);
    vector.reserve(capacity);
    EXPECT_EQ(vector.capacity(), capacity);
    EXPECT_TRUE(content(vector) == before) << capacity;
    if (capacity > kPage) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(vector.data()) % (2 << 20), 0u) << capacity;
    }
  }
}

TEST(PatternFill, WritesExactlyTheElementsAskedFor) {
  for (const std::uint64_t size : {1u, 2u, 3u, 4u, 8u, 24u, 500u, 1023u, 1024u, 1025u, 3000u}) {
    std::string value(size, '\0');
    for (std::uint64_t i = 0; i < size; ++i) value[i] = static_cast<char>(i * 7 + 1);
    const std::uint64_t block = 1024 / size;
    for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{1}, block, block + 1, 3 * block + 2}) {
      std::string buffer((count + 4) * size, '\xee');
      std::string expected = buffer;
      for (std::uint64_t i = 2; i < 2 + count; ++i) expected.replace(i * size, size, value);
      pattern_fill(buffer.data(), size, 2, 2 + count, value.data());
      ASSERT_EQ(buffer, expected) << size << " x " << count;
    }
  }
  std::string untouched = "abc";
  pattern_fill(untouched.data(), 1, 2, 1, "x");
  pattern_fill(nullptr, 1, 0, 0, "x");
  EXPECT_EQ(untouched, "abc");
}

TEST(ProcessMemory, GivesABlockBackForNoCapacity) {
  VCpuMem memory(4);
  void* block = memory.reallocate(nullptr, 0, 3, 0);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(memory.reallocate(block, 3, kNone, 3), nullptr);  // refused; the block is still there
  std::fill_n(static_cast<char*>(block), 12, 'x');
  EXPECT_EQ(memory.reallocate(block, 3, 0, 3), nullptr);  // freed, as a leak check sees
  EXPECT_STREQ(StorageError::WindowViolation().what(),
               "an attempt was made to access data outside of the delared size or slice range");
}

TEST(ProcessMemoryDeathTest, ElementsInUseNeedABlock) {
  VCpuMem memory(4);
  EXPECT_DEATH(memory.reallocate(nullptr, 0, 3, 1), "assertion failed: \"old_p\", file Storage, line 41");
}

}  // namespace
}  // namespace ZyData
