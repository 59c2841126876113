// Opening, saving and the root that all databases share.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "facade/DBRoot.h"
#include "mpsys/Message.h"
#include "tests/facade/Layout.h"
#include "tests/support/TestSupport.h"
#include "util/Platform.h"
#include "zydata/arrays/Array.h"
#include "zydata/schema/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::describe;
using TestSupport::Layout;
using TestSupport::read_file;

const std::string kDataObject("\0\0\0\0\1\0\0\0", 8);      // tag 0, flag bit 0
const std::string kNoDataObject("\0\0\0\0\xfe\0\0\0", 8);  // every other flag

class Database : public testing::Test {
 protected:
  /// Saves a database with layers of these ids.
  void save_layers(const std::string& name, const std::vector<int>& ids) {
    DBZydata db(d_folder);
    db.openem(false, name);
    Layout layout;
    for (const int id : ids) layout.layers.add(id, "L" + std::to_string(id), 0.5);
    db.write(layout.layers);
    EXPECT_TRUE(db.save(name));
  }
  std::string file(const std::string& name) const { return d_folder + "/" + name + ".zydat"; }

  TestSupport::TempDir d_dir;
  std::string d_folder = d_dir.path("db");
};

std::vector<int> layer_ids(DBZydata& db) {
  Layout layout;
  EXPECT_TRUE(db.read(layout.layers));
  std::vector<int> ids;
  for (const auto* layer : layout.layers) ids.push_back(layer->id());
  return ids;
}

std::vector<std::string> field_names(const ZyData::Schema& schema) {
  std::vector<std::string> names;
  for (const auto& field : schema.fields()) names.push_back(field->name());
  return names;
}

std::string file_system_error(const std::function<void()>& action, const std::string& path) {
  try {
    action();
  } catch (const std::filesystem::filesystem_error& error) {
    EXPECT_EQ(error.path1(), path);
    return error.what();
  }
  return "<no file-system error>";
}

bool all_tables(const DBRoot& root, bool there) {
  const std::vector<const EntityTable*> tables{root.nets,   root.config, root.vertices, root.layers, root.signals,
                                               root.shapes, root.vias,   root.polyVias, root.traces, root.pins};
  return std::all_of(tables.begin(), tables.end(), [&](const auto* table) { return (table != nullptr) == there; });
}

TEST_F(Database, StartsWithElevenKindsInTheOrderOfTheFileAndTouchesNoFile) {
  DBZydata db(d_folder);
  EXPECT_TRUE(all_tables(*currentRoot, false));
  EXPECT_EQ(currentRoot->tree, nullptr);
  EXPECT_EQ(currentRoot->schema, nullptr);
  EXPECT_TRUE(db.openem(false, "board"));
  EXPECT_TRUE(all_tables(*currentRoot, true));
  EXPECT_EQ(currentRoot->schema, currentRoot->tree->schema());
  EXPECT_EQ(currentRoot->schema->name(), "board");
  EXPECT_EQ(field_names(*currentRoot->schema),
            (std::vector<std::string>{"simeshconfig", "emnet", "em2dvertex", "em2dlayer", "em2dsignal", "em2dshape",
                                      "em2dvia", "em2dpolyvia", "em2dtrace", "em2dpin", "em2dcircuit"}));
  EXPECT_FALSE(std::filesystem::exists(d_folder));
}

TEST_F(Database, LinksNewAndLoadedTreesAlike) {
  save_layers("a", {1});
  DBZydata db(d_folder);
  for (const bool load : {false, true}) {
    ASSERT_TRUE(db.openem(load, "a"));
    const auto column = currentRoot->tree->find_path("em2dlayer/id");
    EXPECT_EQ(column->find_path("../.."), currentRoot->tree);
    EXPECT_EQ(currentRoot->tree->find_path(".."), currentRoot->tree);
  }
}

TEST_F(Database, IsEmptyAfterAFileWithoutAHeaderAndNamesIt) {
  save_layers("a", {5});
  const std::string header = read_file(file("a")).substr(0, 11);
  for (const std::size_t size : {0u, 1u, 11u}) {
    DBZydata db(d_folder);
    ASSERT_TRUE(db.openem(true, "a"));
    TestSupport::write_file(file("b"), header.substr(0, size));
    EXPECT_TRUE(db.openem(true, "b")) << size;
    EXPECT_TRUE(all_tables(*currentRoot, false));
    EXPECT_EQ(currentRoot->tree, nullptr);
    EXPECT_EQ(currentRoot->schema, nullptr);
    EXPECT_ERROR(layer_ids(db), "no database is open: nothing was received from file '" + file("b") + "'");
    EXPECT_TRUE(db.openem(false, "c"));
    EXPECT_EQ(layer_ids(db), std::vector<int>());
    DBZydata newest(d_folder);
    EXPECT_ERROR(layer_ids(newest), "no database is open");
  }
}

