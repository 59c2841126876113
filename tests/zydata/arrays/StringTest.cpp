// Texts and lists of texts, beyond what text arrays share with variable arrays.
#include "zydata/arrays/String.h"

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {
namespace {

const std::string kWithZero("a\0b", 3);

std::shared_ptr<StringArray> names() {
  return std::make_shared<StringArray>(make_schema<const char*>("names", kKindString | kKindArray));
}

TEST(StringData, HoldsAnyBytesStoresThemAsTheyAreAndPrintsThem) {
  const auto text = std::make_shared<StringData>(make_schema<const char*>("t", kKindString));
  for (const std::string& value : {std::string(), kWithZero, std::string(70000, 'x'), std::string("short")}) {
    text->set_field("", std::string_view(value));
    EXPECT_EQ(TestObjects::loaded(TestObjects::stored(text))->get<StringData>()->text(), value);
  }
  text->set(std::string_view(text->text()).substr(1, 3));  // a part of itself
  std::ostringstream stream;
  text->print(stream, 12);
  EXPECT_EQ(stream.str(), std::string(40, ' ') + "String \"hor\"\n");
  EXPECT_PRINTS(text->print(1), "    String \"hor\"\n");
  EXPECT_FALSE(text->fits(~std::uint64_t{0}));
  EXPECT_EQ(text->text(), "hor");
  text->set_value(GenericValue(static_cast<const char*>(nullptr)));
  EXPECT_STREQ(text->value().as<const char*>(), "");
  EXPECT_ERROR(text->set_field("f", std::string_view("x")), "\"t\" has no field named 'f'");
}

TEST(StringArray, ElementIsOneHeldTextThatTheNextAccessOverwrites) {
  const auto array = names();
  for (const char* name : {"first", "second"}) array->append(name);
  const std::string& a = array->element(0);
  EXPECT_EQ(a, "first");
  array->element(1);
  EXPECT_EQ(a, "second");
  SearchableStringArray searchable(make_schema<const char*>("names", kKindHashed | kKindString | kKindArray));
  searchable.append("text");
  EXPECT_EQ(searchable.view(0), "text");
}

TEST(StringArray, TakesTextsAsGenericValuesAndAsAList) {
  const auto array = names();
  array->set_field("", std::vector<std::string>{"one", kWithZero});
  array->push_back(GenericValue(static_cast<const char*>(nullptr)));
  array->resize(4);
  array->set(3, GenericValue(std::string("four")));
  EXPECT_EQ(array->view(1), kWithZero);
  EXPECT_EQ(array->view(2), "");
  EXPECT_STREQ(array->get(3).as<const char*>(), "four");
  EXPECT_ERROR(array->set_field("x", std::vector<std::string>{"one"}), "\"names\" has no field named 'x'");
  EXPECT_EQ(array->size(), 4u);
  EXPECT_ERROR(array->to_id_vector(), "Invalid or unimplemented call to DataObj::to_id_vector");
}

TEST(StringArray, PrintStopsAtTheLimit) {
  const auto array = names();
  EXPECT_PRINTS(array->print(0), "names StringArray[0] = [ ]\n");
  std::string texts;
  for (int i = 0; i < 15; ++i) {
    array->append(i == 2 ? "" : "n");
    texts += i == 2 ? "\"\" " : "\"n\" ";
  }
  EXPECT_PRINTS(array->print(1), "    names StringArray[15] = [ " + texts + "]\n");
  array->append("n");
  EXPECT_PRINTS(array->print(0), "names StringArray[16] = [ " + texts + " ...]\n");
}

}  // namespace
}  // namespace ZyData
