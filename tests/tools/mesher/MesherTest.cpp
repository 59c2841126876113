// Meshes of small layouts: areas, topology, what lies where.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <set>

#include "tests/tools/mesher/MesherTexts.h"

using namespace CorvaneMesher;
using namespace MesherTests;
using Mesh2DPlat::SImesh2D;

namespace {

std::size_t at(int index) { return static_cast<std::size_t>(index); }

double length(const SImesh2D& mesh, const SImesh2D::Edge& edge) {
  const SImesh2D::Node &a = mesh.nodes[at(edge.startNode)], &b = mesh.nodes[at(edge.endNode)];
  return std::hypot(a.x - b.x, a.y - b.y);
}

double outline_area(const SImesh2D& mesh, const std::vector<int>& nodes) {
  double twice = 0;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const SImesh2D::Node &a = mesh.nodes[at(nodes[i])], &b = mesh.nodes[at(nodes[(i + 1) % nodes.size()])];
    twice += a.x * b.y - b.x * a.y;
  }
  return twice / 2;
}

/// Edge i joins node i and node i + 1; `inside` is the face or polygon to the left of the walk.
template <class OnLeft>
void check_walk(const SImesh2D& mesh, const std::vector<int>& nodes, const std::vector<int>& edges,
                const OnLeft& check_left) {
  ASSERT_EQ(nodes.size(), edges.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const SImesh2D::Edge& edge = mesh.edges[at(edges[i])];
    const int from = nodes[i], to = nodes[(i + 1) % nodes.size()];
    ASSERT_EQ(std::set<int>({edge.startNode, edge.endNode}), std::set<int>({from, to}));
    const bool is_forward = edge.startNode == from;
    check_left(is_forward ? edge.leftFace : edge.rightFace, is_forward ? edge.rightFace : edge.leftFace);
  }
}

void check_topology(const SImesh2D& mesh) {
  std::set<std::pair<int, int>> pairs;
  for (const SImesh2D::Edge& edge : mesh.edges) {
    ASSERT_TRUE(pairs.emplace(edge.startNode, edge.endNode).second && !pairs.contains({edge.endNode, edge.startNode}));
    ASSERT_TRUE(edge.leftFace >= 0 || edge.rightFace >= 0);
    ASSERT_EQ(mesh.nodes[at(edge.startNode)].layer, edge.layer);
    for (const int face : {edge.leftFace, edge.rightFace}) {
      if (face < 0) continue;
      const auto& edges = mesh.faces[at(face)].edges;
      ASSERT_EQ(std::count(edges.begin(), edges.end(), edge.id), 1);
      ASSERT_EQ(mesh.faces[at(face)].meshLayer, edge.meshLayer);
    }
  }
  std::vector<std::vector<int>> around(mesh.nodes.size());
  for (const SImesh2D::Face& face : mesh.faces) {
    ASSERT_GT(outline_area(mesh, face.nodes), 0);
    check_walk(mesh, face.nodes, face.edges, [&](int left, int) { ASSERT_EQ(left, face.id); });
    for (const int node : face.nodes) around[at(node)].push_back(face.id);
  }
  for (const SImesh2D::Node& node : mesh.nodes) ASSERT_EQ(node.metalFaces, around[at(node.id)]);
}

void check_polygons(const SImesh2D& mesh) {
  double polygons = 0, faces = 0;
  for (const SImesh2D::Face& face : mesh.faces) faces += outline_area(mesh, face.nodes);
  const auto check = [&](const SImesh2D::Polygon& polygon, int orientation, int inside) {
    const double area = outline_area(mesh, polygon.nodes);
    polygons += area;
    EXPECT_EQ(polygon.orientation, orientation);
    EXPECT_EQ(polygon.leftPolygon, inside);
    EXPECT_EQ(area > 0, orientation == 1);
    EXPECT_EQ(polygon.net, mesh.polygons[at(inside)].net);
    check_walk(mesh, polygon.nodes, polygon.edges, [&](int left, int right) {
      ASSERT_EQ(mesh.faces[at(left)].mediumPolygon, inside);
      ASSERT_TRUE(right < 0 || mesh.faces[at(right)].mediumPolygon != inside);
    });
  };
  for (const SImesh2D::Polygon& polygon : mesh.polygons) check(polygon, 1, polygon.id);
  for (const SImesh2D::Polygon& polygon : mesh.negPolygons) check(polygon, -1, polygon.leftPolygon);
  EXPECT_NEAR(polygons, faces, 1e-9 * faces);
  std::multiset<int> in_metals;
  for (const SImesh2D::Metal& metal : mesh.metals) {
    in_metals.insert(metal.polygons.begin(), metal.polygons.end());
    for (const int polygon : metal.polygons) {
      EXPECT_EQ(mesh.polygons[at(polygon)].net, metal.name);
      EXPECT_EQ(mesh.polygons[at(polygon)].layer, metal.layer);
    }
  }
  EXPECT_EQ(in_metals.size(), mesh.polygons.size());
}

