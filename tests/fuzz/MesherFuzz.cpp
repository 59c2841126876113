// Any bytes as copper that no mesher likes: needles, fans, combs, points a nanometre apart, copies moved by nanometres,
// numbers that are none. A mesh comes of it whose triangles are sound, or an error in one line; both soon.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/mesher/Mesher.h"

namespace {

using namespace Mesh2DPlat;

struct Place {
  double x, y;  // mm
};

class HostileLayout {
  unsigned byte() { return d_next == d_end ? 0 : *d_next++; }

  template <class List>
  auto pick(const List& list) {
    return list[std::size_t{byte()} % list.size()];
  }

 public:
  HostileLayout(const std::uint8_t* data, std::size_t size) : d_next(data), d_end(data + size) {
    for (const int id : {0, 1}) d_layout.layers.make(id, "L" + std::to_string(id), 0);
    for (const int id : {0, 1, 2}) d_layout.nets.make(id, EM2DNet::Type::Signal, "N" + std::to_string(id));
    d_unit = pick(std::array{1e-6, 1e-4, 1e-3, 0.01, 0.03});
    d_layout.config.setMaxEdgeLen(length());
    d_layout.config.setMinEdgeLen(length());
    while (d_next != d_end && d_corners < 120) add_something();
  }

  const CorvaneTool::Layout& layout() const { return d_layout; }

 private:
  double any_number() {
    std::array<std::uint8_t, sizeof(double)> bytes;
    for (std::uint8_t& each : bytes) each = static_cast<std::uint8_t>(byte());
    double value = 0;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }

  double length() { return byte() % 8 == 0 ? any_number() : d_unit * byte() * 256; }
  double nanometres() { return (byte() - 128.0) * 1e-6; }

  Place place() {
    const unsigned way = byte() % 8;
    Place place = pick(d_places);
    if (way == 1) place = {place.x + nanometres(), place.y + nanometres()};
    if (way == 2) {
      const Place other = pick(d_places);
      const double part = byte() / 200.0;
      place = {place.x + part * (other.x - place.x), place.y + part * (other.y - place.y)};
    }
    if (way == 3) place = {byte() % 2 * 2000.0 - 1000, byte() % 2 * 2000.0 - 1000};
    if (way == 4 && byte() % 16 == 0) place = {any_number(), any_number()};
    if (way > 4) place = {d_unit * (byte() * 256 + byte()), d_unit * (byte() * 256 + byte())};
    d_places.push_back(place);
    return place;
  }

  void add_shape(const std::vector<double>& corners) {
    d_corners += corners.size() / 2;
    d_layout.shapes.make("S", pick(d_layout.layers), pick(d_layout.nets),
                         pick(std::array{EM2DShape::Type::Fill, EM2DShape::Type::Pad, EM2DShape::Type::None}), 0,
                         corners);
  }

  EM2DVertex* vertex(Place place) {
    EM2DLayer* const layer = byte() % 8 == 7 ? nullptr : pick(d_layout.layers);
    return d_layout.vertices.make(0, "v", place.x, place.y, 0, 0, layer, nullptr, nullptr, 0);
  }

  void add_trace(Place from, Place to, unsigned width) {
    d_corners += 18;
    d_layout.traces.make("T w" + std::to_string(width), pick(d_layout.nets), vertex(from), vertex(to), 0);
  }

  void add_fan(Place centre) {
    const double radius = d_unit * byte() * 256, turn = byte() / 100.0;
    const unsigned ways = byte() % 24, width = byte();
    for (unsigned i = 0; i < ways; ++i) {
      const double x = centre.x + radius * std::cos(turn * i / ways), y = centre.y + radius * std::sin(turn * i / ways);
      if (width % 2 == 0) {
        add_trace(centre, {x, y}, width * 1000);
      } else {
        add_shape({centre.x, centre.y, x, y, x + width * 1e-6, y});
      }
    }
  }

  void add_copies(std::vector<double> corners) {
    const double dx = byte() % 2 == 0 ? nanometres() : length(), dy = nanometres();
    for (unsigned i = 0, count = 1 + byte() % 16; i < count; ++i) {
      for (std::size_t k = 0; k < corners.size(); ++k) corners[k] += k % 2 == 0 ? dx : dy;
      add_shape(corners);
    }
  }

  void add_something() {
    const unsigned kind = byte() % 8;
    if (kind == 0) {
      add_fan(place());
    } else if (kind == 1 && d_layout.shapes.size() > 0) {
      add_copies(pick(d_layout.shapes)->coordinates());
    } else if (kind == 2) {
      add_trace(place(), place(), byte() * byte() * 40);
    } else if (kind == 3) {
      EM2DVertex* const start = vertex(place());
      const std::string name = "V" + std::to_string(d_layout.vias.size());
      d_layout.vias.make(name, d_layout.nets[1], start, vertex({start->x(), start->y()}), length());
    } else {
      std::vector<double> corners;
      for (unsigned i = 0, count = 3 + byte() % (kind == 4 ? 20 : 2); i < count; ++i) {
        const Place corner = place();
        corners.insert(corners.end(), {corner.x, corner.y});
      }
      add_shape(corners);
    }
  }

  const std::uint8_t* d_next;
  const std::uint8_t* d_end;
  double d_unit = 1;  // mm
  std::size_t d_corners = 0;
  std::vector<Place> d_places = {{0, 0}};
  CorvaneTool::Layout d_layout;
};

void check(bool is_sound, const char* what) {
  if (!is_sound) throw std::logic_error(what);
}

void check_mesh(const SImesh2D& mesh) {
  for (const SImesh2D::Face& face : mesh.faces) {
    const auto node = [&](std::size_t i) { return mesh.nodes.at(static_cast<std::size_t>(face.nodes[i])); };
    const SImesh2D::Node a = node(0), b = node(1), c = node(2);
    check((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x) >= 0, "a triangle is turned over, or has no place");
  }
  for (const auto& via : mesh.vias()) check(via->radius() >= 0 && std::isfinite(via->radius()), "a radius is none");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const HostileLayout hostile(data, size);
  CorvaneMesher::MeshRequest request;
  request.limits = {.edges = 5'000, .comparisons = 1'000'000, .cells = 256, .spare_nodes = 150, .nodes = 1'000};
  CorvaneMesher::MeshReport report;
  CorvaneMesher::Phases phases;
  try {
    check_mesh(CorvaneMesher::mesh_layout(hostile.layout(), request, report, phases).mesh);
  } catch (const std::runtime_error& error) {
    check(std::strchr(error.what(), '\n') == nullptr && std::strstr(error.what(), "became") == nullptr, error.what());
  }
  return 0;
}
