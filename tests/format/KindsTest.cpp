// One object of each kind, of each element type: its bytes, and what comes back from them. docs/file-format.md and
// tools/make_golden.py say what the bytes have to be.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "tests/format/Tree.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/arrays/MMapVarArray.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/tables/Factories.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

using TestObjects::element;
using TestObjects::Point;
using TestSupport::InFolder;
using TestSupport::load_tree;
using TestSupport::read_file;
using TestSupport::save_tree;

const std::vector<std::string> kFiles = {"kinds.mapped", "kinds.defaults", "kinds.offsets", "kinds.values",
                                         "kinds.column"};

std::string golden(const std::string& name) { return read_file(CORVANE_TEST_DATA "/" + name); }

std::string printed(DataObj& object) {
  return TestSupport::printed_text([&] { object.print(0); });
}

/// Adds an object of this kind through its factory.
template <class Object, class T, std::uint32_t kind>
Object& add(DataObj& parent, const std::string& name, FactoryParameters parameters = {}) {
  parent.add_field(name, std::make_shared<Schema>(name, element_type_name<T>(), kind,
                                                  DataFactoryT<T, kind>::instance()->with(std::move(parameters))));
  return *parent.get<Object>(name);
}

void add_numbers(DataObj& root) {
  add<Value<int>, int, 0>(root, "value").set(-3);
  add<Value<double>, double, 0x1000>(root, "factor", {0, "0.5"}).set(2.5);
  auto& array = add<Array<short>, short, 0x1>(root, "array");
  for (const short element : std::initializer_list<short>{1, -2, 3}) array.push_back(element);
  auto& defaults = add<Array<unsigned char>, unsigned char, 0x1001>(root, "defaults", {0, "7"});
  defaults.resize(3);
  defaults.set(1, 0);
  defaults.set(2, 255);
  auto& sparse = add<SparseArray<int>, int, 0x3>(root, "sparse");
  sparse.set(5, 50);
  sparse.set(1000000, -1);
  sparse.set(7, 70);
  sparse.remove(5);
  add<SparseArray<float>, float, 0x1002>(root, "thin", {0, "1.5"});
  const auto faint =
      std::make_shared<Schema>("faint", "bool", 0x1003U, DataFactoryT<bool, 0x1003>::instance()->with({0, "1"}));
  root.add_field("faint", faint->factory()->create_from(faint)->slice(10, 5));
}

void add_runs_and_texts(DataObj& root) {
  const Long numbers[] = {1, 2};
  add<VarValue<Long>, Long, 0x4>(root, "run").set({numbers, 2});
  auto& runs = add<VarArray<char>, char, 0x5>(root, "runs");
  for (const std::string_view run : {"ab", "", "xyz"}) runs.append({run.data(), run.size()});
}

void add_mapped(DataObj& root) {
  auto& mapped = add<MMapArray<int>, int, 0x21>(root, "mapped", {0, "", "kinds.mapped"});
  for (const int element : {1, 2}) mapped.push_back(element);
  auto& defaults = add<MMapArray<double>, double, 0x1021>(root, "mapped defaults", {0, "0.25", "kinds.defaults"});
  defaults.resize(3);
  defaults.set(1, -1);
  auto& runs = add<MMapVarArray<unsigned>, unsigned, 0x40>(root, "mapped runs", {0, "", "kinds"});
  for (const std::vector<unsigned>& run : std::vector<std::vector<unsigned>>{{1, 2}, {}, {3}}) runs.append(run);
}

void add_keyed(DataObj& root) {
  auto& dictionary = add<Dict<double>, double, 0x200>(root, "dictionary");
  dictionary.set("pin", 1.5);
  dictionary.set("", -2);
  dictionary.set("a", 0.25);
  dictionary.remove("");
  root.add_field("text", make_schema<const char*>("text", 0x400));
  root.get<StringData>("text")->set("some text");
  root.add_field("texts", make_schema<const char*>("texts", 0x401));
  for (const char* text : {"one", "", "three"}) root.get<StringArray>("texts")->append(text);
  root.add_field("searchable", make_schema<const char*>("searchable", 0x4401));
  for (const char* text : {"x", "y", "x"}) root.get<StringArray>("searchable")->append(text);
}

