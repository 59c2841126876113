// Rows of every kind: what goes in comes out.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "facade/DBRoot.h"
#include "tests/facade/Layout.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/String.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/object/Value.h"
#include "zydata/schema/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::describe;
using TestSupport::fill;
using TestSupport::Layout;
using TestSupport::Owned;

class Entities : public testing::Test {
 protected:
  Entities() { d_db.openem(false, "db"); }

  /// Saves what is open and opens it again.
  void reopen() {
    d_db.save("db");
    ASSERT_TRUE(d_db.openem(true, "db"));
  }
  template <class Object>
  std::shared_ptr<Object> find(const std::string& path) const {
    return currentRoot->tree->get<Object>(path);
  }
  std::string bytes_of_open() {
    d_db.save("bytes");
    return TestSupport::read_file(d_dir.path("bytes.zydat"));
  }
  static std::vector<std::string> texts(const ZyData::StringArray& column) {
    std::vector<std::string> result;
    for (std::uint64_t i = 0; i < column.size(); ++i) result.emplace_back(column.view(i));
    return result;
  }
  std::vector<int> numbers(const std::string& path) const { return currentRoot->tree->find_path(path)->to_id_vector(); }

  TestSupport::TempDir d_dir;
  DBZydata d_db{d_dir.path()};
};

TEST_F(Entities, PinNamesAreDistinctOverAllCircuitsAndWrites) {
  Layout written;
  fill(written);
  d_db.write(written.circuits);
  reopen();
  Owned<EM2DCircuit> more;
  EM2DCircuit* circuit = more.add("U4");
  for (const char* name : {"2", "new", "", "new"}) circuit->addPin(name, written.vertices[1]);
  d_db.write(more);
  const auto pins = find<ZyData::StringArray>("em2dpin/name");
  EXPECT_EQ(texts(*pins), (std::vector<std::string>{"1", "2", "", "new"}));
  EXPECT_EQ(numbers("em2dcircuit/pin"), (std::vector<int>{0, 1, 0, 1, 2, 1, 3, 2, 3}));
  EXPECT_EQ(numbers("em2dcircuit/emver"), (std::vector<int>{10, 11, 11, 10, 10, 11, 11, 11, 11}));
  Owned<EM2DCircuit> read;
  d_db.read(read, written.vertices.by(&EM2DVertex::id));
  ASSERT_EQ(read.size(), 4u);
  EXPECT_EQ(read[3]->pins(), circuit->pins());
  // Names that came or changed by another way than a write of circuits are found, too.
  d_db.read(read, written.vertices.by(&EM2DVertex::id));
  pins->assign(std::vector<int>{0, 1, 2, 5, 8}, std::string("21newold"));
  d_db.write(more);
  EXPECT_EQ(texts(*pins), (std::vector<std::string>{"2", "1", "new", "old", ""}));
  find<ZyData::Frame<EM2DPin>>("em2dpin")->append({"by hand"});
  circuit->addPin("by hand", written.vertices[1]);
  d_db.write(more);
  EXPECT_EQ(pins->size(), 6u);
}

TEST_F(Entities, CircuitsTakeTheSameTimeAndRowsInOneWriteOrMany) {
  constexpr int kCircuits = 30000;
  Layout written;
  EM2DVertex* vertex = written.vertices.add(1, "v", 0, 0, 0, 0, nullptr, nullptr, nullptr, 0);
  for (int i = 0; i < kCircuits; ++i) {
    EM2DCircuit* circuit = written.circuits.add("U");
    for (int k = 0; k < 5; ++k) circuit->addPin(std::to_string(i) + "." + std::to_string(k), vertex);
  }
  d_db.write(written.circuits);
  d_db.save("one");
  d_db.openem(false, "db");
  const auto start = std::chrono::steady_clock::now();
  for (EM2DCircuit* circuit : written.circuits) d_db.write(std::vector<EM2DCircuit*>{circuit});
  // Looking through all names again in each write would take minutes.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(TestSupport::kAddressSanitizer ? 30 : 5));
  d_db.save("many");
  EXPECT_TRUE(TestSupport::read_file(d_dir.path("one.zydat")) == TestSupport::read_file(d_dir.path("many.zydat")));
}

