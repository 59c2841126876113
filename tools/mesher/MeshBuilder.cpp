#include "tools/mesher/MeshBuilder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "tools/mesher/FaceFinder.h"

namespace CorvaneMesher {
namespace {

using namespace Mesh2DPlat;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

std::vector<int> shifted(const std::vector<int>& ids, int first) {
  std::vector<int> result(ids);
  for (int& id : result) id += first;
  return result;
}

/// Of an outline x0 y0 x1 y1 ...
double outline_area(const std::vector<double>& coordinates) {
  double twice = 0;
  const std::size_t count = coordinates.size() / 2;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t next = (i + 1) % count;
    twice += coordinates[2 * i] * coordinates[2 * next + 1] - coordinates[2 * next] * coordinates[2 * i + 1];
  }
  return std::abs(twice) / 2;
}

double hole_area(const EM2DVia& via) {
  const auto* const polygon = dynamic_cast<const EM2DPolyVia*>(&via);
  return polygon != nullptr ? outline_area(polygon->coordinates()) : std::numbers::pi * via.radius() * via.radius();
}

class MeshBuilder {
 public:
  MeshBuilder(const CorvaneTool::Layout& layout, const Copper& copper, const std::vector<LayerMesh>& layers)
      : d_layout(layout), d_copper(copper), d_layers(layers) {
    for (std::size_t i = 0; i < layout.layers.size(); ++i)
      d_layout_places.emplace(layout.layers[i], static_cast<int>(i));
    for (std::size_t i = 0; i < layers.size(); ++i) d_mesh_layers.emplace(layers[i].layer, static_cast<int>(i));
    d_result.via_maps.resize(layers.size());
  }

  BoardMesh build() {
    for (const LayerMesh& layer : d_layers) add_layer(layer);
    add_mediums();
    add_vias();
    add_pins();
    return std::move(d_result);
  }

 private:
  // What later steps ask about a mesh layer.
  struct Place {
    FaceFinder finder;
    std::vector<double> area_sizes;  // mm2
    std::vector<int> rim_nodes;      // ascending
    int first_metal, metal_count;
  };

  // --- layers ---

  void add_layer(const LayerMesh& layer) {
    const int id = mesh().addLayer({-1, layer.layer->name()});
    const int layout_id = layer.layer->id();
    const int first_node = static_cast<int>(mesh().nodes.size());
    const int first_edge = static_cast<int>(mesh().edges.size());
    const int first_face = static_cast<int>(mesh().faces.size());
    const std::vector<int> polygons = add_polygons(layer, id, first_node, first_edge);
    add_nodes(layer, first_face);
    for (const Topology::Edge& edge : layer.topology.edges) {
      const auto face = [&](int triangle) { return triangle < 0 ? -1 : first_face + triangle; };
      mesh().addEdge(
          {-1, id, layout_id, first_node + edge.start, first_node + edge.end, face(edge.left), face(edge.right), {}});
    }
    for (std::size_t i = 0; i < layer.triangles.triangles.size(); ++i) {
      const auto& nodes = layer.triangles.triangles[i].nodes;
      const auto& edges = layer.topology.triangle_edges[i];
      mesh().addFace({-1, id, layout_id, polygons[at(layer.topology.areas[i])],
                      shifted({nodes.begin(), nodes.end()}, first_node),
                      shifted({edges.begin(), edges.end()}, first_edge)});
    }
    const int first_metal = static_cast<int>(mesh().metals.size());
    add_metals(layer, polygons);
    d_places.push_back({FaceFinder(layer.triangles), area_sizes(layer), rim_nodes(layer, first_node), first_metal,
                        static_cast<int>(mesh().metals.size()) - first_metal});
  }

  void add_nodes(const LayerMesh& layer, int first_face) {
    const std::size_t first = mesh().nodes.size();
    for (const TriangleMesh::Node& node : layer.triangles.nodes)
      mesh().addNode({-1, node.x, node.y, layer.layer->id(), {}, {}});
    for (std::size_t i = 0; i < layer.triangles.triangles.size(); ++i) {
      for (const int node : layer.triangles.triangles[i].nodes)
        mesh().nodes[first + at(node)].metalFaces.push_back(first_face + static_cast<int>(i));
    }
  }

  /// Returns the polygon of each area.
  std::vector<int> add_polygons(const LayerMesh& layer, int id, int first_node, int first_edge) {
    std::vector<int> polygons(layer.topology.area_nets.size(), -1);
    const auto polygon_of = [&](const Topology::Loop& loop, int orientation, int left) {
      const int net = layer.topology.area_nets[at(loop.area)];
      return SImesh2D::Polygon{-1,
                               orientation,
                               left,
                               -1,
                               id,
                               layer.layer->id(),
                               d_copper.nets[at(net)]->name(),
                               shifted(loop.nodes, first_node),
                               shifted(loop.edges, first_edge)};
    };
    for (const Topology::Loop& loop : layer.topology.loops) {
      if (loop.square_mm <= 0) continue;
      const int next = static_cast<int>(mesh().polygons.size());
      polygons[at(loop.area)] = mesh().addPolygon(polygon_of(loop, 1, next));
    }
    for (const Topology::Loop& loop : layer.topology.loops) {
      if (loop.square_mm <= 0) mesh().addNegPolygon(polygon_of(loop, -1, polygons[at(loop.area)]));
    }
    return polygons;
  }

