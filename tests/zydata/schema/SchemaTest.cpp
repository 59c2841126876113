// Schemas: their fields, their texts, what a clone takes over, and their flattened form: its bytes, when it is made
// anew, and a reader that believes none of it.
#include "zydata/schema/Schema.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/ClassSchema.h"
#include "zydata/tables/Record.h"

namespace Own {

enum Mode : int {};
struct Row {
  Mode mode{};
};

}  // namespace Own

namespace ZyData {
namespace {

using TestObjects::Row;

std::shared_ptr<Schema> record_of(const std::vector<std::string>& names) {
  auto record = make_record_schema("root");
  for (const std::string& name : names) record->add_field(make_schema<int>(name, 0));
  return record;
}

TEST(Schema, OnlyRecordsFramesAndBoundSchemasHaveFields) {
  for (std::uint32_t bit = 0; bit < 32; ++bit) {
    const std::uint32_t kind = std::uint32_t{1} << bit;
    const bool allowed = kind == 0x8 || kind == 0x10 || kind == 0x40000;
    const std::string refusal =
        "illegal call to a Schema function to access sub-fields (this is reserved for Record/Field schema objects only "
        "-- you are calling for object \"x\" with type \"int\")";
    Schema schema("x", "int", kind, nullptr);
    const std::vector<std::function<void()>> calls = {
        [&] { schema.field_index("a"); }, [&] { schema.add_field(make_schema<int>("a", 0)); }, [&] { schema.field(0); },
        [&] { schema.field("a"); }, [&] { schema.clear_fields(); }};
    for (const auto& call : calls) EXPECT_ERROR(call(), allowed ? "<nothing thrown>" : refusal) << kind;
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
  const std::vector<std::pair<std::uint32_t, std::string>> cases = {
      {0x10, "Record Record"}, {0x40010, "Record<N::T> Record"}, {0x8, "Frame Frame"}, {0x40008, "Frame<N::T> Frame"},
      {0x18, "Record Record"}, {0x40000, "N::T N::T"},           {0x1001, "N::T N::T"}};
  for (const auto& [kind, texts] : cases) {
    const Schema schema("x", "N::T", kind, nullptr);
    EXPECT_EQ(schema.type_text(true) + " " + schema.type_text(false), texts);
  }
}

TEST(Schema, CloneTakesEverythingAndSharesTheFields) {
  const auto schema = record_of({"a", "b"});
  schema->set_second_text("second");
  schema->set_further_word(0x12345678);
  const auto target = record_of({"x", "y", "z"});
  EXPECT_EQ(schema->clone(target), target);
  for (const auto& clone : {schema->clone(nullptr), target, schema->clone(schema)}) {
    EXPECT_EQ(clone->name() + clone->second_text() + clone->type_name(), "rootsecondZyData::UntypedClass");
    EXPECT_EQ(clone->type_identity(), schema->type_identity());
    EXPECT_EQ(clone->kind(), 0x10u);
    EXPECT_EQ(clone->further_word(), 0x12345678u);
    EXPECT_EQ(clone->factory(), schema->factory());
    EXPECT_EQ(clone->fields(), schema->fields());
  }
  target->add_field(make_schema<int>("c", 0));
  EXPECT_EQ(schema->field_count(), 2);
  make_schema<double>("leaf", 0x1)->clone(target);
  EXPECT_TRUE(target->fields().empty());
}

TEST(Schema, FrameFormLeavesTheDeclarationAloneAndStandsInNoFrame) {
  TestObjects::register_rows();
  const auto declared = Row::class_schema();
  const auto root = make_record_schema("root");
  root->add_frame(*declared);
  EXPECT_EQ(root->field("rows")->field(1)->kind(), 0x401u);
  EXPECT_EQ(declared->kind() + declared->field(1)->kind(), 0x40400u);
  EXPECT_ERROR(
      make_frame_schema("table")->add_frame(*declared),
      "illegal call to a Schema function to add a Frame sub-fields (this is reserved for Record schema objects "
      "only -- you are calling for object \"table\" with type \"Frame\")");
  EXPECT_ERROR(Schema("x", "int", 0, nullptr).vector_form(), "schema \"x\" has no data factory");
}

TEST(SchemaFlattened, IsMadeOnceUntilSomethingBelowChanges) {
  const auto middle = record_of({"leaf"});
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
  const auto bytes = [](const SchemaTable& table) { return table.nodes + table.parameters + table.strings; };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const auto before = root->flattened();
    EXPECT_EQ(root->flattened(), before);
    changes[i]();
    EXPECT_NE(bytes(*root->flattened()), bytes(*before)) << "change " << i;
    EXPECT_EQ(bytes(*root->flattened()), bytes(*root->clone(nullptr)->flattened()));
  }
}

std::shared_ptr<Schema> small_schema() {
  auto schema = make_record_schema("root");
  schema->add_field(make_schema<int>("a", 0x1001));
  schema->add_field(make_schema<const char*>("b", 0x400));
  return schema;
}

std::shared_ptr<DataObj> read(const SchemaTable& table) {
  return build_received_object(table.nodes, table.parameters, table.strings);
}

TEST(SchemaTable, StoresEachTextOnceInTheOrderOfTheNodes) {
  auto schema = small_schema();
  schema->set_second_text("a");
  schema->set_further_word(0x12345678);
  schema->add_field(make_schema<int>(std::string("root\0cut", 8), 0));
  SchemaTable table = *schema->flattened();
  EXPECT_EQ(table.strings, std::string("root\0a\0ZyData::UntypedClass\0\0int\0b\0const char*", 47));
  ASSERT_EQ(table.nodes.size(), 4 * kNodeSize);
  const std::uint64_t identity = TypeIdentity::of("ZyData::UntypedClass").value;
  std::string node("\0\0\0\0\x05\0\0\0\x07\0\0\0\x10\0\0\0\x03\0\0\0\0\0\0\0", 24);
  node.append(reinterpret_cast<const char*>(&identity), 8).append("\x78\0\0\0\0\0\0\0", 8);
  EXPECT_EQ(table.nodes.substr(0, kNodeSize), node);  // only the low byte of the further word is stored
  EXPECT_EQ(table.nodes.substr(3 * kNodeSize, 4), std::string(4, '\0'));  // "root" again, up to its zero byte

  table.nodes.replace(24, 8, "whatever");  // an identity is kept as it stands
  const auto again = read(table)->schema()->flattened();
  EXPECT_EQ(again->nodes, table.nodes);
  EXPECT_EQ(again->strings, table.strings);
}

TEST(SchemaTableReader, SaysWhatIsWrong) {
  const SchemaTable good = *small_schema()->flattened();  // "root" with "a", an array of numbers, and "b", a text
  constexpr auto kNodes = &SchemaTable::nodes, kParameters = &SchemaTable::parameters, kTexts = &SchemaTable::strings;
  const std::string pool = std::to_string(good.strings.size());
  struct Change {
    std::string SchemaTable::*area;
    std::size_t cut;    // bytes that are kept
    std::size_t place;  // of the bytes that are put there, or appended
    std::string bytes, text;
  };
  const std::vector<Change> changes = {
      {kNodes, 120, 120, "x", "the schema node table has 121 bytes, which is no multiple of 40"},
      {kNodes, 120, 16, "\1", "the schema uses 2 of 3 stored nodes"},
      {kNodes, 120, 40, "\xff", "schema node 1 names a text at byte 255 of a pool of " + pool + " bytes"},
      {kNodes, 120, 7, "\x80", "schema node 0 names a text at byte 2147483653 of a pool of " + pool + " bytes"},
      {kNodes, 120, 56, "\1",
       "illegal call to a Schema function to access sub-fields (this is reserved for Record/Field schema objects only "
       "-- you are calling for object \"a\" with type \"int\")"},
      {kTexts, good.strings.size() - 1, 0, "", "the schema text at byte 35 of the pool has no end"},
      {kParameters, 4, 0, "", "stored parameters end too early: 8 bytes wanted, 0 left"},
      {kParameters, 99, 0, "\xff", "stored parameters end too early: a text of 255 bytes, 32 left"},
      {kParameters, 99, 99, "123", "3 bytes of stored factory parameters belong to no schema node"}};
  for (const auto& [area, cut, place, bytes, text] : changes) {
    SchemaTable table = good;
    std::string& changed = table.*area;
    changed.resize(std::min(cut, changed.size()));
    const std::size_t at = std::min(place, changed.size());
    changed.replace(at, std::min(bytes.size(), changed.size() - at), bytes);
    EXPECT_ERROR(read(table), text);
  }
}

// --- limits ---

TEST(SchemaLimits, OnNamesAreKeptWhereNamesAreGiven) {
  const std::string longer(65536, 'n'), refusal = "a schema text of 65536 bytes is longer than 65535 bytes";
  const auto root = make_record("root");
  const auto leaf = make_schema<int>(longer.substr(1), 0);
  const std::vector<std::function<void()>> calls = {
      [&] { make_record(longer); },           [&] { Schema("x", longer, 0, nullptr); },
      [&] { leaf->set_name(longer); },        [&] { leaf->set_second_text(longer); },
      [&] { root->add_field(longer, leaf); }, [&] { root->add_field(longer, make_record("part")); }};
  for (const auto& call : calls) EXPECT_ERROR(call(), refusal);
  EXPECT_EQ(root->schema()->field_count(), 0);
  EXPECT_EQ(leaf->name() + leaf->second_text(), longer.substr(1));
  SchemaTable table = *small_schema()->flattened();
  table.strings.insert(0, longer.substr(4));
  EXPECT_ERROR(read(table), refusal);
}

std::shared_ptr<Schema> record_of_nodes(std::size_t nodes) {
  return record_of(std::vector<std::string>(nodes - 1, "f"));
}

TEST(SchemaLimits, OnNodesAreKeptWhereFieldsAreAdded) {
  const std::string refusal = "a schema has more than 20000 nodes";
  const auto widest = record_of_nodes(20000);
  EXPECT_ERROR(widest->add_field(make_schema<int>("more", 0)), refusal);
  EXPECT_ERROR(make_record_schema("root")->add_field(widest), refusal);
  EXPECT_EQ(widest->flattened()->nodes.size(), 20000 * kNodeSize);
  widest->clear_fields();
  EXPECT_NO_THROW(widest->add_field(record_of_nodes(19999)));
  EXPECT_ERROR(SchemaTableReader(std::string(20001 * kNodeSize, '\0'), "", ""), refusal);

  const auto late = make_record_schema("late"), below = make_record_schema("below");
  late->add_field(below);
  for (int i = 1; i < 20000; ++i) below->add_field(make_schema<int>("f", 0));
  EXPECT_ERROR(late->flattened(), refusal);

  const auto root = make_record("root");  // an object counts the fields of all that it belongs to
  const auto part = make_record("part");
  root->add_field("part", part);
  part->add_field("half", record_of_nodes(10000));
  EXPECT_ERROR(part->add_field("other half", record_of_nodes(9999)), refusal);
  EXPECT_ERROR(root->add_field("other half", std::make_shared<Record<UntypedClass>>(record_of_nodes(9999))), refusal);
  part->add_field("other half", record_of_nodes(9998));
  EXPECT_ERROR(part->find_path("half")->add_field("more", make_schema<int>("more", 0)), refusal);
  EXPECT_EQ(root->schema()->flattened()->nodes.size(), 20000 * kNodeSize);
  root->clear_hierarchy();
}

TEST(SchemaLimits, OnAllTextsCountTheirZeroBytes) {
  const auto root = make_record_schema("root");
  const auto add = [&](std::size_t name_size) {
    root->add_field(make_record_schema(std::string(name_size, 'n')));  // 1 and 21 bytes beside the name
  };
  for (int i = 0; i < 1023; ++i) add(65535);
  add((std::size_t{64} << 20) - 27 - 1023 * (65536 + 22) - 23);
  SchemaTable table = *root->flattened();
  EXPECT_EQ(read(table)->schema()->field_count(), 1024);
  table.nodes.replace(4, 4, table.nodes.substr(8, 4));  // another type name in the place of no text
  EXPECT_ERROR(read(table), "the texts of a schema take more than 67108864 bytes");
  root->set_name("root.");
  EXPECT_ERROR(root->flattened(), "the texts of a schema take more than 67108864 bytes");
}

TEST(SchemaLimits, OnNestingAreKeptWhenASchemaIsStored) {
  const auto deep = make_record_schema("r");
  auto at = deep;
  for (int level = 0; level < 257; ++level) {
    EXPECT_EQ(deep->flattened()->nodes.size(), static_cast<std::size_t>(level + 1) * kNodeSize);
    at->add_field(make_record_schema("r"));
    at = at->fields()[0];
  }
  EXPECT_ERROR(deep->flattened(), "schemas are nested deeper than 256 levels");
  SchemaTable table;  // the same for a reader
  for (int i = 0; i < 258; ++i) {
    const std::uint32_t node[10] = {0, 0, 1, 0x10, i < 257 ? 1U : 0U};
    table.nodes.append(reinterpret_cast<const char*>(node), sizeof node);
    table.parameters.append(4, '\0');
  }
  table.strings = std::string("\0ZyData::UntypedClass\0", 22);
  EXPECT_ERROR(read(table), "schemas are nested deeper than 256 levels");
  const auto endless = make_record_schema("r");
  endless->add_field(endless);
  EXPECT_ERROR(endless->flattened(), "schemas are nested deeper than 256 levels");
  endless->clear_fields();
}

// --- types that were not registered ---

TEST(UnknownTypes, AreNamedWithTheCallThatEntersThemWhereTheyAreBuilt) {
  const std::string structure =
      "data type \"Own::Row\" is not registered with zydata:\n\t call \"ZyData::register_class_type<Own::Row>();\" "
      "during initialization.";
  const auto enumeration = [](const std::string& flags) {
    return "data type \"Own::Mode\" is not registered with zydata (flags: " + flags +
           "):\n\t call \"ZyData::register_type<Own::Mode>();\" before deserialization.";
  };
  const auto root = make_record("root");
  const auto stored_with = [&](std::shared_ptr<Schema> field) {
    const auto schema = make_record_schema("root");
    schema->add_field(std::move(field));
    schema->flattened();
  };
  const auto rows = std::make_shared<ClassSchema<Own::Row>>("rows");
  rows->add(&Own::Row::mode, "mode", Own::Mode{});
  EXPECT_ERROR(make_schema<Own::Row>("x", kKindArray), structure);
  EXPECT_ERROR(make_schema("x", "Own::Row", 0x40008), structure);
  EXPECT_ERROR(root->add_field("rows", rows), structure);
  EXPECT_ERROR(rows->record_form(), structure);
  const auto record = make_record_schema("")->factory();
  EXPECT_ERROR(stored_with(std::make_shared<Schema>("x", "Own::Row", 0x40010U, record)), structure);

  register_class_factories<Own::Row>();
  register_class_schema(rows);
  EXPECT_ERROR(make_schema<Own::Mode>("x", kKindArray), enumeration("array"));
  EXPECT_ERROR(root->add_field("rows", rows), enumeration("defaulted"));
  EXPECT_ERROR(rows->record_form(), enumeration("defaulted"));
  EXPECT_ERROR(stored_with(rows->fields()[0]), enumeration("defaulted"));
  EXPECT_ERROR(stored_with(std::make_shared<Schema>("memory", "void", 0U, nullptr)),
               "schema \"memory\" has no data factory and can't be stored");
  EXPECT_TRUE(root->field_data().empty());
}

TEST(SchemaTableReader, ManyFieldsOfABoundFrameTakeLinearTime) {
  TestObjects::register_rows();
  SchemaTable row = *TestObjects::Row::class_schema()->vector_form()->flattened();
  const std::string field = row.nodes.substr(kNodeSize, kNodeSize);
  const std::string parameters = row.parameters.substr(4, 17);
  constexpr std::uint32_t kCount = kMaxNodes - 1;
  row.nodes.resize(kNodeSize);
  row.parameters.resize(4);
  row.nodes.replace(16, 4, reinterpret_cast<const char*>(&kCount), 4);
  for (std::uint32_t i = 0; i < kCount; ++i) {
    row.nodes += field;
    row.parameters += parameters;
  }
  EXPECT_EQ(read(row)->schema()->field_count(), kCount);
}

}  // namespace
}  // namespace ZyData
