// Real boards: against figures that an independent counter found in them, and without any error.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tools/board/BoardTexts.h"

using namespace CorvaneTool;
namespace fs = std::filesystem;

namespace {

std::string shared_boards() {
  const char* folder = std::getenv("CORVANE_SHARED_DATA");
  return std::string(folder ? folder : CORVANE_SHARED_DATA) + "/boards";
}

const std::string kDemos = "/usr/share/kicad/demos";

// --- counted boards ---

struct Sums {
  std::int64_t pad_x = 0, pad_y = 0, via_drill = 0, fill_x = 0, fill_y = 0;  // nm
  double track_length = 0, fill_area = 0;                                    // mm, mm2
};

double distance(Point from, Point to) {
  return std::hypot(static_cast<double>(to.x - from.x), static_cast<double>(to.y - from.y)) / 1e6;
}

// Over an arc's middle.
double length(const Track& track) {
  const Point middle = track.middle.value_or(track.end);
  return distance(track.start, middle) + distance(middle, track.end);
}

bool has_vertex(const Pad& pad) { return pad.kind != PadKind::UnplatedHole && !pad.layers.empty(); }

double area(const Outline& outline) {
  double twice = 0;
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const Point here = outline[i], next = outline[(i + 1) % outline.size()];
    twice += static_cast<double>(here.x) * static_cast<double>(next.y) -
             static_cast<double>(next.x) * static_cast<double>(here.y);
  }
  return std::abs(twice) / 2e12;
}

Sums sums_of(const Board& board) {
  Sums sums;
  for (const Footprint& footprint : board.footprints) {
    for (const Pad& pad : footprint.pads) {
      if (!has_vertex(pad)) continue;
      sums.pad_x += pad.position.x;
      sums.pad_y += pad.position.y;
    }
  }
  for (const Via& via : board.vias) sums.via_drill += via.drill;
  for (const Track& track : board.tracks) sums.track_length += length(track);
  for (const Area& fill : board.fills) {
    sums.fill_area += area(fill.outline);
    for (const Point point : fill.outline) {
      sums.fill_x += point.x;
      sums.fill_y += point.y;
    }
  }
  return sums;
}

// How often each of the given layers has tracks, arcs, fills and their points.
std::array<std::size_t, 4> uses_of_layer(const Board& board, int layer) {
  std::array<std::size_t, 4> uses{};
  for (const Track& track : board.tracks) {
    if (track.layer == layer) ++uses[track.middle ? 1 : 0];
  }
  for (const Area& fill : board.fills) {
    if (fill.layer != layer) continue;
    ++uses[2];
    uses[3] += fill.outline.size();
  }
  return uses;
}

void check_layers(const Board& board, const nlohmann::json& counted) {
  ASSERT_EQ(board.layers.size(), counted.size());
  for (std::size_t i = 0; i < counted.size(); ++i) {
    SCOPED_TRACE(board.layers[i].name);
    EXPECT_EQ(board.layers[i].name, counted[i]["name"]);
    EXPECT_EQ(board.layers[i].height, counted[i]["z"].get<double>());
    const std::array<std::size_t, 4> expected = {counted[i]["segments"], counted[i]["arcs"],
                                                 counted[i]["filled_polygons"], counted[i]["filled_points"]};
    EXPECT_EQ(uses_of_layer(board, static_cast<int>(i)), expected);
  }
}

void check_pads(const Board& board, const nlohmann::json& counted) {
  std::map<PadKind, std::size_t> kinds;
  std::map<PadShape, std::size_t> shapes;
  std::size_t pads = 0, unnamed = 0, without_copper = 0, round = 0, oval = 0, with_net = 0;
  for (const Footprint& footprint : board.footprints) {
    for (const Pad& pad : footprint.pads) {
      ++pads;
      ++kinds[pad.kind];
      ++shapes[pad.shape];
      unnamed += has_vertex(pad) && pad.number.empty();
      without_copper += pad.layers.empty();
      round += pad.hole.x > 0 && pad.hole.x == pad.hole.y;
      oval += pad.hole.x != pad.hole.y;
      with_net += board.nets[static_cast<std::size_t>(pad.net)].id != 0;
    }
  }
  EXPECT_EQ(pads, counted["pads"]);
  EXPECT_EQ(unnamed, counted["pads_unnamed"]);
  EXPECT_EQ(without_copper, counted["pads_no_copper"]);
  EXPECT_EQ(round, counted["pads_drill_round"]);
  EXPECT_EQ(oval, counted["pads_drill_oval"]);
  EXPECT_EQ(with_net, counted["pads_with_net"]);
  const auto value = [](const nlohmann::json& table, const char* name) { return table.value(name, std::size_t{0}); };
  EXPECT_EQ(kinds[PadKind::PlatedHole], value(counted["pad_types"], "thru_hole"));
  EXPECT_EQ(kinds[PadKind::UnplatedHole], value(counted["pad_types"], "np_thru_hole"));
  EXPECT_EQ(shapes[PadShape::Circle], value(counted["pad_shapes"], "circle"));
  EXPECT_EQ(shapes[PadShape::Oval], value(counted["pad_shapes"], "oval"));
  EXPECT_EQ(shapes[PadShape::Rectangle], value(counted["pad_shapes"], "rect"));
  EXPECT_EQ(shapes[PadShape::RoundedRectangle], value(counted["pad_shapes"], "roundrect"));
  EXPECT_EQ(shapes[PadShape::CustomOnCircle] + shapes[PadShape::CustomOnRectangle],
            value(counted["pad_shapes"], "custom"));
}