  void add_metals(const LayerMesh& layer, const std::vector<int>& polygons) {
    std::map<int, std::vector<int>> by_net;
    for (std::size_t area = 0; area < polygons.size(); ++area)
      by_net[layer.topology.area_nets[area]].push_back(polygons[area]);
    for (auto& [net, ids] : by_net)
      mesh().addMetal({-1, layer.layer->id(), d_copper.nets[at(net)]->name(), std::move(ids)});
  }

  static std::vector<double> area_sizes(const LayerMesh& layer) {
    std::vector<double> sizes(layer.topology.area_nets.size());
    for (std::size_t i = 0; i < layer.triangles.triangles.size(); ++i)
      sizes[at(layer.topology.areas[i])] += layer.triangles.area(layer.triangles.triangles[i]);
    return sizes;
  }

  static std::vector<int> rim_nodes(const LayerMesh& layer, int first_node) {
    std::set<int> nodes;
    for (const Topology::Loop& loop : layer.topology.loops) nodes.insert(loop.nodes.begin(), loop.nodes.end());
    return shifted({nodes.begin(), nodes.end()}, first_node);
  }

  // --- what lies between and across layers ---

  void add_mediums() {
    for (std::size_t i = 0; i + 1 < d_places.size(); ++i) {
      const auto only_metal = [](const Place& place) { return place.metal_count == 1 ? place.first_metal : -1; };
      mesh().addMedium(
          {-1, d_layers[i].layer->id(), only_metal(d_places[i]), only_metal(d_places[i + 1]), d_places[i].rim_nodes});
    }
  }

  void add_vias() {
    std::unordered_set<std::string> names;
    for (const auto& add_all : {d_layout.vias.items(), polygon_vias()}) {
      for (EM2DVia* via : add_all) {
        if (!names.insert(via->name()).second) throw std::runtime_error("two vias are named \"" + via->name() + "\"");
        add_via(*via);
      }
    }
  }

  std::vector<EM2DVia*> polygon_vias() const { return {d_layout.poly_vias.begin(), d_layout.poly_vias.end()}; }

  void add_via(EM2DVia& via) {
    const EM2DVertex &start = *via.startVertex(), &end = *via.endVertex();
    if (start.layer() == nullptr || end.layer() == nullptr) return;
    const auto [top, bottom] = std::minmax(d_layout_places.at(start.layer()), d_layout_places.at(end.layer()));
    for (std::size_t plane = 0; plane < d_layers.size(); ++plane) {
      const int place = d_layout_places.at(d_layers[plane].layer);
      const int face = d_places[plane].finder(start.x(), start.y());
      if (place < top || place > bottom || face < 0 || net_at(plane, face) != via.net()) continue;
      const double hole = hole_area(via);
      const double ratio = hole / d_places[plane].area_sizes[at(d_layers[plane].topology.areas[at(face)])];
      const SImeshVia* const added =
          mesh().addVia(via.name(), static_cast<int>(plane), start.x(), start.y(), d_layers[plane].layer->id(), ratio,
                        std::sqrt(hole / std::numbers::pi));
      d_result.via_maps[plane].emplace(&via, added->id());
    }
  }

  const EM2DNet* net_at(std::size_t plane, int triangle) const {
    return d_copper.nets[at(d_layers[plane].triangles.triangles[at(triangle)].label.net)];
  }

  void add_pins() {
    for (const EM2DCircuit* circuit : d_layout.circuits) {
      for (const auto& [pin, vertex] : circuit->pins()) add_pin(circuit->name() + "." + pin, *vertex);
    }
  }

  void add_pin(std::string name, const EM2DVertex& vertex) {
    SImesh2D::EMVertex pin;
    pin.name = std::move(name);
    pin.x = vertex.x();
    pin.y = vertex.y();
    if (vertex.layer() != nullptr) pin.connLayer = vertex.layer()->id();
    if (const auto place = d_mesh_layers.find(vertex.layer()); place != d_mesh_layers.end()) {
      pin.nodeLayer = place->second;
      pin.plane = plane_at(place->second, vertex);
      pin.upPlane = plane_at(place->second - 1, vertex);
      pin.lowPlane = plane_at(place->second + 1, vertex);
    }
    mesh().addEMVertex(std::move(pin));
  }

  /// The name of the net with copper there; empty: none.
  std::string plane_at(int plane, const EM2DVertex& vertex) const {
    if (plane < 0 || at(plane) >= d_places.size()) return "";
    const int face = d_places[at(plane)].finder(vertex.x(), vertex.y());
    return face < 0 ? "" : net_at(at(plane), face)->name();
  }

  SImesh2D& mesh() { return d_result.mesh; }

  const CorvaneTool::Layout& d_layout;
  const Copper& d_copper;
  const std::vector<LayerMesh>& d_layers;
  std::unordered_map<const EM2DLayer*, int> d_layout_places;
  std::unordered_map<const EM2DLayer*, int> d_mesh_layers;
  std::vector<Place> d_places;  // per mesh layer
  BoardMesh d_result;
};

}  // namespace

BoardMesh build_mesh(const CorvaneTool::Layout& layout, const Copper& copper, const std::vector<LayerMesh>& layers) {
  return MeshBuilder(layout, copper, layers).build();
}

}  // namespace CorvaneMesher
