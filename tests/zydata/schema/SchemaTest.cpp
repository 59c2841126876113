// Schemas: their fields, their texts, what a clone takes over, and their flattened form: its bytes, when it is made
// anew, and a reader that believes none of it.
#include "zydata/schema/Schema.h"

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

/// Reads exactly sized copies, so that a sanitizer sees the first byte too far.
std::shared_ptr<DataObj> read(const SchemaTable& table) {
  const std::vector<char> nodes(table.nodes.begin(), table.nodes.end());
  const std::vector<char> parameters(table.parameters.begin(), table.parameters.end());
  const std::vector<char> strings(table.strings.begin(), table.strings.end());
  return build_received_object({nodes.data(), nodes.size()}, {parameters.data(), parameters.size()},
                               {strings.data(), strings.size()});
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

TEST(SchemaTableReader, EveryCutAndEveryChangedByteIsAnErrorOrASchema) {
  const SchemaTable whole = *small_schema()->flattened();
  const auto try_table = [](const SchemaTable& table) {
    const std::string checked = TestSupport::error_text([&] { check_node_table(table.nodes); });
    if (checked != "<nothing thrown>") return;  // reading such a table is the assertion "i < siz"
    const std::string text = TestSupport::error_text([&] { read(table); });
    EXPECT_TRUE(text == "<nothing thrown>" || text.front() != '<') << text;
  };
  for (auto area : {&SchemaTable::nodes, &SchemaTable::parameters, &SchemaTable::strings}) {
    for (std::size_t n = 0; n < (whole.*area).size(); ++n) {
      SchemaTable cut = whole;
      (cut.*area).resize(n);
      try_table(cut);
      for (const int change : {0x01, 0x80, 0xff}) {
        SchemaTable changed = whole;
        (changed.*area)[n] = static_cast<char>((changed.*area)[n] ^ change);
        try_table(changed);
      }
    }
  }
}

// --- limits ---

TEST(SchemaLimits, OnNamesAreKeptWhereNamesAreGiven) {
  const std::string longer(65536, 'n');
  const auto root = make_record("root");
  const auto leaf = make_schema<int>(longer.substr(1), 0);
  const std::vector<std::function<void()>> calls = {
      [&] { make_record(longer); },           [&] { Schema("x", longer, 0, nullptr); },
      [&] { leaf->set_name(longer); },        [&] { leaf->set_second_text(longer); },
      [&] { root->add_field(longer, leaf); }, [&] { root->add_field(longer, make_record("part")); }};
  for (const auto& call : calls) EXPECT_ERROR(call(), "a schema text of 65536 bytes is longer than 65535 bytes");
  EXPECT_EQ(root->schema()->field_count(), 0);
  EXPECT_EQ(leaf->name() + leaf->second_text(), longer.substr(1));
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
  EXPECT_NO_THROW(root->flattened());
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
