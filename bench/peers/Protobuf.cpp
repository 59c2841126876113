// Protocol Buffers: one message on an arena.
#include <board.pb.h>
#include <google/protobuf/arena.h>
#include <google/protobuf/stubs/common.h>

#include <stdexcept>
#include <string>

#include "bench/peers/Files.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

using google::protobuf::Arena;

void check(bool done, const char* what) {
  if (!done) throw std::runtime_error(std::string("protobuf: ") + what);
}

template <class Rows, class List>
void expect(Rows& rows, const List& list) {
  rows.Reserve(static_cast<int>(list.size()));
}

void fill_vertices(Proto::Board& to, const Layout& board) {
  expect(*to.mutable_vertices(), board.vertices);
  for (const auto* vertex : board.vertices) {
    Proto::Vertex& row = *to.add_vertices();
    row.set_id(vertex->id());
    row.set_name(vertex->name());
    row.set_x(vertex->x());
    row.set_y(vertex->y());
    row.set_z(vertex->z());
    row.set_type(vertex->type());
    if (vertex->layer() != nullptr) row.set_layer(vertex->layer()->name());
    if (vertex->upLayer() != nullptr) row.set_upper(vertex->upLayer()->name());
    if (vertex->lowLayer() != nullptr) row.set_lower(vertex->lowLayer()->name());
    row.set_options(vertex->options());
  }
}

/// What traces and vias have in common.
template <class Row, class Object>
void fill_connection(Row& row, const Object& object) {
  row.set_name(object.name());
  row.set_net(object.net()->id());
  row.set_start(object.startVertex()->id());
  row.set_end(object.endVertex()->id());
}

void fill_shapes_and_circuits(Proto::Board& to, const Layout& board) {
  expect(*to.mutable_shapes(), board.shapes);
  for (const auto* shape : board.shapes) {
    Proto::Shape& row = *to.add_shapes();
    row.set_name(shape->name());
    row.set_layer(shape->layer()->id());
    row.set_net(shape->net()->id());
    row.set_type(static_cast<int>(shape->type()));
    row.set_option(shape->option());
    row.mutable_corners()->Add(shape->coordinates().begin(), shape->coordinates().end());
  }
  expect(*to.mutable_circuits(), board.circuits);
  for (const auto* circuit : board.circuits) {
    Proto::Circuit& row = *to.add_circuits();
    row.set_name(circuit->name());
    row.set_option(circuit->option());
    for (const auto& [name, vertex] : circuit->pins()) {
      Proto::Pin& pin = *row.add_pins();
      pin.set_name(name);
      pin.set_vertex(vertex->id());
    }
  }
}

class Protobuf final : public System {
 public:
  explicit Protobuf(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override {
    for (const auto* layer : board.layers) {
      Proto::Layer& row = *d_board.add_layers();
      row.set_id(layer->id());
      row.set_name(layer->name());
      row.set_z(layer->z());
    }
    for (const auto* net : board.nets) {
      Proto::Net& row = *d_board.add_nets();
      row.set_id(net->id());
      row.set_type(static_cast<int>(net->type()));
      row.set_name(net->name());
    }
    fill_vertices(d_board, board);
    expect(*d_board.mutable_traces(), board.traces);
    for (const auto* trace : board.traces) {
      Proto::Trace& row = *d_board.add_traces();
      fill_connection(row, *trace);
      row.set_option(trace->option());
    }
    expect(*d_board.mutable_vias(), board.vias);
    for (const auto* via : board.vias) {
      Proto::Via& row = *d_board.add_vias();
      fill_connection(row, *via);
      row.set_radius(via->radius());
    }
    fill_shapes_and_circuits(d_board, board);
  }

  void save() override {
    check(d_board.SerializeToFileDescriptor(File::created(d_file).descriptor()), "could not write");
  }

  void load() override {
    const Mapping file(d_file);
    check(d_board.ParseFromArray(file.bytes().data(), static_cast<int>(file.bytes().size())), "could not read");
  }

  void rebuild(Objects& to) override {
    for (const auto& row : d_board.layers()) to.make_layer(row.id(), row.name(), row.z());
    to.expect_nets(static_cast<std::size_t>(d_board.nets_size()));
    for (const auto& row : d_board.nets()) to.make_net(row.id(), row.type(), row.name());
    to.expect_vertices(static_cast<std::size_t>(d_board.vertices_size()));
    for (const auto& row : d_board.vertices()) {
      to.make_vertex(row.id(), row.name(), row.x(), row.y(), row.z(), row.type(), row.layer(), row.upper(), row.lower(),
                     row.options());
    }
    Objects::expect(to.layout.traces, static_cast<std::size_t>(d_board.traces_size()));
    for (const auto& row : d_board.traces()) {
      to.make_trace(row.name(), to.net(row.net()), to.vertex(row.start()), to.vertex(row.end()), row.option());
    }
    Objects::expect(to.layout.vias, static_cast<std::size_t>(d_board.vias_size()));
    for (const auto& row : d_board.vias()) {
      to.make_via(row.name(), to.net(row.net()), to.vertex(row.start()), to.vertex(row.end()), row.radius());
    }
    Objects::expect(to.layout.shapes, static_cast<std::size_t>(d_board.shapes_size()));
    for (const auto& row : d_board.shapes()) {
      to.make_shape(row.name(), to.layer(row.layer()), to.net(row.net()), row.type(), row.option(),
                    std::vector<double>(row.corners().begin(), row.corners().end()));
    }
    Objects::expect(to.layout.circuits, static_cast<std::size_t>(d_board.circuits_size()));
    for (const auto& row : d_board.circuits()) {
      auto& circuit = to.make_circuit(row.name(), row.option());
      for (const auto& pin : row.pins()) circuit.addPin(pin.name(), to.vertex(pin.vertex()));
    }
  }

 private:
  std::string d_file;
  Arena d_arena;
  Proto::Board& d_board = *Arena::CreateMessage<Proto::Board>(&d_arena);
};

}  // namespace

Peer protobuf_peer() {
  return {"Protocol Buffers", google::protobuf::internal::VersionString(GOOGLE_PROTOBUF_VERSION),
          "one message on an arena; parsed from the mapped file; texts are `bytes`, so that nobody checks their UTF-8",
          make_system<Protobuf>};
}

}  // namespace CorvaneBench::Peers
