// Raw memory as data objects: who owns the bytes, how they grow for a receive, and how they print.
#include "zydata/object/MemoryData.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestSupport.h"
#include "zydata/schema/Schema.h"

TEST_SUPPORT_MALLOC_MAY_FAIL

namespace ZyData {
namespace {

constexpr std::uint64_t kNobodyHasThis = std::uint64_t{1} << 62;

TEST(StaticMemoryData, KeepsTheViewWhileTheBytesFitThenGrowsIntoABlockOfItsOwn) {
  const auto owner = std::make_shared<std::string>("abcd");
  StaticMemoryData memory(owner->data(), owner->size(), owner);
  EXPECT_EQ(memory.message(), owner);
  for (std::uint64_t n = 0; n <= 4; ++n) EXPECT_TRUE(memory.fits(n));
  EXPECT_FALSE(memory.set_length(kNobodyHasThis));
  EXPECT_EQ(memory.data(), owner->data());
  EXPECT_EQ(memory.length(), 4u);
  for (const std::uint64_t n : {5u, 9u, 100000u}) {
    ASSERT_TRUE(memory.set_length(n));
    EXPECT_NE(memory.data(), owner->data());
    EXPECT_EQ(memory.size_bytes(), n);
    std::fill_n(static_cast<char*>(memory.data()), n, 'x');
  }
  EXPECT_EQ(*owner, "abcd");
}

TEST(FixedMemoryData, TakesExactlyItsOwnSize) {
  std::uint64_t row_count = 7;
  FixedMemoryData memory(&row_count, sizeof row_count, nullptr);
  for (const std::uint64_t n : {0u, 7u, 9u, 16u}) EXPECT_FALSE(memory.fits(n)) << n;
  EXPECT_TRUE(memory.fits(8));
  EXPECT_EQ(memory.data(), &row_count);
}

TEST(MallocMemoryData, IsSizedByTheFirstRequestOnly) {
  for (const std::uint64_t first : {4u, 0u}) {
    MallocMemoryData memory(nullptr);
    EXPECT_FALSE(memory.set_length(kNobodyHasThis));  // does not count as the first
    EXPECT_TRUE(memory.set_length(first));
    const void* block = memory.data();
    EXPECT_NE(block, nullptr);
    for (const std::uint64_t n : {8u, 4u, 1u, 0u}) EXPECT_EQ(memory.fits(n), n <= first) << n;
    EXPECT_EQ(memory.data(), block);
    EXPECT_EQ(memory.length(), first);
  }
}

TEST(StringReferenceData, ResizesTheTextThatItStandsForWithinReason) {
  std::string text = "name";
  StringReferenceData reference(text, nullptr);
  EXPECT_TRUE(reference.set_length(2));
  EXPECT_EQ(text, "na");
  EXPECT_TRUE(reference.fits(100));
  EXPECT_EQ(reference.data(), text.data());
  EXPECT_EQ(reference.size_bytes(), 100u);
  EXPECT_FALSE(reference.set_length(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_TRUE(TestSupport::kAddressSanitizer || !reference.set_length(kNobodyHasThis));
  EXPECT_EQ(text.size(), 100u);
}

TEST(MemoryDataPrint, NamesTheKindOfMemoryOnTheGivenStream) {
  std::string text = "a/b.mmap";
  StringReferenceData reference(text, nullptr);
  StaticMemoryData viewed(text.data(), 1, nullptr);
  MallocMemoryData owned(nullptr);
  ASSERT_TRUE(owned.set_length(16));
  std::fill_n(static_cast<char*>(owned.data()), 16, '\x7f');
  const std::string dump = "7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f ...]\n";
  const std::vector<std::pair<DataObj*, std::string>> cases = {{&reference, "    string reference [a/b.mmap]\n"},
                                                               {&viewed, "    static memory [ a ]\n"},
                                                               {&owned, "    dynamic memory [ " + dump}};
  for (const auto& [memory, printed] : cases) {
    DataObj* const object = memory;
    std::ostringstream stream;
    EXPECT_PRINTS(object->print(stream, 1), "");
    EXPECT_EQ(stream.str(), printed);
    EXPECT_PRINTS(object->print(1), printed);
    EXPECT_EQ(object->schema(), raw_memory_schema());
  }
}

}  // namespace
}  // namespace ZyData
