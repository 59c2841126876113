// Kind words, type names and identities, generic values, the two registries, and the factories in them.
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Factories.h"

namespace ZyData {
namespace {

using TestObjects::Row;

constexpr auto kScalar = static_cast<std::size_t>(-1);

TEST(Kind, WordNamesItsFlagsFromTheHighestBitDown) {
  EXPECT_EQ(kind_to_string(0xffffffff),
            "<bit31> <bit30> <bit29> <bit28> <bit27> <bit26> <bit25> range slice partition global_id distributed "
            "read-only class_access <bit17> temp reference hashed initial_sized defaulted selection string dict "
            "hier_name haps_array mmap_var_array mmap record frame var sparse array");
  EXPECT_EQ(kind_to_string(0), "");
  EXPECT_EQ(kind_to_string(0x1021), "defaulted mmap array");
  EXPECT_EQ(kind_to_string(0x80000001), "<bit31> array");
  EXPECT_EQ(0x41021u & kKindKeyMask, 0x1021u);
  EXPECT_EQ(0xffffffffu & kKindKeyMask, 0x1fffu | 0x4000u | 0x8000u | 0x1000000u);
}

TEST(TypeName, IsFixedForBasicTypesAndQualifiedForOthers) {
  std::string names;
#define ADD_NAME(T, Name) names += std::string(GenericTypeT<T>::instance().name()) + ", ";
  ZYDATA_FOR_EACH_BASIC_TYPE(ADD_NAME)
  EXPECT_EQ(
      names,
      "char, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long, float, double, bool, ");
  EXPECT_STREQ(GenericTypeT<void>::instance().name(), "void");
  EXPECT_STREQ(GenericTypeT<const char*>::instance().name(), "const char*");
  EXPECT_STREQ(GenericTypeT<UntypedClass>::instance().name(), "ZyData::UntypedClass");
  EXPECT_STREQ(GenericTypeT<Row::Mode>::instance().name(), "TestObjects::Row::Mode");
  EXPECT_EQ(without_type_keywords("struct N::A<class B, enum C::D>"), "N::A<B, C::D>");
  EXPECT_EQ(without_type_keywords("clclass ass A, classes"), "A, classes");
  EXPECT_EQ(sizeof(Long) + sizeof(ULong), 8u);
  EXPECT_EQ(TypeIdentity::of("foobar").value, 0x85944171f73967e8u);  // known values of the hash
  EXPECT_EQ(TypeIdentity::of("").value, 0xcbf29ce484222325u);
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
      {GenericValue(three.data(), 3, NoCopy()), "[1 -2 3]"},
      {GenericValue(three.data() + 1, kScalar, NoCopy()), "-2"},
      {GenericValue('c'), "c"},
      {GenericValue("ab", 2), "[a b]"},
      {GenericValue(ULong(4000000000u)), "4000000000"},
      {GenericValue(std::string("a text that is longer than a short string")),
       "a text that is longer than a short string"},
      {GenericValue(static_cast<const char*>(nullptr)), ""},
      {GenericValue(modes.data(), 2), "[1 1000]"},
      {GenericValue(untyped.data(), 2), "[UntypedClass unspecified UntypedClass unspecified]"},
      {GenericValue(untyped.data(), kScalar, NoCopy()), "UntypedClass unspecified"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(printed(value), text);
}

TEST(GenericValue, CopiesUnlessToldNotTo) {
  std::vector<double> values = {1, 2};
  std::string text = "a text that is longer than a short string";
  const GenericValue copy(values.data(), 2), view(values.data(), 2, NoCopy()), text_copy(text.c_str());
  const GenericValue whole(std::string("a\0b", 3));
  values[1] = 9;
  text.assign(text.size(), 'x');
  EXPECT_EQ(printed(copy) + printed(view), "[1 2][1 9]");
  EXPECT_EQ(view.data(), values.data());
  EXPECT_EQ(text_copy.text(), "a text that is longer than a short string");
  EXPECT_EQ(GenericValue(whole).text(), std::string_view("a\0b", 3));
}

TEST(GenericValueDeathTest, WrongTypedReadStopsTheProgram) {
  constexpr const char* kCheck = "std::type_index(typeid(T)) == d_type->type_id()";
  EXPECT_ASSERTION(GenericValue(5).as<Long>(), kCheck);
  EXPECT_ASSERTION(GenericValue().as<int>(), kCheck);
  EXPECT_ASSERTION(GenericValue(static_cast<const int*>(nullptr), 0).as<int>(), "!all.empty()");
  EXPECT_ASSERTION(GenericValue("", static_cast<std::size_t>(-2), NoCopy()), "d_size >= kScalar");
}

TEST(Registries, KeepWhatWasEnteredFirst) {
  TestObjects::register_rows();
  const Schema* rows = &find_class_schema("TestObjects::Row");
  const auto factory = find_factory("TestObjects::Row", 0x41008 | 0x2000);  // only key bits count
  TestObjects::register_rows();
  EXPECT_EQ(&find_class_schema("TestObjects::Row"), rows);
  EXPECT_EQ(find_factory("TestObjects::Row", 0x1008), factory);
  SchemaHeader header;
  header.type_name = "TestObjects::Row";
  EXPECT_EQ(create_schema(header)->type_name(), "void");
}

std::string parameters_of(const DataFactory& factory) {
  Util::ByteWriter writer;
  factory.write_parameters(writer);
  return writer.take();
}

std::shared_ptr<DataFactory> read_back(const DataFactory& prototype, const std::string& bytes) {
  Util::ByteReader reader(bytes);
  return prototype.read_parameters(reader);
}

std::shared_ptr<DataObj> made_by(const std::shared_ptr<DataFactory>& factory, const std::string& type_name) {
  return factory->create(std::make_shared<Schema>("made", type_name, factory->kind(), factory));
}

std::string u32(std::size_t value) { return {reinterpret_cast<const char*>(&value), 4}; }
std::string u64(std::uint64_t value) { return {reinterpret_cast<const char*>(&value), 8}; }

template <class T>
class BasicTypeFactories : public testing::Test {};
TYPED_TEST_SUITE(BasicTypeFactories, TestObjects::BasicTypes);

// The default value goes the whole way: declared, vector form, stored as text, read back, used for a new element.
TYPED_TEST(BasicTypeFactories, DefaultValuesSurviveTheirTextForm) {
  using T = TypeParam;
  using Plain = typename PlainNumber<T>::type;
  using Limits = std::numeric_limits<Plain>;
  std::vector<Plain> numbers = {Limits::max(), Limits::lowest(), Limits::min(), Plain(1), Plain(0)};
  if constexpr (std::is_floating_point_v<T>) numbers.insert(numbers.end(), {T(0.1), Limits::infinity()});
  for (const Plain number : numbers) {
    const T value = static_cast<T>(number);
    const auto declared = defaulted_factory<T>(value);
    const auto column = declared->vector_factory(kKindDefaulted, 2);
    const auto from_file = read_back(*find_factory(element_type_name<T>(), 0x1001), parameters_of(*column));
    const auto made = made_by(column, element_type_name<T>())->template get<Array<T>>();
    const auto loaded = made_by(from_file, element_type_name<T>())->template get<Array<T>>();
    EXPECT_EQ(made->size(), 2u);
    EXPECT_EQ(loaded->size(), 0u);  // its elements come with the storage
    loaded->resize(1);
    EXPECT_TRUE(*made->at(1) == value && *loaded->at(0) == value) << parameters_of(*column);
    EXPECT_EQ(parameters_of(*from_file->copy()), parameters_of(*column));
    EXPECT_TRUE(made_by(declared, element_type_name<T>())->template get<Value<T>>()->get_value() == value);
  }
}

TEST(FactoryParameters, KeepAStoredCountWithoutUsingIt) {
  const std::string huge = u64(std::uint64_t{1} << 60) + u32(0x1) + u32(0);
  const auto factory = read_back(*find_factory("int", 0x1), huge);
  EXPECT_EQ(made_by(factory, "int")->size(), 0u);
  EXPECT_EQ(parameters_of(*factory->copy()), huge);
}

TEST(FactoryParameters, AreShortestDecimals) {
  EXPECT_EQ(parameters_of(*defaulted_factory(0.1f)), u32(3) + "0.1");
  EXPECT_EQ(parameters_of(*defaulted_factory(-0.0)), u32(0));
  EXPECT_EQ(parameters_of(*defaulted_factory('a')), u32(2) + "97");
  EXPECT_EQ(parameters_of(*defaulted_factory(Row::kOn)), u32(1) + "1");
}

TEST(FactoryParameters, OfAnotherKindOrWithANonsenseDefaultAreRefused) {
  EXPECT_ERROR(read_back(*find_factory("int", 0x1001), u64(0) + u32(0x5) + u32(0)),
               "stored factory parameters of kind 0x5 stand where kind 0x1001 is expected");
  for (const std::string text : {"x", " 1", "1 ", "+1", "1e", "99999999999", "0x1"}) {
    const auto factory = read_back(*find_factory("int", 0x1000), u32(text.size()) + text);
    EXPECT_ERROR(made_by(factory, "int"), "\"" + text + "\" is no default value for \"made\" of type int");
  }
}

/// A program's own columns of levels: new levels are as high as the factory's parameter says.
class LevelFactory final : public DataFactory {
 public:
  explicit LevelFactory(std::uint32_t kind, int height = 0) : DataFactory(kind), d_height(height) {}
  std::shared_ptr<DataObj> create(std::shared_ptr<Schema> schema) const override {
    auto levels = std::make_shared<Array<Level>>(std::move(schema));
    levels->set_default_value(static_cast<Level>(d_height));
    return levels;
  }
  void write_parameters(Util::ByteWriter& writer) const override { writer.put(d_height); }
  std::shared_ptr<DataFactory> read_parameters(Util::ByteReader& reader) const override {
    return std::make_shared<LevelFactory>(kind(), reader.get<int>());
  }
  std::shared_ptr<DataFactory> copy() const override { return std::make_shared<LevelFactory>(*this); }

  enum Level : int {};

 private:
  int d_height;
};

struct Tank {
  LevelFactory::Level level{};
};

TEST(OwnFactory, MakesTheColumnsOfItsTypeAndKeepsItsParameters) {
  const std::string type = element_type_name<LevelFactory::Level>();
  register_factory(type, std::make_shared<LevelFactory>(kKindDefaulted | kKindArray, 12));
  register_type<LevelFactory::Level>();
  const auto tanks = std::make_shared<ClassSchema<Tank>>("tanks");
  tanks->add(&Tank::level, "level", LevelFactory::Level{});
  register_class_factories<Tank>();
  register_class_schema(tanks);
  const auto table = std::make_shared<Frame<Tank>>(tanks->vector_form());
  table->append({static_cast<LevelFactory::Level>(3)});
  table->field(0)->get<Array<LevelFactory::Level>>()->resize(2);
  table->refresh();
  const auto bytes = TestObjects::stored(table);
  const auto loaded = TestObjects::loaded(bytes);
  const auto levels = loaded->field(0)->get<Array<LevelFactory::Level>>();
  levels->resize(3);
  for (const auto& [row, level] : {std::pair(0, 3), {1, 12}, {2, 12}}) EXPECT_EQ(*levels->at(row), level);
  levels->resize(2);
  EXPECT_EQ(TestObjects::stored(loaded), bytes);
}

TEST(FactoryVectorForm, IsRefusedWhereThereIsNone) {
  EXPECT_ERROR(LevelFactory(0x2).vector_factory(0x2, 0), "can't vectorize type 0x2 [sparse]");
  EXPECT_ERROR(find_factory("int", 0x5)->vector_factory(0x5, 0), "can't vectorize type 0x5 [var array]");
  EXPECT_ERROR(find_factory("const char*", 0x401)->vector_factory(0x401, 0),
               "can't vectorize type 0x401 [string array]");
  EXPECT_ERROR(find_factory("int", 0)->vector_factory(0x41200, 0),
               "can't vectorize type 0x41200 [class_access defaulted dict]");
  EXPECT_ERROR(find_factory("ZyData::UntypedClass", 0x10)->vector_factory(0, 0), "can't vectorize type 0x0 []");
  EXPECT_EQ(find_factory("const char*", 0x400)->vector_factory(0x400, 3)->kind(), 0x401u);
}

}  // namespace
}  // namespace ZyData
