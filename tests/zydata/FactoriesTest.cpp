// Factories: which there are, the parameters that they store, and the objects that they make.
#include "zydata/Factories.h"

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/zydata/TestObjects.h"
#include "zydata/Schema.h"
#include "zydata/String.h"

namespace ZyData {
namespace {

using TestObjects::Row;

std::string parameters_of(const DataFactory& factory) {
  Util::ByteWriter writer;
  factory.write_parameters(writer);
  return writer.take();
}

std::shared_ptr<DataFactory> read_back(const DataFactory& prototype, const std::string& bytes) {
  Util::ByteReader reader(bytes);
  auto factory = prototype.read_parameters(reader);
  EXPECT_EQ(reader.remaining(), 0u);
  return factory;
}

std::shared_ptr<DataObj> made_by(const std::shared_ptr<DataFactory>& factory, const std::string& type_name) {
  return factory->create(std::make_shared<Schema>("made", type_name, factory->kind(), factory));
}

std::string u32(std::uint32_t value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }
std::string u64(std::uint64_t value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }

template <class T>
class BasicTypeFactories : public testing::Test {};
TYPED_TEST_SUITE(BasicTypeFactories, TestObjects::BasicTypes);

TYPED_TEST(BasicTypeFactories, MakeTheContainerThatTheKindNames) {
  using T = TypeParam;
  const std::string name = element_type_name<T>();
  const auto make = [&](std::uint32_t kind) { return made_by(find_factory(name, kind | kKindClassAccess), name); };
  for (const std::uint32_t kind : {0x0u, 0x1000u}) EXPECT_NE(make(kind)->template get<Value<T>>(), nullptr);
  for (const std::uint32_t kind : {0x1u, 0x1001u}) EXPECT_NE(make(kind)->template get<Array<T>>(), nullptr);
  EXPECT_NE(make(0x4)->template get<VarValue<T>>(), nullptr);
  EXPECT_NE(make(0x5)->template get<VarArray<T>>(), nullptr);
  for (const std::uint32_t kind : {0x2u, 0x8u, 0x10u, 0x400u, 0x401u, 0x1005u}) {
    EXPECT_NE(TestSupport::error_text([&] { make(kind); }).find("is not registered with zydata (flags: "),
              std::string::npos)
        << kind;
  }
}

// The default value goes the whole way: declared, vector form, stored as text, read back, used for a new element.
TYPED_TEST(BasicTypeFactories, DefaultValuesSurviveTheirTextForm) {
  using T = TypeParam;
  using Plain = typename PlainNumber<T>::type;
  std::vector<T> values = {static_cast<T>(std::numeric_limits<Plain>::max()),
                           static_cast<T>(std::numeric_limits<Plain>::lowest()),
                           static_cast<T>(std::numeric_limits<Plain>::min()), static_cast<T>(Plain(1)), T()};
  if constexpr (std::is_floating_point_v<T>) {
    values.push_back(static_cast<T>(0.1));
    values.push_back(std::numeric_limits<T>::infinity());
  }
  for (const T value : values) {
    const auto declared = defaulted_factory<T>(value);
    const auto column_factory = declared->vector_factory(kKindDefaulted, 2);
    const auto from_file = read_back(*find_factory(element_type_name<T>(), 0x1001), parameters_of(*column_factory));
    const auto array = made_by(column_factory, element_type_name<T>())->template get<Array<T>>();
    const auto loaded = made_by(from_file, element_type_name<T>())->template get<Array<T>>();
    EXPECT_EQ(array->size(), 2u);
    EXPECT_EQ(loaded->size(), 0u);  // its elements come with the storage
    loaded->resize(1);
    EXPECT_TRUE(*array->at(1) == value && *loaded->at(0) == value) << parameters_of(*column_factory);
    EXPECT_EQ(parameters_of(*from_file), parameters_of(*column_factory));
    EXPECT_TRUE(made_by(declared, element_type_name<T>())->template get<Value<T>>()->get_value() == value);
  }
}

TEST(FactoryParameters, HaveTheLayoutOfTheirKind) {
  TestObjects::register_rows();
  const std::string none = u32(0);
  const std::map<std::pair<std::string, std::uint32_t>, std::string> layouts = {
      {{"int", 0x0}, none},
      {{"int", 0x1000}, none},
      {{"int", 0x1}, u64(0) + u32(0x1) + none},
      {{"double", 0x1001}, u64(0) + u32(0x1001) + none},
      {{"int", 0x4}, u64(0) + u32(0x4) + none},
      {{"int", 0x5}, u64(0) + u32(0x5) + none},
      {{"const char*", 0x400}, u64(0) + none},
      {{"const char*", 0x401}, u64(0) + u32(0x401) + none},
      {{"ZyData::UntypedClass", 0x8}, none},
      {{"ZyData::UntypedClass", 0x10}, none},
      {{"ZyData::UntypedClass", 0x1008}, none},
      {{"TestObjects::Row", 0x0}, none},
      {{"TestObjects::Row", 0x1}, u64(0) + u32(0x1) + none},
      {{"TestObjects::Row", 0x8}, none},
      {{"TestObjects::Row", 0x10}, none},
      {{"TestObjects::Row", 0x1008}, none},
      {{"TestObjects::Row::Mode", 0x1001}, u64(0) + u32(0x1001) + none}};
  for (const auto& [key, bytes] : layouts) {
    SCOPED_TRACE(key.first + " " + kind_to_string(key.second));
    const auto factory = find_factory(key.first, key.second);
    EXPECT_EQ(parameters_of(*factory), bytes);
    EXPECT_EQ(parameters_of(*factory->copy()), bytes);
    EXPECT_EQ(made_by(factory, key.first)->schema()->kind(), key.second);
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      Util::ByteReader cut(std::string_view(bytes).substr(0, n));
      EXPECT_THROW(factory->read_parameters(cut), Util::Error) << n;
    }
  }
}

TEST(FactoryParameters, AreShortestDecimalsAndKeepACountThatIsNotUsed) {
  EXPECT_EQ(parameters_of(*defaulted_factory(0.1)), u32(3) + "0.1");
  EXPECT_EQ(parameters_of(*defaulted_factory(0.1f)), u32(3) + "0.1");
  EXPECT_EQ(parameters_of(*defaulted_factory(-0.0)), u32(0));
  EXPECT_EQ(parameters_of(*defaulted_factory('a')), u32(2) + "97");
  EXPECT_EQ(parameters_of(*defaulted_factory(true)), u32(1) + "1");
  EXPECT_EQ(parameters_of(*defaulted_factory(Row::kOn)), u32(1) + "1");
  EXPECT_EQ(parameters_of(*defaulted_factory(ULong(4294967295u))), u32(10) + "4294967295");

  const std::string huge = u64(std::uint64_t{1} << 60) + u32(0x1) + u32(0);
  const auto factory = read_back(*find_factory("int", 0x1), huge);
  EXPECT_EQ(made_by(factory, "int")->size(), 0u);
  EXPECT_EQ(parameters_of(*factory->copy()), huge);
}

TEST(FactoryParameters, OfAnotherKindOrWithANonsenseDefaultAreRefused) {
  Util::ByteReader other_kind(std::string_view("\0\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0", 16));
  EXPECT_ERROR(find_factory("int", 0x1001)->read_parameters(other_kind),
               "stored factory parameters of kind 0x5 stand where kind 0x1001 is expected");
  for (const std::string text : {"x", " 1", "1 ", "+1", "1e", "99999999999", "0x1"}) {
    const auto factory = read_back(*find_factory("int", 0x1000), u32(static_cast<std::uint32_t>(text.size())) + text);
    EXPECT_ERROR(made_by(factory, "int"), "\"" + text + "\" is no default value for \"made\" of type int");
  }
}

TEST(FactoryVectorForm, IsRefusedWhereThereIsNone) {
  const auto refusal = [](const std::string& type_name, std::uint32_t kind) {
    return TestSupport::error_text([&] { find_factory(type_name, kind)->vector_factory(kind, 0); });
  };
  EXPECT_EQ(refusal("int", 0x1), "can't vectorize type 0x1 [array]");
  EXPECT_EQ(refusal("int", 0x1001), "can't vectorize type 0x1001 [defaulted array]");
  EXPECT_EQ(refusal("int", 0x5), "can't vectorize type 0x5 [var array]");
  EXPECT_EQ(refusal("const char*", 0x401), "can't vectorize type 0x401 [string array]");
  EXPECT_EQ(refusal("ZyData::UntypedClass", 0x10), "can't vectorize type 0x10 [record]");
  EXPECT_ERROR(find_factory("int", 0)->vector_factory(0x41200, 0),
               "can't vectorize type 0x41200 [class_access defaulted dict]");
  EXPECT_EQ(find_factory("const char*", 0x400)->vector_factory(0x400, 3)->kind(), 0x401u);
  FactoryKey key{"int", 0};
  find_factory("int", 0x41001)->store_kind(key);
  EXPECT_EQ(key.kind, 0x1001u);
}

}  // namespace
}  // namespace ZyData