void add_composites(DataObj& root) {
  root.add_field("record", make_record_schema("record"));
  add<Value<int>, int, 0>(*root.find_path("record"), "inner").set(5);
  root.add_field("frame", make_frame_schema("frame"));
  const auto frame = root.find_path("frame");
  auto& ids = add<Array<int>, int, 0x1001>(*frame, "id");
  auto& links = add<VarArray<int>, int, 0x5>(*frame, "links");
  auto& column = add<MMapArray<float>, float, 0x1021>(*frame, "column", {0, "", "kinds.column"});
  for (const int id : {1, 2}) ids.push_back(id);
  const int seven = 7;
  links.append({&seven, 1});
  links.append({});
  for (const float element : {0.5F, 1.5F}) column.push_back(element);
  frame->refresh();
}

/// Adds an object that `declared` describes, as one of this kind.
std::shared_ptr<DataObj> add_structured(DataObj& root, const std::string& name, std::uint32_t kind,
                                        const Schema& declared) {
  const std::string& type = declared.type_name();
  const auto schema = std::make_shared<Schema>(name, type, kind, find_factory(type, kind)->copy());
  for (const auto& field : declared.fields()) schema->add_field(field);
  root.add_field(name, schema);
  return root.find_path(name);
}

/// One object of each kind that a structure can have.
std::shared_ptr<DataObj> make_structures() {
  register_class_type<Point>();
  const auto made = make_record("structures");
  DataObj& root = *made;
  const auto declared = Point::class_schema();
  const Schema bare("", declared->type_name(), 0, nullptr);
  add_structured(root, "object", 0x40000, bare);
  root.get<Value<Point>>("object")->set({1, 0.5F});
  add_structured(root, "objects", 0x40001, bare);
  for (const Point& point : {Point{2, -1}, Point{3, 1e30F}}) root.get<Array<Point>>("objects")->push_back(point);
  const auto record = add_structured(root, "point", 0x40010, *declared->record_form());
  record->get<Value<int>>("id")->set(4);
  record->get<Value<float>>("x")->set(0.25F);
  const auto columns = declared->vector_form();
  const auto unbound = make_frame_schema("");
  for (const auto& field : columns->fields()) unbound->add_field(field);
  const std::tuple<const char*, std::uint32_t, const Schema*, int> tables[] = {{"points", 0x40008, columns.get(), 2},
                                                                               {"bound", 0x41008, columns.get(), 1},
                                                                               {"unbound", 0x1008, unbound.get(), 0}};
  for (const auto& [name, kind, schema, rows] : tables) {
    const auto table = add_structured(root, name, kind, *schema);
    for (int i = 0; i < rows; ++i) {
      table->get<Array<int>>("id")->push_back(5 + i);
      table->get<Array<float>>("x")->push_back(0.125F);
    }
    std::dynamic_pointer_cast<FrameBase>(table)->refresh();
  }
  made->clear_hierarchy();
  return made;
}

/// A tree with one object of each kind, linked to nothing.
std::shared_ptr<DataObj> make_kinds() {
  const auto root = make_record("kinds");
  add_numbers(*root);
  add_runs_and_texts(*root);
  add_mapped(*root);
  add_keyed(*root);
  add_composites(*root);
  root->clear_hierarchy();
  return root;
}

class GoldenKinds : public InFolder {};

/// The tree that the golden file holds, which is what `made` is saved as, and is saved as that file again.
std::shared_ptr<DataObj> expect_golden(const std::string& file, const std::shared_ptr<DataObj>& made) {
  save_tree(file, made);
  EXPECT_TRUE(read_file(file) == golden(file));
  const std::string text = printed(*made);
  const auto loaded = load_tree(file);
  EXPECT_EQ(printed(*loaded), text);
  save_tree("again", loaded);
  EXPECT_TRUE(read_file("again") == golden(file));
  return loaded;
}

