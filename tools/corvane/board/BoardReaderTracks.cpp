// Tracks and vias.
#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/board/BoardReader.h"

namespace CorvaneTool {

void BoardReader::read_track(const Item& item, bool is_arc) {
  const int layer = track_layer(item);
  const int net = d_nets.net_of(item);
  if (layer < 0) return d_board.skipped.add(item.word(), "not on copper");
  Track track{point_in(item, "start"), {}, point_in(item, "end"), nanometres_in(item, "width", 0), layer, net};
  if (is_arc) track.middle = point_in(item, "mid");
  d_board.tracks.push_back(track);
}

void BoardReader::read_via(const Item& item) {
  Via via{point_in(item, "at"), 0, 0, d_layers.bottom(), d_nets.net_of(item)};
  if (const Item layers = item.find("layers")) {
    std::vector<int> places;
    for (const Item word : layers) {
      if (word.is_list()) continue;
      if (const int place = layer_named(item, word); place >= 0) places.push_back(place);
    }
    if (places.empty()) return d_board.skipped.add("via", "not on copper");
    via.first_layer = places.front();
    via.last_layer = places.back();
  }
  via.drill = via_drill(item, via.net);
  d_board.vias.push_back(via);
}

// Files of some versions leave the drill to the net class. 0 when that has none either.
std::int64_t BoardReader::via_drill(const Item& item, int net) {
  if (const Item drill = item.find("drill").atom(0)) return nanometres(drill);
  const std::optional<std::int64_t> drill = d_nets.class_drill(net, item.has_word("micro"));
  if (!drill) d_board.skipped.add("via drill", "given nowhere, taken as 0");
  return drill.value_or(0);
}

}  // namespace CorvaneTool
