// A board as columns that a program writes by hand: one typed list per member, texts and lists as offsets and values.
//
// The lists are `C<T>`: vectors while a board is taken in, spans over loaded memory on the way back.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "bench/peers/Objects.h"

namespace CorvaneBench::Peers {

template <class T>
using PlainColumn = std::vector<T>;
template <class T>
using ShownColumn = std::span<const T>;

/// Runs of differing lengths: where each begins among all values, and where the last ends.
template <template <class> class C, class T>
struct Runs {
  C<std::int32_t> offsets;
  C<T> values;

  template <class List>
  void push(const List& run) {
    values.insert(values.end(), run.begin(), run.end());
    end_run();
  }
  void end_run() { offsets.push_back(static_cast<std::int32_t>(values.size())); }

  std::size_t begin_of(std::size_t row) const { return static_cast<std::size_t>(offsets[row]); }
  std::span<const T> operator[](std::size_t row) const {
    return {values.data() + begin_of(row), begin_of(row + 1) - begin_of(row)};
  }
};

template <template <class> class C>
struct Texts : Runs<C, char> {
  std::string_view operator[](std::size_t row) const {
    return {this->values.data() + this->begin_of(row), this->begin_of(row + 1) - this->begin_of(row)};
  }
};

template <template <class> class C>
struct Columns {
  struct {
    C<int> id;
    Texts<C> name;
    C<double> z;
  } layers;
  struct {
    C<int> id, type;
    Texts<C> name;
  } nets;
  struct {
    C<int> id;
    Texts<C> name;
    C<double> x, y, z;
    C<int> type;
    Texts<C> layer, upper, lower;
    C<int> options;
  } vertices;
  struct {
    Texts<C> name;
    C<int> net, start, end, option;
  } traces;
  struct {
    Texts<C> name;
    C<int> net, start, end;
    C<double> radius;
  } vias;
  struct {
    Texts<C> name;
    C<int> layer, net, type, option;
    Runs<C, double> corners;
  } shapes;
  struct {
    Texts<C> name;
    C<int> option;
    Runs<C, int> pins;  // vertices
    Texts<C> pin_names;
  } circuits;
};

/// Calls `lists(runs)` for every pair of offsets and values.
template <class Columns, class Visitor>
void for_each_run(Columns& c, Visitor&& runs) {
  const auto visit = [&](auto&... each) { (runs(each), ...); };
  visit(c.layers.name, c.nets.name, c.vertices.name, c.vertices.layer, c.vertices.upper, c.vertices.lower);
  visit(c.traces.name, c.vias.name, c.shapes.name, c.shapes.corners, c.circuits.name, c.circuits.pins,
        c.circuits.pin_names);
}

/// Calls `column(name, list)` for every column, in the same order always.
template <class Columns, class Visitor>
void for_each_column(Columns& c, Visitor&& column) {
  column("layers/id", c.layers.id), column("layers/z", c.layers.z);
  column("nets/id", c.nets.id), column("nets/type", c.nets.type);
  column("vertices/id", c.vertices.id), column("vertices/x", c.vertices.x), column("vertices/y", c.vertices.y);
  column("vertices/z", c.vertices.z), column("vertices/type", c.vertices.type);
  column("vertices/options", c.vertices.options);
  column("traces/net", c.traces.net), column("traces/start", c.traces.start), column("traces/end", c.traces.end);
  column("traces/option", c.traces.option);
  column("vias/net", c.vias.net), column("vias/start", c.vias.start), column("vias/end", c.vias.end);
  column("vias/radius", c.vias.radius);
  column("shapes/layer", c.shapes.layer), column("shapes/net", c.shapes.net), column("shapes/type", c.shapes.type);
  column("shapes/option", c.shapes.option);
  column("circuits/option", c.circuits.option);
  const auto run = [&](const char* offsets, const char* values, auto& both) {
    column(offsets, both.offsets), column(values, both.values);
  };
  run("layers/name.offsets", "layers/name", c.layers.name);
  run("nets/name.offsets", "nets/name", c.nets.name);
  run("vertices/name.offsets", "vertices/name", c.vertices.name);
  run("vertices/layer.offsets", "vertices/layer", c.vertices.layer);
  run("vertices/upper.offsets", "vertices/upper", c.vertices.upper);
  run("vertices/lower.offsets", "vertices/lower", c.vertices.lower);
  run("traces/name.offsets", "traces/name", c.traces.name);
  run("vias/name.offsets", "vias/name", c.vias.name);
  run("shapes/name.offsets", "shapes/name", c.shapes.name);
  run("shapes/corners.offsets", "shapes/corners", c.shapes.corners);
  run("circuits/name.offsets", "circuits/name", c.circuits.name);
  run("circuits/pins.offsets", "circuits/pins", c.circuits.pins);
  run("circuits/pin_names.offsets", "circuits/pin_names", c.circuits.pin_names);
}

/// Appends every object to empty columns.
template <template <class> class C>
void fill(const Layout& board, Columns<C>& to) {
  for_each_run(to, [](auto& runs) { runs.end_run(); });
  for (const auto* layer : board.layers) {
    to.layers.id.push_back(layer->id());
    to.layers.name.push(layer->name());
    to.layers.z.push_back(layer->z());
  }
  for (const auto* net : board.nets) {
    to.nets.id.push_back(net->id());
    to.nets.type.push_back(static_cast<int>(net->type()));
    to.nets.name.push(net->name());
  }
  for (const auto* vertex : board.vertices) {
    to.vertices.id.push_back(vertex->id());
    to.vertices.name.push(vertex->name());
    to.vertices.x.push_back(vertex->x());
    to.vertices.y.push_back(vertex->y());
    to.vertices.z.push_back(vertex->z());
    to.vertices.type.push_back(vertex->type());
    to.vertices.layer.push(name_of(vertex->layer()));
    to.vertices.upper.push(name_of(vertex->upLayer()));
    to.vertices.lower.push(name_of(vertex->lowLayer()));
    to.vertices.options.push_back(vertex->options());
  }
  for (const auto* trace : board.traces) {
    to.traces.name.push(trace->name());
    to.traces.net.push_back(trace->net()->id());
    to.traces.start.push_back(trace->startVertex()->id());
    to.traces.end.push_back(trace->endVertex()->id());
    to.traces.option.push_back(trace->option());
  }
  for (const auto* via : board.vias) {
    to.vias.name.push(via->name());
    to.vias.net.push_back(via->net()->id());
    to.vias.start.push_back(via->startVertex()->id());
    to.vias.end.push_back(via->endVertex()->id());
    to.vias.radius.push_back(via->radius());
  }
  for (const auto* shape : board.shapes) {
    to.shapes.name.push(shape->name());
    to.shapes.layer.push_back(shape->layer()->id());
    to.shapes.net.push_back(shape->net()->id());
    to.shapes.type.push_back(static_cast<int>(shape->type()));
    to.shapes.option.push_back(shape->option());
    to.shapes.corners.push(shape->coordinates());
  }
  for (const auto* circuit : board.circuits) {
    to.circuits.name.push(circuit->name());
    to.circuits.option.push_back(circuit->option());
    for (const auto& [name, vertex] : circuit->pins()) {
      to.circuits.pins.values.push_back(vertex->id());
      to.circuits.pin_names.push(name);
    }
    to.circuits.pins.end_run();
  }
}

/// Finds what rows refer to in the tables.
struct ById {
  const Objects& objects;

