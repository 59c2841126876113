// Records and frames: children, rows, views, prints, and what of them is stored.
#include <cstdint>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/String.h"
#include "zydata/object/Value.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

using TestObjects::loaded;
using TestObjects::Row;
using TestObjects::stored;
using Ids = std::vector<std::int32_t>;

/// A root record that unlinks its tree at the end.
struct Tree {
  ~Tree() { root->clear_hierarchy(); }
  std::shared_ptr<Record<UntypedClass>> root = make_record("root");
};

/// A table "rows" with `n` rows: ids from 0, names "n0", "n1", ..., z of half the id, links of as many values.
struct TableTree : Tree {
  explicit TableTree(int n) {
    TestObjects::register_rows();
    root->add_field("rows", Row::class_schema());
    table = root->get<Frame<Row>>("rows");
    for (int i = 0; i < n; ++i) append(i);
  }
  void append(int i) {
    const std::string name = "n" + std::to_string(i);
    const std::vector<int> links(static_cast<std::size_t>(i % 4), i);
    table->append({i, name, i / 2.0, links, Row::kOff});
  }
  std::shared_ptr<Frame<Row>> table;
};

std::shared_ptr<Frame<UntypedClass>> plain_table(const std::vector<std::string>& columns, int rows) {
  auto table = std::make_shared<Frame<UntypedClass>>(make_frame_schema("table"));
  for (const std::string& column : columns) {
    table->add_field(column, make_schema<int>(column, 0));
    table->get<Array<int>>(column)->resize(static_cast<std::uint64_t>(rows));
    table->refresh();
  }
  table->clear_hierarchy();  // nobody will do it later
  return table;
}

void expect_rows(const Frame<Row>& table, std::uint64_t rows) {
  EXPECT_EQ(table.size(), rows);
  for (const auto& column : table.field_data()) EXPECT_EQ(column->size(), rows) << column->schema()->name();
}

Ids ids_of(const std::shared_ptr<DataObj>& table) { return table->find_path("id")->to_id_vector(); }