TEST_F(Entities, CircuitsTakeNoMoreMemoryThanAllowed) {
  Layout written;
  EM2DVertex* vertex = written.vertices.add(1, "v", 0, 0, 0, 0, nullptr, nullptr, nullptr, 0);
  EM2DCircuit* circuit = written.circuits.add("U");
  const std::string name(20000, 'n');
  for (int i = 0; i < 20000; ++i) circuit->addPin(name, vertex);
  d_db.write(written.circuits);
  d_db.save("db");
  EXPECT_LT(std::filesystem::file_size(d_dir.path("db.zydat")), 200000u);
  reopen();
  Owned<EM2DCircuit> read;
  const auto vertices = written.vertices.by(&EM2DVertex::id);
  EXPECT_ERROR(d_db.read(read, vertices),
               "reading the circuits would take 401280000 bytes, more than the limit of 279973696");
  EXPECT_TRUE(read.empty());
  d_db.openem(false, "db");
  EM2DCircuit* small = written.circuits.add("small");
  for (int i = 0; i < 3; ++i) small->addPin(name, vertex);
  d_db.write(std::vector<EM2DCircuit*>{small});
  for (const bool is_enough : {false, true}) {
    DBZydata::limitCircuits(is_enough ? 60192 : 60191);  // 64 bytes and a name for each pin
    const std::string text = TestSupport::error_text([&] { d_db.read(read, vertices); });
    EXPECT_EQ(text == "<nothing thrown>", is_enough) << text;
  }
  DBZydata::limitCircuits(0);
  EXPECT_EQ(read.size(), 1u);
}

TEST_F(Entities, WithoutWhatTheyNeedAreRefusedWithTheirPlace) {
  Layout all;
  fill(all);
  all.write(d_db);
  EM2DNet* net = all.nets[0];
  EM2DLayer* layer = all.layers[0];
  EM2DVertex* end = all.vertices[0];
  const auto refused = [&]<class Object>(Object object, const std::string& reason) {
    std::vector<Object*> list(20, &object);
    std::string text;
    if constexpr (std::is_same_v<Object, EM2DShape>) text = TestSupport::error_text([&] { d_db.write(list, ""); });
    if constexpr (!std::is_same_v<Object, EM2DShape>) text = TestSupport::error_text([&] { d_db.write(list); });
    EXPECT_EQ(text, "table \"" + reason);
  };
  const std::vector<double> outline{1, 2};
  const std::string row = "\" can't take row 0 of the list: ";
  refused(EM2DTrace("t", nullptr, end, end, 0), "em2dtrace" + row + "\"t\" has no net");
  refused(EM2DTrace("", net, nullptr, end, 0), "em2dtrace" + row + "\"\" has no start vertex");
  refused(EM2DTrace("t", net, end, nullptr, 0), "em2dtrace" + row + "\"t\" has no end vertex");
  refused(EM2DVia("v", nullptr, end, end, 0), "em2dvia" + row + "\"v\" has no net");
  refused(EM2DVia("v", net, end, nullptr, 0), "em2dvia" + row + "\"v\" has no end vertex");
  refused(EM2DPolyVia("p", net, nullptr, end, {}, outline), "em2dpolyvia" + row + "\"p\" has no start vertex");
  refused(EM2DShape("s", nullptr, net, {}, 0, outline), "em2dshape" + row + "\"s\" has no layer");
  refused(EM2DShape("s", layer, nullptr, {}, 0, outline), "em2dshape" + row + "\"s\" has no net");
  EM2DCircuit circuit("u");
  circuit.addPin("new", end);
  circuit.addPin("1", nullptr);
  refused(circuit, "em2dcircuit" + row + "\"u\" has no vertex at one of its pins");
  EXPECT_ERROR(d_db.write(std::vector<EM2DCircuit*>{nullptr}),
               "table \"em2dcircuit" + row + "a null pointer instead of a layout object");
  EXPECT_ERROR(d_db.write(std::vector<EM2DNet*>{net, nullptr}),
               "table \"emnet\" can't take row 1 of the list: a null pointer instead of a layout object");
  SImeshConfig* no_settings = nullptr;
  EXPECT_ERROR(d_db.write(no_settings), "a null pointer instead of a settings object");
  EXPECT_ERROR(d_db.read(no_settings), "a null pointer instead of a settings object");
  Layout read;
  EXPECT_TRUE(read.read(d_db));
  EXPECT_EQ(describe(read), describe(all));
  EXPECT_EQ(find<ZyData::StringArray>("em2dpin/name")->size(), 3u);
}