void check_rows(const Layout& layout, const Board& board, const nlohmann::json& counted) {
  EXPECT_EQ(layout.layers.size(), counted["copper_layers"]);
  EXPECT_EQ(layout.nets.size(), counted["nets_declared"]);
  EXPECT_EQ(layout.traces.size(), counted["segments"].get<std::size_t>() + 2 * counted["arcs"].get<std::size_t>());
  std::size_t round = 0, oval = 0, points = 0;
  for (const Footprint& footprint : board.footprints) {
    for (const Pad& pad : footprint.pads) {
      if (pad.kind != PadKind::PlatedHole) continue;
      ++(pad.hole.x == pad.hole.y ? round : oval);
    }
  }
  EXPECT_EQ(layout.vias.size(), counted["vias"].get<std::size_t>() + round);
  EXPECT_EQ(layout.poly_vias.size(), oval);
  std::size_t fills = 0, graphics = 0;
  for (const auto* shape : layout.shapes) {
    fills += shape->type() == Mesh2DPlat::EM2DShape::Type::Fill;
    graphics += shape->type() == Mesh2DPlat::EM2DShape::Type::Graphic;
    if (shape->type() == Mesh2DPlat::EM2DShape::Type::Graphic) points += shape->coordinates().size() / 2;
  }
  EXPECT_EQ(fills, counted["filled_polygons_copper"]);
  EXPECT_EQ(graphics, counted["graphic_polygons"]);
  EXPECT_EQ(points, counted["graphic_polygon_points"]);
}

TEST(CountedBoards, HoldWhatAnIndependentCounterFound) {
  std::ifstream stream(shared_boards() + "/counts.json");
  if (!stream) GTEST_SKIP() << "no boards with known figures in " << shared_boards();
  const nlohmann::json counts = nlohmann::json::parse(stream);
  for (const auto& [file, entry] : counts.items()) {
    SCOPED_TRACE(file);
    const nlohmann::json& counted = entry["board"];
    const Board board = read_board(SourceText::read_file(shared_boards() + "/" + file));
    EXPECT_EQ(board.format.version, counted["version"]);
    EXPECT_EQ(board.repaired_parentheses, counted["repaired_parentheses"]);
    EXPECT_EQ(board.footprints.size(), counted["footprints"]);
    EXPECT_EQ(static_cast<std::size_t>(std::count_if(board.footprints.begin(), board.footprints.end(),
                                                     [](const Footprint& f) { return f.is_on_bottom; })),
              counted["footprints_bottom"]);
    EXPECT_EQ(board.skipped.count("zone", "rule area"), counted["rule_areas"]);
    check_layers(board, counted["copper"]);
    check_pads(board, counted);
    check_rows(BoardTexts::layout_of(board), board, counted);
    const Sums sums = sums_of(board);
    EXPECT_EQ(sums.pad_x, counted["sums"]["pad_x_nm"]);
    EXPECT_EQ(sums.pad_y, counted["sums"]["pad_y_nm"]);
    EXPECT_EQ(sums.via_drill, counted["sums"]["via_drill_nm"]);
    EXPECT_EQ(sums.fill_x, counted["sums"]["fill_x_nm"]);
    EXPECT_EQ(sums.fill_y, counted["sums"]["fill_y_nm"]);
    EXPECT_NEAR(sums.track_length, counted["sums"]["track_length_mm"], 1e-3);
    EXPECT_NEAR(sums.fill_area, counted["sums"]["fill_area_mm2"], 1e-3);
  }
}

// --- boards without figures ---

// Ids are positions, references stay in the layout, outlines are whole.
void check_consistency(const Layout& layout) {
  for (std::size_t i = 0; i < layout.vertices.size(); ++i) ASSERT_EQ(layout.vertices[i]->id(), static_cast<int>(i));
  for (const auto* trace : layout.traces)
    ASSERT_EQ(trace->startVertex()->layer(), trace->endVertex()->layer()) << trace->name();
  for (const auto* via : layout.vias) ASSERT_EQ(via->startVertex()->x(), via->endVertex()->x()) << via->name();
  for (const auto* shape : layout.shapes) {
    ASSERT_TRUE(!shape->coordinates().empty() && shape->coordinates().size() % 2 == 0) << shape->name();
    ASSERT_TRUE(std::all_of(shape->coordinates().begin(), shape->coordinates().end(),
                            [](double x) { return std::isfinite(x); }));
  }
  for (const auto* circuit : layout.circuits) ASSERT_FALSE(circuit->pins().empty()) << circuit->name();
}

TEST(DemoBoards, AreReadWithoutError) {
  if (!fs::exists(kDemos)) GTEST_SKIP() << "the boards of the package kicad-demos are not installed";
  std::size_t boards = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kDemos)) {
    if (entry.path().extension() != ".kicad_pcb") continue;
    SCOPED_TRACE(entry.path().string());
    const Layout layout = BoardTexts::layout_of(read_board(SourceText::read_file(entry.path().string())));
    EXPECT_GT(layout.shapes.size(), 0u);
    check_consistency(layout);
    ++boards;
  }
  EXPECT_GT(boards, 10u);
}

// Turning footprints the other way would lose many of these.
TEST(DemoBoards, PadsMeetTracksAtTheSamePlace) {
  const std::string path = kDemos + "/video/video.kicad_pcb";
  if (!fs::exists(path)) GTEST_SKIP() << "the boards of the package kicad-demos are not installed";
  const Layout layout = BoardTexts::layout_of(read_board(SourceText::read_file(path)));
  const auto count = [&](int roles) {
    return std::count_if(layout.vertices.begin(), layout.vertices.end(),
                         [&](const auto* vertex) { return (vertex->options() & roles) == roles; });
  };
  EXPECT_EQ(count(4), 3150);
  EXPECT_EQ(count(4 | 1), 994);
}

}  // namespace
