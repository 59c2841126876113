// What each version of the board format says in its own way.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/tools/board/BoardTexts.h"

using namespace CorvaneTool;
using BoardTexts::board_of;
using BoardTexts::two_layer_board;

namespace {

/// Everything that was read, in millimetres, without what is usual: "track 0 net 1 0,0 1,0 w0.2; ".
class Told {
 public:
  explicit Told(const Board& board) {
    d_text.precision(12);
    for (const Track& track : board.tracks) {
      begin("track", track.layer, track.net);
      add({track.start, track.middle.value_or(track.start), track.end});
      d_text << " w" << millimetres(track.width);
    }
    for (const Via& via : board.vias) {
      begin("via", via.first_layer, via.net);
      d_text << " to " << via.last_layer << " drill " << millimetres(via.drill);
    }
    for (const Footprint& footprint : board.footprints) {
      d_text << "; " << footprint.reference << (footprint.is_on_bottom ? " below" : "");
      for (const Pad& pad : footprint.pads) add(pad);
    }
    for (const auto& [kind, areas] : {std::pair("fill", &board.fills), {"poly", &board.graphics}}) {
      for (const Area& area : *areas) {
        begin(kind, area.layer, area.net);
        d_text << (area.is_island ? " island" : "");
        if (area.pen_width > 0) d_text << " pen " << millimetres(area.pen_width);
        if (area.outline[0] != Point()) add({area.outline[0]});
      }
    }
    for (const auto& [what, count] : board.skipped.counts())
      d_text << "; " << count << ' ' << what.first << " (" << what.second << ')';
  }

  std::string text() const { return d_text.str().substr(std::min<std::size_t>(d_text.str().size(), 2)); }

 private:
  static double millimetres(std::int64_t nanometres) { return static_cast<double>(nanometres) / 1e6; }

  void begin(const char* kind, int layer, int net) { d_text << "; " << kind << ' ' << layer << " net " << net; }

  void add(const Outline& points) {
    for (const Point point : points) d_text << ' ' << millimetres(point.x) << ',' << millimetres(point.y);
  }

  void add(const Pad& pad) {
    constexpr std::array kShapes = {"circle", "oval", "rect", "trapezoid", "round", "on circle", "on rect", "?"};
    d_text << " pad " << pad.number << ' ' << kShapes[static_cast<std::size_t>(pad.shape)];
    add({pad.position});
    if (pad.angle != 0) d_text << " turned " << pad.angle;
    if (pad.hole != Point()) add({pad.hole});
    if (pad.offset != Point()) d_text << " off", add({pad.offset});
    d_text << " on";
    for (const int layer : pad.layers) d_text << ' ' << layer;
    d_text << " net " << pad.net;
    for (const Outline& polygon : pad.polygons) add(polygon);
  }

  std::ostringstream d_text;
};

std::string told(const Board& board) { return Told(board).text(); }

TEST(BoardReader, TakesWhatTheVersionMeans) {
  for (const BoardTexts::Case& sample : BoardTexts::cases("reader.txt"))
    EXPECT_EQ(told(two_layer_board(sample.version, sample.text)), sample.told) << sample.text;
}

TEST(BoardReader, TakesWholeBoards) {
  const auto all_of = [](const Board& board) {
    std::ostringstream text;
    text.precision(12);
    for (const CopperLayer& layer : board.layers) text << layer.name << ' ' << layer.height << "; ";
    for (const NetTable::Net& net : board.nets) text << "net " << net.id << '=' << net.name << "; ";
    const std::string all = text.str() + told(board);
    return all.substr(0, all.find_last_not_of(' ') + 1);
  };
  for (const BoardTexts::Case& sample : BoardTexts::cases("boards.txt"))
    EXPECT_EQ(all_of(board_of(sample.text)), sample.told) << sample.text;
  std::string layers;
  for (int i = 1; i <= 32; ++i) layers += "(9 In" + std::to_string(i) + ".Cu signal)";
  EXPECT_EQ(board_of("(kicad_pcb (version 20241229) (layers " + layers + "))").layers.size(), 32u);
  EXPECT_EQ(BoardTexts::board_error("(kicad_pcb (version 20241229) (layers (0 F.Cu signal)" + layers + "))"),
            "b.kicad_pcb:1:31: the board has more than 32 copper layers");
}

TEST(BoardZones, ArcsBecomeChordsCloseToTheCircle) {
  const Board board =
      two_layer_board(20241229,
                      "(zone (layer F.Cu) (filled_polygon (pts (xy 0 0) (arc (start 10 0) (mid 0 10) (end -10 0))"
                      "(arc (start -10 0) (mid -11 0) (end -12 0)) (xy -12 -1))))");
  const Outline& outline = board.fills[0].outline;
  ASSERT_GT(outline.size(), 40u);
  ASSERT_LT(outline.size(), 80u);
  EXPECT_EQ(outline[1], (Point{10'000'000, 0}));
  EXPECT_EQ(outline[outline.size() - 4], (Point{-10'000'000, 0})) << "not twice where arcs meet";
  EXPECT_EQ(outline[outline.size() - 3], (Point{-11'000'000, 0})) << "a straight arc keeps its middle";
  for (std::size_t i = 2; i + 4 < outline.size(); ++i) {
    const double x = static_cast<double>(outline[i].x + outline[i + 1].x) / 2,
                 y = static_cast<double>(outline[i].y + outline[i + 1].y) / 2;
    EXPECT_NEAR(std::hypot(x, y), 1e7, 5'001) << i;
    EXPECT_GT(outline[i].y, 0) << i;
  }
}

}  // namespace