TEST_F(GoldenKinds, AreWhatIsSavedAndHoldWhatWasMade) {
  for (int run = 0; run < 2; ++run) {  // the second time the files are there
    const auto loaded = expect_golden("kinds.zydat", make_kinds());
    for (const std::string& name : kFiles) EXPECT_EQ(read_file(name), golden(name)) << name;
    EXPECT_EQ(loaded->get<Dict<double>>("dictionary")->get(std::string("pin")), 1.5);
    EXPECT_EQ(loaded->get<SearchableStringArray>("searchable")->find("y"), 1);
    EXPECT_EQ(loaded->get<SparseArray<float>>("thin")->value_at(3), 1.5F);
    EXPECT_EQ(loaded->get<SparseArray<bool>>("faint")->value_at(14), true);
  }
  EXPECT_EQ(expect_golden("structures.zydat", make_structures())->get<Array<Point>>("objects")->at(1)->id, 3);
}

// --- every kind of every element type ---

template <class T>
class EveryKind : public InFolder {};

#define KINDS_TEST_TYPE(T, Name) , T
using AllTypes = TestObjects::TypesBehind<void ZYDATA_FOR_EACH_BASIC_TYPE(KINDS_TEST_TYPE), TestObjects::Row::Mode>;
#undef KINDS_TEST_TYPE
TYPED_TEST_SUITE(EveryKind, AllTypes);

template <class T>
void fill(DataObj& object) {
  const T values[] = {element<T>(0), element<T>(1), element<T>(2)};
  const GenericValue run(values, 3, NoCopy());
  if (auto* dictionary = dynamic_cast<Dict<T>*>(&object)) {
    for (int i = 0; i < 10; ++i) dictionary->set("key" + std::to_string(i), element<T>(i));
    dictionary->remove("key3");
  } else if (auto* sparse = dynamic_cast<SparseArray<T>*>(&object)) {
    for (int i = 0; i < 10; ++i) sparse->set(i * 1000, element<T>(i));
    sparse->remove(3000);
  } else if (dynamic_cast<VarArrayBase*>(&object) != nullptr) {
    for (const std::size_t size : {3U, 0U, 2U}) object.push_back(GenericValue(values, size, NoCopy()));
  } else if (dynamic_cast<ArrayBase*>(&object) != nullptr) {
    for (int i = 0; i < 10; ++i) object.push_back(GenericValue(element<T>(i)));
  } else {
    object.set_value(dynamic_cast<VarValue<T>*>(&object) != nullptr ? run : GenericValue(element<T>(2)));
  }
}

TYPED_TEST(EveryKind, ComesBackAndIsStoredAsTheSameBytes) {
  if constexpr (std::is_enum_v<TypeParam>) register_type<TypeParam>();
  std::string text;
  {
    const auto root = make_record("root");
    for (const std::uint32_t kind :
         {0x0U, 0x1000U, 0x1U, 0x1001U, 0x3U, 0x1002U, 0x1003U, 0x4U, 0x5U, 0x21U, 0x1021U, 0x40U, 0x200U}) {
      const std::string name = kind_to_string(kind) + ".";
      root->add_field(name, make_schema<TypeParam>(name, kind));
      fill<TypeParam>(*root->find_path(name));
    }
    text = printed(*root);
    save_tree("first", root);
    root->clear_hierarchy();
  }
  const auto loaded = load_tree("first");
  save_tree("unopened", loaded);
  EXPECT_EQ(printed(*loaded), text);
  save_tree("opened", loaded);
  EXPECT_TRUE(read_file("unopened") == read_file("first"));
  EXPECT_TRUE(read_file("opened") == read_file("first"));
}

TEST(Kinds, HierarchicalNamesSelectionsAndReferencesAreNotRegistered) {
  for (const std::uint32_t kind : {0x800U, 0x802U, 0x8001U, 0x8005U, 0x8200U, 0x9001U, 0x1008001U, 0x101U, 0x121U}) {
    const std::string type = (kind & 0x100) != 0 ? "const char*" : "int";
    EXPECT_ERROR(make_schema("x", type, kind),
                 "data type \"" + type + "\" is not registered with zydata (flags: " + kind_to_string(kind) +
                     "):\n\t call \"ZyData::register_type<" + type + ">();\" before deserialization.");
  }
}

}  // namespace
}  // namespace ZyData
