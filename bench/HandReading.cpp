// The hand-written way back: one loop per kind of object, over plain pointers.
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/HandTables.h"

namespace CorvaneBench {
namespace {

using namespace Mesh2DPlat;
using CorvaneTool::Layout;

template <class Object>
Object* find(const std::unordered_map<int, Object*>& table, int id) {
  const auto entry = table.find(id);
  if (entry == table.end()) throw std::out_of_range("no such id");
  return entry->second;
}

/// Rows that lie side by side are mostly on one layer.
class LastLayer {
 public:
  explicit LastLayer(const std::unordered_map<std::string, EM2DLayer*>& table) : d_table(table) {}

  EM2DLayer* find(std::string_view name) {
    if (name.empty()) return nullptr;
    if (name == d_name) return d_layer;
    d_name = name;
    const auto entry = d_table.find(d_name);
    if (entry == d_table.end()) throw std::out_of_range("no such layer");
    return d_layer = entry->second;
  }

 private:
  const std::unordered_map<std::string, EM2DLayer*>& d_table;
  std::string d_name;  // empty: none yet
  EM2DLayer* d_layer = nullptr;
};

void read_nets(const NetColumns& from, std::vector<EM2DNet*>& to) {
  const int* id = from.id.data();
  const int* type = from.type.data();
  const RunView<char> name(from.name);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i) {
    to.push_back(new EM2DNet(id[i], static_cast<EM2DNet::Type>(type[i]), std::string(name.text(i))));
  }
}

void read_vertices(const VertexColumns& from, const Tables& tables, std::vector<EM2DVertex*>& to) {
  const int *id = from.id.data(), *type = from.type.data(), *options = from.options.data();
  const double *x = from.x.data(), *y = from.y.data(), *z = from.z.data();
  const RunView<char> name(from.name), layer(from.layer), upper(from.upper), lower(from.lower);
  LastLayer at(tables.layers_by_name), above(tables.layers_by_name), below(tables.layers_by_name);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i) {
    to.push_back(new EM2DVertex(id[i], std::string(name.text(i)), x[i], y[i], z[i], type[i], at.find(layer.text(i)),
                                above.find(upper.text(i)), below.find(lower.text(i)), options[i]));
  }
}

void read_layers(const LayerColumns& from, std::vector<EM2DLayer*>& to) {
  const RunView<char> name(from.name);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i) {
    to.push_back(new EM2DLayer(from.id.data()[i], std::string(name.text(i)), from.z.data()[i]));
  }
}

void read_signals(const SignalColumns& from, const Tables& tables, std::vector<EM2DSignal*>& to) {
  const RunView<char> name(from.name);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i) {
    const int patch = from.patch.data()[i];
    to.push_back(new EM2DSignal(from.id.data()[i], std::string(name.text(i)), from.z.data()[i],
                                patch == -1 ? nullptr : find(tables.layers, patch)));
  }
}

void read_shapes(const ShapeColumns& from, const Tables& tables, std::vector<EM2DShape*>& to) {
  const int *layer = from.layer.data(), *net = from.net.data(), *type = from.type.data(), *option = from.option.data();
  const RunView<char> name(from.name);
  const RunView<double> points(from.coordinates);
  to.reserve(from.layer.size());
  for (std::size_t i = 0; i < from.layer.size(); ++i) {
    to.push_back(new EM2DShape(std::string(name.text(i)), find(tables.layers, layer[i]), find(tables.nets, net[i]),
                               static_cast<EM2DShape::Type>(type[i]), option[i],
                               std::vector<double>(points.begin(i), points.end(i))));
  }
}

void read_vias(const ViaColumns& from, const Tables& tables, std::vector<EM2DVia*>& to) {
  const int *net = from.net.data(), *start = from.start.data(), *end = from.end.data();
  const double* radius = from.radius.data();
  const RunView<char> name(from.name);
  to.reserve(from.net.size());
  for (std::size_t i = 0; i < from.net.size(); ++i) {
    to.push_back(new EM2DVia(std::string(name.text(i)), find(tables.nets, net[i]), find(tables.vertices, start[i]),
                             find(tables.vertices, end[i]), radius[i]));
  }
}

void read_poly_vias(const PolyViaColumns& from, const Tables& tables, std::vector<EM2DPolyVia*>& to) {
  const int *net = from.net.data(), *start = from.start.data(), *end = from.end.data(), *type = from.type.data();
  const RunView<char> name(from.name);
  const RunView<double> points(from.coordinates);
  to.reserve(from.net.size());
  for (std::size_t i = 0; i < from.net.size(); ++i) {
    to.push_back(new EM2DPolyVia(std::string(name.text(i)), find(tables.nets, net[i]), find(tables.vertices, start[i]),
                                 find(tables.vertices, end[i]), static_cast<EM2DPolyVia::PolyType>(type[i]),
                                 std::vector<double>(points.begin(i), points.end(i))));
  }
}

void read_traces(const TraceColumns& from, const Tables& tables, std::vector<EM2DTrace*>& to) {
  const int *net = from.net.data(), *start = from.start.data(), *end = from.end.data(), *option = from.option.data();
  const RunView<char> name(from.name);
  to.reserve(from.net.size());
  for (std::size_t i = 0; i < from.net.size(); ++i) {
    to.push_back(new EM2DTrace(std::string(name.text(i)), find(tables.nets, net[i]), find(tables.vertices, start[i]),
                               find(tables.vertices, end[i]), option[i]));
  }
}

void read_circuits(const HandTables& from, const Tables& tables, std::vector<EM2DCircuit*>& to) {
  const RunView<char> name(from.circuits.name), pin_name(from.pins);
  const RunView<int> pin(from.circuits.pin), vertex(from.circuits.vertex);
  to.reserve(from.circuits.option.size());
  for (std::size_t i = 0; i < from.circuits.option.size(); ++i) {
    auto* circuit = new EM2DCircuit(std::string(name.text(i)));
    to.push_back(circuit);
    const int* at = vertex.begin(i);
    for (const int row : std::span(pin.begin(i), pin.size(i))) {
      circuit->addPin(std::string(pin_name.text(static_cast<std::size_t>(row))), find(tables.vertices, *at++));
    }
    circuit->setOption(from.circuits.option.data()[i]);
  }
}

}  // namespace

void read_by_hand(const HandTables& from, const Tables& tables, Layout& to) {
  read_layers(from.layers, to.layers.handed_over());
  read_nets(from.nets, to.nets.handed_over());
  read_signals(from.signals, tables, to.signals.handed_over());
  read_vertices(from.vertices, tables, to.vertices.handed_over());
  read_traces(from.traces, tables, to.traces.handed_over());
  read_vias(from.vias, tables, to.vias.handed_over());
  read_poly_vias(from.poly_vias, tables, to.poly_vias.handed_over());
  read_shapes(from.shapes, tables, to.shapes.handed_over());
  read_circuits(from, tables, to.circuits.handed_over());
}

}  // namespace CorvaneBench
