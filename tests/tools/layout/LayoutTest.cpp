// Boards as layout objects, panels of them, and their comparison.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/tools/board/BoardTexts.h"
#include "tools/corvane/layout/LayoutCompare.h"

using namespace CorvaneTool;
using namespace Mesh2DPlat;
using BoardTexts::layout_of;
using BoardTexts::two_layer_board;

namespace {

constexpr int kVersion = 20241229;

std::string vertex_text(const EM2DVertex& vertex) {
  const auto name = [](const EM2DLayer* layer) { return layer ? layer->name() : std::string("-"); };
  return vertex.name() + " " + name(vertex.layer()) + "/" + name(vertex.upLayer()) + "/" + name(vertex.lowLayer()) +
         " type " + std::to_string(vertex.type()) + " options " + std::to_string(vertex.options());
}

TEST(LayoutBuilder, OneVertexPerNetLayerAndPosition) {
  const Layout layout = layout_of(two_layer_board(kVersion,
                                                  R"((segment (start 0 0) (end 1 0) (width 0.2) (layer "F.Cu") (net 1))
    (segment (start 1 0) (end 2 0) (width 0.3) (layer "F.Cu") (net 1))
    (segment (start 1 0) (end 1 0) (width 0.2) (layer "F.Cu") (net 2))
    (via (at 2 0) (drill 0.3) (layers "F.Cu" "B.Cu") (net 1))
    (footprint "x" (property "Reference" "J1") (at 0 0) (pad "A" smd rect (at 0 0) (size 1 1) (layers "F.Cu") (net 1))
    (pad "B" thru_hole circle (at 2 0) (size 1 1) (drill 0.5) (layers "*.Cu") (net 1))))"));
  std::vector<std::string> texts;
  for (const EM2DVertex* vertex : layout.vertices) texts.push_back(vertex_text(*vertex));
  EXPECT_EQ(texts, (std::vector<std::string>{"J1.A F.Cu/-/B.Cu type 2 options 5", "N1 F.Cu/-/B.Cu type 0 options 1",
                                             "J1.B F.Cu/-/B.Cu type 2 options 7", "N3 F.Cu/-/B.Cu type 0 options 1",
                                             "J1.B B.Cu/F.Cu/- type 2 options 6"}));
  ASSERT_EQ(layout.traces.size(), 3u);
  EXPECT_EQ(layout.traces[1]->name(), "T2 w300000");
  EXPECT_EQ(layout.traces[1]->option(), 300'000);
  EXPECT_EQ(layout.traces[1]->startVertex()->id(), 1);
  EXPECT_EQ(layout.traces[2]->startVertex(), layout.traces[2]->endVertex()) << "zero length";
  ASSERT_EQ(layout.vias.size(), 2u);
  EXPECT_EQ(layout.vias[1]->radius(), 0.25);
  EXPECT_EQ(layout.vias[0]->startVertex()->id(), 2);
  EXPECT_EQ(layout.vias[0]->endVertex()->id(), 4);
  ASSERT_EQ(layout.circuits.size(), 1u);
  EXPECT_EQ(layout.circuits[0]->pins()[1].second->id(), 2) << "the upper end of a plated hole";
}

TEST(LayoutBuilder, AnArcIsTwoTraces) {
  const Layout layout =
      layout_of(two_layer_board(kVersion, "(arc (start 0 0) (mid 1 1) (end 2 0) (width 0.2) (layer F.Cu) (net 1))"));
  ASSERT_EQ(layout.traces.size(), 2u);
  EXPECT_EQ(layout.traces[0]->endVertex(), layout.traces[1]->startVertex());
  EXPECT_EQ(layout.traces[1]->startVertex()->y(), 1);
}

TEST(LayoutBuilder, SignalsAndNetTypesTellOfFills) {
  const Layout layout = layout_of(two_layer_board(
      kVersion,
      "(segment (start 0 0) (end 1 0) (layer B.Cu) (net 2)) (segment (start 0 0) (end 1 0) (layer F.Cu))"
      "(zone (net 1) (layer B.Cu) (filled_polygon (island) (pts (xy 0 0) (xy 0.5 0) (xy 0 1))))"));
  ASSERT_EQ(layout.signals.size(), 2u);
  EXPECT_EQ(layout.signals[0]->patchLayer(), nullptr);
  EXPECT_EQ(layout.signals[1]->patchLayer(), layout.layers[1]);
  EXPECT_EQ(layout.signals[1]->z(), 0.0175);
  EXPECT_EQ(static_cast<int>(layout.nets[0]->type()), 0);
  EXPECT_EQ(static_cast<int>(layout.nets[1]->type()), 2);
  EXPECT_EQ(static_cast<int>(layout.nets[2]->type()), 1);
  ASSERT_EQ(layout.shapes.size(), 1u);
  EXPECT_EQ(layout.shapes[0]->option(), 1);
  EXPECT_EQ(layout.shapes[0]->coordinates(), (std::vector<double>{0, 0, 0.5, 0, 0, 1}));
}

TEST(LayoutBuilder, CentreLineFillsCarryTheirPen) {
  const Layout layout = layout_of(two_layer_board(
      20171130, "(zone (layer F.Cu) (min_thickness 0.25) (filled_polygon (pts (xy 0 0) (xy 1 0) (xy 0 1))))"));
  EXPECT_EQ(layout.shapes[0]->name(), "F1 w250000");
  EXPECT_EQ(layout.shapes[0]->option(), 2);
}

Layout pad_layout(const std::string& pad, SkippedItems* skipped = nullptr) {
  SkippedItems ignored;
  const Board board =
      two_layer_board(kVersion, "(footprint x (property Reference U1) (at 10 10) (layer B.Cu) " + pad + ")");
  return build_layout(board, "case", skipped ? *skipped : ignored);
}

TEST(LayoutBuilder, PadsBecomeShapesOnEveryCopperLayer) {
  const auto points = [](const std::string& shape, const std::string& rest = "") {
    const Layout layout = pad_layout("(pad 1 smd " + shape + " (at 0 0) (size 2 1) (layers F.Cu)" + rest + ")");
    return layout.shapes.size() == 1 ? layout.shapes[0]->coordinates().size() / 2 : 0;
  };
  EXPECT_EQ(points("circle"), 16u);
  EXPECT_EQ(points("oval"), 18u);
  EXPECT_EQ(points("rect"), 4u);
  EXPECT_EQ(points("trapezoid", "(rect_delta 0 0.4)"), 4u);
  EXPECT_EQ(points("roundrect", "(roundrect_rratio 0.1)"), 20u);
  EXPECT_EQ(points("custom"), 16u);
  EXPECT_EQ(points("custom", "(options (anchor rect))"), 4u);
  EXPECT_EQ(pad_layout("(pad 1 thru_hole rect (at 0 0) (size 2 1) (drill 1) (layers *.Cu))").shapes.size(), 2u);
  EXPECT_EQ(pad_layout("(pad 1 smd custom (at 0 0) (size 1 1) (layers F.Cu) (primitives (gr_poly (pts (xy 0 0) (xy 1 "
                       "0) (xy 0 1)))))")
                .shapes.size(),
            2u);
}

TEST(LayoutBuilder, CopperFollowsOffsetAndAngle) {
  const auto coordinates = [](const std::string& pad) { return pad_layout(pad).shapes[0]->coordinates(); };
  using Values = std::vector<double>;
  EXPECT_EQ(coordinates("(pad 1 smd rect (at 1 0 90) (size 2 1) (layers F.Cu) (drill (offset 0.5 0)))"),
            (Values{11.5, 10.5, 11.5, 8.5, 10.5, 8.5, 10.5, 10.5}));
  EXPECT_EQ(coordinates("(pad 1 smd trapezoid (at 0 0) (size 2 1) (rect_delta 0.4 0) (layers F.Cu))"),
            (Values{9, 10.7, 11, 10.3, 11, 9.7, 9, 9.3}));
}

// Area of a flattened outline, and how far from (10, 10) it reaches in x and y.
std::array<double, 3> measures(const std::vector<double>& outline) {
  std::array<double, 3> result{};
  for (std::size_t i = 0; i < outline.size(); i += 2) {
    const std::size_t next = (i + 2) % outline.size();
    result[0] += (outline[i] * outline[next + 1] - outline[next] * outline[i + 1]) / 2;
    result[1] = std::max(result[1], std::abs(outline[i] - 10));
    result[2] = std::max(result[2], std::abs(outline[i + 1] - 10));
  }
  result[0] = std::abs(result[0]);
  return result;
}

TEST(LayoutBuilder, RoundOutlinesHaveTheirSize) {
  const auto check = [](const std::vector<double>& outline, double area, double x, double y) {
    const auto [real_area, real_x, real_y] = measures(outline);
    EXPECT_NEAR(real_area, area, area * 0.03);
    EXPECT_NEAR(real_x, x, 1e-6);
    EXPECT_NEAR(real_y, y, 1e-6);
  };
  const double pi = 3.14159265358979;
  check(pad_layout("(pad 1 smd circle (at 0 0) (size 2 2) (layers F.Cu))").shapes[0]->coordinates(), pi, 1, 1);
  check(pad_layout("(pad 1 smd oval (at 0 0) (size 3 1) (layers F.Cu))").shapes[0]->coordinates(), 2 + pi / 4, 1.5,
        0.5);
  check(pad_layout("(pad 1 smd oval (at 0 0) (size 1 3) (layers F.Cu))").shapes[0]->coordinates(), 2 + pi / 4, 0.5,
        1.5);
  check(pad_layout("(pad 1 smd roundrect (at 0 0) (size 4 2) (roundrect_rratio 0.25) (layers F.Cu))")
            .shapes[0]
            ->coordinates(),
        7 + pi / 4, 2, 1);
}

TEST(LayoutBuilder, OvalHolesBecomePolygonVias) {
  const Layout layout = pad_layout(
      "(pad 1 thru_hole oval (at 0 0 90) (size 2 1) (drill oval 1.6 0.6 (offset 3 3)) (layers *.Cu) (net 1))"
      "(pad 2 thru_hole oval (at 5 0) (size 2 1) (drill oval 0.6 0.6) (layers *.Cu) (net 1))");
  ASSERT_EQ(layout.poly_vias.size(), 1u);
  const EM2DPolyVia& slot = *layout.poly_vias[0];
  EXPECT_EQ(slot.coordinates().size(), 36u);
  const auto [area, x, y] = measures(slot.coordinates());
  EXPECT_NEAR(area, 0.6 + 3.14159 * 0.09, 0.02);
  EXPECT_NEAR(x, 0.3, 1e-6) << "centred on the pad and turned with it, whatever the offset of the copper";
  EXPECT_NEAR(y, 0.8, 1e-6);
  EXPECT_EQ(slot.endVertex()->layer(), layout.layers[1]);
  ASSERT_EQ(layout.vias.size(), 1u) << "as wide as high is round";
  EXPECT_EQ(layout.vias[0]->name(), "V2") << "one numbering for both kinds";
}

TEST(LayoutBuilder, PadsWithoutCopperHoleOrNumberAreCounted) {
  SkippedItems skipped;
  const Layout layout = pad_layout(
      "(pad 1 np_thru_hole circle (at 0 0) (size 1 1) (drill 1) (layers *.Cu)) (pad 2 smd rect (at 0 0) (layers "
      "F.Mask))"
      "(pad \"\" smd rect (at 0 0) (size 1 1) (layers F.Cu)) (pad 3 thru_hole rect (at 0 0) (drill (offset 1 1)) "
      "(layers *.Cu))",
      &skipped);
  EXPECT_EQ(skipped.count("pad", "unplated hole"), 1u);
  EXPECT_EQ(skipped.count("pad", "without copper"), 1u);
  EXPECT_EQ(skipped.count("pin", "pad without a number"), 1u);
  EXPECT_EQ(skipped.count("pad hole", "without a size"), 1u);
  EXPECT_TRUE(layout.vias.size() == 0 && layout.poly_vias.size() == 0);
  ASSERT_EQ(layout.circuits.size(), 1u);
  EXPECT_EQ(layout.circuits[0]->pins().size(), 1u);
  EXPECT_EQ(layout.circuits[0]->option(), 1) << "on the bottom";
}

// --- comparison and panels ---

// One object of each kind, `change` of whose properties differs from those of sample(0); traces as a database gives
// them back.
Layout sample(int change = 0) {
  int property = 0;
  const auto changed = [&] { return ++property == change; };
  const auto number = [&](double value) { return changed() ? std::nextafter(value, 1e9) : value; };
  const auto whole = [&](int value) { return changed() ? value + 1 : value; };
  const auto text = [&](const char* value) { return changed() ? std::string(value) + "'" : std::string(value); };
  Layout layout;
  const int top_id = whole(0);
  std::string top_name = text("top");
  const double top_z = number(1);
  EM2DLayer* top = layout.layers.make(top_id, std::move(top_name), top_z);
  EM2DLayer* low = layout.layers.make(7, "low", 0);
  EM2DNet* none = layout.nets.make(0, EM2DNet::Type::None, "");
  const int type = whole(2);
  EM2DNet* net = layout.nets.make(5, static_cast<EM2DNet::Type>(type), text("GND"));
  layout.signals.make(0, "top", 1, changed() ? nullptr : top);
  const double x = number(0.1);
  const double y = number(2), z = number(1);
  EM2DVertex* start = layout.vertices.make(0, "a", x, y, z, 0, top, nullptr, changed() ? nullptr : low, 1);
  EM2DVertex* end = layout.vertices.make(3, "b", 4, 5, 1, 0, top, nullptr, low, 1);
  EM2DNet* trace_net = changed() ? none : net;
  layout.traces.make("T1", trace_net, start, end, whole(end->id()));
  layout.vias.make("V1", net, start, end, number(0.25));
  EM2DVertex* slot_end = changed() ? start : end;
  layout.poly_vias.make("V2", net, start, slot_end, EM2DPolyVia::PolyType::Slot,
                        std::vector<double>{1, 2, 3, number(4)});
  std::vector<double> outline = {0, 0, 8, 0, 0, 9};
  if (changed()) outline.resize(4);
  if (changed()) outline[1] = -0.0;
  layout.shapes.make("F1", top, net, EM2DShape::Type::Fill, whole(1), outline);
  EM2DCircuit* circuit = layout.circuits.make("U1");
  circuit->addPin("1", changed() ? end : start);
  if (changed()) circuit->addPin("2", start);
  layout.config.setMesheps(number(1e-9));
  layout.config.setCasefile(text("case"));
  if (changed()) layout.circuits.make("U2");
  return layout;
}

TEST(LayoutCompare, EqualLayoutsDoNotDiffer) {
  EXPECT_EQ(first_difference(sample(), sample()), std::nullopt);
  Layout with_nan = sample(), with_same_nan = sample();
  for (Layout* layout : {&with_nan, &with_same_nan})
    layout->config.setThetamin(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(first_difference(with_nan, with_same_nan), std::nullopt) << "bits are compared, not values";
}

TEST(LayoutCompare, EveryChangeIsNamed) {
  const std::vector<std::string> differences = {"em2dlayer row 0: id is 1, not 0",
                                                "em2dlayer row 0: name is \"top'\", not \"top\"",
                                                "em2dlayer row 0: z is 1.0000000000000002, not 1",
                                                "emnet row 1: type is 3, not 2",
                                                "emnet row 1: name is \"GND'\", not \"GND\"",
                                                "em2dsignal row 0: patch is missing",
                                                "em2dvertex row 0: x is 0.10000000000000002, not 0.1",
                                                "em2dvertex row 0: y is 2.0000000000000004, not 2",
                                                "em2dvertex row 0: z is 1.0000000000000002, not 1",
                                                "em2dvertex row 0: lowlayer is missing",
                                                "em2dtrace row 0: net is 0, not 5",
                                                "em2dtrace row 0: option is 4, not 3",
                                                "em2dvia row 0: r is 0.25000000000000006, not 0.25",
                                                "em2dpolyvia row 0: endver is 0, not 3",
                                                "em2dpolyvia row 0: coord[3] is 4.000000000000001, not 4",
                                                "em2dshape row 0: vertexs count is 4, not 6",
                                                "em2dshape row 0: vertexs[1] is -0, not 0",
                                                "em2dshape row 0: option is 2, not 1",
                                                "em2dcircuit row 0: emver is 3, not 0",
                                                "em2dcircuit row 0: pin count is 2, not 1",
                                                "simeshconfig row 0: mesheps is 1.0000000000000003e-09, not 1e-09",
                                                "simeshconfig row 0: casefile is \"case'\", not \"case\"",
                                                "em2dcircuit: 2 rows, not 1"};
  for (std::size_t i = 0; i < differences.size(); ++i) {
    EXPECT_EQ(first_difference(sample(), sample(static_cast<int>(i) + 1)), differences[i]);
  }
}

TEST(LayoutCompare, ATraceComesBackWithItsEndVertexAsOption) {
  Layout written = sample();
  const Layout read = sample();
  written.traces = {};
  written.traces.make("T1", written.nets[1], written.vertices[0], written.vertices[1], 150'000);
  EXPECT_EQ(first_difference(written, read), std::nullopt);
}

TEST(Panel, CopiesStandSideBySideWithFreshIds) {
  const Layout copies = panel(sample(), 2, 3);
  EXPECT_EQ(copies.layers.size(), 2u);
  EXPECT_EQ(copies.signals.size(), 1u);
  EXPECT_EQ(copies.nets.size(), 1u + 6) << "no net is no net everywhere";
  EXPECT_EQ(copies.vertices.size(), 12u);
  EXPECT_EQ(copies.shapes.size(), 6u);
  EXPECT_EQ(copies.circuits.size(), 6u);
  std::set<int> net_ids, vertex_ids;
  for (const EM2DNet* net : copies.nets) net_ids.insert(net->id());
  for (const EM2DVertex* vertex : copies.vertices) vertex_ids.insert(vertex->id());
  EXPECT_EQ(net_ids.size(), copies.nets.size());
  EXPECT_EQ(vertex_ids.size(), copies.vertices.size());
  // The copy in the second column of the third row: 8 mm and 9 mm wide and high, one more between.
  EXPECT_EQ(copies.nets[6]->name(), "GND@5");
  EXPECT_EQ(copies.vias[5]->name(), "V1@5");
  EXPECT_EQ(copies.vias[5]->net(), copies.nets[6]);
  EXPECT_EQ(copies.vias[5]->startVertex(), copies.vertices[10]);
  EXPECT_EQ(copies.vertices[10]->x(), 0.1 + 9);
  EXPECT_EQ(copies.vertices[10]->y(), 2 + 20);
  EXPECT_EQ(copies.vertices[10]->lowLayer(), copies.layers[1]);
  EXPECT_EQ(copies.shapes[5]->coordinates(), (std::vector<double>{9, 20, 17, 20, 9, 29}));
  EXPECT_EQ(copies.poly_vias[5]->coordinates(), (std::vector<double>{10, 22, 12, 24}));
  EXPECT_EQ(copies.circuits[5]->pins()[0].second, copies.vertices[10]);
  EXPECT_EQ(copies.nets[1]->name(), "GND") << "the first copy is the board itself";
}

TEST(Panel, OfOneIsTheSame) { EXPECT_EQ(first_difference(sample(), panel(sample(), 1, 1)), std::nullopt); }

TEST(Panel, IdsMustFit) {
  Layout layout;
  layout.nets.make(std::numeric_limits<int>::max() / 4, EM2DNet::Type::Signal, "far");
  EXPECT_NO_THROW(panel(layout, 1, 3));
  EXPECT_THROW(panel(layout, 5, 1), std::length_error);
}

}  // namespace
