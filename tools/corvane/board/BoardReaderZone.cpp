// Zones: what is filled of them.
#include <utility>

#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/board/BoardReader.h"

namespace CorvaneTool {

void BoardReader::read_zone(const Item& item) {
  const std::vector<int> layers = copper_layers(item);
  const int net = d_nets.net_of(item);
  if (item.find("keepout")) return d_board.skipped.add("zone", "rule area");
  const bool has_pen =
      d_board.format.fills_are_centre_lines() && item.find("filled_areas_thickness").atom(0).word() != "no";
  const std::int64_t pen_width = has_pen ? nanometres_in(item, "min_thickness", 0) : 0;
  for (const Item child : item) {
    if (!child.is_list()) continue;
    if (child.word() == "polygon") d_board.skipped.add("zone outline", "only its fill is copper");
    if (child.word() == "fill_segments") d_board.skipped.add("zone fill segments", "stand beside filled polygons");
    if (child.word() == "filled_polygon") read_fill(child, layers, net, pen_width);
  }
}

// Takes the zone's layer where the polygon names none.
void BoardReader::read_fill(const Item& item, const std::vector<int>& zone_layers, int net, std::int64_t pen_width) {
  const int own_layer = track_layer(item);
  const bool names_layer = item.find("layer") || item.find("layers");
  const int layer = names_layer || zone_layers.empty() ? own_layer : zone_layers.front();
  if (layer < 0) return d_board.skipped.add("filled polygon", "not on copper");
  const Item island = item.find("island");
  const bool is_island = (island && island.atom(0).word() != "no") || item.has_word("island");
  Area area{layer, net, is_island, pen_width, outline_of(item.find("pts"))};
  if (area.outline.empty()) return d_board.skipped.add("filled polygon", "without points");
  d_board.fills.push_back(std::move(area));
}

}  // namespace CorvaneTool
