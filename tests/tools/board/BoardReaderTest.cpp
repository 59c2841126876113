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

constexpr int k4 = 4, k5 = 20171130, k6 = 20211014, k7 = 20221018, k9 = 20241229, k10 = 20260206;

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

// --- layers ---

TEST(BoardLayers, CopperIsFoundAndOrderedAsTheVersionHasIt) {
  const auto names = [](int version, const std::string& layers) {
    std::string all;
    const Board board = board_of("(kicad_pcb (version " + std::to_string(version) + ") (layers " + layers + "))");
    for (const CopperLayer& layer : board.layers) all += layer.name + " ";
    return all;
  };
  EXPECT_EQ(names(3, "(15 F.Cu signal) (2 In2.Cu signal) (0 B.Cu signal) (16 B.Adhes user)"), "F.Cu In2.Cu B.Cu ");
  EXPECT_EQ(names(k4, "(31 Dessous signal) (0 Dessus signal) (1 GND1 power hide) (32 B.Adhes user)"),
            "Dessus GND1 Dessous ");
  EXPECT_EQ(names(k6, R"((0 "F.Cu" signal "top") (2 "In2.Cu" power) (1 "In1.Cu" power) (31 "B.Cu" signal))"),
            "F.Cu In1.Cu In2.Cu B.Cu ");
  EXPECT_EQ(names(k9, R"((0 "F.Cu" user) (22 "In10.Cu" user) (4 "In1.Cu" user) (2 "B.Cu" user) (39 "User.1" user))"),
            "F.Cu In1.Cu In10.Cu B.Cu ");
  std::string layers;
  for (int i = 1; i <= 32; ++i) layers.append("(9 In").append(std::to_string(i)).append(".Cu signal)");
  EXPECT_NE(names(k9, layers).find("In32.Cu"), std::string::npos);
  EXPECT_EQ(BoardTexts::board_error("(kicad_pcb (version 20241229) (layers (0 F.Cu signal)" + layers + "))"),
            "b.kicad_pcb:1:31: the board has more than 32 copper layers");
  EXPECT_EQ(told(board_of("(kicad_pcb (version 4) (layers (0 Dessus signal) (2 GND1 power) (31 Dessous signal))"
                          "(segment (start 0 0) (end 1 0) (layer GND1)) (segment (start 0 0) (end 1 0) (layer In2.Cu))"
                          "(segment (start 0 0) (end 1 0) (layer B.Cu)))")),
            "track 1 net 0 0,0 0,0 1,0 w0; track 1 net 0 0,0 0,0 1,0 w0; track 2 net 0 0,0 0,0 1,0 w0")
      << "renamed copper answers to its standard name, too";
  for (const auto& [words, places] : std::vector<std::pair<std::string, std::string>>{
           {"*.Cu *.Mask", "0 1 2"}, {"F&B.Cu F.Paste", "0 2"}, {"*In.Cu", "1"}, {"B.Cu *.Cu", "2 0 1"}}) {
    EXPECT_EQ(told(board_of("(kicad_pcb (version 20211014) (layers (0 F.Cu signal) (1 In1.Cu signal) (31 B.Cu signal))"
                            "(footprint x (at 0 0) (pad 1 smd circle (at 0 0) (layers " +
                            words + "))))")),
              " pad 1 circle 0,0 on " + places + " net 0");
  }
  EXPECT_EQ(told(two_layer_board(
                k6, "(footprint x (at 0 0) (pad 1 smd circle (at 0 0) (layers F&B.Mask \"F.Mask\" In9.Cu)))")),
            " pad 1 circle 0,0 on net 0; 1 pad layer (not on this board)");
}