/// Areas by mesh layer and net.
std::map<std::pair<int, std::string>, double> areas(const SImesh2D& mesh) {
  std::map<std::pair<int, std::string>, double> result;
  for (const SImesh2D::Face& face : mesh.faces)
    result[{face.meshLayer, mesh.polygons[at(face.mediumPolygon)].net}] += outline_area(mesh, face.nodes);
  return result;
}

// --- areas ---

constexpr double kNm = 1e-6;

void add_square(Layout& layout, int net, double x, double y, double width, double height) {
  add_shape(layout, 0, net, EM2DShape::Type::Pad, rectangle(x, y, x + width, y + height));
}

void add_fan(Layout& layout, int traces, int width) {
  for (int i = 0; i < traces; ++i) {
    const double angle = 2 * std::numbers::pi * i / traces;
    layout.traces.make("T w" + std::to_string(width), layout.nets[1], add_vertex(layout, 0, 0, 0),
                       add_vertex(layout, 40 * std::cos(angle), 40 * std::sin(angle), 0), 0);
  }
}

void add_needles(Layout& layout, double length) {
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, {0, 0, length, 0, length, kNm});
  add_shape(layout, 0, 2, EM2DShape::Type::Fill, {0, 2 * kNm, length, -kNm, length, 0});
}

struct Pattern {
  const char* name;
  void (*add)(Layout& layout);
  double ground, signal;  // mm2
  std::size_t polygons, holes;
};

const Pattern kCopper[] = {
    {"a ring with a bridge to its hole",
     [](Layout& layout) { add_shape(layout, 0, 1, EM2DShape::Type::Fill, square_with_hole()); }, 96, 0, 1, 1},
    {"a net that overlaps itself, and another that touches it and overlaps by half a square millimetre",
     [](Layout& layout) {
       add_square(layout, 1, 0, 0, 2, 1);
       add_square(layout, 1, 1, 0.5, 2, 1.5);
       add_square(layout, 2, 3, 0, 1, 2);
       add_square(layout, 2, -1, 0, 1.5, 1);
     },
     4.5, 3, 3, 0},
    {"squares that meet in a corner, and a ring that closes in a point",
     [](Layout& layout) {
       add_square(layout, 1, 0, 0, 1, 1);
       add_square(layout, 1, 1, 1, 1, 1);
       add_shape(layout, 0, 2, EM2DShape::Type::Graphic, {10, 0, 13, 0, 13, 3, 10, 3, 10, 0, 11, 2, 12, 2, 12, 1});
     },
     2, 7, 3, 0},
    {"a circle and a trace",
     [](Layout& layout) {
       std::vector<double> circle;
       for (int i = 0; i < 400; ++i) circle.push_back(5 * std::cos((i / 2 * 2 - i % 2 * 100) * std::numbers::pi / 200));
       add_shape(layout, 0, 1, EM2DShape::Type::Fill, circle);
       layout.traces.make("T1 w500000", layout.nets[1], add_vertex(layout, 0, 0, 0), add_vertex(layout, 15, 0, 0), 0);
     },
     25 * std::numbers::pi + 10 * 0.5 + std::numbers::pi * 0.0625 / 2, 0, 1, 0},
    {"a comb of gaps that are all below the spacing",
     [](Layout& layout) {
       for (int i = 0; i < 50; ++i) add_square(layout, 1, i * 0.02, 0, 0.017, 0.5);
     },
     50 * 0.017 * 0.5, 0, 50, 0},
    {"needles that cross at nanometres", [](Layout& layout) { add_needles(layout, 100); }, 0.00005, 0.00005, 2, 0},
    {"a fill of five square nanometres",
     [](Layout& layout) {
       add_shape(layout, 0, 1, EM2DShape::Type::Fill, {0, 0, 5 * kNm, 0, 10 * kNm, 2 * kNm});
     },
     5e-12, 0, 1, 0},
    {"300 traces from one point", [](Layout& layout) { add_fan(layout, 300, 1'000'000); }, 5136, 0, 1, 0},
    {"2000 fills in one place",
     [](Layout& layout) {
       for (int i = 0; i < 2000; ++i) add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(0, 0, 1, 1));
     },
     1, 0, 1, 0},
};

