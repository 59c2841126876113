// What each version of the board format says in its own way.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "tests/tools/board/BoardTexts.h"

using namespace CorvaneTool;
using BoardTexts::board_of;
using BoardTexts::two_layer_board;

namespace {

constexpr int kVersion4 = 4, kVersion5 = 20171130, kVersion6 = 20211014, kVersion7 = 20221018, kVersion9 = 20241229,
              kVersion10 = 20260206;

std::vector<std::string> copper_names(int version, const std::string& layers) {
  std::vector<std::string> names;
  const Board board = board_of("(kicad_pcb (version " + std::to_string(version) + ") (layers " + layers + "))");
  for (const CopperLayer& layer : board.layers) names.push_back(layer.name);
  return names;
}

using Names = std::vector<std::string>;

TEST(BoardLayers, CopperIsFoundAndOrderedAsTheVersionHasIt) {
  EXPECT_EQ(copper_names(3, "(15 F.Cu signal) (2 In2.Cu signal) (0 B.Cu signal) (16 B.Adhes user)"),
            (Names{"F.Cu", "In2.Cu", "B.Cu"}));
  EXPECT_EQ(copper_names(kVersion4, "(31 Dessous signal) (0 Dessus signal) (1 GND1 power hide) (32 B.Adhes user)"),
            (Names{"Dessus", "GND1", "Dessous"}));
  EXPECT_EQ(
      copper_names(
          kVersion6,
          R"((0 "F.Cu" signal "top") (2 "In2.Cu" power) (1 "In1.Cu" power) (31 "B.Cu" signal) (44 "Edge.Cuts" user))"),
      (Names{"F.Cu", "In1.Cu", "In2.Cu", "B.Cu"}));
  EXPECT_EQ(
      copper_names(
          kVersion9,
          R"((0 "F.Cu" signal) (22 "In10.Cu" signal) (4 "In1.Cu" signal) (2 "B.Cu" signal) (39 "User.1" signal))"),
      (Names{"F.Cu", "In1.Cu", "In10.Cu", "B.Cu"}));
}

TEST(BoardLayers, ThereAreAtMost32OfCopper) {
  std::string layers;
  for (int i = 1; i <= 32; ++i) layers.append("(9 In").append(std::to_string(i)).append(".Cu signal)");
  EXPECT_EQ(copper_names(kVersion9, layers).size(), 32u);
  EXPECT_EQ(BoardTexts::board_error("(kicad_pcb (version 20241229) (layers (0 F.Cu signal)" + layers + "))"),
            "b.kicad_pcb:1:31: the board has more than 32 copper layers");
}

TEST(BoardLayers, RenamedCopperAnswersToItsStandardNameToo) {
  const Board board = board_of(
      "(kicad_pcb (version 4) (layers (0 Dessus signal) (2 GND1 power) (31 Dessous signal)) (net 0 \"\")"
      "(segment (start 0 0) (end 1 0) (layer GND1)) (segment (start 0 0) (end 1 0) (layer In2.Cu))"
      "(segment (start 0 0) (end 1 0) (layer B.Cu)))");
  ASSERT_EQ(board.tracks.size(), 3u);
  EXPECT_EQ(board.tracks[0].layer, 1);
  EXPECT_EQ(board.tracks[1].layer, 1);
  EXPECT_EQ(board.tracks[2].layer, 2);
}

std::vector<double> heights(const std::string& rest, const std::string& inner = "(1 In1.Cu signal) (2 In2.Cu signal)") {
  std::vector<double> result;
  const Board board =
      board_of("(kicad_pcb (version 20211014) " + rest + " (layers (0 F.Cu signal) " + inner + " (31 B.Cu signal)))");
  for (const CopperLayer& layer : board.layers) result.push_back(layer.height);
  return result;
}

TEST(BoardHeights, ComeFromTheStackupOrFromEqualGaps) {
  using Heights = std::vector<double>;
  EXPECT_EQ(heights("(general (thickness 1.6))"), (Heights{1.5625, 1.0475, 0.5325, 0.0175}));
  EXPECT_EQ(heights(""), (Heights{1.5625, 1.0475, 0.5325, 0.0175})) << "1.6 mm where nothing is said";
  EXPECT_EQ(heights("(general (thickness 0.8))", ""), (Heights{0.7625, 0.0175}));
  EXPECT_EQ(heights("(general (thickness 0.03))", ""), (Heights{0.0175, 0.0175})) << "thinner than its copper";
  const std::string stackup =
      "(setup (stackup (layer F.Mask (type \"Top Solder Mask\") (thickness 0.01)) (layer F.Cu (type copper) (thickness "
      "0.035))"
      "(layer d1 (type prepreg) (thickness 0.1 locked) (material FR4) addsublayer (thickness 0.000001) (material FR4))"
      "(layer In1.Cu (type \"copper\") (thickness 0.017501)) (layer d2 (type core) (thickness 1)) (layer In2.Cu (type "
      "copper))"
      "(layer d3 (type prepreg) (thickness 0.1)) (layer B.Cu (type copper) (thickness 0.05)) (layer B.Mask (thickness "
      "0.02))))";
  EXPECT_EQ(heights(stackup), (Heights{1.285002, 1.1587505, 0.15, 0.025}));
  EXPECT_EQ(heights(stackup, ""), (Heights{1.5625, 0.0175}))
      << "a stackup of another number of layers is not this board's";
}

TEST(BoardNets, GoByNumberWhileTheyAreDeclared) {
  const Board board = two_layer_board(kVersion9, R"((net 9 "5") (segment (start 0 0) (end 1 0) (layer F.Cu) (net 9))
    (segment (start 0 0) (end 1 0) (layer F.Cu))
    (footprint "x" (at 0 0) (pad "1" smd rect (at 0 0) (layers "F.Cu") (net 2 "SIG"))))");
  ASSERT_EQ(board.nets.size(), 4u);
  EXPECT_EQ(board.nets[3].id, 9);
  EXPECT_EQ(board.nets[3].name, "5");
  EXPECT_EQ(board.tracks[0].net, 3);
  EXPECT_EQ(board.tracks[1].net, 0);
  EXPECT_EQ(board.footprints[0].pads[0].net, 2);
}

TEST(BoardNets, GoByNameInOrderOfAppearanceWithoutDeclaration) {
  const Board board =
      two_layer_board(kVersion10, R"((footprint "x" (at 0 0) (pad "1" smd rect (at 0 0) (layers "F.Cu") (net "2")))
    (gr_line (start 0 0) (end 1 1) (layer "F.Cu") (net "line"))
    (segment (start 0 0) (end 1 0) (layer "F.Cu") (net "GND"))
    (via (at 0 0) (drill 0.3) (layers "F.Cu" "B.Cu") (net ""))
    (via (at 0 0) (drill 0.3) (layers "F.Cu" "B.Cu") (net "a\"b"))
    (via (at 0 0) (drill 0.3) (layers "F.Cu" "B.Cu")) (zone (net "2") (layer "B.Cu")))");
  std::vector<std::string> names;
  for (const NetTable::Net& net : board.nets) names.push_back(std::to_string(net.id) + net.name);
  EXPECT_EQ(names, (Names{"0", "12", "2line", "3GND", "4a\"b"}));
  EXPECT_EQ(board.footprints[0].pads[0].net, 1);
  EXPECT_EQ(board.tracks[0].net, 3);
  EXPECT_EQ(board.vias[0].net, 0);
  EXPECT_EQ(board.vias[1].net, 4);
  EXPECT_EQ(board.vias[2].net, 0);
}

TEST(BoardNets, NoNetIsThereEvenWhereItIsNotDeclared) {
  const Board board = board_of(
      "(kicad_pcb (version 4) (layers (0 F.Cu signal)) (net 3 A) (segment (start 0 0) (end 1 0) (layer F.Cu)))");
  ASSERT_EQ(board.nets.size(), 2u);
  EXPECT_EQ(board.nets[1].id, 0);
  EXPECT_EQ(board.tracks[0].net, 1);
}

TEST(BoardTracks, TakeTheirCopperLayerFromEitherForm) {
  const Board board = two_layer_board(
      kVersion9, R"((segment locked (start 1 2) (end 3.5 2) (width 0.25) (layer "B.Cu") (net 1) (tstamp 0))
    (segment (start 1 2) (end 3 2) (width 1) (layers "F.Mask" "F.Cu") (net 1) (locked yes))
    (arc (start 0 0) (mid 1 1) (end 2 0) (width 0.2) (layer "F.Cu") (net 2))
    (segment (start 0 0) (end 1 1) (layer "F.SilkS") (net 1))
    (segment (start 0 0) (end 1 1) (layer "User.9") (net 1)))");
  ASSERT_EQ(board.tracks.size(), 3u);
  EXPECT_EQ(board.tracks[0].layer, 1);
  EXPECT_EQ(board.tracks[0].end, (Point{3'500'000, 2'000'000}));
  EXPECT_EQ(board.tracks[0].width, 250'000);
  EXPECT_FALSE(board.tracks[0].middle);
  EXPECT_EQ(board.tracks[1].layer, 0);
  EXPECT_EQ(board.tracks[2].middle, (Point{1'000'000, 1'000'000}));
  EXPECT_EQ(board.skipped.count("segment", "not on copper"), 2u);
}

TEST(BoardVias, TakeAMissingDrillFromTheirNetClass) {
  const Board board =
      two_layer_board(kVersion5, R"((net_class Default "" (via_drill 0.4) (uvia_drill 0.1) (add_net SIG))
    (net_class Wide "" (via_drill 0.8) (add_net "GND"))
    (via (at 0 0) (layers F.Cu B.Cu) (net 1)) (via (at 0 0) (layers F.Cu B.Cu) (net 2))
    (via micro (at 0 0) (layers F.Cu B.Cu) (net 2))
    (via micro (at 0 0) (layers F.Cu B.Cu) (net 1))
    (via blind (at 0 0) (drill 0.00001) (layers B.Cu F.Cu) (net 0)) (via (at 0 0)))");
  std::vector<std::int64_t> drills;
  for (const Via& via : board.vias) drills.push_back(via.drill);
  EXPECT_EQ(drills, (std::vector<std::int64_t>{800'000, 400'000, 100'000, 100'000, 10, 400'000}));
  EXPECT_EQ(board.vias[4].first_layer, 1) << "as named";
  EXPECT_EQ(board.vias[4].last_layer, 0);
  EXPECT_EQ(board.vias[5].last_layer, 1) << "through all where nothing is said";
  const Board without = two_layer_board(kVersion9, "(via (at 0 0) (layers F.Cu B.Cu))");
  EXPECT_EQ(without.vias[0].drill, 0);
  EXPECT_EQ(without.skipped.count("via drill", "given nowhere, taken as 0"), 1u);
}

TEST(BoardVias, PadStacksHaveSizesAndLayersOfTheirOwn) {
  const Board board =
      two_layer_board(kVersion10, R"((via (padstack (mode custom) (layer "Inner" (size 9)) (layer "B.Cu" (drill 7)))
    (at 1 2) (size 0.6) (drill 0.3) (layers "F.Cu" "B.Cu") (backdrill (drill 5) (layers "B.Cu" "In7.Cu")) (net "A")))");
  ASSERT_EQ(board.vias.size(), 1u);
  EXPECT_EQ(board.vias[0].drill, 300'000);
  EXPECT_EQ(board.vias[0].first_layer, 0);
}

TEST(BoardFootprints, AreReadInEveryVersionsWords) {
  const std::string old_text =
      "(module R_0603 locked placed (layer B.Cu) (tedit 5) (at 10 20 90) (fp_text user x (at 0 0) (layer F.SilkS))"
      "(fp_text reference R7 (at 0 0) (layer F.SilkS)) (pad 1 smd rect locked (at 1 0 90) (size 1 2) (layers B.Cu)))";
  const std::string new_text =
      R"((footprint "R_0603" (locked yes) (pad "1" locked smd rect (at 1 0 90) (size 1 2) (layers "B.Cu"))
    (property "Sheet" "s") (property "Reference" "R7" (at 0 0) (layer "F.SilkS")) (at 10 20 90) (layer "B.Cu")))";
  for (const auto& [version, text] : {std::pair(kVersion4, old_text), {kVersion6, old_text}, {kVersion9, new_text}}) {
    SCOPED_TRACE(version);
    const Board board = two_layer_board(version, text);
    ASSERT_EQ(board.footprints.size(), 1u);
    EXPECT_EQ(board.footprints[0].reference, "R7");
    EXPECT_TRUE(board.footprints[0].is_on_bottom);
    ASSERT_EQ(board.footprints[0].pads.size(), 1u);
    EXPECT_EQ(board.footprints[0].pads[0].position, (Point{10'000'000, 19'000'000}));
    EXPECT_EQ(board.footprints[0].pads[0].angle, 90);
    EXPECT_EQ(board.footprints[0].pads[0].shape, PadShape::Rectangle);
  }
}

TEST(BoardFootprints, OddAnglesRoundToTheNanometre) {
  const Board board =
      two_layer_board(kVersion9, R"((footprint "x" (at 0 0 30) (pad "1" smd rect (at 2 0 30) (layers "F.Cu"))))");
  EXPECT_EQ(board.footprints[0].pads[0].position, (Point{1'732'051, -1'000'000}));
}

Pad pad_of(const std::string& rest, int version = kVersion9) {
  return two_layer_board(version, "(footprint x (at 0 0) (pad 1 thru_hole circle (at 0 0) (size 2 3) " + rest + "))")
      .footprints[0]
      .pads[0];
}

TEST(BoardPads, HolesAreRoundOvalOrMissing) {
  EXPECT_EQ(pad_of("(drill 0.8)").hole, (Point{800'000, 800'000}));
  EXPECT_EQ(pad_of("(drill oval 0.8 1.6 (offset 0.1 0.2))").hole, (Point{800'000, 1'600'000}));
  EXPECT_EQ(pad_of("(drill oval 0.8)").hole, (Point{800'000, 800'000}));
  EXPECT_EQ(pad_of("(drill 0.8 (offset 0.1 0.2))").offset, (Point{100'000, 200'000}));
  EXPECT_EQ(pad_of("(drill (offset 0.1 0.2))").hole, Point());
  EXPECT_EQ(pad_of("(drill (offset 0.1 0.2))").offset, (Point{100'000, 200'000}));
  EXPECT_EQ(pad_of("").hole, Point());
}

TEST(BoardPads, WildcardsStandForCopperLayers) {
  const auto layers = [](const std::string& words) {
    return board_of(
               "(kicad_pcb (version 20211014) (layers (0 F.Cu signal) (1 In1.Cu signal) (31 B.Cu signal))"
               "(footprint x (at 0 0) (pad 1 smd circle (at 0 0) (layers " +
               words + "))))")
        .footprints[0]
        .pads[0]
        .layers;
  };
  EXPECT_EQ(layers("*.Cu *.Mask"), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(layers("F&B.Cu F.Paste"), (std::vector<int>{0, 2}));
  EXPECT_EQ(layers("*In.Cu"), (std::vector<int>{1}));
  EXPECT_EQ(layers("B.Cu *.Cu"), (std::vector<int>{2, 0, 1}));
  EXPECT_EQ(layers("F&B.Mask \"F.Mask\" In9.Cu"), (std::vector<int>{}));
}

TEST(BoardPads, CustomShapesKeepTheirPolygons) {
  const Board board =
      two_layer_board(kVersion6, R"((footprint "x" (at 0 0) (pad "1" smd custom (at 0 0) (size 1 1) (layers "F.Cu")
    (options (clearance outline) (anchor rect))
    (primitives (gr_poly (pts (xy 0 0) (xy 1 0) (xy 0 1)) (width 0)) (gr_line (start 0 0) (end 1 1))))
    (pad "2" smd custom (at 0 0) (layers "F.Cu") (padstack (mode custom)) (chamfer top_left))))");
  const std::vector<Pad>& pads = board.footprints[0].pads;
  EXPECT_EQ(pads[0].shape, PadShape::CustomOnRectangle);
  EXPECT_EQ(pads[0].polygons, (std::vector<Outline>{{{0, 0}, {1'000'000, 0}, {0, 1'000'000}}}));
  EXPECT_EQ(pads[1].shape, PadShape::CustomOnCircle);
  EXPECT_EQ(board.skipped.count("pad primitive line", "no polygon"), 1u);
  EXPECT_EQ(board.skipped.count("pad stack", "outer shape taken on every layer"), 1u);
  EXPECT_EQ(board.skipped.count("pad chamfer", "corner left round"), 1u);
}

const std::string kTriangle = "(pts (xy 0 0) (xy 1 0) (xy 0 1))";

TEST(BoardZones, FillsBelongToTheirOwnLayerOrTheZones) {
  const Board board = two_layer_board(
      kVersion9, "(zone (net 1) (layers \"F&B.Cu\") (fill yes) (polygon " + kTriangle +
                     ")(filled_polygon (layer B.Cu) " + kTriangle + ")(filled_polygon " + kTriangle +
                     ")(fill_segments (pts (xy 0 0))))" + "(zone (layer F.Mask) (filled_polygon (layer F.Mask) " +
                     kTriangle + "))" + "(zone (layer F.Cu) (keepout (tracks allowed)) (polygon " + kTriangle + "))");
  ASSERT_EQ(board.fills.size(), 2u);
  EXPECT_EQ(board.fills[0].layer, 1);
  EXPECT_EQ(board.fills[0].net, 1);
  EXPECT_EQ(board.fills[1].layer, 0);
  EXPECT_EQ(board.skipped.count("zone outline", "only its fill is copper"), 1u);
  EXPECT_EQ(board.skipped.count("zone fill segments", "stand beside filled polygons"), 1u);
  EXPECT_EQ(board.skipped.count("filled polygon", "not on copper"), 1u);
  EXPECT_EQ(board.skipped.count("zone", "rule area"), 1u);
}

TEST(BoardZones, OlderFillsAreCentreLinesUnlessToldOtherwise) {
  const auto pen = [](int version, const std::string& word) {
    return two_layer_board(version,
                           "(zone (layer F.Cu) (min_thickness 0.25) " + word + "(filled_polygon " + kTriangle + "))")
        .fills[0]
        .pen_width;
  };
  EXPECT_EQ(pen(kVersion5, ""), 250'000);
  EXPECT_EQ(pen(kVersion6, ""), 250'000);
  EXPECT_EQ(pen(kVersion6, "(filled_areas_thickness no)"), 0);
  EXPECT_EQ(pen(kVersion7, ""), 0);
  EXPECT_EQ(pen(kVersion7, "(filled_areas_thickness no)"), 0);
}

TEST(BoardZones, IslandsAreToldInThreeWays) {
  const auto is_island = [](const std::string& word) {
    return two_layer_board(kVersion9, "(zone (layer F.Cu) (filled_polygon " + word + kTriangle + "))")
        .fills[0]
        .is_island;
  };
  EXPECT_TRUE(is_island("(island)"));
  EXPECT_TRUE(is_island("(island yes)"));
  EXPECT_TRUE(is_island("island "));
  EXPECT_FALSE(is_island("(island no)"));
  EXPECT_FALSE(is_island(""));
}

TEST(BoardZones, ArcsBecomeChordsCloseToTheCircle) {
  const Board board =
      two_layer_board(kVersion9,
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

TEST(BoardZones, InFootprintsAreAbsoluteWhileDrawingsAreRelative) {
  const Board board = two_layer_board(
      kVersion9, "(footprint x (at 10 20 180) (zone (net 1) (layer F.Cu) (filled_polygon (layer F.Cu) " + kTriangle +
                     ")) (fp_poly " + kTriangle + " (fill solid) (layer B.Cu)))");
  EXPECT_EQ(board.fills[0].outline[1], (Point{1'000'000, 0}));
  EXPECT_EQ(board.graphics[0].outline[1], (Point{9'000'000, 20'000'000}));
  EXPECT_EQ(board.graphics[0].layer, 1);
}

TEST(BoardGraphics, OnlyFilledPolygonsOnCopperAreCopper) {
  const Board board = two_layer_board(
      kVersion9, "(gr_poly " + kTriangle + " (layers F.Cu F.Mask) (net 2)) (gr_poly " + kTriangle +
                     " (fill yes) (layer F.Cu))" + "(gr_poly " + kTriangle + " (fill none) (layer F.Cu)) (gr_poly " +
                     kTriangle + " (fill no) (layer F.Cu))" + "(gr_poly " + kTriangle +
                     " (layer F.SilkS)) (gr_text x (at 0 0) (layer F.Cu knockout))" +
                     "(gr_line (layer B.Cu)) (gr_curve (layer F.Mask)) (dimension (layer F.Cu))" +
                     "(footprint x (at 0 0) (fp_circle (layer F.Cu)) (property Value v (layer F.Cu)))");
  ASSERT_EQ(board.graphics.size(), 2u);
  EXPECT_EQ(board.graphics[0].net, 2);
  EXPECT_EQ(board.graphics[1].net, 0);
  EXPECT_EQ(board.skipped.count("polygon", "on copper, not filled"), 2u);
  EXPECT_EQ(board.skipped.count("text", "on copper"), 2u);
  EXPECT_EQ(board.skipped.count("line", "on copper"), 1u);
  EXPECT_EQ(board.skipped.count("circle", "on copper"), 1u);
  EXPECT_EQ(board.skipped.count("dimension", "on copper"), 1u);
}

TEST(BoardReader, ABoardWithNothingOnItIsABoard) {
  const Board board = board_of(
      "(kicad_pcb (version 20171130) (host pcbnew 5) (layers (0 F.Cu signal) (31 B.Cu signal)) (mystery (net 77)))");
  EXPECT_EQ(board.layers.size(), 2u);
  EXPECT_EQ(board.nets.size(), 1u);
  EXPECT_TRUE(board.tracks.empty() && board.vias.empty() && board.footprints.empty() && board.fills.empty());
}

}  // namespace
