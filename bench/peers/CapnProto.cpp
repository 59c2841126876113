// Cap'n Proto: one message, written from its segments, read in place from a mapped file.
#include <board.capnp.h>
#include <capnp/message.h>
#include <capnp/serialize.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/peers/Files.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

/// Texts of this program's strings, which end with a zero. An empty text is one that was never set.
template <class Set>
void set_text(std::string_view text, Set&& set) {
  if (!text.empty()) set(capnp::Text::Reader(text.data(), text.size()));
}

std::string_view view(capnp::Text::Reader text) { return {text.begin(), text.size()}; }

/// What the program knows of its boards: a first segment of this many words holds everything. Zeros that nobody needs
/// stay untouched.
constexpr std::size_t kWordsPerVertex = 26;
constexpr std::size_t kSpareWords = 4096;

unsigned count_of(std::size_t size) { return static_cast<unsigned>(size); }

/// Calls fill(builder, object) for every object of the list.
template <class Builders, class List, class Fill>
void fill_list(Builders builders, const List& list, Fill&& fill) {
  unsigned row = 0;
  for (const auto* object : list) fill(builders[row++], *object);
}

void fill_vertices(capnp::List<Capn::Vertex>::Builder list, const Layout& board) {
  fill_list(list, board.vertices, [](Capn::Vertex::Builder row, const auto& vertex) {
    row.setId(vertex.id());
    set_text(vertex.name(), [&](auto text) { row.setName(text); });
    row.setX(vertex.x());
    row.setY(vertex.y());
    row.setZ(vertex.z());
    row.setType(vertex.type());
    set_text(name_of(vertex.layer()), [&](auto text) { row.setLayer(text); });
    set_text(name_of(vertex.upLayer()), [&](auto text) { row.setUpper(text); });
    set_text(name_of(vertex.lowLayer()), [&](auto text) { row.setLower(text); });
    row.setOptions(vertex.options());
  });
}

void fill_circuits(capnp::List<Capn::Circuit>::Builder list, const Layout& board) {
  fill_list(list, board.circuits, [](Capn::Circuit::Builder row, const auto& circuit) {
    set_text(circuit.name(), [&](auto text) { row.setName(text); });
    row.setOption(circuit.option());
    auto pins = row.initPins(count_of(circuit.pins().size()));
    for (unsigned i = 0; i < pins.size(); ++i) {
      const auto& [name, vertex] = circuit.pins()[i];
      set_text(name, [&](auto text) { pins[i].setName(text); });
      pins[i].setVertex(vertex->id());
    }
  });
}

