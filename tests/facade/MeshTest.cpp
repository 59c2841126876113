// Meshes: written to a file of their own, read back element by element.
#include <climits>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "facade/DBRoot.h"
#include "model/MeshReadInterface.h"
#include "model/SImesh2D.h"
#include "tests/facade/Layout.h"
#include "tests/facade/SampleMesh.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::Layout;
using TestSupport::make_mesh;
using TestSupport::read_file;
using ViaMaps = std::vector<std::map<EM2DVia*, int>>;

class Mesh : public testing::Test {
 protected:
  Mesh() {
    fill(d_layout);
    d_maps.resize(3);
    d_maps[0] = {{d_layout.vias[0], 4}, {d_layout.vias[1], -1}};
    d_maps[2] = {{d_layout.vias[1], 0}};
  }

  std::string file() const { return d_dir.path("corvane2d.zydat"); }
  Table<std::string, EM2DVia> vias_by_name() const { return d_layout.vias.by(&EM2DVia::name); }
  bool read(SImesh2D& mesh, ViaTable& vias, std::vector<EM2DShape*>* shapes, ViaMaps* maps) {
    return d_db.read(&mesh, vias, d_layout.layers.by(&EM2DLayer::id), d_layout.nets.by(&EM2DNet::id), vias_by_name(),
                     shapes, maps);
  }

  TestSupport::TempDir d_dir;
  DBZydata d_db{d_dir.path()};
  Layout d_layout;
  ViaMaps d_maps;
};

TEST_F(Mesh, ComesBackElementByElement) {
  SImesh2D mesh = make_mesh();
  EXPECT_TRUE(d_db.write(&mesh, d_maps, d_layout.shapes));
  EXPECT_EQ(currentRoot->tree, nullptr);
  SImesh2D read_back = make_mesh();
  read_back.addNegPolygon({});
  ViaTable vias{{1, {{"gone", read_back.vias()[0].get()}}}};
  Layout layout;
  ViaMaps maps;
  EXPECT_TRUE(read(read_back, vias, &layout.shapes, &maps));
  mesh.viaMeshes = {{"", {-1, -1, 0}}, {"via", {4, -1, -1}}};  // by name
  EXPECT_TRUE(read_back == mesh);
  EXPECT_EQ(vias.size(), 2u);
  EXPECT_EQ(vias.at(5).at("via \"a\""), read_back.vias()[2].get());
  EXPECT_EQ(vias.at(-5).at(""), read_back.vias()[1].get());
  EXPECT_EQ(maps, (ViaMaps{{{d_layout.vias[0], 4}}, {}, {{d_layout.vias[1], 0}}}));
  ASSERT_EQ(layout.shapes.size(), d_layout.shapes.size());
  for (std::size_t i = 0; i < layout.shapes.size(); ++i) {
    EXPECT_EQ(layout.shapes[i]->layer(), d_layout.shapes[i]->layer());
    EXPECT_EQ(layout.shapes[i]->coordinates().size(), d_layout.shapes[i]->coordinates().size());
  }
}

TEST_F(Mesh, FilesAreTheSameWhereverTheViasLie) {
  std::vector<EM2DVia> vias;
  for (const char* name : {"b", "a", "", "c"}) vias.emplace_back(name, nullptr, nullptr, nullptr, 1.0);
  const auto written = [&](std::vector<std::size_t> order) {
    ViaMaps maps(2);
    for (std::size_t i = 0; i < order.size(); ++i) maps[i % 2][&vias[order[i]]] = static_cast<int>(i);
    SImesh2D mesh = make_mesh();
    d_db.write(&mesh, maps);
    return read_file(file());
  };
  const std::string once = written({0, 1, 2, 3});
  std::swap(vias[0], vias[2]);  // the same names and numbers at other addresses
  std::swap(vias[1], vias[3]);
  EXPECT_TRUE(written({2, 3, 0, 1}) == once);
}

TEST_F(Mesh, WithoutOneMeaningIsRefusedBeforeItsFileIsTouched) {
  SImesh2D mesh = make_mesh();
  d_db.write(&mesh, d_maps);
  const std::string before = read_file(file());
  EM2DVia twin("via", nullptr, nullptr, nullptr, 1.0);
  d_maps[2][&twin] = 3;
  EXPECT_ERROR(d_db.write(&mesh, d_maps),
               "via \"via\" and via \"via\" of the via numbers are two objects: a read tells vias by name");
  EXPECT_ERROR(d_db.write(&mesh, {{}, {{nullptr, 1}}}), "map 1 of the via numbers has a null pointer instead of a via");
  EXPECT_ERROR(d_db.write(&mesh, {}, {d_layout.shapes[0], nullptr}),
               "table \"em2dshape\" can't take row 1 of the list: a null pointer instead of a layout object");
  SImesh2D* none = nullptr;
  ViaTable vias;
  const std::vector<std::function<void()>> with_none{
      [&] { d_db.write(none, {}); }, [&] { d_db.writeNegPolyMesh(none); }, [&] { d_db.read(none, vias); },
      [&] { d_db.readNegPolyMesh(none, nullptr); }};
  for (const auto& operation : with_none) EXPECT_ERROR(operation(), "a null pointer instead of a mesh object");
  EXPECT_TRUE(read_file(file()) == before);
}

/// Writes down what it is told.
class Listener : public MeshReadInterface {
 public:
  explicit Listener(Layout& layout) : d_layout(layout) {}