  EM2DNet* net(int id) const { return objects.net(id); }
  EM2DVertex* vertex(int id) const { return objects.vertex(id); }
};

/// Makes every object again.
template <class Columns, class References>
void make_all(const Columns& from, const References& find, Objects& to) {
  const auto& [layers, nets, vertices, traces, vias, shapes, circuits] = from;
  for (std::size_t i = 0; i < layers.id.size(); ++i) to.make_layer(layers.id[i], layers.name[i], layers.z[i]);
  to.expect_nets(nets.id.size());
  for (std::size_t i = 0; i < nets.id.size(); ++i) to.make_net(nets.id[i], nets.type[i], nets.name[i]);
  to.expect_vertices(vertices.id.size());
  for (std::size_t i = 0; i < vertices.id.size(); ++i) {
    to.make_vertex(vertices.id[i], vertices.name[i], vertices.x[i], vertices.y[i], vertices.z[i], vertices.type[i],
                   vertices.layer[i], vertices.upper[i], vertices.lower[i], vertices.options[i]);
  }
  Objects::expect(to.layout.traces, traces.net.size());
  for (std::size_t i = 0; i < traces.net.size(); ++i) {
    to.make_trace(traces.name[i], find.net(traces.net[i]), find.vertex(traces.start[i]), find.vertex(traces.end[i]),
                  traces.option[i]);
  }
  Objects::expect(to.layout.vias, vias.net.size());
  for (std::size_t i = 0; i < vias.net.size(); ++i) {
    to.make_via(vias.name[i], find.net(vias.net[i]), find.vertex(vias.start[i]), find.vertex(vias.end[i]),
                vias.radius[i]);
  }
  Objects::expect(to.layout.shapes, shapes.net.size());
  for (std::size_t i = 0; i < shapes.net.size(); ++i) {
    const auto corners = shapes.corners[i];
    to.make_shape(shapes.name[i], to.layer(shapes.layer[i]), find.net(shapes.net[i]), shapes.type[i], shapes.option[i],
                  std::vector<double>(corners.begin(), corners.end()));
  }
  Objects::expect(to.layout.circuits, circuits.option.size());
  for (std::size_t i = 0; i < circuits.option.size(); ++i) {
    auto& circuit = to.make_circuit(circuits.name[i], circuits.option[i]);
    for (std::size_t pin = circuits.pins.begin_of(i); pin < circuits.pins.begin_of(i + 1); ++pin) {
      circuit.addPin(std::string(circuits.pin_names[pin]), find.vertex(circuits.pins.values[pin]));
    }
  }
}

}  // namespace CorvaneBench::Peers
