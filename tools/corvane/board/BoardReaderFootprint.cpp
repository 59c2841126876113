// Footprints and their pads.
#include <optional>
#include <string>
#include <utility>

#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/board/BoardReader.h"

namespace CorvaneTool {
namespace {

constexpr double kUsualCornerRatio = 0.25;

// The number behind x and y of a list "(at x y [angle])".
double angle_of(const Item& at) {
  const Item angle = at.atom(2);
  return angle ? real_number(angle) : 0;
}

std::optional<std::string> text_with_key(const Item& footprint, std::string_view head, std::string_view key) {
  for (const Item child : footprint) {
    if (child.is_list() && child.word() == head && child.atom(0).word() == key) return child.atom(1).text();
  }
  return std::nullopt;
}

std::string reference_of(const Item& footprint, const BoardFormat& format) {
  const std::optional<std::string> property = text_with_key(footprint, "property", "Reference");
  const std::optional<std::string> text = text_with_key(footprint, "fp_text", "reference");
  return (format.reference_is_property() || !text ? property : text).value_or("");
}

PadKind pad_kind(std::string_view word) {
  if (word == "thru_hole") return PadKind::PlatedHole;
  return word == "np_thru_hole" ? PadKind::UnplatedHole : PadKind::Surface;
}

PadShape pad_shape(const Item& item, std::string_view word) {
  if (word == "circle") return PadShape::Circle;
  if (word == "oval") return PadShape::Oval;
  if (word == "rect") return PadShape::Rectangle;
  if (word == "trapezoid") return PadShape::Trapezoid;
  if (word == "roundrect") return PadShape::RoundedRectangle;
  if (word != "custom") return PadShape::Other;
  const bool is_rectangle = item.find("options").find("anchor").atom(0).word() == "rect";
  return is_rectangle ? PadShape::CustomOnRectangle : PadShape::CustomOnCircle;
}

Point optional_point(const Item& list) { return list ? point_of(list) : Point(); }

}  // namespace

void BoardReader::read_footprint(const Item& item) {
  const Item at = item.find("at");
  const Frame frame{point_in(item, "at"), Turn(angle_of(at))};
  Footprint footprint{reference_of(item, d_board.format), false, {}};
  if (const Item layer = item.find("layer").atom(0))
    footprint.is_on_bottom = d_layers.bottom() > 0 && layer_named(item, layer) == d_layers.bottom();
  for (const Item child : item) {
    if (!child.is_list()) continue;
    const std::string_view head = child.word();
    if (head == "pad") {
      footprint.pads.push_back(read_pad(child, frame));
    } else if (head == "zone") {
      read_zone(child);
    } else if (head == "property") {
      read_copper_graphic(child, "text", frame);
    } else if (head.starts_with("fp_")) {
      read_copper_graphic(child, head.substr(3), frame);
    }
  }
  d_board.footprints.push_back(std::move(footprint));
}

Pad BoardReader::read_pad(const Item& item, const Frame& frame) {
  Pad pad{};
  // The word "locked" may stand anywhere behind the number.
  std::vector<std::string_view> words;
  for (const Item child : item) {
    if (!child.is_list() && (words.empty() || child.word() != "locked")) words.push_back(child.word());
  }
  if (words.size() < 3) item.fail("a pad needs a number, a kind and a shape");
  pad.number = item.atom(0).text();
  pad.kind = pad_kind(words[1]);
  pad.shape = pad_shape(item, words[2]);
  pad.position = frame.turn(point_in(item, "at")) + frame.position;
  pad.angle = angle_of(item.find("at"));
  pad.size = optional_point(item.find("size"));
  pad.delta = optional_point(item.find("rect_delta"));
  pad.corner_ratio = real_number_in(item, "roundrect_rratio", kUsualCornerRatio);
  pad.net = d_nets.net_of(item);
  read_hole(item, pad);
  read_pad_layers(item, pad);
  read_custom_shape(item, pad);
  if (item.find("chamfer")) d_board.skipped.add("pad chamfer", "corner left round");
  if (item.find("padstack")) d_board.skipped.add("pad stack", "outer shape taken on every layer");
  return pad;
}

// "(drill [oval] [width [height]] [(offset x y)])"; without a width there is no hole.
void BoardReader::read_hole(const Item& item, Pad& pad) {
  const Item drill = item.find("drill");
  std::vector<std::int64_t> sizes;
  for (const Item child : drill) {
    if (!child.is_list() && child.word() != "oval") sizes.push_back(nanometres(child));
  }
  pad.offset = optional_point(drill.find("offset"));
  if (sizes.empty()) return;
  pad.hole = {sizes.front(), drill.has_word("oval") ? sizes.back() : sizes.front()};
}

void BoardReader::read_pad_layers(const Item& item, Pad& pad) {
  for (const Item word : item.find("layers")) {
    if (word.is_list()) continue;
    if (d_layers.append_copper(word, pad.layers)) d_board.skipped.add("pad layer", "not on this board");
  }
}

void BoardReader::read_custom_shape(const Item& item, Pad& pad) {
  for (const Item primitive : item.find("primitives")) {
    if (!primitive.is_list()) continue;
    const std::string_view head = primitive.word();
    if (head == "gr_poly") {
      pad.polygons.push_back(outline_of(primitive.find("pts")));
    } else if (head.starts_with("gr_")) {
      d_board.skipped.add(std::string("pad primitive ").append(head.substr(3)), "no polygon");
    }
  }
}

}  // namespace CorvaneTool
