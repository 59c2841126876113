#include "tools/mesher/Copper.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

namespace CorvaneMesher {
namespace {

using namespace Mesh2DPlat;

constexpr double kMostMillimetres = 1000;  // from the origin: products of two differences then fit 64 bits
constexpr int kMostWidth = 100'000'000;    // nm
constexpr int kCornersOfCircle = 16;
constexpr double kCornerStep = 2 * std::numbers::pi / kCornersOfCircle;

std::int64_t nanometres(double millimetres, const std::string& owner) {
  if (!(std::abs(millimetres) <= kMostMillimetres))
    throw std::runtime_error(owner + ": a coordinate is no number, or more than 1000 mm from the origin");
  return std::llround(millimetres * 1e6);
}

Outline outline_of(const EM2DShape& shape) {
  const std::vector<double>& values = shape.coordinates();
  const std::string owner = "shape \"" + shape.name() + "\"";
  if (values.size() % 2 != 0) throw std::runtime_error(owner + ": an odd number of coordinates");
  Outline outline;
  outline.reserve(values.size() / 2);
  for (std::size_t i = 0; i < values.size(); i += 2)
    outline.push_back({nanometres(values[i], owner), nanometres(values[i + 1], owner)});
  return outline;
}

Point position_of(const EM2DVertex& vertex) {
  const std::string owner = "vertex \"" + vertex.name() + "\"";
  return {nanometres(vertex.x(), owner), nanometres(vertex.y(), owner)};
}

/// The number after the last " w" of a trace's name.
std::optional<int> width_of(const std::string& name) {
  const std::size_t mark = name.rfind(" w");
  if (mark == std::string::npos) return std::nullopt;
  int width = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data() + mark + 2, end, width);
  if (error != std::errc() || stop != end || width <= 0 || width > kMostWidth) return std::nullopt;
  return width;
}

class Collector {
 public:
  explicit Collector(const CorvaneTool::Layout& layout) : d_layout(layout), d_rings(layout.layers.size()) {
    d_copper.nets.assign(layout.nets.begin(), layout.nets.end());
    std::stable_sort(d_copper.nets.begin(), d_copper.nets.end(),
                     [](const EM2DNet* left, const EM2DNet* right) { return left->id() < right->id(); });
    for (std::size_t i = 0; i < d_copper.nets.size(); ++i) d_net_places.emplace(d_copper.nets[i], static_cast<int>(i));
    for (std::size_t i = 0; i < layout.layers.size(); ++i) d_layer_places.emplace(layout.layers[i], i);
  }

  Copper collect(bool with_traces) {
    for (const EM2DShape* shape : d_layout.shapes) add_shape(*shape);
    if (with_traces) {
      for (const EM2DTrace* trace : d_layout.traces) add_trace(*trace);
    }
    for (std::size_t i = 0; i < d_rings.size(); ++i) {
      if (!d_rings[i].empty()) d_copper.layers.push_back({d_layout.layers[i], std::move(d_rings[i])});
    }
    return std::move(d_copper);
  }

 private:
  void add_shape(const EM2DShape& shape) {
    const bool is_copper = shape.type() == EM2DShape::Type::Fill || shape.type() == EM2DShape::Type::Pad ||
                           shape.type() == EM2DShape::Type::Graphic;
    Outline outline = outline_of(shape);
    if (!is_copper || outline.size() < 3) {
      ++d_copper.shapes_left_out;
    } else {
      add(shape.layer(), {std::move(outline), d_net_places.at(shape.net()), shape.type() == EM2DShape::Type::Fill});
    }
  }

  void add_trace(const EM2DTrace& trace) {
    const std::optional<int> width = width_of(trace.name());
    if (!width || trace.startVertex()->layer() == nullptr) {
      ++d_copper.traces_without_width;
      return;
    }
    ++d_copper.traces;
    Outline outline = trace_outline(position_of(*trace.startVertex()), position_of(*trace.endVertex()), *width);
    add(trace.startVertex()->layer(), {std::move(outline), d_net_places.at(trace.net()), false});
  }

  void add(const EM2DLayer* layer, Ring ring) { d_rings[d_layer_places.at(layer)].push_back(std::move(ring)); }

  const CorvaneTool::Layout& d_layout;
  std::unordered_map<const EM2DNet*, int> d_net_places;
  std::unordered_map<const EM2DLayer*, std::size_t> d_layer_places;
  std::vector<std::vector<Ring>> d_rings;  // per layer of the layout
  Copper d_copper;
};

/// Appends the half circle around `centre` from `first` (radians) on, both ends included.
void append_half_circle(Outline& outline, Point centre, double radius, double first) {
  const auto append = [&](double angle) {
    const double steps = angle / kCornerStep;  // an angle that is nearly a corner's becomes that corner's
    if (std::abs(steps - std::round(steps)) < 1e-6) angle = std::round(steps) * kCornerStep;
    outline.push_back(centre + Point{std::llround(radius * std::cos(angle)), std::llround(radius * std::sin(angle))});
  };
  append(first);
  const double last = first + std::numbers::pi;
  for (double step = std::ceil(first / kCornerStep + 0.25); step * kCornerStep < last - kCornerStep / 4; ++step)
    append(step * kCornerStep);
  append(last);
}

}  // namespace

Outline trace_outline(Point start, Point end, double width) {
  const double along = std::atan2(static_cast<double>(end.y - start.y), static_cast<double>(end.x - start.x));
  Outline outline;
  append_half_circle(outline, end, width / 2, along - std::numbers::pi / 2);
  append_half_circle(outline, start, width / 2, along + std::numbers::pi / 2);
  return outline;
}

Copper collect_copper(const CorvaneTool::Layout& layout, bool with_traces) {
  return Collector(layout).collect(with_traces);
}

}  // namespace CorvaneMesher
