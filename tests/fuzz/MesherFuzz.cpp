// Any bytes as copper that no mesher likes: needles, fans, combs, points a nanometre apart, copies moved by nanometres,
// numbers that are none. A mesh comes of it whose triangles are sound, or an error in one line; both soon.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/mesher/Mesher.h"

namespace {

using CorvaneTool::Layout;
using namespace Mesh2DPlat;

struct Place {
  double x, y;  // mm
};

class HostileLayout {
 public:
  HostileLayout(const std::uint8_t* data, std::size_t size) : d_next(data), d_end(data + size) {
    for (const char* name : {"TOP", "BOTTOM"}) d_layout.layers.make(static_cast<int>(d_layout.layers.size()), name, 0);
    for (const char* name : {"", "A", "B"})
      d_layout.nets.make(static_cast<int>(d_layout.nets.size()), EM2DNet::Type::Signal, name);
    d_unit = std::array{1e-6, 1e-4, 1e-3, 0.01, 0.03}[byte() % 5];
    d_layout.config.setMaxEdgeLen(length());
    d_layout.config.setMinEdgeLen(length());
    while (d_next != d_end && d_corners < 120) add_something();
  }

  const Layout& layout() const { return d_layout; }

 private:
  unsigned byte() { return d_next == d_end ? 0 : *d_next++; }

  double number() {
    std::array<std::uint8_t, sizeof(double)> bytes;
    for (std::uint8_t& each : bytes) each = static_cast<std::uint8_t>(byte());
    double value = 0;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }

  double length() { return byte() % 8 == 0 ? number() : d_unit * byte() * 256; }

  double nanometres() { return (static_cast<double>(byte()) - 128) * 1e-6; }

  template <class List>
  auto pick(const List& list) {
    return list[std::size_t{byte()} % list.size()];
  }

  Place earlier() { return pick(d_places); }

  Place place() {
    Place place{};
    switch (const unsigned way = byte() % 8; way) {
      case 0:
        place = earlier();
        break;
      case 1:
        place = {earlier().x, earlier().y};
        break;
      case 2:
        place = {earlier().x + nanometres(), earlier().y + nanometres()};
        break;
      case 3: {
        const Place from = earlier(), to = earlier();
        const double part = byte() / 200.0;
        place = {from.x + part * (to.x - from.x), from.y + part * (to.y - from.y)};
        break;
      }
      case 4: {
        const bool is_number = byte() % 16 == 0;
        place = is_number ? Place{number(), number()} : Place{byte() % 2 * 2000.0 - 1000, byte() % 2 * 2000.0 - 1000};
        break;
      }
      default:
        place = {d_unit * (byte() * 256 + byte()), d_unit * (byte() * 256 + byte())};
        break;
    }
    d_places.push_back(place);
    return place;
  }

  void add_shape(const std::vector<Place>& corners) {
    std::vector<double> values;
    for (const Place& corner : corners) values.insert(values.end(), {corner.x, corner.y});
    constexpr std::array kTypes = {EM2DShape::Type::Fill, EM2DShape::Type::Pad, EM2DShape::Type::Graphic,
                                   EM2DShape::Type::None};
    d_corners += corners.size();
    d_layout.shapes.make("S", pick(d_layout.layers), pick(d_layout.nets), pick(kTypes), 0, values);
  }

  EM2DVertex* vertex(Place place) {
    const int id = static_cast<int>(d_layout.vertices.size());
    EM2DLayer* const layer = byte() % 8 == 7 ? nullptr : pick(d_layout.layers);
    return d_layout.vertices.make(id, "v", place.x, place.y, 0, 0, layer, nullptr, nullptr, 0);
  }

  void add_trace(Place from, Place to, unsigned width) {
    d_corners += 18;
    d_layout.traces.make("T w" + std::to_string(width), pick(d_layout.nets), vertex(from), vertex(to), 0);
  }