TEST(Frame, KeepsRowsColumnByColumn) {
  const TableTree tree(10);
  EXPECT_EQ(tree.table->parent(), tree.root);
  EXPECT_EQ(tree.table->field(0)->parent(), tree.table);
  EXPECT_EQ(ids_of(tree.table), (Ids{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(tree.root->get<StringArray>("rows/name")->view(9), "n9");
  EXPECT_EQ(tree.root->get<VarArray<int>>("rows/links")->run(7).to_vector(), (std::vector<int>{7, 7, 7}));
  EXPECT_EQ(tree.table->size_bytes(), 8 + 10 * 4 + (11 * 4 + 20) + 10 * 8 + (11 * 4 + 13 * 4) + 10 * 4u);
  for (const std::uint64_t rows : {3u, 5u}) tree.table->truncate_rows(rows);
  expect_rows(*tree.table, 3);
}

TEST(Frame, FailedAppendLeavesAllColumnsAsLongAsTheyWere) {
  TableTree tree(3);
  const auto before = stored(tree.root);
  std::vector<Row> rows(4);
  rows[1].name = "a name";
  rows[2].links = Util::USpan<int>(&rows[2].id, std::size_t{INT32_MAX} + 1);  // refused before it is looked at
  EXPECT_ERROR(tree.table->append_rows(rows), "array \"links\" can't hold more than 2147483647 values");
  expect_rows(*tree.table, 3);
  EXPECT_EQ(stored(tree.root), before);
  tree.table->append_rows({});
  tree.append(3);
  EXPECT_EQ(ids_of(tree.table), (Ids{0, 1, 2, 3}));
}

TEST(Frame, ViewsShareTheRowsAndDoNotGrow) {
  const TableTree tree(10);
  const std::string refusal = "can't modify the size of an array slice";
  const auto slice = tree.table->slice(2, 3)->get<Frame<Row>>();
  expect_rows(*slice, 3);
  EXPECT_EQ(ids_of(slice), (Ids{2, 3, 4}));
  EXPECT_EQ(ids_of(slice->slice(4, 2)), (Ids{4, 5}));  // counted from the whole table, as in arrays
  EXPECT_EQ(ids_of(tree.table->slice(8, 100)), (Ids{8, 9}));
  EXPECT_EQ(tree.table->slice(10, 1)->size(), 0u);
  EXPECT_ERROR(slice->append(Row()), refusal);
  EXPECT_ERROR(slice->append_rows({}), refusal);
  EXPECT_ERROR(tree.table->slice(0, 3)->get<Frame<Row>>()->append(Row()), refusal);
  EXPECT_ERROR(slice->select(Ids{0, 1})->get<Frame<Row>>()->append(Row()),
               "rows of type \"TestObjects::Row\" do not fit table \"rows\": its field 'id' is missing or of another "
               "type");
  std::vector<Ids> pieces;
  for (const auto& piece : tree.table->split(3)) pieces.push_back(ids_of(piece));
  EXPECT_EQ(pieces, (std::vector<Ids>{{0, 1, 2}, {3, 4, 5}, {6, 7, 8, 9}}));

  EXPECT_EQ(ids_of(tree.root->split(2)[1]->find_path("rows")), (Ids{5, 6, 7, 8, 9}));

#ifdef NDEBUG  // else the value's own refusal ends the program
  const auto single = make_record("single");
  single->add_field("v", make_schema<int>("v", 0));
  EXPECT_ERROR(single->split(2), "field 'v' can't be split");
#endif

  const auto copy = tree.table->copy(8, 5)->get<Frame<Row>>();
  copy->append(Row());
  expect_rows(*copy, 3);
  copy->add_field("own", make_schema<int>("own", 0x1001));  // the copy's alone
  EXPECT_EQ(tree.table->find_path_or_null("own"), nullptr);
  copy->clear_hierarchy();  // adding has linked it to itself
  tree.table->append_rows({});
  expect_rows(*tree.table, 10);
  EXPECT_EQ(ids_of(loaded(stored(slice))), (Ids{2, 3, 4}));
}

TEST(Frame, UnequalColumnsTakeNoRow) {
  TableTree tree(2);
  const double one[] = {1};
  tree.table->find_path("z")->set_value(GenericValue(one, 1));
  EXPECT_ERROR(tree.append(2), "column \"z\" of table \"rows\" has 1 rows, the table 2");
  EXPECT_EQ(tree.table->find_path("id")->size(), 2u);
}

TEST(Frame, TakesNoRowsWhenItsSchemaDescribesMoreColumns) {
  TableTree tree(1);
  tree.table->schema()->add_field(make_schema<int>("more", kKindArray));
  EXPECT_ERROR(tree.append(1), "object \"rows\" has 5 fields, its schema describes 6");
  expect_rows(*tree.table, 1);
}

TEST(Frame, TableMadeOfViewsLosesNothingWhenItRefusesARow) {
  const TableTree tree(10);
  for (const auto& [first, count] : {std::pair<std::uint64_t, std::uint64_t>(5, kToTheEnd), {5, 3}, {0, 4}}) {
    std::vector<std::shared_ptr<DataObj>> columns;
    for (const auto& column : tree.table->field_data()) columns.push_back(column->slice(first, count));
    const std::uint64_t rows = columns[0]->size();
    const auto table = std::make_shared<Frame<Row>>(tree.table->schema(), columns, rows);
    EXPECT_ERROR(table->append(Row()), "can't modify the size of an array slice");
    expect_rows(*table, rows);
    expect_rows(*tree.table, 10);
  }
}

TEST(Frame, NewColumnsGetTheRowsThatThereAre) {
  TableTree tree(3);
  const auto declared = make_schema<double>("declared", 0);
  tree.table->add_field("extra", declared);
  EXPECT_EQ(declared->name() + kind_to_string(declared->kind()), "declared");  // the caller's schema stays as it is
  const auto extra = tree.table->get<Array<double>>("extra");
  EXPECT_EQ(extra->size(), 3u);
  tree.append(3);
  EXPECT_EQ(extra->size(), 4u);

  const auto column = [](std::uint64_t n) { return std::make_shared<Array<int>>(make_schema<int>("c", 0x1), n); };
  const auto dict = std::make_shared<Schema>("c", "int", 0x200, find_factory("int", 0));
  const auto before = stored(tree.root);
  EXPECT_ERROR(tree.table->add_field("c", column(5)), "5 elements do not fit table \"rows\" of 4 rows");
  EXPECT_ERROR(tree.table->add_field("c", std::make_shared<Value<int>>(make_schema<int>("c", 0))),
               "\"c\" can't be a column of a table");
  EXPECT_ERROR(tree.table->add_field("c", make_record_schema("c")), "\"c\" can't be a column of a table");
  EXPECT_ERROR(tree.table->add_field("c", dict), "can't vectorize type 0x200 [dict]");
  EXPECT_ERROR(
      plain_table({"a"}, 2)->add_field("c", Row::class_schema()),
      "illegal call to a Schema function to add a Frame sub-fields (this is reserved for Record schema objects "
      "only -- you are calling for object \"table\" with type \"Frame\")");
  EXPECT_EQ(stored(tree.root), before);
  tree.table->add_field("c", column(4));
  EXPECT_EQ(stored(loaded(stored(tree.root))), stored(tree.root));
}

TEST(Frame, IsNotStoredWithUnequalColumns) {
  const auto table = plain_table({"a", "b"}, 0);
  table->get<Array<int>>("a")->push_back(1);
  const std::string text = "column \"a\" of table \"table\" has 1 rows, the table 0";
  EXPECT_ERROR(stored(table), text);
  EXPECT_ERROR(table->refresh(), "column \"b\" of table \"table\" has 0 rows, the first column 1");
  table->get<Array<int>>("b")->push_back(2);
  EXPECT_ERROR(stored(table), text);
  table->refresh();
  auto bytes = stored(table);
  EXPECT_EQ(loaded(bytes)->size(), 1u);
  bytes[3][0] = 2;
  EXPECT_ERROR(loaded(bytes), "column \"a\" of table \"table\" has 1 rows, the table 2");

  const auto odd = make_frame_schema("odd");  // only a file can hold such a table
  odd->add_field(make_record_schema("inner"));
  EXPECT_ERROR(loaded(stored(odd->factory()->create(odd))), "\"inner\" can't be a column of a table");
}

TEST(Composite, ChecksAnIndexAsASigned32BitNumberAndLetsTheCountPass) {
  const auto table = plain_table({"a", "b", "c"}, 1);
  const auto record = std::make_shared<Record<UntypedClass>>(table->schema(), table->field_data());
  const std::string too_large =
      "To extract the field pointer, the provided index should not be larger than the size of the field vector!";
  const std::int64_t wrap = std::int64_t{1} << 32;
  for (const std::shared_ptr<DataObj>& object : {std::shared_ptr<DataObj>(table), std::shared_ptr<DataObj>(record)}) {
    for (const std::int64_t index : {std::int64_t{-1}, -wrap, INT64_MIN}) {
      EXPECT_ERROR(object->field(index), "To extract the field pointer, the provided index should not be negative!");
    }
    for (const std::int64_t index : {std::int64_t{4}, wrap / 2, wrap - 1, wrap + 4, INT64_MAX}) {
      EXPECT_ERROR(object->field(index), too_large);
    }
    EXPECT_EQ(object->field(3), nullptr);
    EXPECT_EQ(object->field(wrap + 3), nullptr);
    EXPECT_EQ(object->field(wrap), table->field_data()[0]);
    EXPECT_EQ(object->field(2), table->field_data()[2]);
  }
}

TEST(Composite, SelectsFieldsAndSharesThem) {
  const TableTree tree(2);
  const auto chosen = tree.table->select(Ids{2, 0, 2});
  EXPECT_EQ(chosen->size(), 2u);
  EXPECT_EQ(chosen->field(0), tree.table->field(2));
  EXPECT_EQ(chosen->field(1), tree.table->field(0));
  EXPECT_EQ(chosen->schema()->field(1)->name(), "id");
  EXPECT_EQ(tree.table->schema()->field_count(), 5);
  const auto ids = std::make_shared<Array<int>>(make_schema<int>("ids", 0x1), 1);
  EXPECT_EQ(tree.root->select(ids)->field(0), tree.table);
  EXPECT_ERROR(tree.table->select(Ids{0, -1}), "To select fields, the provided index should not be negative!");
  EXPECT_ERROR(tree.table->select(Ids{6}),
               "To select fields, the provided index should not be larger than the size of the field vector!");
  EXPECT_ERROR(tree.table->select(Ids{5}), "The field id is out-of-bounds");
}

TEST(Composite, ChildIsFoundByPathAndNoNameIsTheObjectItself) {
  const TableTree tree(1);
  EXPECT_EQ(tree.root->child(""), tree.root);
  EXPECT_EQ(tree.root->child("rows/id"), tree.table->field(0));
  EXPECT_EQ(tree.table->child("../rows"), tree.table);
  const auto text = [](const std::string& name, const std::string& type) {
    return "Attempt to access field '" + name + "', while the data '" + type +
           "' does not match the name! Please double check the name of the field.";
  };
  EXPECT_ERROR(tree.root->child("x"), text("x", "ZyData::UntypedClass"));
  EXPECT_ERROR(tree.table->child("id/x"), text("id/x", "TestObjects::Row"));
  EXPECT_ERROR(tree.root->child("/x"), "only relative path names supported");
  EXPECT_ERROR(tree.root->child("rows/"), "a name must be given (after final '/')");
}

TEST(Composite, RefusesASecondFieldOfAnyNameButTheFirst) {
  for (const std::shared_ptr<DataObj>& object :
       {std::shared_ptr<DataObj>(make_record("object")),
        std::shared_ptr<DataObj>(std::make_shared<Frame<UntypedClass>>(make_frame_schema("object")))}) {
    const auto leaf = [] { return std::make_shared<Array<double>>(make_schema<double>("f", 0x1)); };
    object->add_field("a", make_schema<int>("a", 0x1));
    object->add_field("b", leaf());
    const std::string text = "object type 'object' already have a field named 'b'";
    EXPECT_ERROR(object->add_field("b", make_schema<int>("b", 0x1)), text);
    EXPECT_ERROR(object->add_field("b", leaf()), text);
    object->add_field("a", leaf());
    EXPECT_EQ(object->field_data().size(), 3u);
    EXPECT_EQ(object->find_path("a"), object->field(0));
    const auto bytes = stored(object);
    const auto back = loaded(bytes);
    EXPECT_EQ(back->field(2)->schema()->name(), "a");
    EXPECT_NE(back->field(2)->get<Array<double>>(), nullptr);
    EXPECT_EQ(stored(back), bytes);
    object->clear_hierarchy();
  }
}

TEST(Composite, FieldTakesTheNameUnderWhichItWasAddedAndGrowsInTheFile) {
  const Tree tree;
  const auto declared = make_record_schema("declared");
  tree.root->add_field("one", declared);
  const auto part = make_record("part");
  const auto part_schema = part->schema();
  tree.root->add_field("two", part);
  EXPECT_EQ(declared->name() + part_schema->name(), "declaredpart");
  EXPECT_EQ(part->schema()->name(), "two");
  const auto replacement = make_record("other");
  tree.root->set_field("one", std::shared_ptr<DataObj>(replacement));
  const auto before = stored(tree.root);
  part->add_field("x", make_schema<int>("x", 0x1));
  replacement->add_field("y", make_schema<const char*>("y", 0x400));
  const auto back = loaded(stored(tree.root));
  EXPECT_NE(back->get<Array<int>>("two/x"), nullptr);
  EXPECT_NE(back->get<StringData>("one/y"), nullptr);
  EXPECT_NE(stored(tree.root), before);
  EXPECT_EQ(part_schema->field_count(), 0);
}

TEST(Composite, FailedAddChangesNothing) {
  const Tree tree;
  const auto part = make_record("part");
  tree.root->add_field("part", part);
  part->add_field("inner", make_record_schema("inner"));
  const auto before = stored(tree.root);
  const std::string itself = "object \"root\" can't become a part of itself";
  EXPECT_ERROR(tree.root->add_field("self", tree.root), itself);
  EXPECT_ERROR(part->find_path("inner")->add_field("self", tree.root), itself);
  EXPECT_ERROR(part->add_field("x", std::shared_ptr<DataObj>()), "no data object was given for field 'x'");
  EXPECT_ERROR(part->add_field("x", std::shared_ptr<Schema>()), "no schema was given for field 'x'");
  EXPECT_ERROR(part->add_field("x", std::make_shared<Schema>()), "schema \"x\" has no data factory");
  EXPECT_EQ(stored(tree.root), before);
  tree.root->schema()->clear_fields();  // it looks like the empty record now
  EXPECT_ERROR(part->set_field("inner", tree.root), itself);
}

TEST(Composite, WantsFactoriesForAllFields) {
  const auto schema = make_record_schema("record");
  schema->add_field(std::make_shared<Schema>("x", "int", 0U, nullptr));
  EXPECT_ERROR(Record<UntypedClass>{schema}, "schema \"x\" has no data factory");
}

TEST(Composite, FieldsAreSetByNameWithTheirOwnType) {
  TableTree tree(2);
  tree.root->add_field("number", make_schema<int>("number", 0));
  tree.root->add_field("text", make_schema<const char*>("text", 0x400));
  tree.root->set_field("number", GenericValue(5));
  tree.root->set_field("text", std::string_view("a text"));
  const double zs[] = {7.5, 8.5};
  const int links[] = {1, 2, 3};
  tree.table->set_field("z", GenericValue(zs, 2));
  tree.table->set_field("links", Ids{0, 0, 3}, GenericValue(links, 3));
  tree.table->set_field("name", std::vector<std::string>{"x", "y"});
  const std::shared_ptr<DataObj> ids = std::make_shared<Array<int>>(make_schema<int>("other", 0x1001), 2);
  tree.table->set_field("id", ids);
  EXPECT_PRINTS(tree.root->find_path("number")->print(0), "number = 5\n");
  EXPECT_PRINTS(tree.root->find_path("text")->print(0), "String \"a text\"\n");
  std::ostringstream stream;
  for (const auto& column : tree.table->field_data()) column->print(stream, 0);
  EXPECT_EQ(stream.str(),
            "id Array[2] = [ 0 0 ]\nname StringArray[2] = [ \"x\" \"y\" ]\nz Array[2] = [ 7.5 8.5 ]\n"
            "links VarArray[2] = [ [] [1 2 3] ]\nmode Array[2] = [ 0 0 ]\n");
  tree.append(2);

  const auto before = stored(tree.root);
  const auto unfit = [](int n) { return std::to_string(n) + " elements do not fit table \"rows\" of 3 rows"; };
  EXPECT_ERROR(tree.table->set_field("z", GenericValue(zs, 2)), unfit(2));
  EXPECT_ERROR(tree.table->set_field("links", Ids{0, 3}, GenericValue(links, 3)), unfit(1));
  EXPECT_ERROR(tree.table->set_field("name", std::vector<std::string>{}), unfit(0));
  EXPECT_ERROR(tree.table->set_field("z", Ids{0, 1, 2, 3}, GenericValue(links, 3)),
               "Only VarArray type can set field with two vectors!");
  EXPECT_ERROR(tree.root->set_field("rows/id", GenericValue(links, 3)),
               "'rows/id' is not a field of object \"" + tree.root->schema()->name() + "\" itself");
  EXPECT_ERROR(tree.root->set_field("rows", plain_table({"id"}, 0)->slice(0, 0)),
               "the data object given for field 'rows' is of another type");
  EXPECT_EQ(stored(tree.root), before);
}

TEST(Composite, IsNotStoredWhenItsSchemaWasChangedBehindItsBack) {
  const auto schema = make_record_schema("shared");
  const auto first = std::make_shared<Record<UntypedClass>>(schema);
  const auto second = std::make_shared<Record<UntypedClass>>(schema);
  first->add_field("x", make_schema<int>("x", 0));
  EXPECT_ERROR(stored(second), "object \"shared\" has 0 fields, its schema describes 1");
  EXPECT_EQ(second->find_path_or_null("x"), nullptr);
  EXPECT_ERROR(second->select(Ids{0}), "The field id is out-of-bounds");
  EXPECT_NO_THROW(stored(first));
  schema->clear_fields();
  schema->add_field(make_schema<double>("x", 0));
  EXPECT_ERROR(stored(first), "field 'x' of object \"shared\" is not what its schema describes");
  first->clear_hierarchy();
}

TEST(Print, ShowsRecordsAndFramesWithTheirBlankLines) {
  const Tree tree;
  const auto table = plain_table({"a", "b"}, 0);
  tree.root->add_field("table", table);
  tree.root->add_field("number", make_schema<int>("number", 0));
  tree.root->add_field("inner", make_record_schema("inner"));
  const auto frame = [](const std::string& outer, const std::string& inner) {
    return outer + "ZyData::UntypedClass Frame[0] {\n" + inner + "a Array[0] = [ ]\n" + inner + "b Array[0] = [ ]\n" +
           outer + "}\n";
  };
  const std::string four(4, ' '), most(40, ' ');
  std::ostringstream stream;
  EXPECT_PRINTS(table->print(stream, 0), "");
  EXPECT_EQ(stream.str(), frame("", four));
  EXPECT_PRINTS(table->print(10), frame(most, most) + "\n");
  EXPECT_PRINTS(tree.root->print(0), "ZyData::UntypedClass record {\n" + frame(four, four + four) +
                                         "\n    number = 0\n    ZyData::UntypedClass record {\n    }\n\n}\n\n");
}

}  // namespace
}  // namespace ZyData