TEST_F(Entities, SignalWithoutPatchStoresMinusOne) {
  Layout written;
  fill(written);
  d_db.write(written.signals);
  EXPECT_EQ(numbers("em2dsignal/patch"), (std::vector<int>{-5, -1}));
  // A layer may have the id -1; a signal that refers to it has none all the same.
  EM2DLayer odd(-1, "odd", 0.0);
  Owned<EM2DSignal> read;
  d_db.read(read, {{-5, written.layers[1]}, {-1, &odd}});
  EXPECT_EQ(read[0]->patchLayer(), written.layers[1]);
  EXPECT_EQ(read[1]->patchLayer(), nullptr);
}

TEST_F(Entities, ArePolygonViasOrOptionsOnlyWhereTheFileSaysSo) {
  Layout written;
  fill(written);
  const std::vector<EM2DVia*> mixed{written.polyVias[0], written.vias[0]};
  d_db.write(written.polyVias);
  d_db.write(mixed);
  d_db.write(written.traces);
  Layout read;
  const auto nets = written.nets.by(&EM2DNet::id);
  const auto vertices = written.vertices.by(&EM2DVertex::id);
  d_db.read(read.vias, nets, vertices);
  std::string names;
  for (const auto* via : read.vias) names += via->name() + (dynamic_cast<const EM2DPolyVia*>(via) ? "(poly) " : " ");
  EXPECT_EQ(names, "slot via slot(poly) none(poly) ");
  d_db.read(read.traces, nets, vertices);
  EXPECT_EQ(read.traces[0]->option(), 11) << "the end vertex";
}

/// A table of one object for each of these ids, and of `padding` ids far away and far apart.
template <class Object>
Table<int, Object> table_of(std::initializer_list<int> ids, int padding) {
  Table<int, Object> table;
  for (const int id : ids) table.emplace(id, nullptr);
  for (int i = 0; i < padding; ++i) table.emplace(std::numeric_limits<int>::max() - i * 1000, nullptr);
  if (padding > 0) table.emplace(std::numeric_limits<int>::min(), nullptr);
  return table;
}

/// How many objects a read leaves, and what it throws: text, table, row and id.
std::string missing_key(const std::function<std::size_t()>& count, const std::function<void()>& read) {
  try {
    read();
  } catch (const DanglingReference& error) {
    return std::to_string(count()) + " " + error.what() + ", " + error.table() + " row " + std::to_string(error.row()) +
           ": " + error.id();
  }
  return "nothing thrown";
}

