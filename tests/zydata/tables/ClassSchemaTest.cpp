// Structures bound to schemas: accessors, declared forms, and what a loaded schema keeps of them.
#include "zydata/tables/ClassSchema.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/String.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

using TestObjects::Row;

std::shared_ptr<Frame<Row>> row_table() {
  TestObjects::register_rows();
  return std::make_shared<Frame<Row>>(Row::class_schema()->vector_form());
}

std::string u64(std::uint64_t value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }

TEST(ClassAccess, ReachesTheMemberAtItsPosition) {
  Row row;
  const double z = 2.5;
  const std::vector<int> list = {1, 2};
  const Util::USpan<int> links(list);
  const int id = -9;
  const ClassFieldAccessT<Row, double> typed(&Row::z);
  ClassFieldAccessGeneric generic(offsetof(Row, id), sizeof(int));
  typed.set(&row, &z), ClassFieldAccessVec(&Row::links).set(&row, &links), generic.set(&row, &id);
  EXPECT_EQ(row.z, 2.5);
  EXPECT_EQ(row.links.to_vector(), list);
  EXPECT_EQ(row.id, -9);
  EXPECT_EQ(typed.address(&row), &row.z);
  EXPECT_EQ(generic.address(&row), &row.id);
  EXPECT_TRUE(typed.usable() && generic.usable());
  EXPECT_FALSE(ClassFieldAccessGeneric(0, 0).usable() || ClassFieldNoAccess().usable());
  ClassFieldNoAccess().set(&row, &z);

  Util::ByteWriter writer;
  typed.write_parameters(writer);
  EXPECT_EQ(writer.bytes(), u64(offsetof(Row, z)));  // the size is not among them
  Util::ByteReader reader(writer.bytes());
  generic.read_parameters(reader);
  EXPECT_EQ(generic.address(&row), &row.z);
  EXPECT_THROW(generic.read_parameters(reader), Util::Error);
}

TEST(ClassSchema, DeclarationKeepsOrderTypesKindsAndDefaults) {
  const auto schema = Row::class_schema();
  std::string fields = schema->name() + " " + schema->type_name() + " " + kind_to_string(schema->kind());
  for (const auto& field : schema->fields())
    fields += ", " + field->name() + " " + field->type_name() + " " + kind_to_string(field->kind());
  EXPECT_EQ(fields,
            "rows TestObjects::Row class_access, id int defaulted, name const char* string, z double defaulted, links "
            "int var, mode TestObjects::Row::Mode defaulted");
  EXPECT_NE(dynamic_cast<ClassSchema<Row>*>(schema->create().get()), nullptr);
  const auto table = row_table();
  EXPECT_EQ(table->get<Array<int>>("id")->default_value(), 7);
  EXPECT_EQ(table->get<Array<Row::Mode>>("mode")->default_value(), Row::kOn);
}

/// What a file brings that holds rows with these columns: name, element type, kind.
struct StoredColumn {
  std::string name, type_name;
  std::uint32_t kind;
};

std::shared_ptr<Frame<Row>> table_from_file(const std::vector<StoredColumn>& columns, std::uint32_t kind = 0x40008) {
  TestObjects::register_rows();
  const auto schema =
      std::make_shared<Schema>("rows", "TestObjects::Row", kind, find_factory("TestObjects::Row", kind));
  for (const auto& column : columns) schema->add_field(make_schema(column.name, column.type_name, column.kind));
  return TestObjects::loaded(TestObjects::stored(schema->factory()->create(schema)))->get<Frame<Row>>();
}

const std::vector<StoredColumn> kDeclared = {{"id", "int", 0x1001},
                                             {"name", "const char*", 0x401},
                                             {"z", "double", 0x1001},
                                             {"links", "int", 0x5},
                                             {"mode", "TestObjects::Row::Mode", 0x1001}};

