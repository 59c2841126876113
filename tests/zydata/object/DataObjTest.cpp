// The base of all data objects: defaults, paths, typed access, splitting, printing and parent links.
#include "zydata/object/data.h"

#include <algorithm>
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
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

/// A data object with every default, over the bytes of a text.
class Leaf final : public DataObj {
 public:
  explicit Leaf(std::string bytes = "", std::uint32_t kind = 0)
      : DataObj(std::make_shared<Schema>("leaf", "void", kind, nullptr)), d_bytes(std::move(bytes)) {}
  void* data() override { return d_bytes.data(); }
  std::uint64_t size_bytes() const override { return d_bytes.size(); }
  void on_access() override { ++accesses; }

  int accesses = 0;

 private:
  std::string d_bytes;
};

class Bare final : public DataObj {
 public:
  Bare() : DataObj(raw_memory_schema()) {}
  std::uint64_t size_bytes() const override { return 0; }
};

/// "root" with the records "a/b/c" and "e", the number "a/n", the text "t" and the empty name "".
struct SmallTree {
  SmallTree() {
    for (const char* path : {"a", "e"}) root->add_field(path, make_record_schema(path));
    root->find_path("a")->add_field("b", make_record_schema("b"));
    root->find_path("a")->add_field("n", make_schema<int>("n", 0x1));
    root->find_path("a/b")->add_field("c", make_record_schema("c"));
    root->add_field("t", make_schema<const char*>("t", 0x400));
    root->add_field("", make_record_schema(""));
  }
  ~SmallTree() { root->clear_hierarchy(); }

  std::shared_ptr<DataObj> root = make_record("root");
};

TEST(DataObjDefaults, ThrowTheirFixedTexts) {
  Leaf leaf;
  const std::string no_fields = "can only add_field to a Record or Frame type";
  EXPECT_ERROR(leaf.add_field("x", make_record_schema("x")), no_fields);
  EXPECT_ERROR(leaf.add_field("x", std::make_shared<Leaf>()), no_fields);
  EXPECT_ERROR(leaf.set_field("x", std::vector<std::int32_t>(), GenericValue()),
               "Only VarArray type can set field with two vectors!");
  EXPECT_ERROR(leaf.concat(leaf), "Concat unimplemented or unavailable");
  EXPECT_ERROR(leaf.child("x"), "Only sub data types can call this!");
  EXPECT_ERROR(leaf.field_data(), "Only record and frame data have field data, please check the data type!");
  EXPECT_ERROR(leaf.to_id_vector(), "Invalid or unimplemented call to DataObj::to_id_vector");
}

TEST(DataObjDefaultsDeathTest, StubsStopDebugBuildsAndAnswerWithNothingInReleaseBuilds) {
  Leaf leaf;
  const std::vector<std::function<bool()>> returns_nothing = {
      [&] { return leaf.slice(0, 1) == nullptr && leaf.copy(0, 1) == nullptr; },
      [&] { return leaf.select(std::vector<std::int32_t>{0}) == nullptr; },
      [&] { return leaf.set_field("x", std::string_view("y")), true; },
      [&] { return leaf.field(0) == nullptr && leaf.address(0) == nullptr; },
      [&] { return Bare().data() == nullptr; },
      [&] { return leaf.get(0).size() == 0 && leaf.value().size() == 0; },
      [&] { return leaf.push_back(GenericValue(1)), true; },
      [&] { return leaf.find_path_or_null("..") == nullptr; }};
  for (std::size_t i = 0; i < returns_nothing.size(); ++i) {
    SCOPED_TRACE("stub " + std::to_string(i));
#ifdef NDEBUG
    EXPECT_TRUE(returns_nothing[i]());
#else
    EXPECT_DEATH(returns_nothing[i](), "assertion failed: \"(operation is not available|d_parent)");
#endif
  }
}

TEST(DataObjDefaults, TheOthersWorkFromSizeAndSchema) {
  const auto leaf = std::make_shared<Leaf>("abc");
  EXPECT_EQ(leaf->size(), 0u);
  for (std::uint64_t n = 0; n < 6; ++n) EXPECT_EQ(leaf->fits(n), n <= 3) << n;
  EXPECT_FALSE(leaf->fits(~std::uint64_t{0}));
  EXPECT_EQ(leaf->message(), nullptr);
  FrameList frames;
  leaf->vectorize(frames, leaf);
  EXPECT_EQ(frames, FrameList{leaf});
  leaf->refresh(), leaf->finish(), leaf->reset(), leaf->reserved_38(), leaf->on_attached(leaf);

  leaf->build_traverse_hierarchy(leaf, leaf);
  EXPECT_EQ(leaf->parent(), leaf);
  EXPECT_EQ(Leaf(*leaf).parent(), nullptr);
  EXPECT_EQ(Leaf(*leaf).schema(), leaf->schema());
  leaf->clear_hierarchy();
  for (std::uint32_t bit = 0; bit < 32; ++bit) {
    EXPECT_EQ(Leaf("", std::uint32_t{1} << bit).is_composite(), (0x219u >> bit & 1U) != 0) << bit;
  }
}

