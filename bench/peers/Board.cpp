#include "bench/peers/Board.h"

#include <bit>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace CorvaneBench::Peers {
namespace {

using namespace Mesh2DPlat;

constexpr std::size_t kLayers = 8;
constexpr std::size_t kRowsPerNet = 50;
constexpr std::size_t kRowsPerLayer = 20;  // neighbours mostly share their layer

/// Texts of all lengths from 0 to 19: those that a string keeps inside itself and those that it keeps elsewhere.
std::string text_of(std::size_t row) {
  std::string text = std::to_string(row * 2654435761U % 10000000000U);
  text.resize(row % 20, '.');
  return text;
}

void make_layers_and_nets(Layout& board, std::size_t rows) {
  for (std::size_t i = 0; i < kLayers; ++i) {
    board.layers.make(static_cast<int>(i), "In" + std::to_string(i) + ".Cu", 0.2 * static_cast<double>(i));
  }
  for (std::size_t i = 0; i <= rows / kRowsPerNet; ++i) {
    board.nets.make(static_cast<int>(i), EM2DNet::Type::Signal, "/bus/net" + std::to_string(i));
  }
}

void make_vertices(Layout& board, std::size_t rows) {
  Objects::expect(board.vertices, rows);
  for (std::size_t i = 0; i < rows; ++i) {
    const std::size_t layer = i / kRowsPerLayer % kLayers;
    EM2DLayer* upper = layer == 0 ? nullptr : board.layers[layer - 1];
    EM2DLayer* lower = layer + 1 == kLayers ? nullptr : board.layers[layer + 1];
    const auto at = static_cast<double>(i);
    board.vertices.make(static_cast<int>(i), text_of(i), 0.01 * at, 250.0 - 0.003 * at, board.layers[layer]->z(),
                        static_cast<int>(i % 3), board.layers[layer], upper, lower, static_cast<int>(i % 8));
  }
}

// A trace's option is the id of its end: that is what the library stores there.
void make_traces(Layout& board, std::size_t rows) {
  Objects::expect(board.traces, rows);
  for (std::size_t i = 0; i < rows; ++i) {
    const std::size_t end = (i + 1) % rows;
    board.traces.make(text_of(i + 7), board.nets[i / kRowsPerNet], board.vertices[i], board.vertices[end],
                      static_cast<int>(end));
  }
}

void make_vias(Layout& board, std::size_t rows) {
  Objects::expect(board.vias, rows / 10);
  for (std::size_t i = 0; i < rows / 10; ++i) {
    board.vias.make("via" + std::to_string(i), board.nets[10 * i / kRowsPerNet], board.vertices[10 * i],
                    board.vertices[(10 * i + 500) % rows], 0.1 + 0.05 * static_cast<double>(i % 4));
  }
}

void make_shapes(Layout& board, std::size_t rows) {
  Objects::expect(board.shapes, rows / 50);
  for (std::size_t i = 0; i < rows / 50; ++i) {
    std::vector<double> corners(8 + 2 * (i * 37 % 97));
    for (std::size_t k = 0; k < corners.size(); ++k) corners[k] = 0.01 * static_cast<double>(i + k * k % 64);
    board.shapes.make(text_of(i + 3), board.layers[i % kLayers], board.nets[50 * i / kRowsPerNet],
                      static_cast<EM2DShape::Type>(i % 4), static_cast<int>(i % 5), std::move(corners));
  }
}

void make_circuits(Layout& board, std::size_t rows) {
  Objects::expect(board.circuits, rows / 100);
  for (std::size_t i = 0; i < rows / 100; ++i) {
    EM2DCircuit* circuit = board.circuits.make("U" + std::to_string(i));
    circuit->setOption(static_cast<int>(i % 3));
    for (std::size_t pin = 0; pin < 2 + i % 15; ++pin) {
      circuit->addPin(std::to_string(pin + 1), board.vertices[(100 * i + 31 * pin) % rows]);
    }
  }
}

class Sum {
 public:
  void add(std::uint64_t word) { d_sum = (std::rotl(d_sum, 5) ^ word) * 0x9E3779B97F4A7C15U; }
  void add(int number) { add(static_cast<std::uint64_t>(number)); }
  void add(double number) { add(std::bit_cast<std::uint64_t>(number)); }
  void add(std::string_view text) { add(std::uint64_t{std::hash<std::string_view>()(text)}); }
  void add(const EM2DLayer* layer) { add(layer == nullptr ? -1 : layer->id()); }
  void add(const EM2DNet* net) { add(net->id()); }
  void add(const EM2DVertex* vertex) { add(vertex->id()); }
  void add(const std::vector<double>& numbers) {
    add(numbers.size());
    for (const double number : numbers) add(number);
  }

