#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {
namespace {

using Mesh2DPlat::EM2DLayer;
using Mesh2DPlat::EM2DNet;
using Mesh2DPlat::EM2DVertex;

constexpr double kGap = 1;  // mm between copies

struct Extent {
  double low = std::numeric_limits<double>::max();
  double high = std::numeric_limits<double>::lowest();

  void take(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  double pitch() const { return (low > high ? 0 : high - low) + kGap; }
};

std::vector<double> shifted(const std::vector<double>& coordinates, double dx, double dy) {
  std::vector<double> result(coordinates);
  for (std::size_t i = 0; i + 1 < result.size(); i += 2) {
    result[i] += dx;
    result[i + 1] += dy;
  }
  return result;
}

// From an object of the source to its counterpart; objects that no table lists, such as none, have none.
template <class T>
class Counterparts {
 public:
  void enter(const T* source, T* copy) { d_copies[source] = copy; }
  T* of(const T* source) const {
    const auto copy = d_copies.find(source);
    return copy == d_copies.end() ? nullptr : copy->second;
  }

 private:
  std::unordered_map<const T*, T*> d_copies;
};

class PanelBuilder {
 public:
  explicit PanelBuilder(const Layout& source) : d_source(source) {
    for (const EM2DVertex* vertex : source.vertices) take_extent(vertex->x(), vertex->y());
    for (const auto* shape : source.shapes) {
      for (std::size_t i = 0; i + 1 < shape->coordinates().size(); i += 2) {
        take_extent(shape->coordinates()[i], shape->coordinates()[i + 1]);
      }
    }
  }

  Layout build(int columns, int rows) {
    check_ids(static_cast<std::int64_t>(columns) * rows);
    copy_shared();
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column)
        add_copy(row * columns + column, column * d_x.pitch(), row * d_y.pitch());
    }
    return std::move(d_panel);
  }

 private:
  void take_extent(double x, double y) {
    d_x.take(x);
    d_y.take(y);
  }

  // How far ids of one copy lie from those of the copy before.
  template <class T>
  static std::int64_t id_step(const OwnedList<T>& list) {
    std::int64_t low = 0, high = 0;
    for (const T* item : list) {
      low = std::min<std::int64_t>(low, item->id());
      high = std::max<std::int64_t>(high, item->id());
    }
    return high - low + 1;
  }

  void check_ids(std::int64_t copies) {
    d_net_step = id_step(d_source.nets);
    d_vertex_step = id_step(d_source.vertices);
    const std::int64_t step = std::max<std::int64_t>({d_net_step, d_vertex_step, 1});
    if (copies > std::numeric_limits<int>::max() / step)
      throw std::length_error("too many copies: their ids do not fit an int");
  }

  void copy_shared() {
    d_panel.config = d_source.config;
    for (EM2DLayer* layer : d_source.layers) d_layers.enter(layer, d_panel.layers.make(*layer));
    for (const auto* signal : d_source.signals) {
      d_panel.signals.make(signal->id(), signal->name(), signal->z(), d_layers.of(signal->patchLayer()));
    }
  }

  void add_copy(int copy, double dx, double dy) {
    const std::string suffix = copy == 0 ? std::string() : std::string(1, '@').append(std::to_string(copy));
    add_nets(copy, suffix);
    add_vertices(copy, dx, dy);
    add_traces();
    add_vias(suffix, dx, dy);
    add_shapes(dx, dy);
    add_circuits();
  }

  void add_nets(int copy, const std::string& suffix) {
    for (const EM2DNet* net : d_source.nets) {
      if (copy > 0 && net->id() == 0) continue;
      const int id = static_cast<int>(net->id() + copy * d_net_step);
      d_nets.enter(net, d_panel.nets.make(id, net->type(), net->name() + suffix));
    }
  }

  void add_vertices(int copy, double dx, double dy) {
    for (const EM2DVertex* vertex : d_source.vertices) {
      const int id = static_cast<int>(vertex->id() + copy * d_vertex_step);
      d_vertices.enter(
          vertex, d_panel.vertices.make(id, vertex->name(), vertex->x() + dx, vertex->y() + dy, vertex->z(),
                                        vertex->type(), d_layers.of(vertex->layer()), d_layers.of(vertex->upLayer()),
                                        d_layers.of(vertex->lowLayer()), vertex->options()));
    }
  }

  void add_traces() {
    for (const auto* trace : d_source.traces) {
      d_panel.traces.make(trace->name(), d_nets.of(trace->net()), d_vertices.of(trace->startVertex()),
                          d_vertices.of(trace->endVertex()), trace->option());
    }
  }

  void add_vias(const std::string& suffix, double dx, double dy) {
    for (const auto* via : d_source.vias) {
      d_panel.vias.make(via->name() + suffix, d_nets.of(via->net()), d_vertices.of(via->startVertex()),
                        d_vertices.of(via->endVertex()), via->radius());
    }
    for (const auto* via : d_source.poly_vias) {
      d_panel.poly_vias.make(via->name() + suffix, d_nets.of(via->net()), d_vertices.of(via->startVertex()),
                             d_vertices.of(via->endVertex()), via->polyType(), shifted(via->coordinates(), dx, dy));
    }
  }

  void add_shapes(double dx, double dy) {
    for (const auto* shape : d_source.shapes) {
      d_panel.shapes.make(shape->name(), d_layers.of(shape->layer()), d_nets.of(shape->net()), shape->type(),
                          shape->option(), shifted(shape->coordinates(), dx, dy));
    }
  }

  void add_circuits() {
    for (const auto* circuit : d_source.circuits) {
      auto* copy = d_panel.circuits.make(circuit->name());
      for (const auto& [name, vertex] : circuit->pins()) copy->addPin(name, d_vertices.of(vertex));
      copy->setOption(circuit->option());
    }
  }

  const Layout& d_source;
  Layout d_panel;
  Extent d_x, d_y;
  std::int64_t d_net_step = 0;
  std::int64_t d_vertex_step = 0;
  Counterparts<EM2DLayer> d_layers;
  Counterparts<EM2DNet> d_nets;         // of the copy at work
  Counterparts<EM2DVertex> d_vertices;  // of the copy at work
};

}  // namespace

Layout panel(const Layout& layout, int columns, int rows) { return PanelBuilder(layout).build(columns, rows); }

}  // namespace CorvaneTool