enum Mode : int {};

template <class T>
class ValueOf : public testing::Test {};
using ValueTypes = testing::Types<double, int, Mode, Long, bool>;
TYPED_TEST_SUITE(ValueOf, ValueTypes);

TYPED_TEST(ValueOf, TakesNoPartOfAValueFromAMessage) {
  constexpr std::uint64_t size = sizeof(TypeParam);
  Value<TypeParam> value(make_schema<double>("v", 0), TypeParam{1});
  for (const std::uint64_t n : {std::uint64_t{0}, std::uint64_t{1}, size - 1, size, size + 1, ~std::uint64_t{0}})
    EXPECT_EQ(value.fits(n), n == size) << n;
  EXPECT_EQ(value.get_value(), TypeParam{1});
}

TEST(FindPath, SaysWhatIsWrongWithAStep) {
  const SmallTree tree;
  const auto walk = [&](const char* path) { return TestSupport::error_text([&] { tree.root->find_path(path); }); };
  const auto walk_or_null = [&](const char* path) -> std::string {
    std::shared_ptr<DataObj> found;
    const std::string text = TestSupport::error_text([&] { found = tree.root->find_path_or_null(path); });
    return text != "<nothing thrown>" ? text : found == nullptr ? "null" : found->schema()->name();
  };
  const std::string leaf_text =
      "illegal call to a Schema function to access sub-fields (this is reserved for Record/Field schema objects only "
      "-- "
      "you are calling for object \"n\" with type \"int\")";
  const std::string options = " (options are \"a\" \"e\" \"t\" \"\")";
  struct Case {
    const char* path;
    std::string text, text_or_null;
  };
  constexpr const char* kAbsolute = "only relative names supported by DataObj::find_path";
  constexpr const char* kNoName = "a name must be given to DataObj::find_path";
  const std::string relative = "only relative path names supported";
  const std::string final_slash = "a name must be given (after final '/')";
  const std::vector<Case> cases = {
      {"", kNoName, final_slash},
      {"/", kAbsolute, relative},
      {"/a", kAbsolute, relative},
      {"//", kAbsolute, relative},
      {"a/", kNoName, final_slash},
      {"a//b", kNoName, final_slash},
      {"a/b//", kNoName, final_slash},
      {"t/", kNoName, final_slash},
      {"x/", "object type 'root' does not have a field named 'x'" + options, "null"},
      {"x//", "object type 'root' does not have a field named 'x'" + options, "null"},
      {"A", "object type 'root' does not have a field named 'A'" + options, "null"},
      {"a/x/c", "object type 'a' does not have a field named 'x' (options are \"b\" \"n\")", "null"},
      {"e/x", "object type 'e' does not have a field named 'x' (options are)", "null"},
      {"a/n/x", leaf_text, "null"},
      {"a/b/c", "<nothing thrown>", "c"},
      {"a/../e", "<nothing thrown>", "e"}};
  tree.root->build_traverse_hierarchy(tree.root, tree.root);
  for (const Case& test : cases) {
    SCOPED_TRACE(test.path);
    EXPECT_EQ(walk(test.path), test.text);
    EXPECT_EQ(walk_or_null(test.path), test.text_or_null);
  }
}

TEST(FindPath, TakesAnyNumberOfSteps) {
  const SmallTree tree;
  tree.root->build_traverse_hierarchy(tree.root, tree.root);
  std::string path;
  for (int i = 0; i < 200000; ++i) path += "a/../";
  EXPECT_EQ(tree.root->find_path(path + "e"), tree.root->field(1));
  EXPECT_EQ(tree.root->find_path_or_null(path + "e"), tree.root->field(1));
  EXPECT_EQ(tree.root->find_path_or_null(path + "x"), nullptr);
  EXPECT_ERROR(tree.root->find_path(path), "a name must be given to DataObj::find_path");
}

TEST(FindPath, EndsAtObjectsOfStructuresWhichHaveFieldsButNoChildren) {
  register_class_type<TestObjects::Point>();
  const auto root = make_record("root");
  const auto point = make_schema("point", "TestObjects::Point", 0x40000);
  point->add_field(make_schema<int>("id", 0));
  root->add_field("point", point);
  for (const char* path : {"point/id", "point/other"}) {
    EXPECT_EQ(root->find_path_or_null(path), nullptr);
    EXPECT_THROW(root->find_path(path), Util::Error);
    EXPECT_THROW(root->child(path), Util::Error);
  }
  root->clear_hierarchy();
}

