// Pins and circuits. Pin names are numbered in order of first appearance, over all circuits and all writes.
#include <limits>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "facade/LayoutTables.h"
#include "facade/Lookup.h"
#include "facade/ModelAccess.h"
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
  for (const EM2DCircuit* circuit : circuits) {
    UTIL_ASSERT(circuit != nullptr);
    entries += ModelAccess::pin_count(*circuit);
  }
  return entries;
}

PinEntries resolve_pins(ZyData::DataObj& tree, const std::vector<EM2DCircuit*>& circuits) {
  const RowReader<EM2DPin> known(tree);
  const std::size_t entries = count_entries(circuits);
  if (known.size() + entries > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
    throw Util::Error("table \"%s\" can't hold more than %d rows", EM2DPin::kTable, std::numeric_limits<int>::max());
  }
  // The keys view the pin column and the circuits; both stay as they are while the table of names is in use.
  std::unordered_map<std::string_view, int> row_of_name;
  row_of_name.reserve(known.size());
  for (std::uint64_t i = 0; i < known.size(); ++i) row_of_name.try_emplace(known[i].name, static_cast<int>(i));
  PinEntries result;
  result.rows.reserve(entries);
  result.vertices.reserve(entries);
  for (const EM2DCircuit* circuit : circuits) {
    ModelAccess::visit_pins(*circuit, [&](std::string_view name, int vertex) {
      const auto next = static_cast<int>(known.size() + result.new_pins.size());
      const auto [entry, is_new] = row_of_name.try_emplace(name, next);
      if (is_new) result.new_pins.push_back({name});
      result.rows.push_back(entry->second);
      result.vertices.push_back(vertex);
    });
  }
  return result;
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

/// Cuts a table back to its rows before a write unless the write has come to its end.
class RowGuard {
 public:
  explicit RowGuard(ZyData::FrameBase& frame) : d_frame(frame), d_rows(frame.size()) {}
  ~RowGuard() {
    if (!d_done) d_frame.truncate_rows(d_rows);
  }
  RowGuard(const RowGuard&) = delete;
  RowGuard& operator=(const RowGuard&) = delete;

  void done() { d_done = true; }

 private:
  ZyData::FrameBase& d_frame;
  std::uint64_t d_rows;
  bool d_done = false;
};

}  // namespace

void PinTable::check(ZyData::DataObj& tree) {
  const RowReader<EM2DPin> pins(tree);
  const RowReader<EM2DCircuitProxy> circuits(tree);
  for (std::uint64_t i = 0; i < circuits.size(); ++i) check_circuit(circuits[i], pins.size());
}

void PinTable::write(ZyData::DataObj& tree, const std::vector<EM2DCircuit*>& circuits) {
  const auto pins = tree.get<ZyData::Frame<EM2DPin>>(EM2DPin::kTable);
  const PinEntries entries = resolve_pins(tree, circuits);
  RowGuard guard(*pins);
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