TEST(ClassSchemaFromFile, FindsItsMembersByNameTypeAndKindInAnyOrder) {
  std::vector<StoredColumn> columns(kDeclared.rbegin(), kDeclared.rend());
  columns.insert(columns.begin() + 1, {"extra", "short", 0x1});
  columns.push_back({"id", "double", 0x1001});  // another type: another column
  const auto table = table_from_file(columns);
  EXPECT_NE(dynamic_cast<const ClassSchema<Row>*>(table->schema().get()), nullptr);
  const std::vector<int> links = {4, 5};
  table->append({1, "one", 1.5, links, Row::kOn});
  EXPECT_EQ(*table->get<Array<int>>("id")->at(0), 1);
  EXPECT_EQ(table->get<StringArray>("name")->view(0), "one");
  EXPECT_EQ(*table->get<Array<double>>("z")->at(0), 1.5);
  EXPECT_EQ(table->get<VarArray<int>>("links")->run(0).to_vector(), links);
  EXPECT_EQ(*table->get<Array<Row::Mode>>("mode")->at(0), Row::kOn);
  EXPECT_EQ(*table->get<Array<short>>("extra")->at(0), 0);
  EXPECT_EQ(*table->field(6)->get<Array<double>>()->at(0), 0.0);
}

TEST(ClassSchemaFromFile, RefusesRowsThatWouldLoseAMember) {
  const std::vector<StoredColumn> others = {
      {"y", "double", 0x1001}, {"z", "float", 0x1001}, {"z", "double", 0x1}, {"z", "double", 0x5}};
  for (const StoredColumn& other : others) {
    std::vector<StoredColumn> columns = kDeclared;
    columns[2] = other;
    const auto table = table_from_file(columns);
    EXPECT_ERROR(table->append(Row()),
                 "rows of type \"TestObjects::Row\" do not fit table \"rows\": its field 'z' is missing or of another "
                 "type");
    for (const auto& column : table->field_data()) EXPECT_EQ(column->size(), 0u);
  }
}

TEST(ClassSchemaFromFile, PlainTableOfABoundTypeIsReadableOnly) {
  const auto table = table_from_file(kDeclared, 0x8);
  EXPECT_EQ(table->get<Array<int>>("id")->size(), 0u);
  EXPECT_ERROR(table->append(Row()), "table \"rows\" is not bound to a structure");
}

struct Twins {
  int first = 0, second = 0;
  static std::shared_ptr<ClassSchema<Twins>> class_schema() {
    auto schema = std::make_shared<ClassSchema<Twins>>("twins");
    schema->add(&Twins::first, "v", 0).add(&Twins::second, "v", 0);
    return schema;
  }
};

TEST(ClassSchemaFromFile, TwoFieldsOfOneNameKeepTheirOwnMembers) {
  register_class_type<Twins>();
  const auto made = std::make_shared<Frame<Twins>>(Twins::class_schema()->vector_form());
  made->append({1, 2});
  const auto table = TestObjects::loaded(TestObjects::stored(made))->get<Frame<Twins>>();
  table->append({3, 4});
  EXPECT_EQ(table->field(0)->to_id_vector(), (std::vector<std::int32_t>{1, 3}));
  EXPECT_EQ(table->field(1)->to_id_vector(), (std::vector<std::int32_t>{2, 4}));
}

