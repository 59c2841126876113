// Raw memory as data objects: who owns the bytes, how they grow for a receive, and how they print.
#include "zydata/object/MemoryData.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
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

struct Step {
  std::uint64_t n;
  bool fits;
  std::uint64_t length;  // afterwards
};

TEST(MallocMemoryData, IsSizedByTheFirstRequestOnly) {
  const std::vector<std::vector<Step>> sequences = {
      {{4, true, 4}, {8, false, 4}, {4, true, 4}, {3, true, 4}, {0, true, 4}},
      {{0, true, 0}, {1, false, 0}, {0, true, 0}},
      {{kNobodyHasThis, false, 0}, {4, true, 4}},  // a failed allocation does not count as the first
  };
  for (const auto& sequence : sequences) {
    MallocMemoryData memory(nullptr);
    const void* block = nullptr;
    for (const Step& step : sequence) {
      EXPECT_EQ(memory.set_length(step.n), step.fits) << step.n;
      EXPECT_EQ(memory.length(), step.length) << step.n;
      EXPECT_TRUE(block == nullptr || memory.data() == block) << step.n;
      block = memory.data();
    }
    EXPECT_NE(block, nullptr);
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

struct PrintCase {
  std::string bytes;
  int indent;
  std::string dump;  // without indent and title
};

TEST(MemoryDataPrint, DumpsBytesUpToTheLimit) {
  const std::vector<PrintCase> cases = {
      {"", 0, "[ ]"},
      {std::string("a ~\0\x1f\x7f\x80\xff", 8), 1, "[ a   ~ 00 1f 7f 80 ff ]"},
      {"abcdefghijklmn", 2, "[ a b c d e f g h i j k l m n ]"},
      {"abcdefghijklmno", 10, "[ a b c d e f g h i j k l m n o ]"},
      {"abcdefghijklmnop", 11, "[ a b c d e f g h i j k l m n o ...]"},
  };
  for (const PrintCase& test : cases) {
    const std::string indent(static_cast<std::size_t>(std::min(test.indent, 10)) * 4, ' ');
    std::string bytes = test.bytes;
    StaticMemoryData viewed(bytes.data(), bytes.size(), nullptr);
    MallocMemoryData owned(nullptr);
    ASSERT_TRUE(owned.set_length(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), static_cast<char*>(owned.data()));
    EXPECT_PRINTS(viewed.print(test.indent), indent + "static memory " + test.dump + "\n");
    EXPECT_PRINTS(owned.print(test.indent), indent + "dynamic memory " + test.dump + "\n");
  }
}

TEST(MemoryDataPrint, WritesToTheGivenStreamOnly) {
  std::string text = "a/b.mmap";
  StringReferenceData reference(text, nullptr);
  StaticMemoryData viewed(text.data(), 1, nullptr);
  MallocMemoryData owned(nullptr);
  const std::vector<DataObj*> objects = {&reference, &viewed, &owned};
  std::ostringstream stream;
  EXPECT_PRINTS(for (DataObj* object : objects) object->print(stream, 1), "");
  EXPECT_EQ(stream.str(), "    string reference [a/b.mmap]\n    static memory [ a ]\n    dynamic memory [ ]\n");
  EXPECT_PRINTS(reference.print(0), "string reference [a/b.mmap]\n");
}

TEST(RawMemorySchema, IsOneEmptySchemaForAll) {
  std::string text;
  EXPECT_EQ(MallocMemoryData(nullptr).schema(), raw_memory_schema());
  EXPECT_EQ(StaticMemoryData(nullptr, 0, nullptr).schema(), raw_memory_schema());
  EXPECT_EQ(StringReferenceData(text, nullptr).schema(), raw_memory_schema());
  EXPECT_EQ(raw_memory_schema()->type_name(), "void");
  EXPECT_EQ(raw_memory_schema()->kind(), 0u);
}

}  // namespace
}  // namespace ZyData
