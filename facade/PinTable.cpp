// Pins and circuits. Pin names are numbered in order of first appearance, over all circuits and all writes.
#include <atomic>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "facade/LayoutTables.h"
#include "facade/Lookup.h"
#include "facade/Model.h"
#include "util/Error.h"

namespace Mesh2DPlat {
namespace {

/// The pin entries of all circuits of one write, resolved before any table changes.
struct PinEntries {
  std::vector<int> rows;          // of the pin table, entry by entry
  std::vector<int> vertices;      // ids, entry by entry
  std::vector<EM2DPin> new_pins;  // names that the pin table does not have yet
};

std::size_t count_entries(const std::vector<EM2DCircuit*>& circuits) {
  std::size_t entries = 0;
  for (std::size_t i = 0; i < circuits.size(); ++i) {
    entries +=
        of_object<EM2DCircuitProxy>(circuits, i, [](const auto& circuit) { return ModelAccess::pin_count(circuit); });
  }
  return entries;
}

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

}  // namespace

/// The rows of pin names, kept from write to write.
class PinIndex {
 public:
  /// Takes in the rows that have come since.
  void follow(const RowReader<EM2DPin>& known) {
    if (known.size() < d_rows) clear();
    for (; d_rows < known.size(); ++d_rows)
      d_row_of.try_emplace(std::string(known[d_rows].name), static_cast<int>(d_rows));
  }
  void clear() noexcept {
    d_row_of.clear();
    d_rows = 0;
  }

  /// Resolves all pin entries; new names get the rows behind the known ones. False when a known row has got another
  /// name from elsewhere: the index is then of no use.
  bool resolve(const RowReader<EM2DPin>& known, const std::vector<EM2DCircuit*>& circuits, PinEntries& result) {
    bool is_up_to_date = true;
    const auto add = [&](std::string_view name, int vertex) {
      auto found = d_row_of.find(name);
      if (found == d_row_of.end()) {
        found = d_row_of.try_emplace(std::string(name), static_cast<int>(d_rows++)).first;
        result.new_pins.push_back({name});
      }
      const int row = found->second;
      if (static_cast<std::uint64_t>(row) < known.size() && known[static_cast<std::uint64_t>(row)].name != name)
        is_up_to_date = false;
      result.rows.push_back(row);
      result.vertices.push_back(vertex);
    };
    for (std::size_t i = 0; i < circuits.size(); ++i) {
      of_object<EM2DCircuitProxy>(circuits, i, [&](const auto& circuit) { ModelAccess::visit_pins(circuit, add); });
    }
    return is_up_to_date;
  }

 private:
  std::unordered_map<std::string, int, TextHash, std::equal_to<>> d_row_of;  // the first row of each name
  std::uint64_t d_rows = 0;                                                  // that are in the index
};

namespace {

PinEntries resolve_pins(ZyData::DataObj& tree, PinIndex& index, const std::vector<EM2DCircuit*>& circuits) {
  const RowReader<EM2DPin> known(tree);
  const std::size_t entries = count_entries(circuits);
  if (known.size() + entries > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
    throw Util::Error("table \"%s\" can't hold more than %d rows", EM2DPin::kTable, std::numeric_limits<int>::max());
  }
  for (;;) {
    PinEntries result;
    result.rows.reserve(entries);
    result.vertices.reserve(entries);
    index.follow(known);
    if (index.resolve(known, circuits, result)) return result;
    index.clear();
  }
}

void check_circuit(const EM2DCircuitProxy& row, std::uint64_t pins) {
  if (row.pin.size() != row.emver.size()) {
    throw Util::Error("circuit \"%.*s\" has %zu pins and %zu vertices", static_cast<int>(row.name.size()),
                      row.name.data(), row.pin.size(), row.emver.size());
  }
  for (const int pin : row.pin) {
    if (pin >= 0 && static_cast<std::uint64_t>(pin) < pins) continue;
    throw Util::Error("circuit \"%.*s\" names pin row %d of %lu", static_cast<int>(row.name.size()), row.name.data(),
                      pin, pins);
  }
}

/// Makes pin table and index what they were before a write, or forgets the index, unless the write has come to its end.
class PinGuard {
 public:
  PinGuard(ZyData::FrameBase& pins, PinIndex& index) : d_pins(pins), d_index(index), d_rows(pins.size()) {}
  ~PinGuard() {
    if (d_done) return;
    d_pins.truncate_rows(d_rows);
    d_index.clear();
  }
  PinGuard(const PinGuard&) = delete;
  PinGuard& operator=(const PinGuard&) = delete;

