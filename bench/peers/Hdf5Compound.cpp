// HDF5 as a store of records: one dataset of a compound type for each kind of object.
//
// Texts have a fixed length in records: those of variable length would lie one by one in a heap of the file. Lists are
// ranges of one dataset.
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/peers/Hdf5.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

/// A text of at most Size bytes, zeros behind it.
template <std::size_t Size>
struct FixedText {
  std::array<char, Size> bytes;

  FixedText() = default;
  FixedText(const std::string& text) : FixedText(std::string_view(text)) {}
  FixedText(std::string_view text) : bytes{} {
    if (text.size() > Size) throw std::length_error("a text does not fit into its record");
    text.copy(bytes.data(), text.size());
  }
  operator std::string_view() const { return {bytes.data(), ::strnlen(bytes.data(), Size)}; }
};

using Name = FixedText<20>;
using LayerName = FixedText<8>;

struct LayerRow {
  int id;
  LayerName name;
  double z;
};
struct NetRow {
  int id, type;
  Name name;
};
struct VertexRow {
  int id;
  Name name;
  double x, y, z;
  int type;
  LayerName layer, upper, lower;
  int options;
};
struct TraceRow {
  Name name;
  int net, start, end, option;
};
struct ViaRow {
  Name name;
  int net, start, end;
  double radius;
};
struct ShapeRow {
  Name name;
  int layer, net, type, option, corner_count;
};
struct CircuitRow {
  Name name;
  int option, pin_count;
};
struct PinRow {
  Name name;
  int vertex;
};

hid_t element_type(const double*) { return H5Tcopy(H5T_NATIVE_DOUBLE); }
hid_t element_type(const int*) { return H5Tcopy(H5T_NATIVE_INT); }
template <std::size_t Size>
hid_t element_type(const FixedText<Size>*) {
  const hid_t type = H5Tcopy(H5T_C_S1);
  Handle::check(H5Tset_size(type, Size) >= 0 && H5Tset_strpad(type, H5T_STR_NULLPAD) >= 0);
  return type;
}

/// The compound type of a record, put together from its members.
template <class Row>
class RowType {
 public:
  RowType() : d_type(H5Tcreate(H5T_COMPOUND, sizeof(Row)), H5Tclose) {}

  template <class Member>
  RowType& add(const char* name, Member Row::*member) {
    const Handle type(element_type(static_cast<const Member*>(nullptr)), H5Tclose);
    const auto* base = reinterpret_cast<const char*>(&d_sample);
    const auto offset = static_cast<std::size_t>(reinterpret_cast<const char*>(&(d_sample.*member)) - base);
    Handle::check(H5Tinsert(d_type, name, offset, type) >= 0);
    return *this;
  }
  operator hid_t() const { return d_type; }

 private:
  Handle d_type;
  Row d_sample{};
};

struct Tables {
  std::vector<LayerRow> layers;
  std::vector<NetRow> nets;
  std::vector<VertexRow> vertices;
  std::vector<TraceRow> traces;
  std::vector<ViaRow> vias;
  std::vector<ShapeRow> shapes;
  std::vector<double> corners;  // of all shapes
  std::vector<CircuitRow> circuits;
  std::vector<PinRow> pins;  // of all circuits
};

/// Calls visit(name, type, rows) for every table.
template <class Visitor>
void for_each_table(Tables& t, Visitor&& visit) {
  RowType<LayerRow> layer;
  layer.add("id", &LayerRow::id).add("name", &LayerRow::name).add("z", &LayerRow::z);
  visit("layers", layer, t.layers);
  RowType<NetRow> net;
  net.add("id", &NetRow::id).add("type", &NetRow::type).add("name", &NetRow::name);
  visit("nets", net, t.nets);
  RowType<VertexRow> vertex;
  vertex.add("id", &VertexRow::id).add("name", &VertexRow::name).add("x", &VertexRow::x).add("y", &VertexRow::y);
  vertex.add("z", &VertexRow::z).add("type", &VertexRow::type).add("layer", &VertexRow::layer);
  vertex.add("upper", &VertexRow::upper).add("lower", &VertexRow::lower).add("options", &VertexRow::options);
  visit("vertices", vertex, t.vertices);
  RowType<TraceRow> trace;
  trace.add("name", &TraceRow::name).add("net", &TraceRow::net).add("start", &TraceRow::start);
  trace.add("end", &TraceRow::end).add("option", &TraceRow::option);
  visit("traces", trace, t.traces);
  RowType<ViaRow> via;
  via.add("name", &ViaRow::name).add("net", &ViaRow::net).add("start", &ViaRow::start).add("end", &ViaRow::end);
  via.add("radius", &ViaRow::radius);
  visit("vias", via, t.vias);
  RowType<ShapeRow> shape;
  shape.add("name", &ShapeRow::name).add("layer", &ShapeRow::layer).add("net", &ShapeRow::net);
  shape.add("type", &ShapeRow::type).add("option", &ShapeRow::option).add("corner_count", &ShapeRow::corner_count);
  visit("shapes", shape, t.shapes);
  visit("corners", H5T_NATIVE_DOUBLE, t.corners);
  RowType<CircuitRow> circuit;
  circuit.add("name", &CircuitRow::name).add("option", &CircuitRow::option).add("pin_count", &CircuitRow::pin_count);
  visit("circuits", circuit, t.circuits);
  RowType<PinRow> pin;
  pin.add("name", &PinRow::name).add("vertex", &PinRow::vertex);
  visit("pins", pin, t.pins);
}

