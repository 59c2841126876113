// Arrays that are as long as they can be. They take gigabytes: skipped, with a word, where that is too much.
#include <cstring>

#include "mpsys/FileConnection.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/String.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {
namespace {

constexpr const char* kRefusal = "array \"x\" can't hold more than 2147483647 values";

/// Memory that programs can have, in GiB; 0 where it is not known.
std::uint64_t available_memory() {
  std::ifstream info("/proc/meminfo");
  std::string word;
  std::uint64_t kibibytes = 0;
  while (info >> word) {
    if (word == "MemAvailable:" && info >> kibibytes) return kibibytes >> 20U;
  }
  return 0;
}

#define SKIP_WITHOUT_MEMORY(gibibytes)                                                                  \
  if (TestSupport::kAddressSanitizer) GTEST_SKIP() << "a sanitizer makes arrays of gigabytes too slow"; \
  if (available_memory() < (gibibytes))                                                                 \
  GTEST_SKIP() << "takes " << (gibibytes) << " GiB of memory, only " << available_memory() << " are free"

/// Texts of 2147483647 bytes in all, which take two gigabytes.
std::shared_ptr<StringArray> longest() {
  auto array = std::make_shared<StringArray>(make_schema<const char*>("x", 0x401));
  const std::string block(std::size_t{1} << 24U, 'b');
  for (int i = 0; i < 127; ++i) array->append(block);
  array->append(std::string_view(block).substr(1));
  return array;
}

/// One text of this many bytes. No page of it is touched, so that it takes no memory.
std::shared_ptr<StringArray> untouched(std::int32_t bytes) {
  auto array = std::make_shared<StringArray>(make_schema<const char*>("x", 0x401));
  FrameList frames;
  array->vectorize(frames, array);
  EXPECT_TRUE(frames[0]->fits(8) && frames[1]->fits(INT32_MAX) && frames[1]->fits(static_cast<std::uint64_t>(bytes)));
  std::memset(frames[0]->data(), 0, 4);
  std::memcpy(static_cast<char*>(frames[0]->data()) + 4, &bytes, 4);
  array->finish();
  return array;
}

TEST(Boundary, ATextColumnTakes2147483647BytesAndNotOneMore) {
  SKIP_WITHOUT_MEMORY(4);
  const auto array = untouched(INT32_MAX - 1);
  const auto append_by_writer = [&] {
    StringArray::Appender rows(*array, 2);
    rows.append("x");
    rows.append("y");
    rows.done();
  };
  EXPECT_ERROR(array->append("xy"), kRefusal);
  EXPECT_ERROR(append_by_writer(), kRefusal);
  EXPECT_EQ(array->size(), 1u);
  EXPECT_EQ(array->offsets().back(), INT32_MAX - 1);
  array->append("x");
  EXPECT_EQ(array->offsets().back(), INT32_MAX);
  EXPECT_ERROR(array->append("x"), kRefusal);
  array->append("");  // takes no room
  array->resize(4);
  EXPECT_ERROR(array->set(3, "x"), kRefusal);
  EXPECT_EQ(array->size(), 4u);
  EXPECT_EQ(array->view(0).size(), std::size_t{INT32_MAX} - 1);
  EXPECT_EQ(array->view(1), "x");
  EXPECT_EQ(array->offsets().back(), INT32_MAX);
}

TEST(Boundary, TheLongestColumnIsStoredAndLoaded) {
  if (std::getenv("CORVANE_TEST_LARGE") == nullptr) GTEST_SKIP() << "set CORVANE_TEST_LARGE to write gigabytes";
  SKIP_WITHOUT_MEMORY(10);
  const TestSupport::TempDir folder;
  const std::string path = folder.path("file");
  auto array = longest();
  {
    MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::writing);
    connection.send(data_message(array), 0);
    connection.close();
  }
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<DataObj> object;
  ASSERT_TRUE(receiveDataObject(connection, object));
  const auto loaded = object->get<StringArray>();
  ASSERT_EQ(loaded->size(), array->size());
  EXPECT_EQ(loaded->offsets().back(), INT32_MAX);
  for (std::uint64_t i = 0; i < array->size(); ++i) ASSERT_TRUE(loaded->view(i) == array->view(i)) << i;
  EXPECT_ERROR(loaded->append("x"), kRefusal);
}

}  // namespace
}  // namespace ZyData
