// Random databases and meshes come back bit by bit, and stored again they give the same file.
#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "model/SImesh2D.h"
#include "tests/facade/Layout.h"
#include "tests/support/MemoryPlatform.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::Layout;
using TestSupport::Owned;

// A tenth under sanitizers, where each takes ten times as long.
constexpr std::uint64_t kDatabases = TestSupport::kAddressSanitizer ? 1000 : 10000;
constexpr std::uint64_t kMeshes = TestSupport::kAddressSanitizer ? 300 : 3000;

/// The same values for the same seed and compiler, which chooses the order in which arguments are made.
class Source {
 public:
  explicit Source(std::uint64_t seed) : d_random(seed) {}

  std::size_t below(std::size_t limit) { return d_random() % limit; }
  bool chance(std::size_t one_in) { return below(one_in) == 0; }
  int integer() {
    constexpr std::array<int, 6> kOdd{INT_MIN, INT_MAX, -1, 0, 1, 77};
    return chance(3) ? kOdd[below(kOdd.size())] : static_cast<int>(static_cast<std::uint32_t>(d_random()));
  }
  double number() {
    constexpr std::array<std::uint64_t, 9> kOdd{0x7ff8000000c0ffee,  // not a number, quiet and signalling
                                                0xfff4000000000001,
                                                0x7ff0000000000000,  // infinities
                                                0xfff0000000000000,
                                                0x8000000000000000,  // negative zero
                                                0x0000000000000001,  // the smallest and the greatest below normal
                                                0x800fffffffffffff,
                                                0x7fefffffffffffff,  // the greatest
                                                0x3fb999999999999a};
    return std::bit_cast<double>(chance(3) ? kOdd[below(kOdd.size())] : d_random());
  }
  /// Equal to itself.
  double ordered_number() {
    const double value = number();
    return value == value ? value : 0.5;
  }
  std::string text() {
    if (chance(8)) return {};
    if (chance(50)) return std::string(300 + below(3000), static_cast<char>(below(256)));
    std::string result(below(12), '\0');
    for (char& c : result) c = static_cast<char>(below(256));
    return result;
  }
  template <class T, class Make>
  std::vector<T> list(Make make) {
    std::vector<T> result(chance(3) ? 0 : below(9));
    for (T& value : result) value = make();
    return result;
  }
  std::vector<double> numbers() {
    return list<double>([&] { return number(); });
  }
  std::vector<int> integers() {
    return list<int>([&] { return integer(); });
  }
  /// Rows of a table, now and then more than any list or look-up takes in one piece.
  std::size_t rows() {
    constexpr std::array<std::size_t, 4> kMost{1, 3, 10, 40};
    return below(chance(2000) ? 1500 : kMost[below(kMost.size())]);
  }
  template <class T>
  T* one_of(const std::vector<T*>& objects) {
    return objects[below(objects.size())];
  }
  template <class T>
  T* one_or_none(const std::vector<T*>& objects) {
    return objects.empty() || chance(4) ? nullptr : one_of(objects);
  }

 private:
  std::mt19937_64 d_random;
};

/// Ids that no other object of the kind has; -1 refers to nothing.
class Ids {
 public:
  explicit Ids(Source& source) : d_source(source) {}
  int next() {
    int id = d_source.integer();
    while (!d_used.insert(id).second) ++(id = d_source.integer() / 2);
    return id;
  }

 private:
  Source& d_source;
  std::set<int> d_used{-1};
};

/// Vertices name their layers, so that every layer's name is its own and not empty.
void fill_objects(Source& source, Layout& layout) {
  Ids layer_ids(source);
  Ids net_ids(source);
  Ids vertex_ids(source);
  for (std::size_t n = source.rows(); n > 0; --n) {
    layout.layers.add(layer_ids.next(), std::to_string(n) + ":" + source.text(), source.number());
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    layout.nets.add(net_ids.next(), EM2DNet::Type{source.integer()}, source.text());
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    layout.signals.add(source.integer(), source.text(), source.number(), source.one_or_none(layout.layers));
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    layout.vertices.add(vertex_ids.next(), source.text(), source.number(), source.number(), source.number(),
                        source.integer(), source.one_or_none(layout.layers), source.one_or_none(layout.layers),
                        source.one_or_none(layout.layers), source.integer());
  }
}

/// What refers to objects that must be there.
void fill_references(Source& source, Layout& layout) {
  const auto vertex = [&] { return source.one_of(layout.vertices); };
  const bool has_nets = !layout.nets.empty();
  const bool has_ends = has_nets && !layout.vertices.empty();
  for (std::size_t n = has_ends ? source.rows() : 0; n > 0; --n) {
    layout.traces.add(source.text(), source.one_of(layout.nets), vertex(), vertex(), 0);
  }
  for (std::size_t n = has_ends ? source.rows() : 0; n > 0; --n) {
    layout.vias.add(source.text(), source.one_of(layout.nets), vertex(), vertex(), source.number());
  }
  for (std::size_t n = has_ends ? source.rows() : 0; n > 0; --n) {
    layout.polyVias.add(source.text(), source.one_of(layout.nets), vertex(), vertex(),
                        EM2DPolyVia::PolyType{source.integer()}, source.numbers());
  }
  for (std::size_t n = has_nets && !layout.layers.empty() ? source.rows() : 0; n > 0; --n) {
    layout.shapes.add(source.text(), source.one_of(layout.layers), source.one_of(layout.nets),
                      EM2DShape::Type{source.integer()}, source.integer(), source.numbers());
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    EM2DCircuit* circuit = layout.circuits.add(source.text());
    circuit->setOption(source.integer());
    for (std::size_t pins = layout.vertices.empty() ? 0 : source.rows(); pins > 0; --pins) {
      circuit->addPin(source.text(), vertex());
    }
  }
}

