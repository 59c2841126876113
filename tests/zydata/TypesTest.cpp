// Kind words, type names and identities, generic values and the two registries.
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/zydata/TestObjects.h"
#include "zydata/DataFactory.h"
#include "zydata/GenericValue.h"
#include "zydata/Kind.h"
#include "zydata/SchemaTable.h"
#include "zydata/TypeRegistry.h"

namespace ZyData {
namespace {

using TestObjects::Row;

const std::array<const char*, 32> kNames = {
    "array",     "sparse",  "var",          "frame",     "record",      "mmap",          "mmap_var_array", "haps_array",
    "hier_name", "dict",    "string",       "selection", "defaulted",   "initial_sized", "hashed",         "reference",
    "temp",      "<bit17>", "class_access", "read-only", "distributed", "global_id",     "partition",      "slice",
    "range",     "<bit25>", "<bit26>",      "<bit27>",   "<bit28>",     "<bit29>",       "<bit30>",        "<bit31>"};

TEST(Kind, WordsNameTheirFlagsFromTheHighestBitDown) {
  std::string all;
  for (std::size_t bit = 32; bit-- > 0;) {
    EXPECT_EQ(kind_to_string(std::uint32_t{1} << bit), kNames[bit]);
    all += kNames[bit] + std::string(bit == 0 ? "" : " ");
  }
  EXPECT_EQ(kind_to_string(0xffffffff), all);
  EXPECT_EQ(kind_to_string(0), "");
  EXPECT_EQ(kind_to_string(0x1021), "defaulted mmap array");
  EXPECT_EQ(kind_to_string(0x80000001), "<bit31> array");
}

TEST(Kind, KeyKeepsTheBitsThatChooseAClass) {
  EXPECT_EQ(0x41021u & kKindKeyMask, 0x1021u);
  for (std::uint32_t bit = 0; bit < 32; ++bit) {
    const bool kept = bit <= 12 || bit == 14 || bit == 15 || bit == 24;
    EXPECT_EQ((kKindKeyMask >> bit & 1U) != 0, kept) << kNames[bit];
  }
}

TEST(Kind, ValuesTextsAndRunsHaveAVectorForm) {
  for (std::uint32_t kind = 0; kind < 0x8000; ++kind) {
    const std::uint32_t key = kind & kKindKeyMask;
    const std::uint32_t expected = key == 0        ? 0x1
                                   : key == 0x1000 ? 0x1001
                                   : key == 0x4    ? 0x5
                                   : key == 0x400  ? 0x401
                                                   : 0;
    ASSERT_EQ(vector_kind(kind), expected) << kind_to_string(kind);
  }
  EXPECT_EQ(vector_kind(0xc1000), 0x1001u);  // what is no key bit does not matter
}

TEST(TypeName, BasicTypesHaveFixedNames) {
  const std::vector<std::string> expected = {"char", "unsigned char", "short", "unsigned short", "int", "unsigned int",
                                             "long", "unsigned long", "float", "double",         "bool"};
  std::vector<std::string> names;
#define ADD_NAME(T, Name) names.push_back(GenericTypeT<T>::instance().name());
  ZYDATA_FOR_EACH_BASIC_TYPE(ADD_NAME)
  EXPECT_EQ(names, expected);
  EXPECT_STREQ(GenericTypeT<void>::instance().name(), "void");
  EXPECT_STREQ(GenericTypeT<const char*>::instance().name(), "const char*");
  EXPECT_STREQ(GenericTypeT<UntypedClass>::instance().name(), "ZyData::UntypedClass");
  EXPECT_STREQ(GenericTypeT<Row>::instance().name(), "TestObjects::Row");
  EXPECT_STREQ(GenericTypeT<Row::Mode>::instance().name(), "TestObjects::Row::Mode");
  EXPECT_EQ(sizeof(Long), 4u);
  EXPECT_EQ(sizeof(ULong), 4u);
}

TEST(TypeName, TypeKeywordsAreCutOutWhereverTheyStand) {
  const std::vector<std::pair<std::string, std::string>> cases = {{"class A", "A"},
                                                                  {"struct N::A<class B, enum C::D>", "N::A<B, C::D>"},
                                                                  {"class class A", "A"},
                                                                  {"clclass ass A", "A"},
                                                                  {"classes", "classes"},
                                                                  {"class", "class"},
                                                                  {"", ""}};
  for (const auto& [name, expected] : cases) EXPECT_EQ(without_type_keywords(name), expected);
}

TEST(TypeIdentity, IsTheHashOfTheName) {
  EXPECT_EQ(TypeIdentity::of("").value, 0xcbf29ce484222325u);
  EXPECT_EQ(TypeIdentity::of("a").value, 0xaf63dc4c8601ec8cu);
  EXPECT_EQ(TypeIdentity::of("foobar").value, 0x85944171f73967e8u);
  EXPECT_NE(TypeIdentity::of("\xff").value, TypeIdentity::of("\x7f").value);
}

TEST(GenericType, HasOneDescriptorPerTypeInAllThreads) {
  enum class Unseen : int {};
  std::vector<const GenericType*> seen(8);
  std::vector<std::thread> threads;
  for (auto& type : seen) threads.emplace_back([&] { type = &GenericTypeT<Unseen>::instance(); });
  for (auto& thread : threads) thread.join();
  for (const GenericType* type : seen) EXPECT_EQ(type, &GenericTypeT<Unseen>::instance());
  EXPECT_EQ(&GenericValue(1).type(), &GenericTypeT<int>::instance());
  EXPECT_TRUE(GenericTypeT<Long>::instance().type_id() == typeid(Long));
}

std::string printed(const GenericValue& value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}

TEST(GenericValue, PrintsAsNothingOneOrARun) {
  const std::vector<int> three = {1, -2, 3};
  const std::array<UntypedClass, 2> untyped{};
  const std::array<Row::Mode, 2> modes = {Row::kOn, static_cast<Row::Mode>(1000)};
  const std::vector<std::pair<GenericValue, std::string>> cases = {
      {GenericValue(), "<void>"},
      {GenericValue(5), "5"},
      {GenericValue(three.data(), 1), "[1]"},
      {GenericValue(three.data(), 0), "[]"},
      {GenericValue(static_cast<const int*>(nullptr), 0, NoCopy()), "[]"},
      {GenericValue(three.data(), 3, NoCopy()), "[1 -2 3]"},
      {GenericValue(three.data() + 1, static_cast<std::size_t>(-1), NoCopy()), "-2"},
      {GenericValue('c'), "c"},
      {GenericValue("ab", 2), "[a b]"},
      {GenericValue(true), "1"},
      {GenericValue(Long(-7)), "-7"},
      {GenericValue(ULong(4000000000u)), "4000000000"},
      {GenericValue(0.5f), "0.5"},
      {GenericValue(std::string("a text")), "a text"},
      {GenericValue(static_cast<const char*>(nullptr)), ""},
      {GenericValue(Row::kOn), "1"},
      {GenericValue(modes.data(), 2), "[1 1000]"},
      {GenericValue(untyped.data(), 2), "[UntypedClass unspecified UntypedClass unspecified]"},
      {GenericValue(untyped.data(), 0), "[]"},
      {GenericValue(untyped.data(), static_cast<std::size_t>(-1), NoCopy()), "UntypedClass unspecified"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(printed(value), text);
}

TEST(GenericValue, CopiesUnlessToldNotTo) {
  std::vector<double> values = {1, 2};
  const GenericValue copy(values.data(), 2);
  const GenericValue view(values.data(), 2, NoCopy());
  values[1] = 9;
  EXPECT_EQ(printed(copy), "[1 2]");
  EXPECT_EQ(printed(view), "[1 9]");
  EXPECT_EQ(view.data(), values.data());
  EXPECT_EQ(view.size(), 2);
  EXPECT_EQ(GenericValue(1).size(), -1);
  EXPECT_EQ(GenericValue(1).count(), 1u);
}

TEST(GenericValue, TextOutlivesItsSourceAndReadsAsATerminatedString) {
  GenericValue value;
  {
    const std::string text = "a text that is longer than a short string";
    value = GenericValue(text);
  }
  const GenericValue copy = value;
  EXPECT_STREQ(copy.as<const char*>(), "a text that is longer than a short string");
  EXPECT_EQ(GenericValue(static_cast<const char*>(nullptr)).text(), "");
}

TEST(GenericValueDeathTest, WrongTypedReadStopsTheProgram) {
  constexpr const char* kCheck = "std::type_index(typeid(T)) == d_type->type_id()";
  const GenericValue value(5);
  EXPECT_EQ(value.as<int>(), 5);
  EXPECT_ASSERTION(value.as<unsigned int>(), kCheck);
  EXPECT_ASSERTION(value.as<Long>(), kCheck);
  EXPECT_ASSERTION(GenericValue().as<int>(), kCheck);
  EXPECT_ASSERTION(GenericValue(static_cast<const int*>(nullptr), 0).as<int>(), "!all.empty()");
  EXPECT_ASSERTION(GenericValue(&value, static_cast<std::size_t>(-2), NoCopy()), "d_size >= kScalar");
}

TEST(Registries, SayWhatIsMissingAndHowToEnterIt) {
  EXPECT_ERROR(find_factory("No::Such", 0x41021),
               "data type \"No::Such\" is not registered with zydata (flags: defaulted mmap array):\n\t call "
               "\"ZyData::register_type<No::Such>();\" before deserialization.");
  EXPECT_ERROR(
      find_factory("void", 0),
      "data type \"void\" is not registered with zydata (flags: ):\n\t call \"ZyData::register_type<void>();\" "
      "before deserialization.");
  const std::string class_text =
      "data type \"No::Such\" is not registered with zydata:\n\t call \"ZyData::register_class_type<No::Such>();\" "
      "during initialization.";
  EXPECT_ERROR(find_class_schema("No::Such"), class_text);
  SchemaHeader header;
  header.type_name = "No::Such";
  header.kind = 0x40008;
  EXPECT_ERROR(create_schema(header), class_text);
  header.kind = 0x8;
  EXPECT_EQ(create_schema(header)->type_name(), "void");
}

TEST(Registries, KeepWhatWasEnteredFirst) {
  TestObjects::register_rows();
  const Schema* rows = &find_class_schema("TestObjects::Row");
  const auto factory = find_factory("TestObjects::Row", 0x8);
  TestObjects::register_rows();
  EXPECT_EQ(&find_class_schema("TestObjects::Row"), rows);
  EXPECT_EQ(find_factory("TestObjects::Row", 0x8), factory);

  SchemaHeader header;
  header.type_name = "TestObjects::Row";
  header.kind = kKindClassAccess;
  const auto fresh = create_schema(header);
  EXPECT_NE(fresh.get(), rows);
  EXPECT_NE(dynamic_cast<ClassSchema<Row>*>(fresh.get()), nullptr);
  EXPECT_EQ(fresh->field_count(), 5);
}

}  // namespace
}  // namespace ZyData
