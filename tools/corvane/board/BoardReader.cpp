#include "tools/corvane/board/BoardReader.h"

#include <string>
#include <utility>

#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/board/Stackup.h"

namespace CorvaneTool {
namespace {

Board empty_board(const Tree& tree) {
  const Item version = tree.root().find("version").atom(0);
  if (!version) tree.root().fail("the board has no version");
  Board board;
  board.format.version = whole_number(version);
  board.repaired_parentheses = tree.repairs();
  return board;
}

Item layers_of(const Item& board) {
  const Item layers = board.find("layers");
  if (!layers) board.fail("the board has no list of layers");
  return layers;
}

// "gr_line" of a board, "fp_line" of a footprint: both are a "line". Empty for what is no drawing.
std::string_view graphic_kind(std::string_view head) {
  if (head.starts_with("gr_") || head.starts_with("fp_")) return head.substr(3);
  if (head == "property") return "text";
  return head == "dimension" || head == "image" || head == "table" || head == "barcode" ? head : std::string_view();
}

}  // namespace

BoardReader::BoardReader(const Tree& tree, Allowance allowance)
    : d_root(tree.root()),
      d_board(empty_board(tree)),
      d_layers(layers_of(d_root), d_board.format),
      d_nets(d_root, d_board.format),
      d_allowance(allowance) {}

Board BoardReader::read() {
  const std::vector<double> heights = copper_heights(d_root, d_layers.copper().size());
  for (std::size_t i = 0; i < heights.size(); ++i) d_board.layers.push_back({d_layers.copper()[i], heights[i]});
  for (const Item child : d_root) {
    if (child.is_list()) read_child(child);
  }
  d_board.nets = d_nets.nets();
  return std::move(d_board);
}

void BoardReader::read_child(const Item& item) {
  const std::string_view head = item.word();
  if (head == "segment") return read_track(item, false);
  if (head == "arc") return read_track(item, true);
  if (head == "via") return read_via(item);
  if (head == "zone") return read_zone(item);
  if (head == "footprint" || head == "module") return read_footprint(item);
  const std::string_view kind = graphic_kind(head);
  if (!kind.empty()) read_copper_graphic(item, kind, {Point(), Turn(0)});
}

void BoardReader::read_copper_graphic(const Item& item, std::string_view kind, const Frame& frame) {
  const std::vector<int> layers = copper_layers(item);
  if (layers.empty()) return;
  if (kind == "poly") return read_polygon_graphic(item, layers, frame);
  d_nets.net_of(item);  // where nets go by name, this may be the first mention of one
  d_board.skipped.add(kind, "on copper");
}

void BoardReader::read_polygon_graphic(const Item& item, const std::vector<int>& layers, const Frame& frame) {
  const int net = d_nets.net_of(item);
  const Item fill = item.find("fill").atom(0);
  if (fill && (fill.word() == "none" || fill.word() == "no"))
    return d_board.skipped.add("polygon", "on copper, not filled");
  const Outline outline = frame.turn.placed(outline_of(item.find("pts")), frame.position);
  if (outline.empty()) return d_board.skipped.add("polygon", "without points");
  for (const int layer : layers) {
    d_allowance.take(outline.size() * sizeof(Point));
    d_board.graphics.push_back({layer, net, false, 0, outline});
  }
}

// The copper layers that an item's "layer" or "layers" names.
std::vector<int> BoardReader::copper_layers(const Item& item) {
  std::vector<int> places;
  for (const std::string_view name : {"layer", "layers"}) {
    const Item list = item.find(name);
    for (const Item word : list) {
      if (word.is_list()) continue;
      if (d_layers.append_copper(word, places))
        d_board.skipped.add(std::string(item.word()) + " layer", "not on this board");
      if (name == "layer") break;  // what follows is no layer, such as "knockout"
    }
  }
  return places;
}

// The copper layer of a track, which may name its solder mask besides; LayerTable::kNotCopper when there is none.
int BoardReader::track_layer(const Item& item) {
  if (const Item layer = item.find("layer").atom(0)) return layer_named(item, layer);
  for (const Item word : item.find("layers")) {
    if (word.is_list()) continue;
    if (const int place = layer_named(item, word); place >= 0) return place;
  }
  return LayerTable::kNotCopper;
}

int BoardReader::layer_named(const Item& item, const Item& word) {
  std::string scratch;
  const std::string_view name = word.text(scratch);
  const int place = d_layers.find(name);
  if (place == LayerTable::kUnknown || place == LayerTable::kNotOnBoard) {
    word.fail(std::string(item.word()) + " on unknown layer \"" + std::string(name) + "\"");
  }
  return place;
}

// The corners of a list "(pts (xy ...) (arc ...) ...)".
Outline BoardReader::outline_of(const Item& points) {
  Outline outline;
  for (const Item child : points) {
    if (!child.is_list()) continue;
    const std::size_t before = outline.size();
    if (child.word() == "xy") {
      outline.push_back(point_of(child));
    } else if (child.word() == "arc") {
      const Point start = point_in(child, "start"), middle = point_in(child, "mid");
      append_arc(outline, start, middle, point_in(child, "end"));
    }
    d_allowance.take((outline.size() - before) * sizeof(Point));
  }
  return outline;
}

Board read_board(const SourceText& text, Allowance allowance) {
  const Tree tree(text, "kicad_pcb");
  return BoardReader(tree, allowance).read();
}

}  // namespace CorvaneTool
