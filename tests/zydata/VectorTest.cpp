// Process memory and the growth rules of vectors.
#include "zydata/Vector.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/zydata/TestObjects.h"

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

template <class T>
class VectorOf : public testing::Test {};
TYPED_TEST_SUITE(VectorOf, TestObjects::BasicTypes);

TYPED_TEST(VectorOf, SingleAppendsDoubleTheSizeFromEight) {
  CpuVector<TypeParam> vector;
  std::vector<std::uint64_t> capacities;
  for (int i = 0; i < 40; ++i) {
    vector.push_back(TestObjects::element<TypeParam>(i));
    if (capacities.empty() || capacities.back() != vector.capacity()) capacities.push_back(vector.capacity());
  }
  EXPECT_EQ(capacities, (std::vector<std::uint64_t>{8, 16, 32, 64}));
  for (int i = 0; i < 40; ++i) EXPECT_TRUE(vector[static_cast<std::uint64_t>(i)] == TestObjects::element<TypeParam>(i));
}

TYPED_TEST(VectorOf, AppendsElementsOfItsOwn) {
  for (const int first : {0, 3, 7}) {
    CpuVector<TypeParam> vector = filled<TypeParam>(8);  // full: the append moves the elements
    ASSERT_EQ(vector.capacity(), 8u);
    std::vector<TypeParam> expected = content(vector);
    const auto count = static_cast<std::uint64_t>(8 - first);
    expected.insert(expected.end(), expected.data() + first, expected.data() + 8);
    vector.append(vector.data() + first, count);
    EXPECT_TRUE(content(vector) == expected);
  }
  CpuVector<TypeParam> vector = filled<TypeParam>(8);
  const TypeParam& last = vector.back();
  vector.push_back(last);
  vector.resize(17, vector[0]);
  EXPECT_TRUE(vector[8] == vector[7] && vector[16] == vector[0]);
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

TEST(Vector, StartsWithExactlyWhatWasAskedFor) {
  EXPECT_EQ(CpuVector<int>(0, CpuMem<int>()).data(), nullptr);
  EXPECT_EQ(CpuVector<int>().data(), nullptr);
  const CpuVector<int> ten(10, CpuMem<int>());
  EXPECT_EQ(ten.capacity(), 10u);
  EXPECT_EQ(content(ten), std::vector<int>(10, 0));

  CpuVector<int> vector = filled<int>(3);
  vector.reserve(100);
  EXPECT_EQ(vector.capacity(), 100u);
  vector.reserve(5);
  EXPECT_EQ(vector.capacity(), 100u);
  vector.truncate(1);
  vector.resize(3, 9);
  EXPECT_EQ(content(vector), (std::vector<int>{1, 9, 9}));
  const CpuVector<int> moved = std::move(vector);
  EXPECT_EQ(moved.size(), 3u);
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

TEST(Vector, KeepsItsElementsWhenItOutgrowsASmallBlock) {
  constexpr std::uint64_t kLarge = (std::uint64_t{4} << 20) / sizeof(int);
  CpuVector<int> vector(kLarge - 1, CpuMem<int>());
  for (std::uint64_t i = 0; i < vector.size(); i += 1000) vector[i] = static_cast<int>(i);
  for (const std::uint64_t capacity : {kLarge, kLarge + 1, 2 * kLarge + 3}) {
    vector.reserve(capacity);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(vector.data()) % (2 << 20), 0u);
    for (std::uint64_t i = 0; i < vector.size(); i += 1000) ASSERT_EQ(vector[i], static_cast<int>(i));
    vector.resize(capacity, -1);
    EXPECT_EQ(vector.back(), -1);
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

TEST(ProcessMemory, HasNoWindowAndNothingStored) {
  VCpuMem memory(24);
  EXPECT_EQ(memory.element_size(), 24u);
  EXPECT_EQ(memory.window(), std::pair(std::uint64_t{0}, kNone));
  EXPECT_EQ(memory.set_window(5, 6), 0u);
  EXPECT_TRUE(memory.in_window(0) && memory.in_window(kNone));
  EXPECT_EQ(memory.stored_length() + memory.initial_length(), 0u);
  EXPECT_EQ(memory.min_capacity(), 8u);
  EXPECT_TRUE(memory.available() && memory.in_process_memory());
  EXPECT_STREQ(memory.kind_name(), "");
  FrameList parts;
  memory.describe(parts, nullptr);
  EXPECT_TRUE(parts.empty());
  EXPECT_STREQ(StorageError::WindowViolation().what(),
               "an attempt was made to access data outside of the delared size or slice range");
}

TEST(ProcessMemory, GivesABlockBackForNoCapacity) {
  VCpuMem memory(4);
  void* block = memory.reallocate(nullptr, 0, 3, 0);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(memory.reallocate(block, 3, kNone, 3), nullptr);  // refused; the block is still there
  std::fill_n(static_cast<char*>(block), 12, 'x');
  EXPECT_EQ(memory.reallocate(block, 3, 0, 3), nullptr);  // freed, as a leak check sees
}

TEST(ProcessMemoryDeathTest, ElementsInUseNeedABlock) {
  VCpuMem memory(4);
  EXPECT_DEATH(memory.reallocate(nullptr, 0, 3, 1), "assertion failed: \"old_p\", file Storage, line 41");
}

}  // namespace
}  // namespace ZyData
