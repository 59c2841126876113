// Layout objects: layers, nets, signals, vertices, traces, vias, shapes and circuits.
//
// Every object belongs to the program; one that refers to another keeps a plain pointer to it, which must live at least
// as long. Lengths have one unit per program, chosen by it (the tools here use millimetres, y downwards and z upwards).
// Coordinate lists are flattened, x0 y0 x1 y1 ..., and not closed. Ids and enumerations are the program's own: a
// database copies their integers and never interprets them, so values without a name are legal everywhere.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "model/ModelTypes.h"

namespace Mesh2DPlat {

/// A layer of the board; `z` is its height. Vertices find their layers by name again: each name is one layer's alone,
/// and none is empty, or the references to that layer are lost.
class EM2DLayer {
 public:
  EM2DLayer(int id, std::string name, double z) : d_id(id), d_name(std::move(name)), d_z(z) {}

  int id() const { return d_id; }
  const std::string& name() const { return d_name; }
  double z() const { return d_z; }

 private:
  int d_id;
  std::string d_name;
  double d_z;
};

/// A set of copper that is one conductor.
class EM2DNet {
 public:
  /// Names for the programs here: unconnected copper, a signal, a supply or ground. Any other integer is kept.
  enum class Type : int { None = 0, Signal = 1, Power = 2 };

  EM2DNet(int id, Type type, std::string name) : d_id(id), d_type(type), d_name(std::move(name)) {}

  int id() const { return d_id; }
  Type type() const { return d_type; }
  const std::string& name() const { return d_name; }

 private:
  int d_id;
  Type d_type;
  std::string d_name;
};

/// A layer that carries traces; `patchLayer` is the layer of the copper areas that belong to it, null where there is
/// none.
class EM2DSignal {
 public:
  EM2DSignal(int id, std::string name, double z, EM2DLayer* patchLayer)
      : d_id(id), d_name(std::move(name)), d_z(z), d_patch_layer(patchLayer) {}

  int id() const { return d_id; }
  const std::string& name() const { return d_name; }
  double z() const { return d_z; }
  EM2DLayer* patchLayer() const { return d_patch_layer; }

 private:
  int d_id;
  std::string d_name;
  double d_z;
  EM2DLayer* d_patch_layer;
};

/// A point at which something ends. Any of the three layers may be null.
class EM2DVertex {
 public:
  EM2DVertex(int id, std::string name, double x, double y, double z, int type, EM2DLayer* layer, EM2DLayer* upLayer,
             EM2DLayer* lowLayer, int options)
      : d_id(id),
        d_type(type),
        d_name(std::move(name)),
        d_x(x),
        d_y(y),
        d_z(z),
        d_layer(layer),
        d_up_layer(upLayer),
        d_low_layer(lowLayer),
        d_options(options) {}

  int id() const { return d_id; }
  const std::string& name() const { return d_name; }
  double x() const { return d_x; }
  double y() const { return d_y; }
  double z() const { return d_z; }
  int type() const { return d_type; }
  EM2DLayer* layer() const { return d_layer; }
  EM2DLayer* upLayer() const { return d_up_layer; }
  EM2DLayer* lowLayer() const { return d_low_layer; }
  int options() const { return d_options; }

 private:
  int d_id;
  int d_type;
  std::string d_name;
  double d_x;
  double d_y;
  double d_z;
  EM2DLayer* d_layer;
  EM2DLayer* d_up_layer;
  EM2DLayer* d_low_layer;
  int d_options;
};

/// A straight piece of track. Net and both vertices are always there. Deliberate: a database does not store the option
/// word; a trace that was read has its end vertex id there.
class EM2DTrace {
 public:
  EM2DTrace(std::string name, EM2DNet* net, EM2DVertex* startVertex, EM2DVertex* endVertex, int option)
      : d_name(std::move(name)), d_net(net), d_start_vertex(startVertex), d_end_vertex(endVertex), d_option(option) {}