TEST_F(Database, StaysOpenWhenNothingCanBeLoaded) {
  save_layers("a", {5});
  DBZydata db(d_folder);
  ASSERT_TRUE(db.openem(true, "a"));
  EXPECT_FALSE(db.openem(true, "missing"));
  EXPECT_EQ(layer_ids(db), std::vector<int>{5});
  const std::string one_frame("\1\0\0\0", 4);
  const std::string one_size("\2\0\0\0\0\0\0\0", 8);
  for (const std::string& bytes : {std::string(4, '\0') + kDataObject, std::string(4, '\0') + kNoDataObject,
                                   one_frame + kNoDataObject + one_size + "ab"}) {
    TestSupport::write_file(file("b"), bytes);
    try {
      db.openem(true, "b");
      ADD_FAILURE() << "nothing thrown";
    } catch (const MPSys::NonDataMessageException& error) {
      EXPECT_STREQ(error.what(), "failed to receive an zydata message when one was expected");
    }
    EXPECT_EQ(layer_ids(db), std::vector<int>{5});
  }
}

TEST_F(Database, RefusesEveryOperationWhileNothingIsOpen) {
  save_layers("a", {5});
  const std::string before = read_file(file("a"));
  DBZydata db(d_folder);
  Layout layout;
  fill(layout);
  const std::vector<std::function<void()>> operations{[&] { layout.write(db); },
                                                      [&] { db.write(layout.layers); },
                                                      [&] { db.write(layout.circuits); },
                                                      [&] { db.write(std::vector<EM2DNet*>()); },
                                                      [&] { layout.read(db); },
                                                      [&] { db.read(layout.layers); },
                                                      [&] { db.read(layout.vias, {}, {}); },
                                                      [&] { db.read(layout.circuits, {}); },
                                                      [&] { db.save("a"); },
                                                      [&] { DBZydata(d_dir.path("new")).save("a"); },
                                                      [&] { db.write(d_folder); }};
  for (std::size_t i = 0; i < operations.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_ERROR(operations[i](), "no database is open");
  }
  EXPECT_EQ(read_file(file("a")), before);
  EXPECT_FALSE(std::filesystem::exists(d_folder + "/final_mesh.dat"));
  EXPECT_FALSE(std::filesystem::exists(d_dir.path("new")));
}

TEST_F(Database, CreatesItsFolderButNoParentAndNamesWhatFails) {
  save_layers("a", {5});
  EXPECT_TRUE(std::filesystem::is_directory(d_folder));
  const std::string endless = "/" + std::string(5000, 'x');
  for (const auto& [folder, operation] : {std::pair<std::string, std::string>{d_dir.path("x/y"), "create_directory"},
                                          {"", "create_directory"},
                                          {endless, "exists"}}) {
    DBZydata db(folder);
    db.openem(false, "a");
    EXPECT_NE(file_system_error([&] { db.save("a"); }, folder).find(operation), std::string::npos);
  }
  EXPECT_FALSE(std::filesystem::exists(d_dir.path("x")));
  EXPECT_FALSE(DBZydata(d_dir.path("x/y")).openem(true, "a"));
  const std::string text = file_system_error([&] { DBZydata(endless).openem(true, "a"); }, endless + "/a.zydat");
  EXPECT_NE(text.find("exists"), std::string::npos);
}

TEST_F(Database, NamesAFileThatCannotBeOpened) {
  save_layers("a", {5});
  DBZydata db(file("a"));
  db.openem(false, "a");
  const std::string inner = file("a") + "/b.zydat";
  EXPECT_ERROR(db.save("b"), "can't open file '" + inner + "' for writing\n    Not a directory");
  std::filesystem::create_directory(file("folder"));
  EXPECT_ERROR(DBZydata(d_folder).openem(true, "folder"), "message receive failed: Is a directory");
}

TEST_F(Database, TakesNoNameThatAFileCouldNotHave) {
  const std::string name("a\0b", 3);
  const std::string text = "the path '" + d_folder + "/a' goes on behind a zero byte";
  DBZydata db(d_folder);
  db.openem(false, "db");
  EXPECT_ERROR(db.save(name), text);
  EXPECT_ERROR(db.openem(true, name), text);
  EXPECT_FALSE(std::filesystem::exists(d_folder + "/a"));
  db.openem(false, std::string(65535, 'n'));
  const auto tree = currentRoot->tree;
  EXPECT_ERROR(db.openem(false, std::string(65536, 'n')), "a schema text of 65536 bytes is longer than 65535 bytes");
  EXPECT_EQ(currentRoot->tree, tree);
  EXPECT_TRUE(db.save("a"));
}

TEST_F(Database, DumpsIntoAFolderThatMustExist) {
  save_layers("a", {5, 6});
  DBZydata db(d_folder);
  ASSERT_TRUE(db.openem(true, "a"));
  const std::string out = d_dir.path("out");
  EXPECT_ERROR(db.write(out),
               "can't open file '" + out + "/final_mesh.dat' for writing\n    No such file or directory");
  EXPECT_FALSE(std::filesystem::exists(out));
  std::filesystem::create_directory(out);
  db.write(out);
  EXPECT_EQ(read_file(out + "/final_mesh.dat"), read_file(file("a")));
}

