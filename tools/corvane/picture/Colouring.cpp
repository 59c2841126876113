#include "tools/corvane/picture/Colouring.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace CorvaneTool {
namespace {

constexpr const char* kTopColour = "#f0564a";
constexpr const char* kBottomColour = "#4b93f7";
constexpr std::array kInnerColours = {"#f2b134", "#3cc48a", "#b57bee", "#35c4d7", "#ef7fb8", "#a8cf45", "#c99a6b"};
constexpr std::array kNetColours = {"#4b93f7", "#f39237", "#58c777", "#f0605a", "#b98af0",
                                    "#f0cf4a", "#3dc6c3", "#f58fb8", "#c2905f", "#b3dc6c"};
constexpr const char* kOtherColour = "#8d9bab";
constexpr const char* kNoNetColour = "#5f6d7c";
constexpr const char* kFaintColour = "#7b8896";
constexpr const char* kViaColour = "#d3dbe3";

double length_of(const DrawnLine& line) {
  double length = 0;
  for (std::size_t i = 1; i < line.points.size(); ++i) {
    length += std::hypot(static_cast<double>(line.points[i].x - line.points[i - 1].x),
                         static_cast<double>(line.points[i].y - line.points[i - 1].y));
  }
  return length;
}

double doubled_area_of(const DrawnFaces& faces) {
  double area = 0;
  std::size_t first = 0;
  for (const std::size_t end : faces.ends) {
    area += doubled_area(&faces.corners[first], end - first);
    first = end;
  }
  return area;
}

// Nets with something to see, -1 among them, those with most copper first.
std::vector<int> nets_by_size(const Drawing& drawing) {
  std::map<int, double> sizes;  // nm2, doubled
  for (const DrawnArea& area : drawing.areas) sizes[area.net] += doubled_area(area.ring.data(), area.ring.size());
  for (const DrawnLine& line : drawing.lines) sizes[line.net] += 2 * length_of(line) * static_cast<double>(line.width);
  for (const DrawnFaces& faces : drawing.faces) sizes[faces.net] += doubled_area_of(faces);
  for (const DrawnHole& hole : drawing.holes) {
    if (hole.net >= 0) sizes[hole.net] += 0;
  }
  std::vector<int> nets;
  for (const auto& [net, size] : sizes) nets.push_back(net);
  std::stable_sort(nets.begin(), nets.end(), [&](int left, int right) { return sizes[left] > sizes[right]; });
  return nets;
}

bool has_no_name(const Drawing& drawing, int net) {
  return net < 0 || drawing.nets[static_cast<std::size_t>(net)].empty();
}

}  // namespace

Colouring::Colouring(const Drawing& drawing, int highlighted_net) : d_highlighted_net(highlighted_net) {
  const std::vector<int> layers = used_layers(drawing);
  d_by_layer = layers.size() > 1;
  if (d_by_layer) {
    add_layers(drawing, layers);
  } else if (highlighted_net < 0) {
    add_nets(drawing);
  } else {
    d_paint_of[highlighted_net] = add(kNetColours[1], drawing.nets[static_cast<std::size_t>(highlighted_net)]);
  }
  const bool has_plain_vias = std::any_of(drawing.holes.begin(), drawing.holes.end(), [this](const DrawnHole& hole) {
    return d_by_layer || (d_highlighted_net < 0 && hole.net < 0);
  });
  if (has_plain_vias) d_vias = add(kViaColour, "vias");
  if (highlighted_net >= 0) d_others = add(kFaintColour, "other nets", true);
}

std::size_t Colouring::add(std::string colour, std::string label, bool is_faint) {
  d_paints.push_back({std::move(colour), std::move(label), is_faint});
  return d_paints.size() - 1;
}

// Outer layers keep their colours whatever lies between them.
void Colouring::add_layers(const Drawing& drawing, const std::vector<int>& layers) {
  const int bottom = static_cast<int>(drawing.layers.size()) - 1;
  for (const int layer : layers) {
    if (layer < 0) continue;
    const auto place = static_cast<std::size_t>(layer);
    d_paint_of[layer] = add(layer == 0        ? kTopColour
                            : layer == bottom ? kBottomColour
                                              : kInnerColours[(place - 1) % kInnerColours.size()],
                            drawing.layers[place]);
  }
  if (layers.front() < 0) d_paint_of[-1] = add(kOtherColour, "no layer");
}

void Colouring::add_nets(const Drawing& drawing) {
  std::vector<int> others, nameless;
  for (const int net : nets_by_size(drawing)) {
    if (has_no_name(drawing, net)) {
      nameless.push_back(net);
    } else if (d_paints.size() < kNetColours.size()) {
      d_paint_of[net] = add(kNetColours[d_paints.size()], drawing.nets[static_cast<std::size_t>(net)]);
    } else {
      others.push_back(net);
    }
  }
  const std::string count = std::to_string(others.size());
  if (!others.empty()) d_others = add(kOtherColour, count + (others.size() == 1 ? " other net" : " other nets"));
  if (nameless.empty()) return;
  const std::size_t no_net = add(kNoNetColour, "no net");
  for (const int net : nameless) d_paint_of[net] = no_net;
}

std::size_t Colouring::paint_of(int layer, int net) const {
  if (is_faint(net)) return d_others;
  const auto paint = d_paint_of.find(d_by_layer ? layer : net);
  return paint == d_paint_of.end() ? d_others : paint->second;
}

std::size_t Colouring::paint_of_hole(int net) const {
  if (is_faint(net)) return d_others;
  return d_by_layer || net < 0 ? d_vias : paint_of(-1, net);
}

}  // namespace CorvaneTool