  void add_fan() {
    const Place centre = place();
    const double radius = d_unit * byte() * 256, turn = byte() / 100.0;
    const unsigned ways = byte() % 24, width = byte();
    for (unsigned i = 0; i < ways; ++i) {
      const double angle = turn * i / ways;
      const Place end = {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
      if (width % 2 == 0) {
        add_trace(centre, end, width * 1000);
      } else {
        add_shape({centre, end, {end.x + width * 1e-6, end.y}});
      }
    }
  }

  void add_comb() {
    const Place corner = place();
    const double step = d_unit * byte(), gap = nanometres(), height = d_unit * byte() * 256;
    std::vector<Place> corners = {corner};
    for (unsigned i = 0, teeth = byte() % 32; i < teeth; ++i) {
      const double x = corner.x + i * step;
      corners.insert(corners.end(),
                     {{x, corner.y + height}, {x + step - gap, corner.y + height}, {x + step, corner.y}});
    }
    add_shape(corners);
  }

  void add_something() {
    std::vector<Place> corners;
    switch (byte() % 8) {
      case 0:
        add_fan();
        break;
      case 1:
        add_comb();
        break;
      case 2: {
        const Place from = place(), to = place();
        add_shape({from, to, {to.x + nanometres(), to.y + nanometres()}, {from.x + nanometres(), from.y}});
        break;
      }
      case 3:
        add_trace(place(), place(), byte() * byte() * 40);
        break;
      case 4: {
        const EM2DVertex* const start = d_layout.vertices.size() == 0 ? vertex(place()) : d_layout.vertices[0];
        d_layout.vias.make("V" + std::to_string(d_layout.vias.size()), d_layout.nets[1],
                           vertex({start->x(), start->y()}), vertex(place()), length());
        break;
      }
      case 5: {  // an earlier shape again, moved
        if (d_layout.shapes.size() == 0) break;
        std::vector<double> values = pick(d_layout.shapes)->coordinates();
        const double dx = nanometres(), dy = nanometres();
        for (std::size_t i = 0; i + 1 < values.size(); i += 2) corners.push_back({values[i] + dx, values[i + 1] + dy});
        add_shape(corners);
        break;
      }
      default:
        for (unsigned i = 0, count = 3 + byte() % 20; i < count; ++i) corners.push_back(place());
        add_shape(corners);
    }
  }

  const std::uint8_t* d_next;
  const std::uint8_t* d_end;
  double d_unit = 1;  // mm
  std::size_t d_corners = 0;
  std::vector<Place> d_places = {{0, 0}};
  Layout d_layout;
};

void check(bool is_sound, const char* what) {
  if (!is_sound) throw std::logic_error(what);
}

void check_mesh(const SImesh2D& mesh) {
  const auto node = [&](int id) -> const SImesh2D::Node& { return mesh.nodes.at(static_cast<std::size_t>(id)); };
  for (const SImesh2D::Face& face : mesh.faces) {
    const auto &a = node(face.nodes[0]), &b = node(face.nodes[1]), &c = node(face.nodes[2]);
    check(std::isfinite(a.x + a.y + b.x + b.y + c.x + c.y), "a node without a place");
    check((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x) >= 0, "a triangle that is turned over");
  }
  for (const auto& via : mesh.vias()) check(via->radius() >= 0 && std::isfinite(via->radius()), "a radius");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const HostileLayout hostile(data, size);
  CorvaneMesher::MeshRequest request;
  request.limits = {.edges = 5'000, .comparisons = 1'000'000, .cells = 256, .nodes = 1'000, .spare_nodes = 150};
  CorvaneMesher::MeshReport report;
  try {
    check_mesh(CorvaneMesher::mesh_layout(hostile.layout(), request, report, [](const char*, const auto& work) {
                 work();
               }).mesh);
  } catch (const std::runtime_error& error) {
    check(std::strchr(error.what(), '\n') == nullptr, error.what());
    check(std::strstr(error.what(), "became") == nullptr, error.what());
  }
  return 0;
}
