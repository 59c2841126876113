#include "bench/HandTables.h"

#include <string_view>
#include <tuple>
#include <type_traits>

namespace CorvaneBench {
namespace {

using namespace Mesh2DPlat;

void write_nets(const std::vector<EM2DNet*>& nets, NetColumns& to) {
  for (const EM2DNet* net : nets) {
    to.id.push(net->id());
    to.type.push(static_cast<int>(net->type()));
    to.name.push(net->name());
  }
}

std::string_view name_of(const EM2DLayer* layer) {
  return layer == nullptr ? std::string_view() : std::string_view(layer->name());
}

void write_vertices(const std::vector<EM2DVertex*>& vertices, VertexColumns& to) {
  for (const EM2DVertex* vertex : vertices) {
    to.id.push(vertex->id());
    to.name.push(vertex->name());
    to.x.push(vertex->x());
    to.y.push(vertex->y());
    to.z.push(vertex->z());
    to.type.push(vertex->type());
    to.layer.push(name_of(vertex->layer()));
    to.upper.push(name_of(vertex->upLayer()));
    to.lower.push(name_of(vertex->lowLayer()));
    to.options.push(vertex->options());
  }
}

void write_layers(const std::vector<EM2DLayer*>& layers, LayerColumns& to) {
  for (const EM2DLayer* layer : layers) {
    to.id.push(layer->id());
    to.name.push(layer->name());
    to.z.push(layer->z());
  }
}

void write_signals(const std::vector<EM2DSignal*>& signals, SignalColumns& to) {
  for (const EM2DSignal* signal : signals) {
    to.id.push(signal->id());
    to.name.push(signal->name());
    to.z.push(signal->z());
    to.patch.push(signal->patchLayer() == nullptr ? -1 : signal->patchLayer()->id());
  }
}

void write_shapes(const std::vector<EM2DShape*>& shapes, ShapeColumns& to) {
  for (const EM2DShape* shape : shapes) {
    to.name.push(shape->name());
    to.layer.push(shape->layer()->id());
    to.net.push(shape->net()->id());
    to.type.push(static_cast<int>(shape->type()));
    to.option.push(shape->option());
    to.coordinates.push(shape->coordinates());
  }
}

void write_vias(const std::vector<EM2DVia*>& vias, ViaColumns& to) {
  for (const EM2DVia* via : vias) {
    to.name.push(via->name());
    to.net.push(via->net()->id());
    to.start.push(via->startVertex()->id());
    to.end.push(via->endVertex()->id());
    to.radius.push(via->radius());
  }
}

void write_poly_vias(const std::vector<EM2DPolyVia*>& vias, PolyViaColumns& to) {
  for (const EM2DPolyVia* via : vias) {
    to.name.push(via->name());
    to.net.push(via->net()->id());
    to.start.push(via->startVertex()->id());
    to.end.push(via->endVertex()->id());
    to.type.push(static_cast<int>(via->polyType()));
    to.coordinates.push(via->coordinates());
  }
}

// The database keeps the end vertex as a trace's option.
void write_traces(const std::vector<EM2DTrace*>& traces, TraceColumns& to) {
  for (const EM2DTrace* trace : traces) {
    const int end = trace->endVertex()->id();
    to.name.push(trace->name());
    to.net.push(trace->net()->id());
    to.start.push(trace->startVertex()->id());
    to.end.push(end);
    to.option.push(end);
  }
}

void write_circuits(const std::vector<EM2DCircuit*>& circuits, TextColumn& pins, CircuitColumns& to) {
  std::unordered_map<std::string_view, int> rows;
  for (const EM2DCircuit* circuit : circuits) {
    for (const auto& [name, vertex] : circuit->pins()) {
      const auto [entry, is_new] = rows.try_emplace(name, static_cast<int>(rows.size()));
      if (is_new) pins.push(name);
      to.pin.values.push(entry->second);
      to.vertex.values.push(vertex->id());
    }
    to.pin.offsets.push(static_cast<int>(to.pin.values.size()));
    to.vertex.offsets.push(static_cast<int>(to.vertex.values.size()));
    to.name.push(circuit->name());
    to.option.push(circuit->option());
  }
}

void start_runs(HandTables& t) {
  for (TextColumn* texts :
       {&t.nets.name, &t.vertices.name, &t.vertices.layer, &t.vertices.upper, &t.vertices.lower, &t.layers.name,
        &t.signals.name, &t.shapes.name, &t.vias.name, &t.poly_vias.name, &t.traces.name, &t.pins, &t.circuits.name}) {
    texts->start();
  }
  t.shapes.coordinates.start();
  t.poly_vias.coordinates.start();
  t.circuits.pin.start();
  t.circuits.vertex.start();
}

template <class... Columns>
void add(std::vector<Block*>& blocks, Columns&... columns) {
  const auto add_one = [&]<class C>(C& column) {
    if constexpr (std::is_base_of_v<Block, C>) {
      blocks.push_back(&column);
    } else {
      blocks.insert(blocks.end(), {&column.offsets, &column.values});
    }
  };
  (add_one(columns), ...);
}

template <class T>
std::unordered_map<int, T*> by_id(const CorvaneTool::OwnedList<T>& list) {
  std::unordered_map<int, T*> table;
  table.reserve(list.size());
  for (T* item : list) table.emplace(item->id(), item);
  return table;
}

}  // namespace

std::vector<Block*> HandTables::blocks() {
  std::vector<Block*> all;
  const auto [n, v, l, s, h, i, p, t, c] =
      std::tie(nets, vertices, layers, signals, shapes, vias, poly_vias, traces, circuits);
  add(all, n.id, n.type, n.name);
  add(all, v.id, v.name, v.x, v.y, v.z, v.type, v.layer, v.upper, v.lower, v.options);
  add(all, l.id, l.name, l.z);
  add(all, s.id, s.name, s.z, s.patch);
  add(all, h.name, h.layer, h.net, h.type, h.option, h.coordinates);
  add(all, i.name, i.net, i.start, i.end, i.radius);
  add(all, p.name, p.net, p.start, p.end, p.type, p.coordinates);
  add(all, t.name, t.net, t.start, t.end, t.option);
  add(all, pins);
  add(all, c.name, c.pin, c.vertex, c.option);
  return all;
}

std::size_t HandTables::payload_bytes() {
  std::size_t bytes = 0;
  for (const Block* block : blocks()) bytes += block->size_bytes();
  return bytes;
}

void reserve_like(HandTables& tables, HandTables& sample) {
  const std::vector<Block*> blocks = tables.blocks();
  const std::vector<Block*> samples = sample.blocks();
  for (std::size_t i = 0; i < blocks.size(); ++i) blocks[i]->reserve_like(*samples[i]);
}

void write_by_hand(const CorvaneTool::Layout& layout, HandTables& tables) {
  start_runs(tables);
  write_layers(layout.layers.items(), tables.layers);
  write_nets(layout.nets.items(), tables.nets);
  write_signals(layout.signals.items(), tables.signals);
  write_vertices(layout.vertices.items(), tables.vertices);
  write_traces(layout.traces.items(), tables.traces);
  write_vias(layout.vias.items(), tables.vias);
  write_poly_vias(layout.poly_vias.items(), tables.poly_vias);
  write_shapes(layout.shapes.items(), tables.shapes);
  write_circuits(layout.circuits.items(), tables.pins, tables.circuits);
}

Tables::Tables(const CorvaneTool::Layout& layout)
    : layers(by_id(layout.layers)), nets(by_id(layout.nets)), vertices(by_id(layout.vertices)) {
  for (EM2DLayer* layer : layout.layers) layers_by_name.emplace(layer->name(), layer);
}

}  // namespace CorvaneBench
