// Boards as layout objects, panels of them, and their comparison.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
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

/// All objects, in the order of their tables: references by id, long outlines by their number of points.
std::string told(const Layout& layout) {
  std::ostringstream text;
  const auto name = [](const EM2DLayer* layer) { return layer ? layer->name().substr(0, 1) : "-"; };
  const auto outline = [&](const std::vector<double>& values) {
    if (values.size() > 8) text << ' ' << values.size() / 2 << " points";
    for (std::size_t i = 0; i < values.size() && values.size() <= 8; ++i) text << (i % 2 == 0 ? ' ' : ',') << values[i];
  };
  const auto ends = [&](const auto& item) { text << item.startVertex()->id() << '-' << item.endVertex()->id() << ' '; };
  for (const EM2DSignal* signal : layout.signals)
    text << "signal " << name(signal->patchLayer()) << ' ' << signal->z() << "; ";
  for (const EM2DVertex* vertex : layout.vertices) {
    text << vertex->name() << ' ' << vertex->x() << ',' << vertex->y() << ' ' << name(vertex->layer()) << '/'
         << name(vertex->upLayer()) << '/' << name(vertex->lowLayer()) << " t" << vertex->type() << " o"
         << vertex->options() << "; ";
  }
  for (const EM2DTrace* trace : layout.traces) {
    EXPECT_TRUE(trace->name().ends_with(" w" + std::to_string(trace->option()))) << trace->name();
    ends(*trace), text << trace->name() << "; ";
  }
  for (const EM2DVia* via : layout.vias) ends(*via), text << via->name() << " r" << via->radius() << "; ";
  for (const EM2DPolyVia* via : layout.poly_vias)
    ends(*via), text << via->name(), outline(via->coordinates()), text << "; ";
  for (const EM2DShape* shape : layout.shapes) {
    text << shape->name() << ' ' << name(shape->layer()) << " t" << static_cast<int>(shape->type()) << " o"
         << shape->option();
    outline(shape->coordinates()), text << "; ";
  }
  for (const EM2DCircuit* circuit : layout.circuits) {
    text << circuit->name() << " o" << circuit->option();
    for (const auto& [pin, vertex] : circuit->pins()) text << ' ' << pin << '=' << vertex->id();
    text << "; ";
  }
  return text.str().substr(0, text.str().size() - 2);  // without the last "; "
}

std::string with_pads(const std::string& pads) {
  return "(footprint x (property Reference U1) (at 10 10) (layer B.Cu) " + pads + ")";
}

std::string pad(const std::string& shape, const std::string& rest = "") {
  return "(pad 1 smd " + shape + " (layers F.Cu) " + rest + ")";
}

TEST(LayoutBuilder, MakesObjectsOfEveryKind) {
  for (const BoardTexts::Case& sample : BoardTexts::cases("layout.txt"))
    EXPECT_EQ(told(layout_of(two_layer_board(sample.version, sample.text))), sample.told) << sample.text;
}

TEST(LayoutBuilder, CountsWhatIsLeftOutAndTellsNetsByTheirFills) {
  SkippedItems skipped;
  const Layout layout = build_layout(
      two_layer_board(kVersion, with_pads("(pad 1 np_thru_hole circle (at 0 0) (size 1 1) (drill 1) (layers *.Cu)) "
                                          "(pad 2 smd rect (at 0 0) (layers F.Mask))"
                                          "(pad \"\" smd rect (at 0 0) (size 1 1) (layers F.Cu)) (pad 3 thru_hole rect "
                                          "(at 0 0) (drill (offset 1 1)) "
                                          "(layers *.Cu))") +
                                    "(zone (net 1) (layer B.Cu) (filled_polygon (pts (xy 0 0) (xy 0.5 0) (xy 0 1))))"),
      "case", skipped);
  for (const auto& [kind, reason] : std::vector<std::pair<const char*, const char*>>{{"pad", "unplated hole"},
                                                                                     {"pad", "without copper"},
                                                                                     {"pin", "pad without a number"},
                                                                                     {"pad hole", "without a size"}})
    EXPECT_EQ(skipped.count(kind, reason), 1u) << reason;
  for (int net = 0; net < 3; ++net)
    EXPECT_EQ(static_cast<int>(layout.nets[net]->type()), (std::array{0, 2, 1})[static_cast<std::size_t>(net)]);
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
  const double pi = 3.14159265358979;
  const std::vector<std::pair<std::string, std::array<double, 3>>> table = {
      {pad("circle (at 0 0) (size 2 2)"), {pi, 1, 1}},
      {pad("oval (at 0 0) (size 3 1)"), {2 + pi / 4, 1.5, 0.5}},
      {pad("oval (at 0 0) (size 1 3)"), {2 + pi / 4, 0.5, 1.5}},
      {pad("roundrect (at 0 0) (size 4 2) (roundrect_rratio 0.25)"), {7 + pi / 4, 2, 1}},
      {"(pad 1 thru_hole oval (at 0 0 90) (size 2 1) (drill oval 1.6 0.6 (offset 3 3)) (layers *.Cu))",
       {0.6 + pi * 0.09, 0.3, 0.8}}};  // a hole lies on the pad and turns with it, whatever the offset of the copper
  for (const auto& [text, expected] : table) {
    const Layout layout = layout_of(two_layer_board(kVersion, with_pads(text)));
    const auto real =
        measures(layout.poly_vias.size() > 0 ? layout.poly_vias[0]->coordinates() : layout.shapes[0]->coordinates());
    EXPECT_NEAR(real[0], expected[0], expected[0] * 0.03) << text;
    EXPECT_NEAR(real[1], expected[1], 1e-6) << text;
    EXPECT_NEAR(real[2], expected[2], 1e-6) << text;
  }
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
  std::ifstream differences(CORVANE_TEST_DATA "/../tools/board/cases/differences.txt");
  int change = 0;
  for (std::string line; std::getline(differences, line);)
    EXPECT_EQ(first_difference(sample(), sample(++change)), line);
  EXPECT_EQ(change, 23) << "every change has its line";
  EXPECT_EQ(first_difference(sample(), sample(change + 1)), std::nullopt);
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
  const std::vector<std::size_t> sizes = {copies.layers.size(),   copies.signals.size(), copies.nets.size(),
                                          copies.vertices.size(), copies.shapes.size(),  copies.circuits.size()};
  EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 1, 1 + 6, 12, 6, 6})) << "no net is no net everywhere";
  std::set<int> net_ids, vertex_ids;
  for (const EM2DNet* net : copies.nets) net_ids.insert(net->id());
  for (const EM2DVertex* vertex : copies.vertices) vertex_ids.insert(vertex->id());
  EXPECT_EQ(net_ids.size() + vertex_ids.size(), copies.nets.size() + copies.vertices.size());
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
