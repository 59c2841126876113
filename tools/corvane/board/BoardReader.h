// Turns the tree of a board file into a Board. Internal to read_board.
//
// The order of a list's children means nothing, so a list is asked for what it should have; only its own children
// count, because inner lists have layers and sizes of their own. Unknown lists are passed over.
#pragma once

#include <string_view>
#include <vector>

#include "tools/corvane/board/Board.h"
#include "tools/corvane/board/LayerTable.h"
#include "tools/corvane/board/NetTable.h"

namespace CorvaneTool {

class BoardReader {
 public:
  BoardReader(const Tree& tree, Allowance allowance);

  Board read();

 private:
  // A footprint's place: what its children's positions count from.
  struct Frame {
    Point position;
    Turn turn;
  };

  // BoardReader.cpp
  void read_child(const Item& item);
  void read_copper_graphic(const Item& item, std::string_view kind, const Frame& frame);
  void read_polygon_graphic(const Item& item, const std::vector<int>& layers, const Frame& frame);
  std::vector<int> copper_layers(const Item& item);
  int track_layer(const Item& item);
  int layer_named(const Item& item, const Item& word);
  Outline outline_of(const Item& points);

  // BoardReaderTracks.cpp
  void read_track(const Item& item, bool is_arc);
  void read_via(const Item& item);
  std::int64_t via_drill(const Item& item, int net);

  // BoardReaderFootprint.cpp
  void read_footprint(const Item& item);
  Pad read_pad(const Item& item, const Frame& frame);
  void read_hole(const Item& item, Pad& pad);
  void read_pad_layers(const Item& item, Pad& pad);
  void read_custom_shape(const Item& item, Pad& pad);

  // BoardReaderZone.cpp
  void read_zone(const Item& item);
  void read_fill(const Item& item, const std::vector<int>& zone_layers, int net, std::int64_t pen_width);

  const Item d_root;
  Board d_board;
  LayerTable d_layers;
  NetTable d_nets;
  Allowance d_allowance;  // of all outlines
};

}  // namespace CorvaneTool