TEST(BoardLayers, HeightsComeFromTheStackupOrFromEqualGaps) {
  using Heights = std::vector<double>;
  const auto heights = [](const std::string& rest, const std::string& inner = "(1 In1.Cu signal) (2 In2.Cu signal)") {
    Heights result;
    const Board board =
        board_of("(kicad_pcb (version 20211014) " + rest + " (layers (0 F.Cu signal) " + inner + " (31 B.Cu signal)))");
    for (const CopperLayer& layer : board.layers) result.push_back(layer.height);
    return result;
  };
  EXPECT_EQ(heights("(general (thickness 1.6))"), (Heights{1.5625, 1.0475, 0.5325, 0.0175}));
  EXPECT_EQ(heights(""), (Heights{1.5625, 1.0475, 0.5325, 0.0175})) << "1.6 mm where nothing is said";
  EXPECT_EQ(heights("(general (thickness 0.8))", ""), (Heights{0.7625, 0.0175}));
  EXPECT_EQ(heights("(general (thickness 0.03))", ""), (Heights{0.0175, 0.0175})) << "thinner than its copper";
  const std::string stackup = R"((setup (stackup (layer F.Mask (type "Top Solder Mask") (thickness 0.01))
    (layer F.Cu (type copper) (thickness 0.035)) (layer d1 (type prepreg) (thickness 0.1 locked) (material FR4) addsublayer
    (thickness 0.000001) (material FR4)) (layer In1.Cu (type "copper") (thickness 0.017501))
    (layer d2 (type core) (thickness 1)) (layer In2.Cu (type copper)) (layer d3 (type prepreg) (thickness 0.1))
    (layer B.Cu (type copper) (thickness 0.05)) (layer B.Mask (thickness 0.02)))))";
  EXPECT_EQ(heights(stackup), (Heights{1.285002, 1.1587505, 0.15, 0.025}));
  EXPECT_EQ(heights(stackup, ""), (Heights{1.5625, 0.0175})) << "another number of layers is another board's";
}

// --- nets and outlines ---

TEST(BoardNets, GoByNumberWhileTheyAreDeclaredThenByName) {
  const auto nets = [](const Board& board) {
    std::string all;
    for (const NetTable::Net& net : board.nets) all += std::to_string(net.id) + "=" + net.name + " ";
    return all + told(board);
  };
  EXPECT_EQ(
      nets(two_layer_board(k9, R"((net 9 "5") (segment (start 0 0) (end 1 0) (layer F.Cu) (net 9))
    (segment (start 0 0) (end 1 0) (layer F.Cu))
    (footprint "x" (at 0 0) (pad "1" smd rect (at 0 0) (layers "F.Cu") (net 2 "SIG"))))")),
      "0= 1=GND 2=SIG 9=5 track 0 net 3 0,0 0,0 1,0 w0; track 0 net 0 0,0 0,0 1,0 w0;  pad 1 rect 0,0 on 0 net 2");
  EXPECT_EQ(nets(two_layer_board(k10, R"((footprint "x" (at 0 0) (pad "1" smd rect (at 0 0) (layers "F.Cu") (net "2")))
    (gr_line (start 0 0) (end 1 1) (layer "F.Cu") (net "line"))
    (segment (start 0 0) (end 1 0) (layer "F.Cu") (net "GND")) (via (at 0 0) (drill 0.3) (net ""))
    (via (at 0 0) (drill 0.3) (net "a\"b")) (via (at 0 0) (drill 0.3)) (zone (net "2") (layer "B.Cu")))")),
            "0= 1=2 2=line 3=GND 4=a\"b track 0 net 3 0,0 0,0 1,0 w0; via 0 net 0 to 1 drill 0.3; via 0 net 4 to 1 "
            "drill 0.3; "
            "via 0 net 0 to 1 drill 0.3;  pad 1 rect 0,0 on 0 net 1; 1 line (on copper)");
  EXPECT_EQ(nets(board_of("(kicad_pcb (version 4) (layers (0 F.Cu signal)) (net 3 A)"
                          "(segment (start 0 0) (end 1 0) (layer F.Cu)))")),
            "3=A 0= track 0 net 1 0,0 0,0 1,0 w0");
}

TEST(BoardZones, ArcsBecomeChordsCloseToTheCircle) {
  const Board board =
      two_layer_board(k9,
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
