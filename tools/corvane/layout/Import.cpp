#include "tools/corvane/layout/Import.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
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
#include "tools/corvane/layout/Origin.h"
#include "tools/corvane/support/Allowance.h"
#include "tools/corvane/support/PendingFolder.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/message/serialize.h"

namespace CorvaneTool {
namespace {

using Mesh2DPlat::DBZydata;
namespace fs = std::filesystem;

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
    check_target();
    Origin origin{fs::weakly_canonical(fs::absolute(d_request.board)).string(), ""};
    Layout layout;
    in_phase("import", 0, [&] { layout = build(origin); });
    PendingFolder pending(d_request.directory);
    const std::string file = pending.file(file_name());
    try {
      write(layout, pending.path());
      verify(layout, pending.path(), file);
    } catch (const std::exception& error) {
      throw std::runtime_error(target() + ": not written: " + error.what());
    }
    d_report.database = target();
    d_report.bytes = fs::file_size(file);
    pending.commit(file_name(), file_name());
    write_origin(target(), origin);
    return std::move(d_report);
  }

 private:
  std::string file_name() const { return d_request.name + ".zydat"; }
  std::string target() const { return d_request.directory + "/" + file_name(); }

  void check_target() const {
    const std::string& name = d_request.name;
    if (name.empty() || name.find('/') != std::string::npos)
      throw std::runtime_error("\"" + name + "\" cannot be the name of a database: it must be a file name");
    if (name == "corvane2d")
      throw std::runtime_error("\"corvane2d\" cannot be the name of a database: it is the mesh's (see --name)");
    if (d_request.force || !fs::exists(target())) return;
    if (fs::is_directory(target())) throw std::runtime_error(target() + ": is a directory");
    const std::optional<Origin> earlier = read_origin(target());
    std::error_code error;
    if (earlier && fs::equivalent(earlier->source, d_request.board, error)) return;
    throw std::runtime_error(target() +
                             (earlier ? ": is there already, made from " + earlier->source
                                      : ": is there already, from elsewhere or changed since its import") +
                             "; --force replaces it");
  }

  Layout build(Origin& origin) {
    const SourceText text = SourceText::read_file(d_request.board);
    origin.source_digest = digest_of_file(d_request.board);
    const std::uint64_t copies =
        static_cast<std::uint64_t>(d_request.columns) * static_cast<std::uint64_t>(d_request.rows);
    const std::uint64_t limit = d_request.limit > 0 ? d_request.limit : default_limit(text.bytes().size(), copies);
    Allowance allowance(limit);
    try {
      const Board board = read_board(text, allowance);
      d_report.skipped = board.skipped;
      d_report.skipped.add("parenthesis", "missing in the file, added", board.repaired_parentheses);
      Layout layout = build_layout(board, d_request.name, d_report.skipped, allowance);
      if (copies == 1) return layout;
      if (allowance.taken() > limit / copies)
        throw TooLarge("a panel of " + std::to_string(copies) + " copies would become about " +
                       in_mebibytes(allowance.taken() * copies) + ", more than " + in_mebibytes(limit) +
                       " (see --limit)");
      return panel(layout, d_request.columns, d_request.rows);
    } catch (const TooLarge& error) {
      throw TooLarge(d_request.board + ": " + error.what());
    }
  }

  void write(const Layout& layout, const std::string& folder) {
    DBZydata database(folder);
    in_phase("write", 10, [&] {
      database.openem(false, d_request.name);
      write_layout(database, layout, at_table("write", layout, 10, 40));
    });
    in_phase("save", 40, [&] { database.save(d_request.name); });
  }

  void verify(const Layout& layout, const std::string& folder, const std::string& file) {
    DBZydata database(folder);
    in_phase("load", 50, [&] {
      if (!database.openem(true, d_request.name)) throw std::runtime_error("the file is gone after saving");
    });
    Layout copy;
    in_phase("read", 55, [&] { copy = read_layout(database, at_table("read", layout, 55, 85)); });
    show("compare", 85);
    if (const std::optional<std::string> difference = first_difference(layout, copy)) {
      throw std::runtime_error("what was read back differs: " + *difference);
    }
    count_tables(file, d_report);
  }

  void show(const std::string& phase, int percent) const { d_progress(std::to_string(percent) + " %, " + phase); }

  template <class Work>
  void in_phase(const char* phase, int percent, const Work& work) {
    using Clock = std::chrono::steady_clock;
    show(phase, percent);
    const Clock::time_point begin = Clock::now();
    work();
    d_report.seconds.emplace_back(phase, std::chrono::duration<double>(Clock::now() - begin).count());
  }

  // Tells of each table, as far between two shares of the whole as its rows lie among all.
  AtTable at_table(const char* phase, const Layout& layout, int first, int last) const {
    std::map<std::string, double> before;
    double rows = 0;
    for_each_table(layout, [&](const char* table, const auto& objects) {
      before[table] = rows;
      rows += static_cast<double>(objects.size());
    });
    return [this, phase, before, rows, first, last](const char* table) {
      const double share = before.at(table) / std::max(rows, 1.0);
      show(std::string(phase) + " " + table, first + static_cast<int>(share * (last - first)));
    };
  }

  const ImportRequest& d_request;
  const Progress& d_progress;
  ImportReport d_report;
};

}  // namespace

std::uint64_t default_limit(std::uint64_t board_bytes, std::uint64_t copies) {
  constexpr std::uint64_t kFixed = 64U << 20U, kPerByte = 16, kMost = 1U << 30U;
  return std::min(kMost, copies * (kFixed + kPerByte * board_bytes));
}

ImportReport import_board(const ImportRequest& request, const Progress& progress) {
  return Importer(request, progress).run();
}

}  // namespace CorvaneTool