class CapnProto final : public System {
 public:
  explicit CapnProto(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override {
    d_message =
        std::make_unique<capnp::MallocMessageBuilder>(count_of(kSpareWords + kWordsPerVertex * board.vertices.size()));
    auto root = d_message->initRoot<Capn::Board>();
    fill_list(root.initLayers(count_of(board.layers.size())), board.layers, [](auto row, const auto& layer) {
      row.setId(layer.id());
      row.setName(layer.name().c_str());
      row.setZ(layer.z());
    });
    fill_list(root.initNets(count_of(board.nets.size())), board.nets, [](auto row, const auto& net) {
      row.setId(net.id());
      row.setType(static_cast<int>(net.type()));
      row.setName(net.name().c_str());
    });
    fill_vertices(root.initVertices(count_of(board.vertices.size())), board);
    fill_list(root.initTraces(count_of(board.traces.size())), board.traces, [](auto row, const auto& trace) {
      set_text(trace.name(), [&](auto text) { row.setName(text); });
      row.setNet(trace.net()->id());
      row.setStart(trace.startVertex()->id());
      row.setEnd(trace.endVertex()->id());
      row.setOption(trace.option());
    });
    fill_list(root.initVias(count_of(board.vias.size())), board.vias, [](auto row, const auto& via) {
      set_text(via.name(), [&](auto text) { row.setName(text); });
      row.setNet(via.net()->id());
      row.setStart(via.startVertex()->id());
      row.setEnd(via.endVertex()->id());
      row.setRadius(via.radius());
    });
    fill_list(root.initShapes(count_of(board.shapes.size())), board.shapes, [](auto row, const auto& shape) {
      set_text(shape.name(), [&](auto text) { row.setName(text); });
      row.setLayer(shape.layer()->id());
      row.setNet(shape.net()->id());
      row.setType(static_cast<int>(shape.type()));
      row.setOption(shape.option());
      row.setCorners(kj::arrayPtr(shape.coordinates().data(), shape.coordinates().size()));
    });
    fill_circuits(root.initCircuits(count_of(board.circuits.size())), board);
  }

  void save() override { capnp::writeMessageToFd(File::created(d_file).descriptor(), *d_message); }

  void load() override {
    const auto bytes = d_mapping.emplace(d_file).bytes();
    capnp::ReaderOptions options;
    options.traversalLimitInWords = std::numeric_limits<std::uint64_t>::max();
    const auto* words = reinterpret_cast<const capnp::word*>(bytes.data());
    d_reader = std::make_unique<capnp::FlatArrayMessageReader>(kj::arrayPtr(words, bytes.size() / sizeof(capnp::word)),
                                                               options);
  }

  void rebuild(Objects& to) override {
    const auto board = d_reader->getRoot<Capn::Board>();
    for (const auto row : board.getLayers()) to.make_layer(row.getId(), view(row.getName()), row.getZ());
    to.expect_nets(board.getNets().size());
    for (const auto row : board.getNets()) to.make_net(row.getId(), row.getType(), view(row.getName()));
    to.expect_vertices(board.getVertices().size());
    for (const auto row : board.getVertices()) {
      to.make_vertex(row.getId(), view(row.getName()), row.getX(), row.getY(), row.getZ(), row.getType(),
                     view(row.getLayer()), view(row.getUpper()), view(row.getLower()), row.getOptions());
    }
    Objects::expect(to.layout.traces, board.getTraces().size());
    for (const auto row : board.getTraces()) {
      to.make_trace(view(row.getName()), to.net(row.getNet()), to.vertex(row.getStart()), to.vertex(row.getEnd()),
                    row.getOption());
    }
    Objects::expect(to.layout.vias, board.getVias().size());
    for (const auto row : board.getVias()) {
      to.make_via(view(row.getName()), to.net(row.getNet()), to.vertex(row.getStart()), to.vertex(row.getEnd()),
                  row.getRadius());
    }
    Objects::expect(to.layout.shapes, board.getShapes().size());
    for (const auto row : board.getShapes()) {
      std::vector<double> corners;
      corners.reserve(row.getCorners().size());
      for (const double corner : row.getCorners()) corners.push_back(corner);
      to.make_shape(view(row.getName()), to.layer(row.getLayer()), to.net(row.getNet()), row.getType(), row.getOption(),
                    std::move(corners));
    }
    Objects::expect(to.layout.circuits, board.getCircuits().size());
    for (const auto row : board.getCircuits()) {
      auto& circuit = to.make_circuit(view(row.getName()), row.getOption());
      for (const auto pin : row.getPins()) circuit.addPin(std::string(view(pin.getName())), to.vertex(pin.getVertex()));
    }
  }

 private:
  std::string d_file;
  std::unique_ptr<capnp::MallocMessageBuilder> d_message;
  std::optional<Mapping> d_mapping;
  std::unique_ptr<capnp::FlatArrayMessageReader> d_reader;  // in d_mapping
};

}  // namespace

Peer capn_proto_peer() {
  const std::string version = std::to_string(CAPNP_VERSION_MAJOR) + "." + std::to_string(CAPNP_VERSION_MINOR) + "." +
                              std::to_string(CAPNP_VERSION_MICRO);
  return {"Cap'n Proto", version,
          "one message in a first segment that is large enough; one write; the file is mapped, pages come in and "
          "pointers are checked while "
          "objects are made",
          make_system<CapnProto>};
}

}  // namespace CorvaneBench::Peers
