// Schemas: their fields, their texts, what a clone takes over, and when the flattened form is made anew.
#include "zydata/Schema.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/zydata/TestObjects.h"
#include "zydata/DataFactory.h"
#include "zydata/SchemaTable.h"
#include "zydata/TypeRegistry.h"

namespace ZyData {
namespace {

using TestObjects::Row;

std::shared_ptr<Schema> record_of(const std::vector<std::string>& names) {
  auto record = make_record_schema("root");
  for (const std::string& name : names) record->add_field(make_schema<int>(name, 0));
  return record;
}

TEST(Schema, StartsEmpty) {
  const Schema schema;
  EXPECT_EQ(schema.name() + schema.second_text(), "");
  EXPECT_EQ(schema.type_name(), "void");
  EXPECT_EQ(schema.type_identity(), TypeIdentity::of("void"));
  EXPECT_EQ(schema.kind(), 0u);
  EXPECT_EQ(schema.further_word(), 0u);
  EXPECT_EQ(schema.factory(), nullptr);
  EXPECT_FALSE(schema.predicate());
  EXPECT_EQ(schema.create()->type_name(), "void");
}

TEST(Schema, OnlyRecordsFramesAndBoundSchemasHaveFields) {
  for (std::uint32_t bit = 0; bit < 32; ++bit) {
    const std::uint32_t kind = std::uint32_t{1} << bit;
    SCOPED_TRACE(kind_to_string(kind));
    Schema schema("x", "int", kind, nullptr);
    const std::vector<std::function<void()>> calls = {
        [&] { schema.field_index("a"); }, [&] { schema.add_field(make_schema<int>("a", 0)); }, [&] { schema.field(0); },
        [&] { schema.field("a"); }, [&] { schema.clear_fields(); }};
    for (const auto& call : calls) {
      if (kind == 0x8 || kind == 0x10 || kind == 0x40000) {
        EXPECT_NO_THROW(call());
      } else {
        EXPECT_ERROR(call(),
                     "illegal call to a Schema function to access sub-fields (this is reserved for Record/Field schema "
                     "objects only -- you are calling for object \"x\" with type \"int\")");
      }
    }
    EXPECT_TRUE(schema.fields().empty());
  }
}

TEST(Schema, FieldsAreFoundByIndexAndByTheirExactName) {
  const auto schema = record_of({"ab", "", "abc", "ab", std::string("ab\0", 3)});
  EXPECT_EQ(schema->field(0), schema->fields()[0]);
  EXPECT_EQ(schema->field("abc"), schema->fields()[2]);
  for (const std::int64_t index : {std::int64_t{-1}, std::int64_t{5}, std::int64_t{1} << 32, INT64_MIN, INT64_MAX}) {
    EXPECT_ERROR(schema->field(index), "The field id is out-of-bounds");
  }
  EXPECT_EQ(schema->field_index("ab"), 0);
  EXPECT_EQ(schema->field_index(""), 1);
  EXPECT_EQ(schema->field_index(std::string_view("ab\0", 3)), 4);
  for (const char* name : {"a", "abcd", "AB"}) EXPECT_EQ(schema->field_index(name), -1) << name;
  EXPECT_ERROR(schema->field("xyz"), "Schema doesn't have the field with name x \n");
  schema->clear_fields();
  EXPECT_ERROR(schema->field(""), "Schema doesn't have the field with name ");  // a zero byte ends the text
}

TEST(Schema, TypeTextSaysRecordOrFrameAndItsStructure) {
  const std::vector<std::pair<std::uint32_t, std::vector<std::string>>> cases = {{0x10, {"Record", "Record"}},
                                                                                 {0x40010, {"Record<N::T>", "Record"}},
                                                                                 {0x8, {"Frame", "Frame"}},
                                                                                 {0x40008, {"Frame<N::T>", "Frame"}},
                                                                                 {0x41008, {"Frame<N::T>", "Frame"}},
                                                                                 {0x18, {"Record", "Record"}},
                                                                                 {0x40000, {"N::T", "N::T"}},
                                                                                 {0x1001, {"N::T", "N::T"}},
                                                                                 {0, {"N::T", "N::T"}}};
  for (const auto& [kind, texts] : cases) {
    const Schema schema("x", "N::T", kind, nullptr);
    EXPECT_EQ((std::vector<std::string>{schema.type_text(true), schema.type_text(false)}), texts) << kind;
  }
}

TEST(Schema, SecondFieldOfTheFirstOnesNameIsAccepted) {
  const auto schema = record_of({"a", "b", "a"});
  EXPECT_NO_THROW(schema->check_new_field_name("a"));
  EXPECT_NO_THROW(schema->check_new_field_name("c"));
  EXPECT_ERROR(schema->check_new_field_name("b"), "object type 'root' already have a field named 'b'");
}

TEST(Schema, CloneTakesEverythingAndSharesTheFields) {
  const auto schema = record_of({"a", "b"});
  schema->set_second_text("second");
  schema->set_further_word(0x12345678);
  const auto target = record_of({"x", "y", "z"});
  for (const auto& clone : {schema->clone(nullptr), schema->clone(target), schema->clone(schema)}) {
    EXPECT_EQ(clone->name(), "root");
    EXPECT_EQ(clone->second_text(), "second");
    EXPECT_EQ(clone->type_name(), "ZyData::UntypedClass");
    EXPECT_EQ(clone->type_identity(), schema->type_identity());
    EXPECT_EQ(clone->kind(), 0x10u);
    EXPECT_EQ(clone->further_word(), 0x12345678u);
    EXPECT_EQ(clone->factory(), schema->factory());
    EXPECT_EQ(clone->fields(), schema->fields());
  }
  EXPECT_EQ(schema->clone(target), target);
  target->add_field(make_schema<int>("c", 0));
  EXPECT_EQ(schema->field_count(), 2);
  make_schema<double>("leaf", 0x1)->clone(target);
  EXPECT_TRUE(target->fields().empty());
}

TEST(Schema, FrameFormTakesVectorKindsAndLeavesTheDeclarationAlone) {
  TestObjects::register_rows();
  const auto declared = Row::class_schema();
  const auto root = make_record_schema("root");
  root->add_frame(*declared);
  const Schema& frame = *root->field("rows");
  EXPECT_EQ(frame.kind(), 0x40008u);
  EXPECT_EQ(frame.type_text(true), "Frame<TestObjects::Row>");
  std::vector<std::uint32_t> kinds;
  for (const auto& field : frame.fields()) kinds.push_back(field->kind());
  EXPECT_EQ(kinds, (std::vector<std::uint32_t>{0x1001, 0x401, 0x1001, 0x5, 0x1001}));
  EXPECT_EQ(declared->kind(), 0x40000u);
  EXPECT_EQ(declared->field(0)->kind(), 0x1000u);

  const auto table = make_frame_schema("table");
  EXPECT_ERROR(
      table->add_frame(*declared),
      "illegal call to a Schema function to add a Frame sub-fields (this is reserved for Record schema objects "
      "only -- you are calling for object \"table\" with type \"Frame\")");
  EXPECT_TRUE(table->fields().empty());
  EXPECT_ERROR(Schema("x", "int", 0, nullptr).vector_form(), "schema \"x\" has no data factory");
  EXPECT_ERROR(make_schema<int>("x", 0x1)->vector_form(), "can't vectorize type 0x1 [array]");
}

TEST(SchemaFlattened, IsMadeOnceUntilSomethingBelowChanges) {
  const auto middle = record_of({"leaf"});
  middle->set_name("middle");
  const auto leaf = middle->field(0);
  const auto root = make_record_schema("root");
  root->add_field(middle);
  root->add_field(make_schema<int>("last", 0));
  const std::vector<std::function<void()>> changes = {
      [&] { leaf->set_name("renamed"); },
      [&] { leaf->set_second_text("text"); },
      [&] { leaf->set_further_word(5); },
      [&] { middle->add_field(make_schema<double>("more", 0x1)); },
      [&] { root->set_name("top"); },
      [&] { make_schema<double>("leaf", 0)->clone(leaf); },
      [&] { leaf->set_kind_and_factory(0x1, find_factory("double", 0x1)); },
      [&] { middle->clear_fields(); }};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const auto before = root->flattened();
    EXPECT_EQ(root->flattened(), before);
    changes[i]();
    const auto after = root->flattened();
    EXPECT_NE(before->nodes + before->parameters + before->strings, after->nodes + after->parameters + after->strings)
        << "change " << i;
    EXPECT_EQ(root->clone(nullptr)->flattened()->nodes, after->nodes);
  }
}

TEST(SchemaFlattened, RefusesWhatNoReaderCouldOpen) {
  Schema unregistered("x", "No::Such", 0x40008, find_factory("ZyData::UntypedClass", 0x8));
  EXPECT_ERROR(unregistered.flattened(),
               "data type \"No::Such\" is not registered with zydata:\n\t call "
               "\"ZyData::register_class_type<No::Such>();\" during initialization.");
  const auto root = make_record_schema("root");
  root->add_field(std::make_shared<Schema>("x", "int", 0, nullptr));
  EXPECT_ERROR(root->flattened(), "schema \"x\" has no data factory and can't be stored");
  const auto cycle = make_record_schema("cycle");
  cycle->add_field(cycle);
  EXPECT_ERROR(cycle->flattened(), "schemas are nested deeper than 256 levels");
  cycle->clear_fields();
}

}  // namespace
}  // namespace ZyData