TEST_F(Database, SharesTheRootThatWasMadeLastAndCopiesOnlyItsDirectory) {
  save_layers("a", {5});
  DBZydata first(d_folder);
  ASSERT_TRUE(first.openem(true, "a"));
  DBZydata second(d_dir.path("elsewhere"));
  EXPECT_ERROR(layer_ids(first), "no database is open");
  second.openem(false, "b");
  Layout layout;
  layout.layers.add(8, "L8", 0.0);
  first.write(layout.layers);
  EXPECT_EQ(layer_ids(second), std::vector<int>{8});
  DBZydata copy(first);
  EXPECT_EQ(layer_ids(copy), std::vector<int>{8});
  copy.save("b");
  second = copy;
  EXPECT_TRUE(second.openem(true, "b"));
  EXPECT_EQ(layer_ids(first), std::vector<int>{8});
}

TEST_F(Database, FreesTheTreeThatAnotherReplaces) {
  save_layers("a", {5});
  DBZydata db(d_folder);
  const std::vector<std::function<void()>> replacements{[&] { db.openem(true, "a"); }, [&] { db.openem(false, "a"); },
                                                        [&] { const DBZydata other(d_folder); }};
  for (const auto& replace : replacements) {
    ASSERT_TRUE(db.openem(true, "a"));
    const std::weak_ptr<ZyData::DataObj> tree = currentRoot->tree;
    const std::weak_ptr<ZyData::DataObj> column = currentRoot->tree->find_path("em2dlayer/id");
    const EntityTable* table = currentRoot->layers;
    replace();
    EXPECT_TRUE(tree.expired() && column.expired());
    EXPECT_NE(currentRoot->layers, table);
  }
}

/// Bytes of this process that lie in memory.
std::int64_t resident_bytes() {
  std::ifstream statm("/proc/self/statm");
  std::int64_t all = 0, resident = 0;
  statm >> all >> resident;
  return resident * static_cast<std::int64_t>(Util::platform().page_size());
}

TEST_F(Database, HoldsLittleOfWhatWasReplaced) {
  if (TestSupport::kAddressSanitizer) GTEST_SKIP() << "the sanitizer keeps what was freed";
  save_layers("a", {5});
  Layout large;
  for (int i = 0; i < 1000; ++i) large.circuits.add(std::string(1000, 'c'));
  DBZydata reloaded(d_folder);
  for (int i = 0; i < 200; ++i) reloaded.openem(true, "a");
  std::int64_t before = resident_bytes();
  for (int i = 0; i < 10000; ++i) reloaded.openem(true, "a");
  EXPECT_LT(resident_bytes() - before, 4 << 20);
  before = resident_bytes();
  for (int i = 0; i < 1000; ++i) {
    DBZydata db(d_folder);
    db.openem(false, "b");
    db.write(large.circuits);
  }
  EXPECT_LT(resident_bytes() - before, 16 << 20);
}

TEST_F(Database, SavesFieldsThatWereAddedAfterASave) {
  save_layers("a", {1, 2});
  DBZydata db(d_folder);
  ASSERT_TRUE(db.openem(true, "a"));
  const auto tree = currentRoot->tree;
  tree->find_path("em2dlayer")->add_field("thickness", ZyData::make_schema<double>("thickness", 0x1001));
  tree->find_path("simeshconfig")->add_field("extra", ZyData::make_schema<int>("extra", 0));
  tree->find_path("em2dlayer")->get<ZyData::Array<double>>("thickness")->set(1, 0.25);
  tree->get<ZyData::Value<int>>("simeshconfig/extra")->set(7);
  db.save("a");
  ASSERT_TRUE(db.openem(true, "a"));
  EXPECT_EQ(*currentRoot->tree->get<ZyData::Array<double>>("em2dlayer/thickness")->at(1), 0.25);
  EXPECT_EQ(currentRoot->tree->get<ZyData::Value<int>>("simeshconfig/extra")->get_value(), 7);
  Layout more;
  more.layers.add(3, "L3", 0.5);
  db.write(more.layers);
  EXPECT_EQ(layer_ids(db), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(*currentRoot->tree->get<ZyData::Array<double>>("em2dlayer/thickness")->at(2), 0.0);
}

TEST_F(Database, DoesNotCutAGoodFileForATreeThatCannotBeStored) {
  save_layers("a", {1});
  const std::string before = read_file(file("a"));
  DBZydata db(d_folder);
  ASSERT_TRUE(db.openem(true, "a"));
  const auto open = currentRoot->tree;
  EXPECT_ERROR(db.openem(false, std::string(65536, 'n')), "a schema text of 65536 bytes is longer than 65535 bytes");
  EXPECT_EQ(currentRoot->tree, open);
  currentRoot->schema->add_field(std::make_shared<ZyData::Schema>("x", "int", 0U, nullptr));
  EXPECT_ERROR(db.save("a"), "schema \"x\" has no data factory and can't be stored");
  EXPECT_EQ(read_file(file("a")), before);
}

}  // namespace
}  // namespace Mesh2DPlat