  const std::string& name() const { return d_name; }
  EM2DNet* net() const { return d_net; }
  EM2DVertex* startVertex() const { return d_start_vertex; }
  EM2DVertex* endVertex() const { return d_end_vertex; }
  int option() const { return d_option; }

 private:
  std::string d_name;
  EM2DNet* d_net;
  EM2DVertex* d_start_vertex;
  EM2DVertex* d_end_vertex;
  int d_option;
};

/// A plated hole between two vertices. Net and both vertices are always there; the radius is the hole's.
class EM2DVia {
 public:
  EM2DVia(std::string name, EM2DNet* net, EM2DVertex* startVertex, EM2DVertex* endVertex, double radius)
      : d_name(std::move(name)), d_net(net), d_start_vertex(startVertex), d_end_vertex(endVertex), d_radius(radius) {}
  EM2DVia(const EM2DVia&) = default;
  EM2DVia& operator=(const EM2DVia&) = default;
  virtual ~EM2DVia() = default;

  const std::string& name() const { return d_name; }
  EM2DNet* net() const { return d_net; }
  EM2DVertex* startVertex() const { return d_start_vertex; }
  EM2DVertex* endVertex() const { return d_end_vertex; }
  double radius() const { return d_radius; }

 private:
  std::string d_name;
  EM2DNet* d_net;
  EM2DVertex* d_start_vertex;
  EM2DVertex* d_end_vertex;
  double d_radius;
};

/// A plated hole whose outline is a polygon; its radius is 0.
class EM2DPolyVia : public EM2DVia {
 public:
  /// Any outline, or a slot: a hole that was milled along a line. Any other integer is kept.
  enum class PolyType : int { Polygon = 0, Slot = 1 };

  EM2DPolyVia(std::string name, EM2DNet* net, EM2DVertex* startVertex, EM2DVertex* endVertex, PolyType polyType,
              std::vector<double> coordinates)
      : EM2DVia(std::move(name), net, startVertex, endVertex, 0.0),
        d_poly_type(polyType),
        d_coordinates(std::move(coordinates)) {}

  PolyType polyType() const { return d_poly_type; }
  const std::vector<double>& coordinates() const { return d_coordinates; }

 private:
  PolyType d_poly_type;
  std::vector<double> d_coordinates;
};

/// An area of copper on one layer. Layer and net are always there when a layout is written.
class EM2DShape {
 public:
  /// What made the copper: a filled zone, a pad, a drawn shape; none: unknown. Any other integer is kept.
  enum class Type : int { None = 0, Fill = 1, Pad = 2, Graphic = 3 };

  EM2DShape(std::string name, EM2DLayer* layer, EM2DNet* net, Type type, int option, std::vector<double> coordinates)
      : d_name(std::move(name)),
        d_layer(layer),
        d_net(net),
        d_type(type),
        d_option(option),
        d_coordinates(std::move(coordinates)) {}

  const std::string& name() const { return d_name; }
  EM2DLayer* layer() const { return d_layer; }
  EM2DNet* net() const { return d_net; }
  Type type() const { return d_type; }
  int option() const { return d_option; }
  const std::vector<double>& coordinates() const { return d_coordinates; }

 private:
  std::string d_name;
  EM2DLayer* d_layer;
  EM2DNet* d_net;
  Type d_type;
  int d_option;
  std::vector<double> d_coordinates;
};

/// A part on the board and the vertices that its pins lie at. Neither circuit names nor pin names need to be unique.
class EM2DCircuit {
 public:
  explicit EM2DCircuit(std::string name) : d_name(std::move(name)) {}

  const std::string& name() const { return d_name; }

  /// Appends a pin entry; `vertex` is never null.
  void addPin(std::string name, EM2DVertex* vertex) { d_pins.emplace_back(std::move(name), vertex); }
  const std::vector<std::pair<std::string, EM2DVertex*>>& pins() const { return d_pins; }

  int option() const { return d_option; }
  void setOption(int option) { d_option = option; }

 private:
  std::string d_name;
  std::vector<std::pair<std::string, EM2DVertex*>> d_pins;
  int d_option = 0;
};

}  // namespace Mesh2DPlat
