#include "tools/corvane/picture/LayoutDrawing.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "tools/corvane/board/BoardNumbers.h"

namespace CorvaneTool {
namespace {

using namespace Mesh2DPlat;

constexpr std::int64_t kUsualWidth = 150'000;    // nm
constexpr std::int64_t kWidest = 1'000'000'000;  // nm

std::optional<std::int64_t> width_in(const std::string& name) {
  const std::size_t mark = name.rfind(" w");
  if (mark == std::string::npos) return std::nullopt;
  const std::optional<int> width = parse_whole(std::string_view(name).substr(mark + 2));
  return width && *width > 0 && *width <= kWidest ? std::optional<std::int64_t>(*width) : std::nullopt;
}

std::string quoted(const char* what, const std::string& name) { return std::string(what) + " \"" + name + "\""; }

class LayoutDrawing {
 public:
  explicit LayoutDrawing(const Layout& layout) : d_layout(layout) {}

  Drawing draw() {
    list_layers();
    list_nets();
    for (const EM2DShape* shape : d_layout.shapes) draw_shape(*shape);
    for (const EM2DTrace* trace : d_layout.traces) draw_trace(*trace);
    for (const EM2DVia* via : d_layout.vias) draw_via(*via);
    for (const EM2DPolyVia* via : d_layout.poly_vias) {
      const std::vector<double>& ring = via->coordinates();
      draw_via(*via).ring = drawn_outline(ring.data(), ring.size(), quoted("via", via->name()));
    }
    for (const EM2DCircuit* circuit : d_layout.circuits) draw_pins(*circuit);
    d_drawing.a_mark_is = "pin";
    d_drawing.marks_are = "pins";
    return std::move(d_drawing);
  }

 private:
  void list_layers() {
    std::vector<const EM2DLayer*> layers(d_layout.layers.begin(), d_layout.layers.end());
    std::stable_sort(layers.begin(), layers.end(),
                     [](const EM2DLayer* left, const EM2DLayer* right) { return left->z() > right->z(); });
    for (const EM2DLayer* layer : layers) {
      d_layers.emplace(layer, static_cast<int>(d_drawing.layers.size()));
      d_drawing.layers.push_back(layer->name());
    }
  }

  void list_nets() {
    for (const EM2DNet* net : d_layout.nets) {
      d_nets.emplace(net, static_cast<int>(d_drawing.nets.size()));
      d_drawing.nets.push_back(net->name());
    }
  }

  int layer_of(const EM2DLayer* layer) const { return layer == nullptr ? -1 : d_layers.at(layer); }
  int net_of(const EM2DNet* net) const { return net == nullptr ? -1 : d_nets.at(net); }

  static Point point_of(const EM2DVertex& vertex) {
    return drawn_point(vertex.x(), vertex.y(), quoted("vertex", vertex.name()));
  }

  void draw_shape(const EM2DShape& shape) {
    const std::vector<double>& ring = shape.coordinates();
    if (ring.size() < 2 * kFewestCorners) {
      ++d_drawing.not_drawn.shapes;
      return;
    }
    d_drawing.areas.push_back({layer_of(shape.layer()), net_of(shape.net()),
                               shape.type() == EM2DShape::Type::Fill ? AreaKind::Fill : AreaKind::Pad,
                               drawn_outline(ring.data(), ring.size(), quoted("shape", shape.name())),
                               width_in(shape.name()).value_or(0), shape.name()});
  }

  void draw_trace(const EM2DTrace& trace) {
    const EM2DVertex &start = *trace.startVertex(), &end = *trace.endVertex();
    const int net = net_of(trace.net());
    d_vertex_nets[&start] = d_vertex_nets[&end] = net;
    d_drawing.lines.push_back({layer_of(start.layer()),
                               net,
                               LineKind::Track,
                               {point_of(start), point_of(end)},
                               width_in(trace.name()).value_or(kUsualWidth)});
  }

  DrawnHole& draw_via(const EM2DVia& via) {
    const int start = layer_of(via.startVertex()->layer()), end = layer_of(via.endVertex()->layer());
    const int net = net_of(via.net());
    d_vertex_nets[via.startVertex()] = d_vertex_nets[via.endVertex()] = net;
    const std::int64_t radius = std::max<std::int64_t>(drawn_length(via.radius(), quoted("via", via.name())), 0);
    return d_drawing.holes.emplace_back(DrawnHole{
        std::min(start, end), std::max(start, end), net, point_of(*via.startVertex()), radius, {}, via.name()});
  }

  // Vertices do not know their nets; what ends there does. A pin that nothing runs to has none.
  void draw_pins(const EM2DCircuit& circuit) {
    for (const auto& [name, vertex] : circuit.pins()) {
      const auto net = d_vertex_nets.find(vertex);
      d_drawing.marks.push_back({layer_of(vertex->layer()), net == d_vertex_nets.end() ? -1 : net->second,
                                 point_of(*vertex), circuit.name() + "." + name});
    }
  }

  const Layout& d_layout;
  Drawing d_drawing;
  std::unordered_map<const EM2DLayer*, int> d_layers;  // positions in the drawing
  std::unordered_map<const EM2DNet*, int> d_nets;
  std::unordered_map<const EM2DVertex*, int> d_vertex_nets;
};

}  // namespace

Drawing draw_layout(const Layout& layout) { return LayoutDrawing(layout).draw(); }

}  // namespace CorvaneTool
