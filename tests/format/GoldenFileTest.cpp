// The bytes of a database file: docs/file-format.md and tools/make_golden.py say what they have to be.
#include <cstdlib>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include "tests/facade/SampleMesh.h"
#include "tests/format/Load.h"
#include "tests/support/TestSupport.h"

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

/// Writes numbers as 1.234,5.
struct Grouping : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_P(GoldenFile, IsWhatIsSavedInAnyLocaleAndReadsBack) {
  const std::string whole = golden(GetParam().name);
  const std::locale plain = std::locale::classic(), grouping(plain, new Grouping);
  for (const auto& [locale, number] : {std::pair(plain, "1234.5"), std::pair(grouping, "1.234,5")}) {
    const std::locale before = std::locale::global(locale);
    EXPECT_EQ((std::ostringstream() << 1234.5).str(), number);
    GetParam().write(d_db);
    d_db.save("out");
    d_db.save("twice");
    Layout written, read;
    EXPECT_TRUE(written.read(d_db));
    file("in") = whole;
    EXPECT_TRUE(d_db.openem(true, "in"));
    d_db.save("again");
    EXPECT_TRUE(read.read(d_db));
    std::locale::global(before);
    for (const char* name : {"out", "twice", "again"}) EXPECT_TRUE(file(name) == whole) << name << " " << number;
    EXPECT_EQ(describe(read), describe(written));
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

}  // namespace