  EM2DLayer* layer(int id) override { return id == 1 ? nullptr : d_layout.layers[0]; }
  EM2DNet* net(int) override { return d_layout.nets[0]; }
  bool wantsShapes() const override { return true; }
  void shapeRead(std::unique_ptr<EM2DShape> shape) override {
    heard.push_back(shape->name());
    if (heard.size() == fails_at) throw std::runtime_error("enough");
  }
  void negPolygonRead(SImesh2D& mesh, std::size_t position) override {
    EXPECT_EQ(mesh.negPolygons.size(), position + 1);
    heard.push_back("hole " + mesh.negPolygons.back().net);
    if (heard.size() == fails_at) throw std::runtime_error("enough");
  }

  std::vector<std::string> heard;
  std::size_t fails_at = 0;  // 0: never

 private:
  Layout& d_layout;
};

TEST_F(Mesh, NegativePolygonsComeBackOneByOne) {
  SImesh2D mesh = make_mesh();
  TestSupport::add_holes(mesh);
  std::filesystem::remove(d_dir.path());
  EXPECT_TRUE(d_db.writeNegPolyMesh(&mesh));  // creates the directory
  SImesh2D read_back;
  EXPECT_TRUE(d_db.readNegPolyMesh(&read_back, nullptr));
  EXPECT_TRUE(read_back == mesh);
  Listener listener(d_layout);
  EXPECT_TRUE(d_db.readNegPolyMesh(&read_back, &listener));
  EXPECT_TRUE(read_back == mesh);
  EXPECT_EQ(listener.heard, (std::vector<std::string>{"hole one", "hole two"}));
  listener.fails_at = 4;
  read_back.addLayer({-1, "own"});
  EXPECT_THROW(d_db.readNegPolyMesh(&read_back, &listener), std::runtime_error);
  EXPECT_EQ(read_back.layers.size(), mesh.layers.size() + 1);
  ViaTable vias;
  EXPECT_TRUE(d_db.read(&read_back, vias));  // a plain read leaves them out
  EXPECT_TRUE(read_back.negPolygons.empty());
  EXPECT_EQ(read_back.viaMeshes, mesh.viaMeshes);
  EXPECT_TRUE(d_db.write(&mesh, {}));  // and so does a plain write
  EXPECT_TRUE(d_db.readNegPolyMesh(&read_back, nullptr));
  EXPECT_TRUE(read_back.negPolygons.empty());
}

TEST_F(Mesh, ShapesGoToTheReader) {
  SImesh2D mesh = make_mesh();
  d_db.write(&mesh, {}, d_layout.shapes);
  Listener listener(d_layout);
  EXPECT_TRUE(d_db.readNegPolyMesh(&mesh, &listener));
  std::vector<std::string> names;
  for (const EM2DShape* shape : d_layout.shapes) names.push_back(shape->name());
  EXPECT_EQ(listener.heard, names);
}

TEST_F(Mesh, FailedReadChangesNothing) {
  SImesh2D mesh = make_mesh();
  const auto expect_unchanged = [&](const std::function<void(SImesh2D&, ViaTable&, ViaMaps&)>& action) {
    SImesh2D kept = make_mesh();
    kept.addNegPolygon({});
    ViaTable vias{{1, {{"kept", kept.vias()[0].get()}}}};
    ViaMaps maps(7);
    action(kept, vias, maps);
    mesh.negPolygons = kept.negPolygons;
    EXPECT_TRUE(kept == mesh);
    EXPECT_EQ(vias.at(1).at("kept"), kept.vias()[0].get());
    EXPECT_EQ(maps.size(), 7u);
  };
  std::vector<EM2DShape*> shapes;
  expect_unchanged([&](SImesh2D& kept, ViaTable& vias, ViaMaps& maps) {
    EXPECT_FALSE(read(kept, vias, &shapes, &maps));
    EXPECT_FALSE(d_db.readNegPolyMesh(&kept, nullptr));
  });
  d_db.write(&mesh, d_maps, d_layout.shapes);
  const std::string good = read_file(file());
  expect_unchanged([&](SImesh2D& kept, ViaTable& vias, ViaMaps& maps) {
    const auto missing = [&](const std::string& where, auto... arguments) {
      try {
        d_db.read(&kept, vias, arguments...);
        ADD_FAILURE();
      } catch (const DanglingReference& error) {
        EXPECT_STREQ(error.what(), "invalid unordered_map<K, T> key");
        EXPECT_EQ(error.table() + " " + std::to_string(error.row()) + " " + error.id(), where);
      }
    };
    const Table<int, EM2DLayer> layers = d_layout.layers.by(&EM2DLayer::id);
    missing("em2dshape 0 1", layers, Table<int, EM2DNet>(), vias_by_name(), &shapes, &maps);
    missing("viamesh 0 ", layers, d_layout.nets.by(&EM2DNet::id), Table<std::string, EM2DVia>(), &shapes, &maps);
  });
  d_db.openem(false, "layout");
  d_db.save("layout");
  expect_unchanged([&](SImesh2D& kept, ViaTable& vias, ViaMaps& maps) {
    for (const std::string& bytes : {read_file(d_dir.path("layout.zydat")), good.substr(0, good.size() - 1)}) {
      TestSupport::write_file(file(), bytes);
      EXPECT_THROW(read(kept, vias, &shapes, &maps), Util::Error);
      EXPECT_THROW(d_db.readNegPolyMesh(&kept, nullptr), Util::Error);
    }
    TestSupport::write_file(file(), "");
    EXPECT_ERROR(read(kept, vias, &shapes, &maps), "mesh file '" + file() + "' is empty");
  });
  EXPECT_TRUE(shapes.empty());
}

}  // namespace
}  // namespace Mesh2DPlat
