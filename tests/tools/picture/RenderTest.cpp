// Pictures of layouts, and the verb that draws them.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "facade/DBZydata.h"
#include "tests/tools/picture/Pictures.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/picture/PictureFrame.h"
#include "tools/corvane/picture/SvgText.h"

using namespace CorvaneTool;
using namespace Mesh2DPlat;
using nlohmann::json;
using TestSupport::read_file;
using TestSupport::write_file;
namespace fs = std::filesystem;

namespace {

const std::string kOwnBoard = CORVANE_EXAMPLE_BOARDS "/sensor-node.kicad_pcb";

class RenderLayout : public Pictures {
 protected:
  std::string save(const Layout& layout) {
    DBZydata database(folder.path());
    database.openem(false, "layout");
    write_layout(database, layout);
    database.save("layout");
    return folder.path("layout.zydat");
  }

  std::string imported_board() {
    import_board({kOwnBoard, folder.path(), "board"}, [](const std::string&) {});
    return folder.path("board.zydat");
  }
};

// Net "A": a plane of 10 x 10 mm, whose outline runs around a window of 2 x 2 mm in its middle. Net "B": a trace of 1
// mm along y = 15, a via of radius 1 at (2, 2).
Layout two_nets() {
  Layout layout;
  EM2DLayer* top = layout.layers.make(0, "TOP", 1.0);
  EM2DNet* a = layout.nets.make(1, EM2DNet::Type::Power, "A");
  EM2DNet* b = layout.nets.make(2, EM2DNet::Type::Signal, "B");
  const auto vertex = [&](double x, double y) {
    const int id = static_cast<int>(layout.vertices.size());
    return layout.vertices.make(id, "N", x, y, 1.0, 0, top, nullptr, nullptr, 0);
  };
  EM2DVertex* via = vertex(2, 2);
  layout.shapes.make("plane", top, a, EM2DShape::Type::Pad, 0,
                     std::vector<double>{0, 0, 10, 0, 10, 10, 0, 10, 0, 0, 4, 4, 4, 6, 6, 6, 6, 4, 4, 4});
  layout.traces.make("T1 w1000000", b, vertex(0, 15), vertex(10, 15), 0);
  layout.vias.make("V1", b, via, via, 1.0);
  layout.circuits.make("U1")->addPin("7", layout.vertices[1]);
  return layout;
}

TEST_F(RenderLayout, ShowsCopperWhereItIsInTheColoursOfNets) {
  const std::vector<std::string> points = {"8,2", "5,5", "5,15", "5,15.4", "5,15.7", "2,2", "3.17,2", "3.6,2", "12,12"};
  const json colours = picture_of(save(two_nets()), "--width 800", points)["colours"];
  EXPECT_EQ(colours["8,2"], kLargestNet);
  EXPECT_EQ(colours["5,5"], kPanel) << "the window in the plane";
  EXPECT_EQ(colours["5,15"], kSecondNet);
  EXPECT_EQ(colours["5,15.4"], kSecondNet) << "the width in the trace's name";
  EXPECT_EQ(colours["5,15.7"], kPanel);
  EXPECT_EQ(colours["2,2"], kPanel) << "the hole of the via";
  EXPECT_EQ(colours["3.17,2"], kSecondNet) << "its ring";
  EXPECT_EQ(colours["3.6,2"], kLargestNet);
}

TEST_F(RenderLayout, AHighlightedNetStandsOutOfGreyOnes) {
  const json picture = picture_of(save(two_nets()), "--net B --width 400", {"8,2", "5,15"});
  EXPECT_EQ(picture["colours"]["5,15"], kSecondNet);
  const std::string other = picture["colours"]["8,2"];
  EXPECT_TRUE(other != kLargestNet && other != kPanel) << other;
  EXPECT_EQ(picture["title"], "layout.zydat · B");
}

TEST_F(RenderLayout, HoldsEveryItemOfABoard) {
  const std::string board = imported_board();
  const json picture = picture_of(board);
  EXPECT_EQ(contents, "4 layers, 13 traces, 32 shapes, 10 vias, 12 pins");
  EXPECT_EQ(picture["width"], 1600);
  EXPECT_EQ(picture["height"], 1035);
  EXPECT_EQ(picture["layers"], json({"B.Cu", "In2.Cu", "In1.Cu", "F.Cu"})) << "bottom first";
  EXPECT_EQ(picture["segments"], 13);
  EXPECT_EQ(picture["paths"].size(), 32u + 2u) << "shapes and oval vias";
  EXPECT_EQ(picture["circles"].size(), 8u + 12u) << "round vias and pins";
  EXPECT_EQ(picture["texts"], json({"board.zydat", "4 layers, 13 traces, 32 shapes, 10 vias, 12 pins", "F.Cu", "In1.Cu",
                                    "In2.Cu", "B.Cu", "vias", "pins", "5 mm"}));
  const json front = picture_of(board, "--layer F.Cu --width 640");
  EXPECT_EQ(contents, "1 layer, 11 traces, 12 shapes, 10 vias, 10 pins");
  EXPECT_EQ(front["height"], 414) << "the same part of the board";
  EXPECT_EQ(front["layers"], json({"F.Cu"}));
  EXPECT_EQ(front["segments"], 11);
}

TEST_F(RenderLayout, AnyNameMakesAValidPicture) {
  Layout layout;
  EM2DLayer* layer = layout.layers.make(0, "<\"L&1\">", 0.0);
  EM2DNet* net = layout.nets.make(1, EM2DNet::Type::Signal,
                                  "a\x01"
                                  "b\xff\xc0\xaf]]>\xef\xbf\xbf\xf0\x9f\x94\x8c");
  layout.shapes.make("&amp;", layer, net, EM2DShape::Type::Pad, 0, std::vector<double>{0, 0, 1, 0, 1, 1});
  EM2DNet* longer = layout.nets.make(2, EM2DNet::Type::Signal, std::string(500, 'x'));
  layout.shapes.make("", layer, longer, EM2DShape::Type::Pad, 0, std::vector<double>{0, 0, 1, 0, 1, 1});
  layout.shapes.make("", layer, longer, EM2DShape::Type::Pad, 0, std::vector<double>{0, 0, 1, 0});
  const json picture = picture_of(save(layout), "--layer '<\"L&1\">'");
  EXPECT_EQ(picture["layers"], json({"<\"L&1\">"}));
  EXPECT_EQ(picture["paths"][1], "&amp;, ab]]>\xf0\x9f\x94\x8c");
  EXPECT_EQ(picture["texts"][2], "ab]]>\xf0\x9f\x94\x8c");
  EXPECT_EQ(picture["texts"][3], std::string(27, 'x') + "…");
  EXPECT_EQ(picture["paths"][0], std::string(63, 'x') + "…") << "a long name is not written at every item";
  EXPECT_EQ(contents, "1 layer, 2 shapes, 1 shape without an area not drawn");
}

TEST_F(RenderLayout, DrawsAnyExtent) {
  const auto dot = [](double size) {
    Layout layout;
    EM2DLayer* layer = layout.layers.make(0, "L", 0.0);
    EM2DNet* net = layout.nets.make(1, EM2DNet::Type::Signal, "N");
    EM2DVertex* from = layout.vertices.make(0, "", 5.0, 5.0, 0.0, 0, layer, nullptr, nullptr, 0);
    EM2DVertex* to = layout.vertices.make(1, "", 5.0, 5.0 + size, 0.0, 0, layer, nullptr, nullptr, 0);
    layout.traces.make("no width", net, from, to, 0);
    return layout;
  };
  for (const double size : {0.0, 1e-6, 1e6 - 5}) {
    const json colours = picture_of(save(dot(size)), "--width 300", {"5,5"})["colours"];
    EXPECT_NE(colours["5,5"], kPanel) << size;
  }
  const json tall = picture_of(save(dot(1e5)), "--width 300", {"5,6", "5,100004"});
  EXPECT_LE(tall["height"], 500);
  for (const auto& [end, colour] : tall["colours"].items()) EXPECT_NE(colour, kPanel) << "shown whole: " << end;
  const json empty = picture_of(save(Layout()), "--width 200");
  EXPECT_EQ(empty["texts"][2], "nothing to draw");
}

TEST_F(RenderLayout, PathsStayShortEnoughForReaders) {
  Layout layout = two_nets();
  std::vector<double> ring;
  for (int i = 0; i < 200'000; ++i) {
    const double angle = i * 6.283185307179586 / 200'000, radius = i % 2 == 0 ? 400 : 380;
    ring.insert(ring.end(), {radius * std::cos(angle), radius * std::sin(angle)});
  }
  layout.shapes.make("round", layout.layers[0], layout.nets[0], EM2DShape::Type::Fill, 0, ring);
  for (int i = 0; i < 60'000; ++i) layout.traces.make("T", layout.nets[1], layout.vertices[1], layout.vertices[2], 0);
  const json picture = picture_of(save(layout), "--width 400", {"0,-300", "395,395"});
  EXPECT_LT(picture["longest"], 600'000);
  EXPECT_GT(picture["longest"], 400'000) << "no shorter than it must be";
  EXPECT_EQ(picture["segments"], 60'001);
  EXPECT_NE(picture["colours"]["0,-300"], kPanel);
  EXPECT_EQ(picture["colours"]["395,395"], kPanel);
}

TEST_F(RenderLayout, RefusesWhatCannotBeDrawnAsCheckDoes) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const auto expect_refusal = [&](const std::string& message, const std::function<void(Layout&)>& change) {
    Layout layout = two_nets();
    change(layout);
    const std::string file = save(layout);
    EXPECT_EQ(refusal_of(file + " " + folder.path("out.svg")), file + ": " + message);
    const ProgramRun check = run(folder, "check --strict " + file);
    EXPECT_EQ(check.status, 1) << message;
    EXPECT_TRUE(check.out.ends_with(", but cannot be drawn or meshed: " + message + "\n")) << check.out;
  };
  const auto expect_wrong_value = [&](const std::string& where, std::array<double, 3> place, double radius,
                                      double height, const std::vector<double>& outline) {
    expect_refusal(where, [&](Layout& layout) {
      EM2DLayer* layer = layout.layers.make(5, "high", height);
      EM2DVertex* vertex = layout.vertices.make(9, "", place[0], place[1], place[2], 0, layer, nullptr, nullptr, 0);
      layout.vias.make("V", layout.nets[0], vertex, vertex, radius);
      layout.shapes.make("S", layer, layout.nets[0], EM2DShape::Type::Fill, 0, outline);
      layout.poly_vias.make("P", layout.nets[0], vertex, vertex, EM2DPolyVia::PolyType::Slot, outline);
    });
  };
  const std::string far = ", no length up to a kilometre";
  expect_wrong_value("em2dlayer row 1: z is 1e+07" + far, {}, 0, 1e7, {});
  expect_wrong_value("em2dvertex row 3: x is inf" + far, {inf, 0, 0}, 0, 0, {});
  expect_wrong_value("em2dvertex row 3: y is nan" + far, {0, nan, 0}, 0, 0, {});
  expect_wrong_value("em2dvertex row 3: z is -inf" + far, {0, 0, -inf}, 0, 0, {});
  expect_wrong_value("em2dvia row 1: r is inf" + far, {}, inf, 0, {});
  expect_wrong_value("em2dpolyvia row 0: coord[1] is -1e+09" + far, {}, 0, 0, {0, -1e9});
  expect_refusal("em2dshape row 1: vertexs has an odd number of coordinates", [](Layout& layout) {
    layout.shapes.make("S", layout.layers[0], layout.nets[0], EM2DShape::Type::Fill, 0, std::vector<double>{1, 2, 3});
  });
  std::vector<std::unique_ptr<EM2DLayer>> taken;
  expect_refusal("em2dvertex row 0: names TOP, which the file does not have", [&](Layout& layout) {
    for (EM2DLayer* layer : layout.layers.handed_over()) taken.emplace_back(layer);
    layout.layers.handed_over().clear();
  });
  EXPECT_FALSE(fs::exists(folder.path("out.svg")));
  EXPECT_EQ(run(folder, "check --strict " + save(two_nets())).status, 0);
}

TEST_F(RenderLayout, SaysInOneLineWhatIsWrongAndLeavesAnEarlierPicture) {
  const std::string board = imported_board(), out = folder.path("out.svg"), missing = folder.path("no/out.svg");
  write_file(out, "earlier");
  fs::copy_file(board, folder.path("board.dat"));
  const std::vector<std::pair<std::string, std::string>> table = {
      {board + " " + out + " --layer B.Mask", "--layer B.Mask: the file has F.Cu, In1.Cu, In2.Cu, B.Cu"},
      {board + " " + out + " --net gnd", "--net gnd: the file has GND, VIN, +3V3, SIG"},
      {board + " " + missing, missing + ": cannot be written: No such file or directory"},
      {folder.path("board.dat") + " " + out,
       folder.path("board.dat") + ": the names of layout databases end in .zydat"},
      {CORVANE_TEST_DATA "/kinds.zydat " + out, CORVANE_TEST_DATA "/kinds.zydat: neither a layout nor a mesh"}};
  for (const auto& [arguments, message] : table) EXPECT_EQ(refusal_of(arguments), message);
  EXPECT_EQ(read_file(out), "earlier");
}

TEST(PictureFrame, HasAScaleBarOfARoundLength) {
  const std::vector<std::pair<std::int64_t, double>> table = {{1'000'000, 0.2}, {1'300'000, 0.2},  {3'000'000, 0.5},
                                                              {49'000'000, 10}, {100'000'000, 20}, {999'000'000, 200}};
  for (const auto& [width, length] : table) {
    const PictureFrame frame({{0, 0}, {width, width}}, 1000, {});
    EXPECT_DOUBLE_EQ(frame.scale_bar_length(), length) << width;
    EXPECT_LE(frame.scale_bar_pixels(), 0.2 * frame.panel_width());
  }
}

TEST(SvgText, WritesShortPathsOfWholeMicrometres) {
  PathData path;
  path.add_closed({{1'000, 2'000}, {-3'499, 2'000}, {-3'500, 2'400}});
  path.add_open({{1'000, 5'000}, {1'000, 5'000}});
  path.add_open({{0, 0}, {0, -1'000}});
  EXPECT_EQ(path.text(), "m1 2-4 0-1 0zm0 3h0m-1-5 0-1");
  EXPECT_EQ(xml_text("a\"b'<>&"), "a&quot;b'&lt;&gt;&amp;");
  EXPECT_EQ(svg_number(-0.001), "0");
  EXPECT_EQ(svg_number(1200), "1200");
  EXPECT_EQ(svg_number(0.125, 3), "0.125");
}

}  // namespace