TEST(Mesh, ComesSoonAndKeepsAreas) {
  for (const Pattern& copper : kCopper) {
    SCOPED_TRACE(copper.name);
    Layout layout = empty_layout();
    copper.add(layout);
    const Meshed meshed = mesh(layout, {.spare_nodes = 5'000});
    const SImesh2D& mesh = meshed.board.mesh;
    check_topology(mesh);
    check_polygons(mesh);
    EXPECT_EQ(mesh.polygons.size(), copper.polygons);
    EXPECT_EQ(mesh.negPolygons.size(), copper.holes);
    const LayerReport& report = meshed.report.layers[0];
    EXPECT_NEAR(report.mesh_area, report.copper_area, kMostDifference * report.copper_area);
    auto found = areas(mesh);
    EXPECT_NEAR((found[{0, "GND"}]), copper.ground, 1e-3 * copper.ground + report.fill_rounding_area);
    EXPECT_NEAR((found[{0, "SIG"}]), copper.signal, 1e-3 * copper.signal + report.fill_rounding_area);
    EXPECT_EQ(report.triangles, mesh.faces.size());
    EXPECT_LT(report.triangles, 500'000u);
  }
}

TEST(Mesh, KeepsEdgesAndAnglesToTheSettings) {
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, square_with_hole());
  const Meshed meshed = mesh(layout);
  EXPECT_GE(meshed.report.smallest_angle, 20 - 1e-6);
  for (const SImesh2D::Edge& edge : meshed.board.mesh.edges) ASSERT_LE(length(meshed.board.mesh, edge), 1.0001);
}

TEST(Mesh, FillsThatOverlapOrCrossThemselvesAreReported) {
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, {0, 0, 2, 2, 2, 0, 0, 2});  // a bow: two triangles of 1 mm2
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(10, 0, 12, 2));
  add_shape(layout, 0, 2, EM2DShape::Type::Fill, rectangle(11, 0, 13, 2));
  const LayerReport report = mesh(layout).report.layers[0];
  EXPECT_EQ(report.crossing_fills, 1u);
  EXPECT_NEAR(report.fill_overlap_area, 2, 1e-9);
  EXPECT_NEAR(report.fill_area, 2 + 6, 1e-9);
  EXPECT_EQ(report.overlapping_nets, 1u);
  EXPECT_NEAR(report.net_overlap_area, 2, 1e-9);
}

TEST(Mesh, CopperWithoutAreaMakesAnEmptyLayer) {
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, {0, 0, 1, 0, 2, 0});
  add_shape(layout, 1, 1, EM2DShape::Type::Pad, {3, 3, 3, 3, 3, 3});
  add_via(layout, 1, 0, 0, 0, 1, 0.1);
  const Meshed meshed = mesh(layout);
  EXPECT_EQ(meshed.board.mesh.layers.size(), 2u);
  EXPECT_EQ(meshed.board.mesh.nodes.size() + meshed.board.mesh.vias().size(), 0u);
  EXPECT_EQ(meshed.report.layers[0].relative_difference(), 0);
}

std::string failure(const Layout& layout, const MeshLimits& limits = {}) {
  try {
    mesh(layout, limits);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "<nothing thrown>";
}

TEST(Mesh, SaysWhereItPassesALimit) {
  Layout layout = empty_layout();
  add_fan(layout, 40, 5'000'000);
  add_shape(layout, 0, 2, EM2DShape::Type::Fill, rectangle(-5, -5, 5, 5));
  EXPECT_EQ(failure(layout), "<nothing thrown>");
  for (const auto& [limits, what] : std::vector<std::pair<MeshLimits, std::string>>{
           {{.edges = 200}, "layer TOP: outlines that cross make more than 200 edges, near ("},
           {{.comparisons = 500}, "layer TOP: too many edges of outlines lie close together, near ("},
           {{.spare_nodes = 100, .nodes = 3000}, "layer TOP: edges this short make too many nodes, near ("}}) {
    const std::string text = failure(layout, limits);
    EXPECT_TRUE(text.starts_with(what) && text.ends_with(") mm")) << text;
  }
  Layout needles = empty_layout();
  add_needles(needles, 100);
  EXPECT_TRUE(mesh(needles, {.spare_nodes = 1}).report.layers[0].is_refined_less);
}

TEST(Mesh, RefusesLengthsThatNoBoardHas) {
  for (const auto& [radius, digits] : std::map<double, std::string>{{-1, "-1"}, {-INFINITY, "-inf"}}) {
    Layout layout = empty_layout();
    add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(0, 0, 1, 1));
    add_via(layout, 1, 0, 0, 0, 1, 0.1);
    add_via(layout, 1, 0, 0, 0, 1, radius);
    EXPECT_TRUE(failure(layout).starts_with("em2dvia row 1: r is " + digits)) << failure(layout);
  }
}