  template <class... Members>
  void add_all(const Members&... members) {
    (add(members), ...);
  }
  std::uint64_t value() const { return d_sum; }

 private:
  std::uint64_t d_sum = 0;
};

void add(Sum& sum, const EM2DLayer& l) { sum.add_all(l.id(), std::string_view(l.name()), l.z()); }
void add(Sum& sum, const EM2DNet& n) { sum.add_all(n.id(), static_cast<int>(n.type()), std::string_view(n.name())); }
void add(Sum& sum, const EM2DVertex& v) {
  sum.add_all(v.id(), std::string_view(v.name()), v.x(), v.y(), v.z(), v.type(), v.layer(), v.upLayer(), v.lowLayer(),
              v.options());
}
void add(Sum& sum, const EM2DTrace& t) {
  sum.add_all(std::string_view(t.name()), t.net(), t.startVertex(), t.endVertex(), t.option());
}
void add(Sum& sum, const EM2DVia& v) {
  sum.add_all(std::string_view(v.name()), v.net(), v.startVertex(), v.endVertex(), v.radius());
}
void add(Sum& sum, const EM2DShape& s) {
  sum.add_all(std::string_view(s.name()), s.layer(), s.net(), static_cast<int>(s.type()), s.option(), s.coordinates());
}
void add(Sum& sum, const EM2DCircuit& c) {
  sum.add_all(std::string_view(c.name()), c.option(), c.pins().size());
  for (const auto& [name, vertex] : c.pins()) sum.add_all(std::string_view(name), vertex);
}

template <class Lists>
void add_list(Sum& sum, const Lists& list) {
  sum.add(list.size());
  for (const auto* object : list) add(sum, *object);
}

template <class List, class Table>
void check_table(const List& list, const Table& table) {
  if (list.size() != table.size()) throw std::runtime_error("a table has not one entry for each object");
  for (auto* object : list) {
    if (table.at(object->id()) != object) throw std::runtime_error("a table names another object");
  }
}

}  // namespace

Layout make_board(std::size_t rows) {
  Layout board;
  make_layers_and_nets(board, rows);
  make_vertices(board, rows);
  make_traces(board, rows);
  make_vias(board, rows);
  make_shapes(board, rows);
  make_circuits(board, rows);
  return board;
}

std::size_t memory_of(std::size_t rows) { return (std::size_t{32} << 20) + 800 * rows; }

std::uint64_t checksum(const Layout& board) {
  Sum sum;
  add_list(sum, board.layers);
  add_list(sum, board.nets);
  add_list(sum, board.vertices);
  add_list(sum, board.traces);
  add_list(sum, board.vias);
  add_list(sum, board.shapes);
  add_list(sum, board.circuits);
  return sum.value();
}

void check_tables(const Objects& objects) {
  check_table(objects.layout.layers, objects.layers);
  check_table(objects.layout.nets, objects.nets);
  check_table(objects.layout.vertices, objects.vertices);
  if (objects.layers_by_name.size() != objects.layers.size()) throw std::runtime_error("a layer's name is missing");
}

}  // namespace CorvaneBench::Peers
