// As fast as it goes by hand, for a program that knows its data: columns with all their room on huge pages, one block
// for the whole file, references by position.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "bench/Memory.h"
#include "bench/peers/Columns.h"
#include "bench/peers/Files.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

/// Memory on huge pages; resizing a vector leaves what it adds as it is.
template <class T>
struct HugePages {
  using value_type = T;

  HugePages() = default;
  template <class U>
  explicit HugePages(const HugePages<U>&) {}

  T* allocate(std::size_t count) { return static_cast<T*>(allocate_on_huge_pages(count * sizeof(T))); }
  void deallocate(T* memory, std::size_t) { std::free(memory); }
  template <class U>
  void construct(U* element) {
    ::new (static_cast<void*>(element)) U;
  }
  template <class U, class... Arguments>
  void construct(U* element, Arguments&&... arguments) {
    ::new (static_cast<void*>(element)) U(std::forward<Arguments>(arguments)...);
  }
  bool operator==(const HugePages&) const { return true; }
};

template <class T>
using RoomyColumn = std::vector<T, HugePages<T>>;

/// What the program knows of its boards; a longer text or list makes its column grow.
constexpr std::size_t kNameBytes = 12;
constexpr std::size_t kLayerNameBytes = 8;
constexpr std::size_t kCorners = 128;
constexpr std::size_t kPins = 10;

template <class Runs>
void reserve(Runs& runs, std::size_t rows, std::size_t values_per_row) {
  runs.offsets.reserve(rows + 1);
  runs.values.reserve(rows * values_per_row);
}

template <class... Column>
void reserve_all(std::size_t rows, Column&... columns) {
  (columns.reserve(rows), ...);
}

void reserve(Columns<RoomyColumn>& c, const Layout& board) {
  const std::size_t vertices = board.vertices.size(), traces = board.traces.size(), vias = board.vias.size();
  const std::size_t shapes = board.shapes.size(), circuits = board.circuits.size();
  reserve_all(vertices, c.vertices.id, c.vertices.x, c.vertices.y, c.vertices.z, c.vertices.type, c.vertices.options);
  reserve(c.vertices.name, vertices, kNameBytes);
  for (auto* names : {&c.vertices.layer, &c.vertices.upper, &c.vertices.lower}) {
    reserve(*names, vertices, kLayerNameBytes);
  }
  reserve_all(traces, c.traces.net, c.traces.start, c.traces.end, c.traces.option);
  reserve(c.traces.name, traces, kNameBytes);
  reserve_all(vias, c.vias.net, c.vias.start, c.vias.end, c.vias.radius);
  reserve(c.vias.name, vias, kNameBytes);
  reserve_all(shapes, c.shapes.layer, c.shapes.net, c.shapes.type, c.shapes.option);
  reserve(c.shapes.name, shapes, kNameBytes);
  reserve(c.shapes.corners, shapes, kCorners);
  reserve(c.circuits.name, circuits, kNameBytes);
  reserve(c.circuits.pins, circuits, kPins);
  reserve(c.circuits.pin_names, circuits * kPins, 2);
}

/// Ids are positions in the lists.
struct ByPosition {
  const Layout& layout;

  EM2DNet* net(int id) const { return layout.nets[id]; }
  EM2DVertex* vertex(int id) const { return layout.vertices[id]; }
};

class HandTuned final : public System {
 public:
  explicit HandTuned(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override {
    reserve(d_columns, board);
    fill(board, d_columns);
  }

  void save() override {
    std::vector<std::uint64_t> counts;
    for_each_column(d_columns, [&](const char*, auto& column) { counts.push_back(column.size()); });
    std::vector<iovec> parts{{counts.data(), counts.size() * sizeof counts[0]}};
    for_each_column(d_columns, [&](const char*, auto& column) {
      const std::size_t bytes = column.size() * sizeof column[0];
      parts.push_back({column.data(), bytes});
      if (bytes % kAlignment != 0) parts.push_back({d_padding, kAlignment - bytes % kAlignment});
    });
    File::created(d_file).write(parts);
  }

  void load() override {
    const File file = File::opened(d_file);
    const std::size_t bytes = file.size();
    d_block.reset(static_cast<std::byte*>(allocate_on_huge_pages(bytes)));
    file.read({{d_block.get(), bytes}});
    std::size_t columns = 0;
    for_each_column(d_shown, [&](const char*, auto&) { ++columns; });
    const auto* count = reinterpret_cast<const std::uint64_t*>(d_block.get());
    const std::byte* at = d_block.get() + columns * sizeof *count;
    for_each_column(d_shown, [&]<class T>(const char*, std::span<const T>& column) {
      column = {reinterpret_cast<const T*>(at), *count++};
      at += (column.size_bytes() + kAlignment - 1) / kAlignment * kAlignment;
    });
  }

  void rebuild(Objects& objects) override { make_all(d_shown, ByPosition{objects.layout}, objects); }

 private:
  static constexpr std::size_t kAlignment = 8;

  struct Free {
    void operator()(std::byte* block) const { std::free(block); }
  };

  std::string d_file;
  char d_padding[kAlignment] = {};
  Columns<RoomyColumn> d_columns;
  std::unique_ptr<std::byte, Free> d_block;  // the whole file
  Columns<ShownColumn> d_shown;              // of d_block
};

}  // namespace

Peer hand_tuned_peer() {
  return {"hand-tuned", "",
          "columns reserved on huge pages; writev; one block on huge pages, one read, columns show it in place; "
          "references by position; nothing is checked",
          make_system<HandTuned>};
}

}  // namespace CorvaneBench::Peers