TEST_F(Entities, BeforeAMissingReferenceStay) {
  const std::string text = " invalid unordered_map<K, T> key, ";
  Layout all;
  EM2DLayer* layers[] = {all.layers.add(1, "A", 0), all.layers.add(-2, "B", 0), all.layers.add(3, "C", 0)};
  EM2DNet* nets[] = {all.nets.add(1, EM2DNet::Type::None, ""), all.nets.add(2, EM2DNet::Type::None, "")};
  EM2DVertex* ends[3];
  for (int i = 0; i < 3; ++i) ends[i] = all.vertices.add(i, "v", 0, 0, 0, 0, layers[0], nullptr, layers[i], 0);
  for (int i = 0; i < 3; ++i) {
    all.signals.add(i, "s", 0, i == 0 ? nullptr : layers[i - 1]);
    all.traces.add("t", nets[i == 2], ends[0], ends[i], 0);
    all.vias.add("w", nets[0], ends[i], ends[0], 0);
    all.polyVias.add("p", nets[i == 1], ends[0], ends[0], EM2DPolyVia::PolyType::Slot, std::vector<double>{1, 2});
    all.shapes.add("c", layers[i], nets[0], EM2DShape::Type::Pad, 0, std::vector<double>{1, 2});
    all.circuits.add("u")->addPin("1", ends[i]);
  }
  all.write(d_db);
  for (const int padding : {0, 1, 50}) {
    SCOPED_TRACE(padding);
    const auto layer = [&](std::initializer_list<int> ids) { return table_of<EM2DLayer>(ids, padding); };
    const auto net = [&](std::initializer_list<int> ids) { return table_of<EM2DNet>(ids, padding); };
    const auto vertex = [&](std::initializer_list<int> ids) { return table_of<EM2DVertex>(ids, padding); };
    const auto expect_missing = [&](auto& objects, std::size_t kept, const char* where,
                                    const std::function<void()>& read) {
      EXPECT_EQ(missing_key([&] { return objects.size(); }, read), std::to_string(kept) + text + where);
    };
    Layout out[9];
    expect_missing(out[0].signals, 2, "em2dsignal row 2: -2", [&] { d_db.read(out[0].signals, layer({1, 3})); });
    expect_missing(out[0].traces, 2, "em2dtrace row 2: 2", [&] {
      d_db.read(out[0].traces, net({1}), vertex({0, 1, 2}));
    });
    expect_missing(out[1].traces, 1, "em2dtrace row 1: 1", [&] {
      d_db.read(out[1].traces, net({1, 2}), vertex({0, 2}));
    });
    expect_missing(out[0].vias, 1, "em2dvia row 1: 1", [&] { d_db.read(out[0].vias, net({1, 2}), vertex({0, 2})); });
    expect_missing(out[1].vias, 3, "em2dpolyvia row 1: 2", [&] {
      d_db.read(out[1].vias, net({1}), vertex({0, 1, 2}));
    });
    expect_missing(out[0].shapes, 2, "em2dshape row 2: 3", [&] {
      d_db.read(out[0].shapes, layer({1, -2}), net({1}), "");
    });
    expect_missing(out[1].shapes, 0, "em2dshape row 0: 1", [&] {
      d_db.read(out[1].shapes, layer({1, -2, 3}), net({2}), "");
    });
    expect_missing(out[0].circuits, 1, "em2dcircuit row 1: 1", [&] { d_db.read(out[0].circuits, vertex({0, 2})); });
    // Names decide; ids are not even looked at.
    expect_missing(out[0].vertices, 1, "em2dvertex row 1: B", [&] {
      d_db.read(out[0].vertices, layer({1, -2, 3}), {{"A", nullptr}, {"C", nullptr}});
    });
    EXPECT_TRUE(d_db.read(out[2].shapes, layer({1, -2, 3}), net({1}), ""));
    EXPECT_TRUE(d_db.read(out[2].traces, net({1, 2}), vertex({0, 1, 2})));
    EXPECT_EQ(out[2].traces.size() + out[2].shapes.size(), 6u);
  }
}

/// Opens a database made by hand, in which `change` has changed the fields of the named table or record.
using Change = std::function<void(ZyData::Schema& fields)>;
void open_changed(const std::string& folder, DBZydata& db, const std::string& table, const Change& change) {
  db.openem(false, "db");
  const auto top = currentRoot->schema;
  const auto found = top->field(table);
  if (change == nullptr) {
    std::vector<std::shared_ptr<ZyData::Schema>> others;
    for (const auto& field : top->fields()) {
      if (field != found) others.push_back(field);
    }
    top->clear_fields();
    for (const auto& field : others) top->add_field(field);
  } else {
    change(*found);
  }
  currentRoot->take(make_tree(top));
  db.write(folder);
  std::filesystem::rename(folder + "/final_mesh.dat", folder + "/changed.zydat");
  ASSERT_TRUE(db.openem(true, "changed"));
}

void replace_field(ZyData::Schema& schema, const std::string& name, const std::shared_ptr<ZyData::Schema>& by) {
  const auto fields = schema.fields();
  schema.clear_fields();
  for (const auto& field : fields) {
    if (field->name() != name) {
      schema.add_field(field);
    } else if (by != nullptr) {
      schema.add_field(by);
    }
  }
}

