// Texts and lists of texts, beyond what text arrays share with variable arrays.
#include "zydata/String.h"

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/zydata/TestObjects.h"
#include "zydata/GenericValue.h"
#include "zydata/Schema.h"
#include "zydata/TypeRegistry.h"

namespace ZyData {
namespace {

const std::string kWithZero("a\0b", 3);

std::shared_ptr<StringArray> names() {
  return std::make_shared<StringArray>(make_schema<const char*>("names", kKindString | kKindArray));
}

TEST(StringData, HoldsAnyBytesAndStoresThemAsTheyAre) {
  const auto text = std::make_shared<StringData>(make_schema<const char*>("t", kKindString));
  for (const std::string& value : {std::string(), kWithZero, std::string(70000, 'x'), std::string("short")}) {
    text->set_field("", std::string_view(value));
    EXPECT_EQ(text->text(), value);
    EXPECT_EQ(TestObjects::bytes_of(*text), value);
    EXPECT_EQ(TestObjects::loaded(TestObjects::stored(text))->get<StringData>()->text(), value);
  }
  text->set(std::string_view(text->text()).substr(1, 3));  // a part of itself
  EXPECT_EQ(text->text(), "hor");
  EXPECT_ERROR(text->set_field("f", std::string_view("x")), "\"t\" has no field named 'f'");
  text->set_value(GenericValue(static_cast<const char*>(nullptr)));
  EXPECT_EQ(text->text(), "");
  text->set_value(GenericValue(std::string("v")));
  EXPECT_STREQ(text->value().as<const char*>(), "v");
  EXPECT_FALSE(text->fits(~std::uint64_t{0}));
  EXPECT_EQ(text->text(), "v");
  EXPECT_TRUE(text->fits(3));
  EXPECT_EQ(text->size_bytes(), 3u);
}

TEST(StringData, PrintsItsText) {
  StringData text(make_schema<const char*>("t", kKindString), "say \"x\"");
  std::ostringstream stream;
  EXPECT_PRINTS(text.print(2), "        String \"say \"x\"\"\n");
  EXPECT_PRINTS(text.print(stream, 12), "");
  EXPECT_EQ(stream.str(), std::string(40, ' ') + "String \"say \"x\"\"\n");
}

TEST(StringArray, ElementIsOneHeldTextThatTheNextAccessOverwrites) {
  const auto array = names();
  for (const char* name : {"first", "second", ""}) array->append(name);
  const std::string& a = array->element(0);
  EXPECT_EQ(a, "first");
  array->element(1);
  EXPECT_EQ(a, "second");
  array->append(a);
  array->append(array->view(0));
  EXPECT_EQ(array->view(3), "second");
  EXPECT_EQ(array->view(4), "first");
  EXPECT_EQ(a, "second");
}

TEST(StringArray, TakesTextsAsGenericValuesAndAsAList) {
  const auto array = names();
  array->set_field("", std::vector<std::string>{"one", kWithZero, ""});
  EXPECT_EQ(array->view(1), kWithZero);
  EXPECT_STREQ(array->get(0).as<const char*>(), "one");
  array->push_back(GenericValue(std::string("two")));
  array->push_back(GenericValue(static_cast<const char*>(nullptr)));
  EXPECT_EQ(array->view(3), "two");
  array->resize(6);
  array->set(5, GenericValue(std::string("six")));
  EXPECT_EQ(array->view(5), "six");
  EXPECT_ERROR(array->set_field("f", std::vector<std::string>()), "\"names\" has no field named 'f'");
  EXPECT_ERROR(array->to_id_vector(), "Invalid or unimplemented call to DataObj::to_id_vector");
}

TEST(StringArray, PrintStopsAtTheLimit) {
  const auto array = names();
  EXPECT_PRINTS(array->print(0), "names StringArray[0] = [ ]\n");
  std::string expected;
  for (int i = 1; i <= 16; ++i) {
    array->append(i == 2 ? "" : "n" + std::to_string(i));
    if (i <= 15) expected += i == 2 ? "\"\" " : "\"n" + std::to_string(i) + "\" ";
    const std::string count = std::to_string(i);
    if (i >= 14) {
      EXPECT_PRINTS(array->print(1),
                    "    names StringArray[" + count + "] = [ " + expected + (i > 15 ? " ...]\n" : "]\n"));
    }
  }
  std::ostringstream stream;
  array->slice(0, 1)->print(stream, 0);
  EXPECT_EQ(stream.str(), "names StringArray[1] = [ \"n1\" ]\n");
}

}  // namespace
}  // namespace ZyData
