// FlatBuffers: one buffer, read in place from a mapped file.
#include <board_generated.h>
#include <flatbuffers/flatbuffers.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench/peers/Files.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

using flatbuffers::FlatBufferBuilder;
using flatbuffers::Offset;
using TextOffset = Offset<flatbuffers::String>;

std::string_view view(const flatbuffers::String* text) {
  return text == nullptr ? std::string_view() : std::string_view(text->c_str(), text->size());
}

/// A vector of what make(object) returns for every object of the list.
template <class Row, class List, class Make>
auto make_rows(FlatBufferBuilder& builder, const List& list, Make&& make) {
  std::vector<Offset<Row>> rows;
  rows.reserve(list.size());
  for (const auto& object : list) rows.push_back(make(object));
  return builder.CreateVector(rows);
}

class FlatBuffers final : public System {
 public:
  explicit FlatBuffers(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override {
    FlatBufferBuilder& b = d_builder;
    for (const auto* layer : board.layers) d_layer_names[layer] = b.CreateString(layer->name());
    const auto layers = make_rows<Flat::Layer>(
        b, board.layers, [&](const auto* layer) { return Flat::CreateLayer(b, layer->id(), name(layer), layer->z()); });
    const auto nets = make_rows<Flat::Net>(b, board.nets, [&](const auto* net) {
      return Flat::CreateNet(b, net->id(), static_cast<int>(net->type()), b.CreateString(net->name()));
    });
    const auto vertices = make_rows<Flat::Vertex>(b, board.vertices, [&](const auto* v) {
      return Flat::CreateVertex(b, v->id(), b.CreateString(v->name()), v->x(), v->y(), v->z(), v->type(),
                                name(v->layer()), name(v->upLayer()), name(v->lowLayer()), v->options());
    });
    const auto traces = make_rows<Flat::Trace>(b, board.traces, [&](const auto* trace) {
      return Flat::CreateTrace(b, b.CreateString(trace->name()), trace->net()->id(), trace->startVertex()->id(),
                               trace->endVertex()->id(), trace->option());
    });
    const auto vias = make_rows<Flat::Via>(b, board.vias, [&](const auto* via) {
      return Flat::CreateVia(b, b.CreateString(via->name()), via->net()->id(), via->startVertex()->id(),
                             via->endVertex()->id(), via->radius());
    });
    const auto shapes = make_rows<Flat::Shape>(b, board.shapes, [&](const auto* shape) {
      return Flat::CreateShape(b, b.CreateString(shape->name()), shape->layer()->id(), shape->net()->id(),
                               static_cast<int>(shape->type()), shape->option(), b.CreateVector(shape->coordinates()));
    });
    const auto circuits = make_rows<Flat::Circuit>(b, board.circuits, [&](const auto* circuit) {
      const auto pins = make_rows<Flat::Pin>(b, circuit->pins(), [&](const auto& pin) {
        return Flat::CreatePin(b, b.CreateString(pin.first), pin.second->id());
      });
      return Flat::CreateCircuit(b, b.CreateString(circuit->name()), circuit->option(), pins);
    });
    b.Finish(Flat::CreateBoard(b, layers, nets, vertices, traces, vias, shapes, circuits));
  }

  void save() override { File::created(d_file).write({{d_builder.GetBufferPointer(), d_builder.GetSize()}}); }

  void load() override { d_board = Flat::GetBoard(d_mapping.emplace(d_file).bytes().data()); }

  void rebuild(Objects& to) override {
    for (const auto* row : *d_board->layers()) to.make_layer(row->id(), view(row->name()), row->z());
    to.expect_nets(d_board->nets()->size());
    for (const auto* row : *d_board->nets()) to.make_net(row->id(), row->type(), view(row->name()));
    to.expect_vertices(d_board->vertices()->size());
    for (const auto* row : *d_board->vertices()) {
      to.make_vertex(row->id(), view(row->name()), row->x(), row->y(), row->z(), row->type(), view(row->layer()),
                     view(row->upper()), view(row->lower()), row->options());
    }
    Objects::expect(to.layout.traces, d_board->traces()->size());
    for (const auto* row : *d_board->traces()) {
      to.make_trace(view(row->name()), to.net(row->net()), to.vertex(row->start()), to.vertex(row->end()),
                    row->option());
    }
    Objects::expect(to.layout.vias, d_board->vias()->size());
    for (const auto* row : *d_board->vias()) {
      to.make_via(view(row->name()), to.net(row->net()), to.vertex(row->start()), to.vertex(row->end()), row->radius());
    }
    Objects::expect(to.layout.shapes, d_board->shapes()->size());
    for (const auto* row : *d_board->shapes()) {
      const double* corners = row->corners()->data();
      to.make_shape(view(row->name()), to.layer(row->layer()), to.net(row->net()), row->type(), row->option(),
                    std::vector<double>(corners, corners + row->corners()->size()));
    }
    Objects::expect(to.layout.circuits, d_board->circuits()->size());
    for (const auto* row : *d_board->circuits()) {
      auto& circuit = to.make_circuit(view(row->name()), row->option());
      for (const auto* pin : *row->pins()) circuit.addPin(std::string(view(pin->name())), to.vertex(pin->vertex()));
    }
  }

 private:
  TextOffset name(const EM2DLayer* layer) const { return layer == nullptr ? TextOffset() : d_layer_names.at(layer); }

  std::string d_file;
  FlatBufferBuilder d_builder;
  std::unordered_map<const EM2DLayer*, TextOffset> d_layer_names;  // stored once, referred to by every vertex
  std::optional<Mapping> d_mapping;
  const Flat::Board* d_board = nullptr;  // in d_mapping
};

}  // namespace

Peer flat_buffers_peer() {
  const std::string version = std::to_string(FLATBUFFERS_VERSION_MAJOR) + "." +
                              std::to_string(FLATBUFFERS_VERSION_MINOR) + "." +
                              std::to_string(FLATBUFFERS_VERSION_REVISION);
  return {"FlatBuffers", version,
          "one buffer, each layer's name stored once; one write; the file is mapped, pages come in while objects are "
          "made; nothing is checked (no Verifier)",
          make_system<FlatBuffers>};
}

}  // namespace CorvaneBench::Peers
