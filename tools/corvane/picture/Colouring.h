// Which colour each thing of a drawing has, and what the legend says about it.
//
// A drawing of several layers is coloured by layer, any other by net. A highlighted net keeps its colours while all
// else is grey.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tools/corvane/picture/Drawing.h"

namespace CorvaneTool {

inline constexpr const char* kPanelColour = "#1a232d";  // behind everything
inline constexpr const char* kVoidColour = "#f4f7fa";   // around the holes of meshes
inline constexpr const char* kMarkColour = "#ffffff";

struct Paint {
  std::string colour;  // "#rrggbb"
  std::string label;
  bool is_faint = false;
};

class Colouring {
 public:
  /// `highlighted_net` is a position in the drawing's nets, -1 for none.
  Colouring(const Drawing& drawing, int highlighted_net);

  /// In the order of the legend; what comes first is drawn last.
  const std::vector<Paint>& paints() const { return d_paints; }

  /// Positions in paints().
  std::size_t paint_of(int layer, int net) const;
  std::size_t paint_of_hole(int net) const;

  /// Another net is highlighted.
  bool is_faint(int net) const { return d_highlighted_net >= 0 && net != d_highlighted_net; }

 private:
  std::size_t add(std::string colour, std::string label, bool is_faint = false);
  void add_layers(const Drawing& drawing, const std::vector<int>& layers);
  void add_nets(const Drawing& drawing);

  int d_highlighted_net;
  bool d_by_layer;
  std::vector<Paint> d_paints;
  std::map<int, std::size_t> d_paint_of;  // by layer or by net
  std::size_t d_others = 0;               // the paint of nets that have none of their own
  std::size_t d_vias = 0;                 // the paint of vias when coloured by layer, and of those without a net
};

}  // namespace CorvaneTool