/// Lists a layout's poly vias apart from its other ones again: a read yields both in one list.
void part_vias(Layout& layout) {
  std::vector<EM2DVia*> plain;
  for (EM2DVia* via : layout.vias) {
    if (auto* poly = dynamic_cast<EM2DPolyVia*>(via)) {
      layout.polyVias.push_back(poly);
    } else {
      plain.push_back(via);
    }
  }
  layout.vias.assign(plain.begin(), plain.end());
}

TEST(RoundTrip, OfRandomDatabasesKeepsEveryBit) {
  auto& files = TestSupport::MemoryPlatform::instance().files;
  DBZydata db("memory");
  std::size_t objects = 0;
  for (std::uint64_t seed = 1; seed <= kDatabases; ++seed) {
    Source source(seed);
    Layout layout;
    TestSupport::set_settings(
        layout.config, [&] { return source.number(); }, [&] { return source.integer(); },
        [&] { return source.text(); });
    fill_objects(source, layout);
    fill_references(source, layout);
    db.openem(false, "db");
    layout.write(db);
    db.save("first");
    ASSERT_TRUE(db.openem(true, "first"));
    Layout read;
    ASSERT_TRUE(read.read(db));
    const std::vector<std::string> lines = describe(layout);
    ASSERT_EQ(describe(read), lines) << "seed " << seed;
    objects += lines.size();
    db.save("again");
    ASSERT_TRUE(files["memory/again.zydat"] == files["memory/first.zydat"]) << "seed " << seed;
    part_vias(read);
    db.openem(false, "db");
    read.write(db);
    db.save("objects");
    ASSERT_TRUE(files["memory/objects.zydat"] == files["memory/first.zydat"]) << "seed " << seed;
  }
  EXPECT_GT(objects, 30 * kDatabases);
  files.clear();
}

/// Numbers are ordered, so that meshes compare; their other bits show in the bytes.
void fill_mesh(Source& source, SImesh2D& mesh) {
  const auto integer = [&] { return source.integer(); };
  const auto number = [&] { return source.ordered_number(); };
  const auto polygon = [&] {
    return SImesh2D::Polygon{integer(), integer(),     integer(),         integer(),        integer(),
                             integer(), source.text(), source.integers(), source.integers()};
  };
  for (std::size_t n = source.rows(); n > 0; --n) mesh.layers.push_back({integer(), source.text()});
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.metals.push_back({integer(), integer(), source.text(), source.integers()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.mediums.push_back({integer(), integer(), integer(), integer(), source.integers()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.maShapes.push_back(
        {integer(), integer(), integer(), number(), number(), source.integers(), source.integers()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.specialVoids.push_back({integer(), integer(), integer(), source.text(), source.list<double>(number)});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.emVertices.push_back({integer(), source.text(), number(), number(), integer(), integer(), source.text(),
                               source.text(), source.text()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.nodes.push_back({integer(), number(), number(), integer(), source.integers(), source.integers()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.edges.push_back(
        {integer(), integer(), integer(), integer(), integer(), integer(), integer(), source.integers()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.faces.push_back({integer(), integer(), integer(), integer(), source.integers(), source.integers()});
  }
  for (std::size_t n = source.rows(); n > 0; --n) mesh.polygons.push_back(polygon());
  for (std::size_t n = source.rows(); n > 0; --n) mesh.negPolygons.push_back(polygon());
  for (std::size_t n = source.rows(); n > 0; --n) mesh.viaMeshes.push_back({source.text(), source.integers()});
  for (std::size_t n = source.rows(); n > 0; --n) {
    mesh.addVia(source.text(), integer(), number(), number(), integer(), number(), number());
  }
}

TEST(RoundTrip, OfRandomMeshesKeepsEveryBit) {
  auto& files = TestSupport::MemoryPlatform::instance().files;
  std::string& file = files["memory/corvane2d.zydat"];
  DBZydata db("memory");
  for (std::uint64_t seed = 1; seed <= kMeshes; ++seed) {
    Source source(seed);
    SImesh2D mesh;
    fill_mesh(source, mesh);
    ASSERT_TRUE(db.writeNegPolyMesh(&mesh));
    const std::string first = file;
    SImesh2D read;
    ASSERT_TRUE(db.readNegPolyMesh(&read, nullptr));
    ASSERT_TRUE(read == mesh) << "seed " << seed;
    ASSERT_TRUE(db.writeNegPolyMesh(&read));
    ASSERT_TRUE(file == first) << "seed " << seed;
  }
  files.clear();
}

}  // namespace
}  // namespace Mesh2DPlat
