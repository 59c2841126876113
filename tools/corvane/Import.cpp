#include "tools/corvane/Import.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <unordered_set>

#include "facade/DBZydata.h"
#include "tools/corvane/Board.h"
#include "tools/corvane/DatabaseRoundTrip.h"
#include "tools/corvane/LayoutBuilder.h"
#include "tools/corvane/LayoutCompare.h"
#include "tools/corvane/PendingDatabase.h"

namespace CorvaneTool {
namespace {

using Mesh2DPlat::DBZydata;

class Importer {
 public:
  Importer(const ImportRequest& request, const Progress& progress) : d_request(request), d_progress(progress) {}

  ImportReport run() {
    Layout layout;
    in_phase("import", [&] { layout = build(); });
    PendingDatabase pending(d_request.directory, d_request.name);
    try {
      write(layout, pending);
      verify(layout, pending);
    } catch (const std::exception& error) {
      throw std::runtime_error(pending.path() + ": not written: " + error.what());
    }
    d_report.database = pending.path();
    d_report.bytes = pending.size();
    pending.commit();
    return std::move(d_report);
  }

 private:
  Layout build() {
    const SourceText text = SourceText::read_file(d_request.board);
    const Board board = read_board(text);
    d_report.skipped = board.skipped;
    d_report.skipped.add("parenthesis", "missing in the file, added", board.repaired_parentheses);
    Layout layout = build_layout(board, d_request.name, d_report.skipped);
    const bool is_panel = d_request.columns > 1 || d_request.rows > 1;
    return is_panel ? panel(layout, d_request.columns, d_request.rows) : std::move(layout);
  }

  void write(const Layout& layout, const PendingDatabase& pending) {
    DBZydata database(pending.directory());
    in_phase("write", [&] {
      database.openem(false, pending.name());
      write_layout(database, layout);
    });
    in_phase("save", [&] { database.save(pending.temporary_name()); });
  }

  void verify(const Layout& layout, const PendingDatabase& pending) {
    DBZydata database(pending.directory());
    in_phase("load", [&] {
      if (!database.openem(true, pending.temporary_name())) throw std::runtime_error("the file is gone after saving");
    });
    Layout copy;
    in_phase("read", [&] { copy = read_layout(database); });
    d_progress("compare");
    if (const std::optional<std::string> difference = first_difference(layout, copy)) {
      throw std::runtime_error("what was read back differs: " + *difference);
    }
    count_layout(copy, d_report);
  }

  template <class Work>
  void in_phase(const char* phase, const Work& work) {
    using Clock = std::chrono::steady_clock;
    d_progress(phase);
    const Clock::time_point begin = Clock::now();
    work();
    d_report.seconds.emplace_back(phase, std::chrono::duration<double>(Clock::now() - begin).count());
  }

  const ImportRequest& d_request;
  const Progress& d_progress;
  ImportReport d_report;
};

template <class T>
std::uint64_t coordinate_count(const OwnedList<T>& list) {
  std::uint64_t count = 0;
  for (const T* item : list) count += item->coordinates().size();
  return count;
}

}  // namespace

ImportReport import_board(const ImportRequest& request, const Progress& progress) {
  return Importer(request, progress).run();
}

void count_layout(const Layout& layout, ImportReport& report) {
  std::uint64_t pins = 0;
  std::unordered_set<std::string_view> pin_names;
  for (const auto* circuit : layout.circuits) {
    pins += circuit->pins().size();
    for (const auto& [name, vertex] : circuit->pins()) pin_names.insert(name);
  }
  report.rows = {{"em2dlayer", layout.layers.size()},
                 {"emnet", layout.nets.size()},
                 {"em2dsignal", layout.signals.size()},
                 {"em2dvertex", layout.vertices.size()},
                 {"em2dtrace", layout.traces.size()},
                 {"em2dvia", layout.vias.size()},
                 {"em2dpolyvia", layout.poly_vias.size()},
                 {"em2dshape", layout.shapes.size()},
                 {"em2dpin", pin_names.size()},
                 {"em2dcircuit", layout.circuits.size()},
                 {"simeshconfig", 1}};
  report.values = {{"em2dshape.vertexs", coordinate_count(layout.shapes)},
                   {"em2dcircuit.pin", pins},
                   {"em2dpolyvia.coord", coordinate_count(layout.poly_vias)}};
}

}  // namespace CorvaneTool
