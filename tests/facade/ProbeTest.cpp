// What the probe says of good, cut, damaged and foreign files, without touching what is open.
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "facade/DBRoot.h"
#include "facade/DBZydata.h"
#include "facade/Probe.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::read_file;
using ZyData::FileFault;

// Places in the golden database.
constexpr std::size_t kNodes = 12 + 8 * 98;
constexpr std::size_t kNetNames = 6285;  // offsets
constexpr std::size_t kPins = 7614;      // of circuits, as rows

struct Case {
  const char* name;
  FileFault fault;
  std::function<void(std::string& bytes)> change;
  const char* text;
  std::uint64_t expected_bytes;
  const char* table = "";
  const char* column = "";
  std::optional<std::uint64_t> offset = std::nullopt;  // where it is checked
  std::uint64_t trailing_bytes = 0;
};

void put(std::string& bytes, std::size_t at, const std::string& value) { bytes.replace(at, value.size(), value); }

const std::vector<Case>& cases() {
  static const std::vector<Case> all{
      {"sound", FileFault::none, [](std::string&) {}, "", 7682},
      {"sound and more", FileFault::none, [](std::string& b) { b += "more"; }, "", 7682, "", "", std::nullopt, 4},
      {"empty", FileFault::empty, [](std::string& b) { b.clear(); }, "it is empty", 0},
      {"cut header", FileFault::cut_short, [](std::string& b) { b.resize(11); }, "it has fewer bytes than a header",
       12},
      {"cut sizes", FileFault::cut_short, [](std::string& b) { b.resize(100); },
       "it ends inside the table of frame sizes", 796},
      {"cut", FileFault::cut_short, [](std::string& b) { b.pop_back(); }, "it ends inside frame 97", 7682},
      {"text", FileFault::not_ours, [](std::string& b) { b = "(kicad_pcb (version 4) (host pcbnew 4.0.2))"; },
       "it does not begin like a file of this library", 0},
      {"plain message", FileFault::not_ours, [](std::string& b) { b[8] = 2; }, "it holds no data object", 12},
      {"two frames", FileFault::not_ours, [](std::string& b) { put(b, 0, std::string("\2\0\0\0", 4)); },
       "its message has fewer than three frames", 12},
      {"node table", FileFault::damaged, [](std::string& b) { b[kNodes + 16] = 0; },
       "the schema uses 1 of 80 stored nodes", 7682},
      {"name outside", FileFault::damaged, [](std::string& b) { put(b, kNodes, "\xff\xff\xff\x7f"); },
       "schema node 0 names a text at byte 2147483647 of a pool of 902 bytes", 7682},
      {"unknown type", FileFault::unknown_type, [](std::string& b) { put(b, b.find("EM2DVertexProxy"), "X"); },
       "type \"Mesh2DPlat::XM2DVertexProxy\" is not registered", 7682},
      {"unknown kind", FileFault::unknown_type, [](std::string& b) { b[kNodes + 25 * 40 + 12] = '\x80'; },
       "type \"Mesh2DPlat::EM2DNetProxy::eType\" is not registered", 7682},
      {"offsets that fall", FileFault::damaged, [](std::string& b) { put(b, kNetNames + 4, "\xff\xff\xff\x7f"); },
       "the stored offsets of \"name\" do not describe its 6 values", 7682, "emnet", "name", kNetNames},
      {"pin out of range", FileFault::damaged, [](std::string& b) { put(b, kPins, "\xff\xff\xff\xff"); },
       "circuit \"U1\" names pin row -1 of 3", 7682},
      {"renamed table", FileFault::damaged, [](std::string& b) { put(b, b.find("emnet"), "emnot"); },
       "a database of which table \"emnet\" is missing", 7682, "emnet"},
      {"renamed settings", FileFault::damaged, [](std::string& b) { put(b, b.find("simeshconfig"), "simeshcondig"); },
       "a database of which table \"simeshconfig\" is missing", 7682, "simeshconfig"},
      {"renamed setting", FileFault::damaged, [](std::string& b) { put(b, b.find("thetamin"), "thetamax"); },
       "a database of which column \"thetamin\" of table \"simeshconfig\" is missing", 7682, "simeshconfig",
       "thetamin"},
      {"renamed column", FileFault::damaged, [](std::string& b) { put(b, b.find("uplayer"), "UPlayer"); },
       "a database of which column \"uplayer\" of table \"em2dvertex\" is missing", 7682, "em2dvertex", "uplayer"},
  };
  return all;
}

