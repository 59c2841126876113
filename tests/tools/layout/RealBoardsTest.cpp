// Real boards: against figures that an independent counter found in them, and without any error.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/tools/board/BoardTexts.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/layout/LayoutCheck.h"

using namespace CorvaneTool;
using Mesh2DPlat::EM2DShape;
using nlohmann::json;
namespace fs = std::filesystem;

namespace {

std::string shared_boards() {
  const char* folder = std::getenv("CORVANE_SHARED_DATA");
  return std::string(folder ? folder : CORVANE_SHARED_DATA) + "/boards";
}

const std::string kDemos = "/usr/share/kicad/demos";

// --- counted boards: the same figures of what was read, under the counter's names ---

double millimetres(Point from, Point to) {
  return std::hypot(static_cast<double>(to.x - from.x), static_cast<double>(to.y - from.y)) / 1e6;
}

double square_millimetres(const Outline& outline) {
  double twice = 0;
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const Point here = outline[i], next = outline[(i + 1) % outline.size()];
    twice += static_cast<double>(here.x) * static_cast<double>(next.y) -
             static_cast<double>(next.x) * static_cast<double>(here.y);
  }
  return std::abs(twice) / 2e12;
}

// Adds to a figure that may not be there yet.
template <class Number>
void add(json& figure, Number value) {
  figure = (figure.is_null() ? Number() : figure.get<Number>()) + value;
}

void count_pad(const Board& board, const Pad& pad, json& figures) {
  constexpr std::array kKinds = {"smd", "thru_hole", "np_thru_hole"};
  constexpr std::array kShapes = {"circle", "oval", "rect", "trapezoid", "roundrect", "custom", "custom", "other"};
  const bool has_vertex = pad.kind != PadKind::UnplatedHole && !pad.layers.empty();
  add(figures["pads"], 1);
  add(figures["pads_unnamed"], has_vertex && pad.number.empty() ? 1 : 0);
  add(figures["pads_no_copper"], pad.layers.empty() ? 1 : 0);
  add(figures["pads_drill_round"], pad.hole.x > 0 && pad.hole.x == pad.hole.y ? 1 : 0);
  add(figures["pads_drill_oval"], pad.hole.x != pad.hole.y ? 1 : 0);
  add(figures["pads_with_net"], board.nets[static_cast<std::size_t>(pad.net)].id != 0 ? 1 : 0);
  if (pad.kind != PadKind::Surface) add(figures["pad_types"][kKinds[static_cast<std::size_t>(pad.kind)]], 1);
  if (pad.shape != PadShape::Other) add(figures["pad_shapes"][kShapes[static_cast<std::size_t>(pad.shape)]], 1);
  add(figures["sums"]["pad_x_nm"], has_vertex ? pad.position.x : 0);
  add(figures["sums"]["pad_y_nm"], has_vertex ? pad.position.y : 0);
}

json figures_of(const Board& board, const Layout& layout) {
  json figures = {{"version", board.format.version},
                  {"repaired_parentheses", board.repaired_parentheses},
                  {"footprints", board.footprints.size()},
                  {"rule_areas", board.skipped.count("zone", "rule area")},
                  {"copper_layers", layout.layers.size()},
                  {"nets_declared", layout.nets.size()},
                  {"filled_polygons_copper", 0},
                  {"graphic_polygons", 0},
                  {"graphic_polygon_points", 0},
                  {"pad_types", {{"thru_hole", 0}, {"np_thru_hole", 0}}},
                  {"pad_shapes", {{"circle", 0}, {"oval", 0}, {"rect", 0}, {"roundrect", 0}, {"custom", 0}}}};
  for (const CopperLayer& layer : board.layers)
    figures["copper"].push_back({{"name", layer.name},
                                 {"z", layer.height},
                                 {"segments", 0},
                                 {"arcs", 0},
                                 {"filled_polygons", 0},
                                 {"filled_points", 0}});
  std::size_t arcs = 0, round = 0, oval = 0;
  for (const Footprint& footprint : board.footprints) {
    add(figures["footprints_bottom"], footprint.is_on_bottom ? 1 : 0);
    for (const Pad& pad : footprint.pads) {
      count_pad(board, pad, figures);
      if (pad.kind == PadKind::PlatedHole) ++(pad.hole.x == pad.hole.y ? round : oval);
    }
  }
  for (const Via& via : board.vias) add(figures["sums"]["via_drill_nm"], via.drill);
  for (const Track& track : board.tracks) {
    arcs += track.middle ? 1U : 0U;
    add(figures["copper"][static_cast<std::size_t>(track.layer)][track.middle ? "arcs" : "segments"], 1);
    const Point middle = track.middle.value_or(track.end);
    add(figures["sums"]["track_length_mm"], millimetres(track.start, middle) + millimetres(middle, track.end));
  }
  for (const Area& fill : board.fills) {
    json& layer = figures["copper"][static_cast<std::size_t>(fill.layer)];
    add(layer["filled_polygons"], 1);
    add(layer["filled_points"], fill.outline.size());
    add(figures["sums"]["fill_area_mm2"], square_millimetres(fill.outline));
    for (const Point point : fill.outline) {
      add(figures["sums"]["fill_x_nm"], point.x);
      add(figures["sums"]["fill_y_nm"], point.y);
    }
  }
  for (const EM2DShape* shape : layout.shapes) {
    if (shape->type() == EM2DShape::Type::Fill) add(figures["filled_polygons_copper"], 1);
    if (shape->type() != EM2DShape::Type::Graphic) continue;
    add(figures["graphic_polygons"], 1);
    add(figures["graphic_polygon_points"], shape->coordinates().size() / 2);
  }
  EXPECT_EQ(layout.poly_vias.size(), oval);
  figures["vias"] = layout.vias.size() - round;
  figures["segments"] = layout.traces.size() - 2 * arcs;
  figures["arcs"] = arcs;
  return figures;
}

