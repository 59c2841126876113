// The objects that every system stores and makes again.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/EM2D.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneBench::Peers {

using CorvaneTool::Layout;
using Mesh2DPlat::EM2DLayer;
using Mesh2DPlat::EM2DNet;
using Mesh2DPlat::EM2DVertex;

/// A layer's name, empty where there is no layer: how vertices refer to layers in what is stored.
inline std::string_view name_of(const EM2DLayer* layer) {
  return layer == nullptr ? std::string_view() : std::string_view(layer->name());
}

/// What a rebuild yields: the objects, and the tables by id and by name in which a mesher looks them up.
///
/// Systems that store rows call make_*() for each, in the order layers, nets, vertices, all else.
class Objects {
 public:
  Layout layout;
  std::unordered_map<int, EM2DLayer*> layers;
  std::unordered_map<std::string, EM2DLayer*> layers_by_name;
  std::unordered_map<int, EM2DNet*> nets;
  std::unordered_map<int, EM2DVertex*> vertices;

  /// Makes room for `count` objects more.
  template <class T>
  static void expect(CorvaneTool::OwnedList<T>& list, std::size_t count) {
    list.handed_over().reserve(count);
  }
  void expect_vertices(std::size_t count) {
    expect(layout.vertices, count);
    vertices.reserve(count);
  }
  void expect_nets(std::size_t count) {
    expect(layout.nets, count);
    nets.reserve(count);
  }

  void make_layer(int id, std::string_view name, double z) { add(layout.layers.make(id, std::string(name), z)); }
  void make_net(int id, int type, std::string_view name) {
    add(layout.nets.make(id, static_cast<EM2DNet::Type>(type), std::string(name)));
  }
  void make_vertex(int id, std::string_view name, double x, double y, double z, int type, std::string_view layer,
                   std::string_view upper, std::string_view lower, int options) {
    add(layout.vertices.make(id, std::string(name), x, y, z, type, d_layer.find(layers_by_name, layer),
                             d_upper.find(layers_by_name, upper), d_lower.find(layers_by_name, lower), options));
  }
  void make_trace(std::string_view name, EM2DNet* net, EM2DVertex* start, EM2DVertex* end, int option) {
    layout.traces.make(std::string(name), net, start, end, option);
  }
  void make_via(std::string_view name, EM2DNet* net, EM2DVertex* start, EM2DVertex* end, double radius) {
    layout.vias.make(std::string(name), net, start, end, radius);
  }
  void make_shape(std::string_view name, EM2DLayer* layer, EM2DNet* net, int type, int option,
                  std::vector<double> corners) {
    layout.shapes.make(std::string(name), layer, net, static_cast<Mesh2DPlat::EM2DShape::Type>(type), option,
                       std::move(corners));
  }
  Mesh2DPlat::EM2DCircuit& make_circuit(std::string_view name, int option) {
    Mesh2DPlat::EM2DCircuit* circuit = layout.circuits.make(std::string(name));
    circuit->setOption(option);
    return *circuit;
  }

  // Each enters an object of `layout` into the tables.
  void add(EM2DLayer* layer) {
    layers.emplace(layer->id(), layer);
    layers_by_name.emplace(layer->name(), layer);
  }
  void add(EM2DNet* net) { nets.emplace(net->id(), net); }
  void add(EM2DVertex* vertex) { vertices.emplace(vertex->id(), vertex); }

  // References by id. Each throws std::out_of_range when there is no such object.
  EM2DLayer* layer(int id) const { return layers.at(id); }
  EM2DNet* net(int id) const { return nets.at(id); }
  EM2DVertex* vertex(int id) const { return vertices.at(id); }

 private:
  /// Vertices that are stored side by side are mostly on one layer.
  class LastLayer {
   public:
    EM2DLayer* find(const std::unordered_map<std::string, EM2DLayer*>& table, std::string_view name) {
      if (name.empty()) return nullptr;
      if (d_layer == nullptr || name != d_layer->name()) d_layer = table.at(std::string(name));
      return d_layer;
    }

   private:
    EM2DLayer* d_layer = nullptr;  // null: none yet
  };

  LastLayer d_layer, d_upper, d_lower;
};

}  // namespace CorvaneBench::Peers