class ProbeFile : public testing::Test {
 protected:
  ProbeResult probe_bytes(const std::string& bytes) {
    TestSupport::write_file(d_path, bytes);
    return probe(d_path);
  }

  TestSupport::TempDir d_folder;
  std::string d_path = d_folder.path("file.zydat");
};

TEST_F(ProbeFile, TellsStatesApart) {
  DBZydata db(d_folder.path());
  db.openem(false, "open");
  const auto tree = currentRoot->tree;
  const std::string good = read_file(CORVANE_TEST_DATA "/full.zydat");
  for (const Case& example : cases()) {
    SCOPED_TRACE(example.name);
    std::string bytes = good;
    example.change(bytes);
    const ProbeResult result = probe_bytes(bytes);
    EXPECT_EQ(result.fault, example.fault) << result.text;
    EXPECT_EQ(result.text, example.text);
    EXPECT_EQ(result.actualBytes, bytes.size());
    EXPECT_EQ(result.trailingBytes, example.trailing_bytes);
    EXPECT_EQ(result.table, example.table);
    EXPECT_EQ(result.column, example.column);
    EXPECT_EQ(result.offset, example.offset ? example.offset : result.offset);
    EXPECT_EQ(result.expectedBytes, example.expected_bytes == 0 ? result.expectedBytes : example.expected_bytes);
    EXPECT_EQ(currentRoot->tree, tree);
  }
}

TEST_F(ProbeFile, KnowsMeshesAndPlainTrees) {
  const std::string mesh = read_file(CORVANE_TEST_DATA "/corvane2d.zydat");
  EXPECT_EQ(probe_bytes(mesh).fault, FileFault::none);
  EXPECT_EQ(probe_bytes(mesh).content.kind, FileKind::mesh);
  for (const std::string name : {"meshface", "meshvia", "em2dshape"}) {
    std::string damaged = mesh;
    damaged[damaged.find(name)] = 'X';
    const ProbeResult result = probe_bytes(damaged);
    EXPECT_EQ(result.content.kind, FileKind::mesh);
    EXPECT_EQ(result.text, "a mesh of which table \"" + name + "\" is missing");
  }
  const ProbeResult plain = probe(CORVANE_TEST_DATA "/kinds.zydat");
  EXPECT_EQ(plain.fault, FileFault::none);
  EXPECT_EQ(plain.content.kind, FileKind::other);
}

TEST_F(ProbeFile, NamesEveryGapAndMindsNothingMore) {
  DBZydata db(d_folder.path());
  db.openem(false, "open");
  const auto& top = currentRoot->schema;
  const auto renewed = ZyData::make_record_schema("top");
  for (const auto& field : top->fields()) {
    if (field->name() == "em2dtrace" || field->name() == "simeshconfig") continue;
    renewed->add_field(field->name() == "em2dpin" ? ZyData::make_schema<int>("em2dpin", 0x1001) : field);
  }
  renewed->add_field(ZyData::make_schema<int>("own", 0));
  top->field("em2dlayer")->add_field(ZyData::make_schema<int>("own", 0x1001));
  const auto names = top->field("emnet")->field("name");
  names->set_name("title");
  top->field("emnet")->add_field(ZyData::make_schema<int>("name", 0x1001));
  const OwnedTree tree = make_tree(renewed);
  const FileContent content = probeContent(*tree);
  EXPECT_EQ(content.kind, FileKind::database);
  EXPECT_EQ(content.text(),
            "a database of which table \"simeshconfig\" is missing, column \"name\" of table \"emnet\" is of another "
            "type, table \"em2dtrace\" is missing, table \"em2dpin\" is of another type");
  renewed->clear_fields();
  renewed->add_field(top->field("emnet"));  // one of its tables makes no database
  EXPECT_EQ(probeContent(*make_tree(renewed)).kind, FileKind::other);
  renewed->add_field(top->field("em2dlayer"));
  EXPECT_EQ(probeContent(*make_tree(renewed)).gaps.size(), 10u);
}

TEST_F(ProbeFile, TellsWhatIsNoFile) {
  EXPECT_EQ(probe(d_folder.path("nothing")).fault, FileFault::missing);
  EXPECT_EQ(probe(d_folder.path()).fault, FileFault::unreadable);
  const std::string pipe = d_folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(probe(pipe).fault, FileFault::unreadable);
  EXPECT_EQ(probe("/dev/zero").fault, FileFault::unreadable);
  EXPECT_EQ(probe("").fault, FileFault::missing);
}

}  // namespace
}  // namespace Mesh2DPlat
