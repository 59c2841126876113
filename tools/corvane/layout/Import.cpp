#include "tools/corvane/layout/Import.h"

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "facade/DBZydata.h"
#include "mpsys/FileConnection.h"
#include "tools/corvane/board/Board.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/layout/LayoutBuilder.h"
#include "tools/corvane/layout/LayoutCompare.h"
#include "tools/corvane/support/PendingDatabase.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/message/serialize.h"

namespace CorvaneTool {
namespace {

using Mesh2DPlat::DBZydata;

/// The rows and values part of a report.
void count_tables(const std::string& path, ImportReport& report) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> root;
  if (!ZyData::receiveDataObject(connection, root)) throw std::runtime_error("the file holds no tables");
  for (const char* table : {"em2dlayer", "emnet", "em2dsignal", "em2dvertex", "em2dtrace", "em2dvia", "em2dpolyvia",
                            "em2dshape", "em2dpin", "em2dcircuit"}) {
    report.rows.emplace_back(table, root->find_path(table)->size());
  }
  root->find_path("simeshconfig");
  report.rows.emplace_back("simeshconfig", 1);  // a record
  for (const char* column : {"em2dshape/vertexs", "em2dcircuit/pin", "em2dpolyvia/coord"}) {
    std::string name = column;
    name[name.find('/')] = '.';
    const auto values = static_cast<std::uint64_t>(root->get<ZyData::VarArrayBase>(column)->offsets().back());
    report.values.emplace_back(std::move(name), values);
  }
  root->clear_hierarchy();
}

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
    count_tables(pending.directory() + "/" + pending.temporary_name() + ".zydat", d_report);
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

}  // namespace

ImportReport import_board(const ImportRequest& request, const Progress& progress) {
  return Importer(request, progress).run();
}

}  // namespace CorvaneTool
