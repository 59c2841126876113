// Stored numbers and texts, and the view of a list of numbers.
#include "util/Bytes.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/TestSupport.h"
#include "util/USpan.h"

namespace Util {
namespace {

TEST(Bytes, NumbersAreLittleEndianAndTextsCountTheirBytes) {
  ByteWriter writer;
  writer.put(std::uint8_t{0xab});
  writer.put(std::int32_t{-2});
  writer.put(std::uint64_t{0x0102030405060708});
  writer.put_text(std::string_view("a\0b", 3));
  ASSERT_EQ(writer.bytes(), std::string("\xab\xfe\xff\xff\xff\x08\x07\x06\x05\x04\x03\x02\x01\x03\0\0\0a\0b", 20));

  const std::string unaligned = "x" + writer.take();
  ByteReader reader(std::string_view(unaligned).substr(1));
  EXPECT_EQ(reader.get<std::uint8_t>(), 0xab);
  EXPECT_EQ(reader.get<std::int32_t>(), -2);
  EXPECT_EQ(reader.get<std::uint64_t>(), 0x0102030405060708u);
  EXPECT_EQ(reader.get_text(), std::string_view("a\0b", 3));
  EXPECT_EQ(reader.remaining(), 0u);
}

TEST(ByteReader, ReadingPastTheEndThrowsAndMovesNothing) {
  const std::vector<char> seven(7, '\x07');  // an exactly sized block: a sanitizer sees the first byte too far
  ByteReader reader({seven.data(), seven.size()});
  EXPECT_ERROR(reader.get<std::uint64_t>(), "stored parameters end too early: 8 bytes wanted, 7 left");
  EXPECT_ERROR(reader.get_text(), "stored parameters end too early: a text of 117901063 bytes, 7 left");
  EXPECT_EQ(reader.get<std::uint32_t>(), 0x07070707u);
  EXPECT_ERROR(reader.get_text(), "stored parameters end too early: 4 bytes wanted, 3 left");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(reader.get<std::uint8_t>(), 7);
  EXPECT_ERROR(reader.get<std::uint8_t>(), "stored parameters end too early: 1 bytes wanted, 0 left");
}

TEST(USpan, CannotViewAListThatIsAboutToGo) {
  static_assert(!std::is_constructible_v<USpan<int>, std::vector<int>&&>);
  static_assert(std::is_constructible_v<USpan<int>, std::vector<int>&>);
  EXPECT_TRUE(USpan<int>().to_vector().empty());
}

}  // namespace
}  // namespace Util