  void done() { d_done = true; }

 private:
  ZyData::FrameBase& d_pins;
  PinIndex& d_index;
  std::uint64_t d_rows;
  bool d_done = false;
};

/// What saving all this would take, but for names and sizes.
std::uint64_t stored_bytes(ZyData::DataObj& tree) {
  ZyData::FrameList frames;
  tree.vectorize(frames, tree.shared_from_this());
  std::uint64_t bytes = 0;
  for (const auto& frame : frames) bytes += frame->size_bytes();
  return bytes;
}

/// What the circuits take when each pin entry has a text of its own.
std::uint64_t circuit_bytes(const RowReader<EM2DPin>& pins, const RowReader<EM2DCircuitProxy>& circuits) {
  constexpr std::uint64_t kEntry = 64;
  std::uint64_t bytes = 0;
  for (std::uint64_t i = 0; i < circuits.size(); ++i) {
    for (const int pin : circuits[i].pin) {
      const auto row = static_cast<std::uint64_t>(pin);
      bytes += kEntry + (pin >= 0 && row < pins.size() ? pins[row].name.size() : 0);
    }
  }
  return bytes;
}

std::atomic<std::uint64_t> g_circuit_limit = 0;  // bytes; 0: the default

/// Few bytes can name one long pin many times.
void check_circuit_bytes(ZyData::DataObj& tree, std::uint64_t needed) {
  constexpr std::uint64_t kAlways = std::uint64_t{256} << 20;
  std::uint64_t limit = g_circuit_limit;
  if (limit == 0 && needed <= kAlways) return;
  if (limit == 0) limit = 64 * stored_bytes(tree) + kAlways;
  if (needed <= limit) return;
  throw Util::Error("reading the circuits would take %lu bytes, more than the limit of %lu", needed, limit);
}

}  // namespace

PinTable::PinTable() = default;
PinTable::~PinTable() = default;

void PinTable::limit_circuits(std::uint64_t bytes) { g_circuit_limit = bytes; }

void PinTable::forget_names() { d_index.reset(); }

void PinTable::check(ZyData::DataObj& tree) {
  const RowReader<EM2DPin> pins(tree);
  const RowReader<EM2DCircuitProxy> circuits(tree);
  for (std::uint64_t i = 0; i < circuits.size(); ++i) check_circuit(circuits[i], pins.size());
}

void PinTable::write(ZyData::DataObj& tree, const std::vector<EM2DCircuit*>& circuits) {
  const auto pins = tree.get<ZyData::Frame<EM2DPin>>(EM2DPin::kTable);
  if (d_index == nullptr) d_index = std::make_unique<PinIndex>();
  PinGuard guard(*pins, *d_index);
  const PinEntries entries = resolve_pins(tree, *d_index, circuits);
  pins->append_rows(entries.new_pins);
  std::size_t first = 0;
  write_rows<EM2DCircuitProxy>(tree, circuits, [&](const EM2DCircuit& circuit) {
    EM2DCircuitProxy row = ModelAccess::row_of(circuit);
    const std::size_t count = ModelAccess::pin_count(circuit);
    row.pin = {entries.rows.data() + first, count};
    row.emver = {entries.vertices.data() + first, count};
    first += count;
    return row;
  });
  guard.done();
}

void PinTable::read(ZyData::DataObj& tree, std::vector<EM2DCircuit*>& circuits,
                    const Table<int, EM2DVertex>& vertices) {
  const RowReader<EM2DPin> pins(tree);
  check_circuit_bytes(tree, circuit_bytes(pins, RowReader<EM2DCircuitProxy>(tree)));
  read_rows<EM2DCircuitProxy>(tree, circuits, [&](const EM2DCircuitProxy& row) {
    check_circuit(row, pins.size());
    std::unique_ptr<EM2DCircuit> circuit = ModelAccess::make_circuit(row.name);
    for (std::size_t k = 0; k < row.pin.size(); ++k) {
      EM2DVertex* vertex = look_up(vertices, row.emver[k]);
      ModelAccess::add_pin(*circuit, pins[static_cast<std::uint64_t>(row.pin[k])].name, vertex);
    }
    ModelAccess::set_option(*circuit, row.option);
    return circuit;
  });
}

}  // namespace Mesh2DPlat