TEST(Mesh, IsNotTakenWhenAnAreaIsOff) {
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(0, 0, 1, 1));
  const Copper copper = collect_copper(layout, true);
  for (double LayerReport::*const area : {&LayerReport::fill_mesh_area, &LayerReport::mesh_area}) {
    for (const auto& [extra, is_taken] : {std::pair(0.0005, true), {0.002, false}, {0.1, false}, {-0.1, false}}) {
      LayerReport report;
      report.*area = extra;  // counts as triangles of the mesh
      Phases phases;
      bool was_taken = true;
      try {
        mesh_layer(copper.layers[0], {1e6, 5e4, 20}, report, phases);
      } catch (const std::runtime_error&) {
        was_taken = false;
      }
      EXPECT_EQ(was_taken, is_taken) << extra;
    }
  }
}

TEST(Mesh, ViasPiercePlanesOfTheirNet) {
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(0, 0, 10, 10));
  add_shape(layout, 1, 2, EM2DShape::Type::Fill, rectangle(0, 0, 10, 10));
  add_shape(layout, 2, 1, EM2DShape::Type::Fill, square_with_hole());
  add_via(layout, 1, 2, 2, 0, 2, 0.25);   // TOP and BOTTOM; MID is another net's
  add_via(layout, 1, 5, 5, 0, 2, 0.25);   // in BOTTOM's hole
  add_via(layout, 2, 8, 8, 1, 1, 0.1);    // within MID
  add_via(layout, 1, 50, 50, 0, 2, 0.1);  // nowhere
  layout.poly_vias.make("P", layout.nets[1], add_vertex(layout, 8, 2, 0), add_vertex(layout, 8, 2, 2),
                        Mesh2DPlat::EM2DPolyVia::PolyType::Slot, rectangle(7.9, 1.8, 8.1, 2.2));
  auto* const circuit = layout.circuits.make("U1");
  circuit->addPin("1", layout.vertices[0]);
  circuit->addPin("2", add_vertex(layout, 5, 5, 2));
  const BoardMesh board = mesh(layout).board;
  std::vector<std::pair<std::string, int>> planes;
  for (const auto& via : board.mesh.vias()) planes.emplace_back(via->name(), via->planeId());
  EXPECT_EQ(planes,
            (std::vector<std::pair<std::string, int>>{{"V0", 0}, {"V0", 2}, {"V1", 0}, {"V2", 1}, {"P", 0}, {"P", 2}}));
  EXPECT_NEAR(board.mesh.vias()[1]->ratio(), std::numbers::pi * 0.0625 / 96, 1e-9);
  EXPECT_NEAR(board.mesh.vias()[4]->radius(), std::sqrt(0.08 / std::numbers::pi), 1e-12);
  EXPECT_EQ(board.mesh.vias()[1]->layer(), 12);
  ASSERT_EQ(board.via_maps.size(), 3u);
  EXPECT_EQ(board.via_maps[2].at(layout.vias[0]), 1);
  EXPECT_EQ(board.via_maps[1].size(), 1u);
  ASSERT_EQ(board.mesh.emVertices.size(), 2u);
  const SImesh2D::EMVertex first = {0, "U1.1", 2, 2, 0, 10, "GND", "", "SIG"};
  const SImesh2D::EMVertex second = {1, "U1.2", 5, 5, 2, 12, "", "SIG", ""};
  EXPECT_EQ(board.mesh.emVertices[0], first);
  EXPECT_EQ(board.mesh.emVertices[1], second);
  ASSERT_EQ(board.mesh.mediums.size(), 2u);
  EXPECT_EQ(board.mesh.mediums[1].upMetal, 1);
  EXPECT_EQ(board.mesh.mediums[1].lowMetal, 2);
  add_via(layout, 1, 3, 3, 0, 2, 0.1);
  layout.vias.make("V0", layout.nets[1], layout.vertices[0], layout.vertices[1], 0.1);
  EXPECT_THROW(mesh(layout), std::runtime_error) << "files name vias";
}

}  // namespace