class Hdf5Compound final : public System {
 public:
  explicit Hdf5Compound(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override {
    for (const auto* l : board.layers) d_tables.layers.push_back({l->id(), l->name(), l->z()});
    d_tables.nets.reserve(board.nets.size());
    for (const auto* n : board.nets) d_tables.nets.push_back({n->id(), static_cast<int>(n->type()), n->name()});
    d_tables.vertices.reserve(board.vertices.size());
    for (const auto* v : board.vertices) {
      d_tables.vertices.push_back({v->id(), v->name(), v->x(), v->y(), v->z(), v->type(), name_of(v->layer()),
                                   name_of(v->upLayer()), name_of(v->lowLayer()), v->options()});
    }
    d_tables.traces.reserve(board.traces.size());
    for (const auto* t : board.traces) {
      d_tables.traces.push_back({t->name(), t->net()->id(), t->startVertex()->id(), t->endVertex()->id(), t->option()});
    }
    d_tables.vias.reserve(board.vias.size());
    for (const auto* v : board.vias) {
      d_tables.vias.push_back({v->name(), v->net()->id(), v->startVertex()->id(), v->endVertex()->id(), v->radius()});
    }
    d_tables.shapes.reserve(board.shapes.size());
    for (const auto* s : board.shapes) {
      const std::vector<double>& corners = s->coordinates();
      d_tables.shapes.push_back({s->name(), s->layer()->id(), s->net()->id(), static_cast<int>(s->type()), s->option(),
                                 static_cast<int>(corners.size())});
      d_tables.corners.insert(d_tables.corners.end(), corners.begin(), corners.end());
    }
    d_tables.circuits.reserve(board.circuits.size());
    for (const auto* c : board.circuits) {
      d_tables.circuits.push_back({c->name(), c->option(), static_cast<int>(c->pins().size())});
      for (const auto& [name, vertex] : c->pins()) d_tables.pins.push_back({name, vertex->id()});
    }
  }

  void save() override {
    const Hdf5File file = Hdf5File::created(d_file);
    for_each_table(d_tables, [&](const char* name, hid_t type, auto& rows) { file.write(name, type, rows); });
  }

  void load() override {
    const Hdf5File file = Hdf5File::opened(d_file);
    for_each_table(d_tables, [&](const char* name, hid_t type, auto& rows) { file.read(name, type, rows); });
  }

  void rebuild(Objects& to) override {
    for (const auto& row : d_tables.layers) to.make_layer(row.id, row.name, row.z);
    to.expect_nets(d_tables.nets.size());
    for (const auto& row : d_tables.nets) to.make_net(row.id, row.type, row.name);
    to.expect_vertices(d_tables.vertices.size());
    for (const auto& row : d_tables.vertices) {
      to.make_vertex(row.id, row.name, row.x, row.y, row.z, row.type, row.layer, row.upper, row.lower, row.options);
    }
    Objects::expect(to.layout.traces, d_tables.traces.size());
    for (const auto& row : d_tables.traces) {
      to.make_trace(row.name, to.net(row.net), to.vertex(row.start), to.vertex(row.end), row.option);
    }
    Objects::expect(to.layout.vias, d_tables.vias.size());
    for (const auto& row : d_tables.vias) {
      to.make_via(row.name, to.net(row.net), to.vertex(row.start), to.vertex(row.end), row.radius);
    }
    Objects::expect(to.layout.shapes, d_tables.shapes.size());
    const double* corners = d_tables.corners.data();
    for (const auto& row : d_tables.shapes) {
      to.make_shape(row.name, to.layer(row.layer), to.net(row.net), row.type, row.option,
                    std::vector<double>(corners, corners + row.corner_count));
      corners += row.corner_count;
    }
    Objects::expect(to.layout.circuits, d_tables.circuits.size());
    auto pin = d_tables.pins.begin();
    for (const auto& row : d_tables.circuits) {
      auto& circuit = to.make_circuit(row.name, row.option);
      for (int i = 0; i < row.pin_count; ++i, ++pin) {
        circuit.addPin(std::string(std::string_view(pin->name)), to.vertex(pin->vertex));
      }
    }
  }

 private:
  std::string d_file;
  Tables d_tables;
};

}  // namespace

Peer hdf5_compound_peer() {
  return {"HDF5 compound", hdf5_version(),
          "a contiguous dataset of records for each kind, newest format; texts of at most 20 bytes, of 8 for layers",
          make_system<Hdf5Compound>};
}

}  // namespace CorvaneBench::Peers