TEST(FindPath, GoesUpOnlyInALinkedTree) {
  const auto root = make_record("root");
  root->add_field("a", make_record_schema("a"));
  const auto a = root->find_path("a");
  EXPECT_ERROR(root->find_path(".."), "relative path \"..\" only possible after call to 'build_traverse_hierarchy'");
  EXPECT_EQ(a->find_path(".."), root);  // adding linked it
  root->build_traverse_hierarchy(root, root);
  EXPECT_EQ(root->find_path(".."), root);
  EXPECT_EQ(root->find_path_or_null(".."), nullptr);
  EXPECT_EQ(a->find_path_or_null(".."), root);
  EXPECT_EQ(a->find_path_or_null("../.."), nullptr);
  EXPECT_EQ(a->find_path("../../a"), a);
  root->clear_hierarchy();
}

TEST(Hierarchy, ClearedTreeIsFreed) {
  std::weak_ptr<DataObj> root, leaf;
  {
    const auto tree = std::make_unique<SmallTree>();
    tree->root->build_traverse_hierarchy(tree->root, tree->root);
    root = tree->root;
    leaf = tree->root->find_path("a/b/c");
    EXPECT_EQ(leaf.lock()->parent(), tree->root->find_path("a/b"));
  }
  EXPECT_TRUE(root.expired());
  EXPECT_TRUE(leaf.expired());
}

TEST(TypedAccess, NamesWhatWasAskedForAndWhatIsThere) {
  const SmallTree tree;
  EXPECT_NE(tree.root->get<Array<int>>("a/n"), nullptr);
  EXPECT_ERROR(tree.root->get<Array<double>>("a/n"),
               "while accessing field 'a/n', requested type (ZyData::Array<double>) does not match schema type (int "
               "array)");
  EXPECT_ERROR(tree.root->get<StringData>("a"),
               "while accessing field 'a', requested type (ZyData::StringData) does not match schema type (Record "
               "record)");
  EXPECT_ERROR(
      tree.root->get<StringArray>(),
      "while accessing field 'root', requested type (ZyData::StringArray) does not match schema type (Record)");
  EXPECT_ERROR(tree.root->find_path("a")->get<StringData>("x"),
               "object type 'a' does not have a field named 'x' (options are \"b\" \"n\")");
}

TEST(TypedAccess, CallsTheHookOnceAndOnSuccessOnly) {
  const auto root = make_record("root");
  const auto leaf = std::make_shared<Leaf>();
  root->add_field("leaf", leaf);
  root->find_path("leaf"), root->find_path_or_null("leaf"), root->field(0);
  EXPECT_THROW(root->get<Bare>("leaf"), Util::Error);
  EXPECT_EQ(leaf->accesses, 0);
  root->get<Leaf>("leaf"), root->child("leaf"), leaf->get<Leaf>();
  EXPECT_EQ(leaf->accesses, 3);
  root->clear_hierarchy();
}

TEST(Split, GivesTheRemainderToTheLastPiece) {
  const auto sizes = [](std::uint64_t elements, std::uint64_t pieces) {
    Array<int> array(make_schema<int>("a", 0x1), elements);
    std::vector<std::uint64_t> result;
    for (const auto& piece : array.split(pieces)) result.push_back(piece->size());
    return result;
  };
  EXPECT_EQ(sizes(10, 3), (std::vector<std::uint64_t>{3, 3, 4}));
  EXPECT_EQ(sizes(2, 4), (std::vector<std::uint64_t>{0, 0, 0, 2}));
  EXPECT_EQ(sizes(7, 1), (std::vector<std::uint64_t>{7}));
  EXPECT_EQ(sizes(0, 2), (std::vector<std::uint64_t>{0, 0}));
}

TEST(SplitDeathTest, IntoNoPiecesStopsTheProgram) {
  EXPECT_ASSERTION(Array<int>(make_schema<int>("a", 0x1), 3).split(0), "n > 0");
  EXPECT_ASSERTION(make_record("r")->split(0), "n > 0");
}

TEST(Print, DumpsTheFirstBytesOfAnObjectOfUnknownType) {
  Leaf leaf("abcdefghijklmnopqrst");
  const std::string text = "unknown type [ a b c d e f g h i j k l m n o ...]\n";
  for (const int level : {0, 1, 10, 11, 1000}) {
    EXPECT_PRINTS(leaf.print(level), std::string(4 * static_cast<std::size_t>(std::min(level, 10)), ' ') + text);
  }
  std::ostringstream unused;
  EXPECT_PRINTS(leaf.print(unused, 0), text);  // the second form forwards to the first
  EXPECT_EQ(unused.str(), "");
  EXPECT_PRINTS(Leaf(std::string("\0~\x7f", 3)).print(0), "unknown type [ 00 ~ 7f ]\n");
  EXPECT_PRINTS(Bare().print(0), "unknown type [ ]\n");
}

}  // namespace
}  // namespace ZyData
