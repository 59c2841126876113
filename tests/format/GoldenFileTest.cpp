// The bytes of a database file: docs/file-format.md and tools/make_golden.py say what they have to be.
#include <cstdlib>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/facade/SampleMesh.h"
#include "tests/format/Load.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"

namespace {

using Mesh2DPlat::DBZydata;
using TestSupport::file;
using TestSupport::kMemory;
using TestSupport::Layout;

std::string golden(const std::string& name) { return TestSupport::read_file(CORVANE_TEST_DATA "/" + name + ".zydat"); }

void write_small(DBZydata& db) {
  db.openem(false, "db");
  Layout layout;
  layout.layers.add(1, "L1", 0.5);
  layout.nets.add(7, Mesh2DPlat::EM2DNet::Type::Power, "GND");
  db.write(layout.layers);
  db.write(layout.nets);
}

void write_full(DBZydata& db) {
  db.openem(false, "full");
  Layout layout;
  fill(layout);
  layout.write(db);
}

struct Example {
  const char* name;
  void (*write)(DBZydata& db);

  friend void PrintTo(const Example& example, std::ostream* stream) { *stream << example.name; }
};

class GoldenFile : public testing::TestWithParam<Example> {
 protected:
  DBZydata d_db{kMemory};
};

TEST_P(GoldenFile, IsWhatIsSaved) {
  for (int run = 0; run < 2; ++run) {
    GetParam().write(d_db);
    d_db.save("out");
    EXPECT_TRUE(file("out") == golden(GetParam().name));
    d_db.save("twice");
    EXPECT_TRUE(file("twice") == file("out"));
  }
}

TEST_P(GoldenFile, IsWhatAnotherProcessSaves) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // a process of its own, with addresses of its own
  EXPECT_EXIT(
      {
        GetParam().write(d_db);
        d_db.save("out");
        std::exit(file("out") == golden(GetParam().name) ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

/// Writes numbers as 1.234,5.
struct Grouping : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_P(GoldenFile, DoesNotFollowTheLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  GetParam().write(d_db);
  d_db.save("out");
  file("in") = golden(GetParam().name);
  EXPECT_TRUE(d_db.openem(true, "in"));
  d_db.save("again");
  const bool changed = (std::ostringstream() << 1234.5).str() == "1.234,5";
  std::locale::global(before);
  EXPECT_TRUE(changed);
  EXPECT_TRUE(file("out") == golden(GetParam().name));
  EXPECT_TRUE(file("again") == golden(GetParam().name));
}

TEST_P(GoldenFile, IsTheSameAfterALoad) {
  file("in") = golden(GetParam().name);
  ASSERT_TRUE(d_db.openem(true, "in"));
  d_db.save("out");
  EXPECT_TRUE(file("out") == file("in"));
}

TEST_P(GoldenFile, HoldsWhatWasWritten) {
  GetParam().write(d_db);
  Layout written;
  EXPECT_TRUE(written.read(d_db));
  file("in") = golden(GetParam().name);
  ASSERT_TRUE(d_db.openem(true, "in"));
  Layout read;
  EXPECT_TRUE(read.read(d_db));
  EXPECT_EQ(describe(read), describe(written));
}

INSTANTIATE_TEST_SUITE_P(, GoldenFile, testing::Values(Example{"db", write_small}, Example{"full", write_full}),
                         [](const auto& example) { return example.param.name; });

TEST(GoldenMesh, IsWhatIsWrittenAndReadsBack) {
  DBZydata db(kMemory);
  Mesh2DPlat::SImesh2D mesh = TestSupport::make_mesh();
  TestSupport::add_holes(mesh);
  for (int run = 0; run < 2; ++run) {
    db.writeNegPolyMesh(&mesh);
    EXPECT_TRUE(file("corvane2d") == golden("corvane2d"));
  }
  Mesh2DPlat::SImesh2D read_back;
  EXPECT_TRUE(db.readNegPolyMesh(&read_back, nullptr));
  EXPECT_TRUE(read_back == mesh);
}

TEST(SmallExample, HasTheDocumentedPlaces) {
  const std::string bytes = golden("db");
  const auto word = [&](std::size_t offset) { return Util::load<std::uint32_t>(bytes.data() + offset); };
  const auto size = [&](std::size_t frame) { return Util::load<std::uint64_t>(bytes.data() + 12 + 8 * frame); };
  ASSERT_EQ(bytes.size(), 6117u);
  EXPECT_EQ(std::string_view(bytes).substr(0, 12), std::string_view("\x62\0\0\0\0\0\0\0\1\0\0\0", 12));
  EXPECT_EQ(size(0), 3200u);
  EXPECT_EQ(size(1), 924u);
  EXPECT_EQ(size(2), 900u);
  std::uint64_t storage = 0;
  for (std::size_t frame = 3; frame < 98; ++frame) storage += size(frame);
  EXPECT_EQ(storage, 297u);

  const std::size_t nodes = 12 + 8 * 98;
  const std::size_t pool = nodes + 3200 + 924;
  struct Node {
    std::size_t place;
    const char* name;
    const char* type;
    std::uint32_t kind;
    std::uint32_t fields;
  };
  const std::vector<Node> expected{{0, "db", "ZyData::UntypedClass", 0x10, 11},
                                   {1, "simeshconfig", "ZyData::UntypedClass", 0x10, 21},
                                   {2, "thetamin", "double", 0, 0},
                                   {17, "ppid", "int", 0, 0},
                                   {18, "option", "const char*", 0x400, 0},
                                   {23, "emnet", "Mesh2DPlat::EM2DNetProxy", 0x40008, 3},
                                   {25, "type", "Mesh2DPlat::EM2DNetProxy::eType", 0x1001, 0},
                                   {27, "em2dvertex", "Mesh2DPlat::EM2DVertexProxy", 0x40008, 10},
                                   {36, "lowlayer", "const char*", 0x401, 0},
                                   {38, "em2dlayer", "Mesh2DPlat::EM2DLayerProxy", 0x40008, 3},
                                   {42, "em2dsignal", "Mesh2DPlat::EM2DSignalProxy", 0x40008, 4},
                                   {47, "em2dshape", "Mesh2DPlat::EM2DShapeProxy", 0x40008, 6},
                                   {53, "vertexs", "double", 0x5, 0},
                                   {54, "em2dvia", "Mesh2DPlat::EM2DViaProxy", 0x40008, 5},
                                   {60, "em2dpolyvia", "Mesh2DPlat::EM2DPolyViaProxy", 0x40008, 6},
                                   {67, "em2dtrace", "Mesh2DPlat::EM2DTraceProxy", 0x40008, 5},
                                   {73, "em2dpin", "Mesh2DPlat::EM2DPin", 0x40008, 1},
                                   {75, "em2dcircuit", "Mesh2DPlat::EM2DCircuitProxy", 0x40008, 4},
                                   {79, "option", "int", 0x1001, 0}};
  for (const Node& node : expected) {
    const std::size_t entry = nodes + 40 * node.place;
    const auto text = [&](std::size_t offset) { return std::string(bytes.data() + pool + word(entry + offset)); };
    EXPECT_EQ(text(0), node.name);
    EXPECT_EQ(text(4), "");
    EXPECT_EQ(text(8), node.type);
    EXPECT_EQ(word(entry + 12), node.kind);
    EXPECT_EQ(word(entry + 16), node.fields);
    EXPECT_EQ(std::string_view(bytes).substr(entry + 32, 8), std::string_view("\0\0\0\0\0\0\0\0", 8));
  }
}

}  // namespace
