// Pictures of meshes.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "facade/DBZydata.h"
#include "model/SImesh2D.h"
#include "tests/tools/picture/Pictures.h"

using namespace Mesh2DPlat;
using nlohmann::json;
namespace fs = std::filesystem;

namespace {

// Two squares of 10 mm side by side, of four triangles each around a node in the middle. They share an edge, but not a
// net: "L" is left, "R" is right. Nothing else says which net a triangle has.
SImesh2D two_squares() {
  SImesh2D mesh;
  mesh.addLayer({-1, "TOP"});
  for (const auto& [x, y] :
       std::vector<std::pair<double, double>>{{0, 0}, {10, 0}, {20, 0}, {20, 10}, {10, 10}, {0, 10}, {5, 5}, {15, 5}})
    mesh.addNode({-1, x, y, 5, {}, {}});
  const auto add_square = [&](const std::vector<int>& ring, int middle) {
    const int first = static_cast<int>(mesh.faces.size());
    for (std::size_t i = 0; i < 4; ++i) {
      mesh.addFace({-1, 0, 5, -1, {ring[i], ring[(i + 1) % 4], middle}, {}});
      mesh.addEdge({-1, 0, 5, middle, ring[i], first + static_cast<int>(i), first + static_cast<int>(i + 3) % 4, {}});
    }
  };
  add_square({0, 1, 4, 5}, 6);
  add_square({1, 2, 3, 4}, 7);
  mesh.addEdge({-1, 0, 5, 1, 4, 1, 7, {}});
  mesh.addPolygon({-1, 1, -1, -1, 0, 5, "L", {0, 1, 4, 5}, {}});
  mesh.addPolygon({-1, 1, -1, -1, 0, 5, "R", {4, 3, 2, 1}, {}});  // the other way round
  return mesh;
}

// Under a net's faces the panel shines through, and the faces' edges may touch a pixel: which net is it?
std::string net_at(const json& picture, const char* point) {
  const std::string colour = picture["colours"][point];
  const int red = std::stoi(colour.substr(1, 2), nullptr, 16), blue = std::stoi(colour.substr(5, 2), nullptr, 16);
  return colour == kPanel ? "none" : blue > red ? "largest" : "second";
}

class RenderMesh : public Pictures {
 protected:
  /// Meshes go by any name.
  std::string save(SImesh2D& mesh) {
    DBZydata database(folder.path());
    database.writeNegPolyMesh(&mesh);
    fs::rename(folder.path("corvane2d.zydat"), folder.path("mesh of today"));
    return folder.path("mesh of today");
  }
};

TEST_F(RenderMesh, FacesHaveTheNetsOfThePolygonsAroundThem) {
  SImesh2D mesh = two_squares();
  const json picture = picture_of(save(mesh), "--width 400", {"5,2", "9,5.5", "11,5.5", "18,5.5", "5,10.2"});
  EXPECT_EQ(contents, "1 layer, 8 faces, 2 polygons");
  EXPECT_EQ(picture["nets"], json({"R", "L"}));
  EXPECT_EQ(picture["layers"], json({"TOP"}));
  EXPECT_EQ(net_at(picture, "5,2"), "largest");
  EXPECT_EQ(net_at(picture, "9,5.5"), "largest");
  EXPECT_EQ(net_at(picture, "11,5.5"), "second");
  EXPECT_EQ(net_at(picture, "18,5.5"), "second");
  EXPECT_EQ(net_at(picture, "5,10.2"), "none");
}

TEST_F(RenderMesh, ShowsHolesViasVerticesAndBareEdges) {
  SImesh2D mesh = two_squares();
  mesh.addLayer({-1, "BOT"});
  mesh.addNegPolygon({-1, -1, 0, -1, 0, 5, "L", {0, 1, 6}, {}});
  mesh.addSpecialVoid({-1, 1, 6, "R", {0, 0, 1, 0, 1, 1}});
  mesh.addEdge({-1, 1, 6, 0, 3, -1, -1, {}});
  mesh.addVia("V<1>", 0, 5, 5, 5, 1, 0.4);
  mesh.addEMVertex({-1, "U1.1", 2, 2, 6, 6, "BOT", "TOP", ""});
  const std::string file = save(mesh);
  const json all = picture_of(file);
  EXPECT_EQ(contents, "2 layers, 8 faces, 1 bare edge, 2 polygons, 2 holes, 1 via, 1 EM vertex");
  EXPECT_EQ(all["circles"], json({"V<1>", "U1.1"}));
  EXPECT_EQ(all["texts"],
            json({"mesh of today", "2 layers, 8 faces, 1 bare edge, 2 polygons, 2 holes, 1 via, 1 EM vertex", "TOP",
                  "BOT", "vias", "holes", "EM vertices", "2 mm"}));
  picture_of(file, "--layer BOT");
  EXPECT_EQ(contents, "1 layer, 1 bare edge, 1 hole, 1 EM vertex");
  picture_of(file, "--layer TOP --net R");
  EXPECT_EQ(contents, "1 layer, 8 faces, 2 polygons, 1 hole, 1 via");
}

TEST_F(RenderMesh, FollowsIdsThatAreNoPositions) {
  SImesh2D mesh = two_squares();
  for (SImesh2D::Node& node : mesh.nodes) node.id = 1000 - node.id;
  for (SImesh2D::Face& face : mesh.faces) {
    for (int& node : face.nodes) node = 1000 - node;
  }
  for (SImesh2D::Edge& edge : mesh.edges) {
    edge.startNode = 1000 - edge.startNode;
    edge.endNode = 1000 - edge.endNode;
  }
  for (SImesh2D::Polygon& polygon : mesh.polygons) {
    for (int& node : polygon.nodes) node = 1000 - node;
  }
  EXPECT_EQ(picture_of(save(mesh))["nets"], json({"R", "L"}));
}

TEST_F(RenderMesh, CountsWhatHasTooFewCornersToBeDrawn) {
  SImesh2D empty, mesh = two_squares();
  EXPECT_EQ(picture_of(save(empty))["texts"][2], "nothing to draw");
  EXPECT_EQ(contents, "nothing to draw");
  mesh.faces[0].nodes = {};
  mesh.faces[7].nodes = {3, 4};
  mesh.polygons[1].nodes = {};
  mesh.addNegPolygon({-1, -1, 0, -1, 0, 5, "", {1}, {}});
  mesh.addSpecialVoid({-1, 0, 0, "", {}});
  picture_of(save(mesh));
  EXPECT_EQ(contents,
            "1 layer, 6 faces, 1 polygon, 2 faces without an area not drawn, 3 polygons without an area not drawn");
}

TEST_F(RenderMesh, NamesTheRowWhoseReferenceLeadsNowhere) {
  using Change = std::function<void(SImesh2D&)>;
  const std::vector<std::pair<Change, std::string>> table = {
      {[](SImesh2D& mesh) { mesh.faces[3].nodes[1] = 8; },
       "meshface row 3: column \"node\" names 8, which is not in table \"meshnode\""},
      {[](SImesh2D& mesh) { mesh.edges[2].endNode = 99; },
       "meshedge row 2: column \"endnode\" names 99, which is not in table \"meshnode\""},
      {[](SImesh2D& mesh) { mesh.edges[8].leftFace = 8; },
       "meshedge row 8: column \"leftface\" names 8, which is not in table \"meshface\""},
      {[](SImesh2D& mesh) { mesh.faces[7].meshLayer = 1; },
       "meshface row 7: column \"meshlayer\" names 1, which is not in table \"meshlayer\""},
      {[](SImesh2D& mesh) {
         mesh.addSpecialVoid({-1, 7, 0, "", {}});
       },
       "specialvoid row 0: column \"layerid\" names 7, which is not in table \"meshlayer\""},
      {[](SImesh2D& mesh) { mesh.nodes[4].id = 3; },
       "meshpolygon row 0: column \"node\" names 4, which is not in table \"meshnode\""},
      {[](SImesh2D& mesh) { mesh.nodes[4].y = std::numeric_limits<double>::infinity(); },
       "meshnode row 4: inf, no length up to a kilometre"}};
  for (const auto& [change, message] : table) {
    SImesh2D mesh = two_squares();
    change(mesh);
    const std::string file = save(mesh);
    EXPECT_EQ(refusal_of("'" + file + "' " + folder.path("out.svg")), file + ": " + message);
  }
  EXPECT_FALSE(fs::exists(folder.path("out.svg")));
}

}  // namespace