// A figure that is missing is 0 on both sides.
void compare(const json& figures, const json& counted) {
  for (const auto& [name, figure] : figures.items()) {
    SCOPED_TRACE(name);
    const json other = counted.is_array() ? counted[std::stoul(name)] : counted.value(name, json(0));
    if (figure.is_structured()) {
      compare(figure, other);
    } else if (figure.is_number_float()) {
      EXPECT_NEAR(figure.get<double>(), other.get<double>(), 1e-3);
    } else {
      EXPECT_EQ(figure, other);
    }
  }
}

TEST(CountedBoards, HoldWhatAnIndependentCounterFound) {
  std::ifstream stream(shared_boards() + "/counts.json");
  if (!stream) GTEST_SKIP() << "no boards with known figures (CORVANE_SHARED_DATA names their folder)";
  const json counts = json::parse(stream);
  for (const auto& [file, entry] : counts.items()) {
    SCOPED_TRACE(file);
    const Board board = read_board(SourceText::read_file(shared_boards() + "/" + file));
    const json figures = figures_of(board, BoardTexts::layout_of(board));
    ASSERT_EQ(figures["copper"].size(), entry["board"]["copper"].size());
    compare(figures, entry["board"]);
    for (std::size_t i = 0; i < board.layers.size(); ++i)
      EXPECT_EQ(board.layers[i].height, entry["board"]["copper"][i]["z"].get<double>());
  }
}

// --- boards without figures ---

// Ids are positions, references stay in the layout, outlines are whole.
void check_consistency(const Layout& layout) {
  for (std::size_t i = 0; i < layout.vertices.size(); ++i) ASSERT_EQ(layout.vertices[i]->id(), static_cast<int>(i));
  for (const auto* trace : layout.traces)
    ASSERT_EQ(trace->startVertex()->layer(), trace->endVertex()->layer()) << trace->name();
  for (const auto* via : layout.vias) ASSERT_EQ(via->startVertex()->x(), via->endVertex()->x()) << via->name();
  for (const auto* circuit : layout.circuits) ASSERT_FALSE(circuit->pins().empty()) << circuit->name();
  ASSERT_NO_THROW(check_lengths(layout));
}

TEST(DemoBoards, AreReadWithoutError) {
  if (!fs::exists(kDemos)) GTEST_SKIP() << "the boards of the package kicad-demos are not installed";
  std::size_t boards = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kDemos)) {
    if (entry.path().extension() != ".kicad_pcb") continue;
    SCOPED_TRACE(entry.path().string());
    const std::string path = entry.path().string();
    const SourceText text = SourceText::read_file(path);
    const Layout layout = BoardTexts::layout_of(read_board(text, Allowance(default_limit(text.bytes().size(), 1))));
    EXPECT_GT(layout.shapes.size(), 0u);
    check_consistency(layout);
    ++boards;
    if (!path.ends_with("/video.kicad_pcb")) continue;
    const auto count = [&](int roles) {
      return std::count_if(layout.vertices.begin(), layout.vertices.end(),
                           [&](const auto* vertex) { return (vertex->options() & roles) == roles; });
    };
    EXPECT_EQ(count(4), 3150);
    EXPECT_EQ(count(4 | 1), 994) << "turning footprints the other way would lose pads that tracks meet";
  }
  EXPECT_GT(boards, 10u);
}

}  // namespace