TEST_F(Entities, WithoutTheirTableOrColumnAreNeitherWrittenNorRead) {
  const auto without = [](const char* name, std::shared_ptr<ZyData::Schema> by = nullptr) {
    return [=](ZyData::Schema& schema) { replace_field(schema, name, by); };
  };
  const std::string no_table = "object type 'db' does not have a field named '";
  const std::string unfit =
      "rows of type \"Mesh2DPlat::EM2DNetProxy\" do not fit table \"emnet\": its field 'name' is ";
  const std::string other = "while accessing field 'casefile', requested type (ZyData::StringData) does not match";
  const struct {
    const char* table;
    Change change;
    std::string write_error, read_error;  // as far as it is compared
  } cases[] = {
      {"emnet", nullptr, no_table + "emnet' (options are \"simeshconfig\" \"em2dvertex\" ", no_table + "emnet' ("},
      {"emnet", without("name"), unfit, "object type 'emnet' does not have a field named 'name' (options are \"id\" "},
      {"emnet", without("name", ZyData::make_schema<double>("name", 0x1001)), unfit,
       "while accessing field 'name', requested type (ZyData::StringArray) does not match"},
      {"simeshconfig", nullptr, no_table + "simeshconfig'", no_table + "simeshconfig'"},
      {"simeshconfig", without("casefile", ZyData::make_schema<int>("casefile", 0)), other, other},
  };
  for (const auto& test : cases) {
    Layout layout;
    fill(layout);
    open_changed(d_dir.path(), d_db, test.table, test.change);
    const std::string before = bytes_of_open();
    const bool nets = test.table == std::string("emnet");
    const auto config = describe(layout);
    const auto write = [&] { nets ? d_db.write(layout.nets) : d_db.write(&layout.config); };
    const auto read = [&] { nets ? d_db.read(layout.nets) : d_db.read(&layout.config); };
    EXPECT_EQ(TestSupport::error_text(write).substr(0, test.write_error.size()), test.write_error);
    EXPECT_EQ(TestSupport::error_text(read).substr(0, test.read_error.size()), test.read_error);
    EXPECT_EQ(describe(layout), config);
    EXPECT_EQ(bytes_of_open(), before);
    d_db.write(layout.layers);
    EXPECT_EQ(numbers("em2dlayer/id").size(), 3u);
  }
}

TEST_F(Entities, LeaveColumnsOfTheirTablesAtDefaultsThatTheyDoNotKnow) {
  Layout layout;
  fill(layout);
  open_changed(d_dir.path(), d_db, "emnet", [](auto& schema) {
    replace_field(schema, "type", schema.field(1));
    schema.add_field(ZyData::make_schema<const char*>("note", 0x401));
    schema.add_field(ZyData::make_schema<int>("colour", 0x1001));
  });
  d_db.write(layout.nets);
  reopen();
  EXPECT_EQ(numbers("emnet/colour"), (std::vector<int>{0, 0, 0}));
  EXPECT_EQ(find<ZyData::StringArray>("emnet/note")->size(), 3u);
  Layout read;
  d_db.read(read.nets);
  EXPECT_EQ(read.nets.size(), 3u);
  EXPECT_EQ(read.nets[1]->type(), EM2DNet::Type{77});
}

TEST_F(Entities, OfDamagedTablesAreReported) {
  Layout layout;
  fill(layout);
  layout.write(d_db);
  const auto vertices = layout.vertices.by(&EM2DVertex::id);
  const auto pins = find<ZyData::VarArray<int>>("em2dcircuit/pin");
  const std::vector<int> offsets{0, 3, 5, 5};
  const auto read_with = [&](std::vector<int> ends, std::vector<int> rows) {
    pins->assign(ends, rows);
    Owned<EM2DCircuit> read;
    const std::string text = TestSupport::error_text([&] { d_db.read(read, vertices); });
    return text + " after " + std::to_string(read.size());
  };
  EXPECT_EQ(read_with(offsets, {0, 1, 0, 1, 3}), "circuit \"\" names pin row 3 of 3 after 1");
  EXPECT_EQ(read_with(offsets, {0, -1, 0, 1, 2}), "circuit \"U1\" names pin row -1 of 3 after 0");
  EXPECT_EQ(read_with({0, 3, 4, 4}, {0, 1, 0, 1}), "circuit \"\" has 1 pins and 2 vertices after 1");
  EXPECT_EQ(read_with({0, 3, 5}, {0, 1, 0, 1, 2}), "the columns of table \"em2dcircuit\" differ in length after 0");
}

}  // namespace
}  // namespace Mesh2DPlat