TEST(ClassSchema, CloneKeepsAccessorsOnlyWithTheirFields) {
  TestObjects::register_rows();
  const auto rows = Row::class_schema();
  const auto twin = std::dynamic_pointer_cast<ClassSchemaBase>(rows->clone(nullptr));
  ASSERT_NE(twin, nullptr);
  EXPECT_EQ(&twin->access(2), &rows->access(2));

  const auto plain = make_frame_schema("plain");
  for (int i = 0; i < 7; ++i) plain->add_field(make_schema<double>("d" + std::to_string(i), 0x1));
  plain->clone(twin);
  for (std::size_t i = 0; i < 7; ++i) EXPECT_FALSE(twin->access(i).usable()) << i;
  EXPECT_TRUE(rows->access(2).usable());
  EXPECT_THROW(twin->check_holds_all_members(), Util::Error);
  rows->clone(twin);
  EXPECT_NO_THROW(twin->check_holds_all_members());

  const std::uint32_t kind = rows->kind();
  rows->set_kind_and_factory(0, nullptr);
  EXPECT_THROW(rows->clear_fields(), Util::Error);
  rows->set_kind_and_factory(kind, nullptr);
  EXPECT_NO_THROW(rows->check_holds_all_members());

  rows->clear_fields();  // members taken away are missed until they come back
  rows->add(&Row::id, "id", 7).add(&Row::name, "name").add(&Row::z, "z", 0).add(&Row::mode, "mode", Row::kOff);
  EXPECT_THROW(rows->check_holds_all_members(), Util::Error);
  rows->add(&Row::links, "links");
  EXPECT_NO_THROW(rows->check_holds_all_members());
}

TEST(ClassSchema, RecordFormHoldsSingleValuesAndNothingOfTheRegistry) {
  TestObjects::register_rows();
  const auto root = make_record("root");
  const auto& registered = dynamic_cast<const ClassSchemaBase&>(find_class_schema("TestObjects::Row"));
  root->add_field("one", registered.record_form());
  const auto one = root->get<Record<Row>>("one");
  EXPECT_EQ(one->schema()->type_text(true), "Record<TestObjects::Row>");
  EXPECT_EQ(one->get<Value<int>>("id")->get_value(), 7);
  one->get<StringData>("name")->set("n");
  const std::vector<int> links = {4, 5};
  one->get<VarValue<int>>("links")->set(links);
  const auto bytes = TestObjects::stored(root);
  const auto back = TestObjects::loaded(bytes);
  EXPECT_EQ(back->get<VarValue<int>>("one/links")->run().to_vector(), links);
  EXPECT_EQ(TestObjects::stored(back), bytes);
  EXPECT_PRINTS(back->get<VarValue<int>>("one/links")->print(0), "links VarValue = [4 5]\n");
  one->field(0)->schema()->set_name("mine");
  EXPECT_EQ(registered.field(0)->name(), "id");
  root->clear_hierarchy();
}

TEST(ClassSchema, WithoutAStructureIsStoredAsATableOfItsFields) {
  const auto declared = std::make_shared<ClassSchema<UntypedClass>>("rows");
  declared->add_field(make_schema<int>("id", 0));
  const auto root = make_record("root");
  root->add_field("rows", declared);
  root->get<Array<int>>("rows/id")->push_back(4);
  root->find_path("rows")->refresh();
  const auto bytes = TestObjects::stored(root);
  const auto back = TestObjects::loaded(bytes);
  EXPECT_EQ(back->get<Frame<UntypedClass>>("rows")->schema()->type_text(true), "Frame<ZyData::UntypedClass>");
  EXPECT_EQ(back->find_path("rows/id")->to_id_vector(), (std::vector<std::int32_t>{4}));
  EXPECT_EQ(TestObjects::stored(back), bytes);
  root->clear_hierarchy();
}

struct Reading {
  double value = 0;

  static std::shared_ptr<ClassSchema<Reading>> class_schema() {
    auto schema = std::make_shared<ClassSchema<Reading>>("readings");
    schema->add_mapped(&Reading::value, "value", 0.5, "readings.file");
    return schema;
  }
};

TEST(ClassSchema, ALoadedRecordFindsMembersWhoseColumnsLieInFiles) {
  register_class_type<Reading>();
  const auto root = make_record("root");
  const auto& registered = dynamic_cast<const ClassSchemaBase&>(find_class_schema(element_type_name<Reading>()));
  root->add_field("one", registered.record_form());
  const auto back = TestObjects::loaded(TestObjects::stored(root));
  EXPECT_TRUE(dynamic_cast<const ClassSchemaBase&>(*back->find_path("one")->schema()).access(0).usable());
  root->clear_hierarchy();
}

}  // namespace
}  // namespace ZyData
