#include "tools/corvane/verbs/ImportCommand.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/support/ProgressLine.h"
#include "tools/corvane/verbs/ImportReport.h"

namespace CorvaneTool {
namespace {

constexpr int kMostCopies = 1000;  // in one direction

struct ImportOptions {
  ImportRequest request;
  std::string panel;
  bool json = false;
};

// "6x4": six copies side by side in four rows.
void parse_panel(const std::string& text, ImportRequest& request) {
  const std::size_t cross = text.find('x');
  const std::optional<int> columns = parse_whole(text.substr(0, cross));
  const std::optional<int> rows = parse_whole(cross == std::string::npos ? std::string() : text.substr(cross + 1));
  const auto is_count = [](const std::optional<int>& count) { return count && *count >= 1 && *count <= kMostCopies; };
  if (!is_count(columns) || !is_count(rows)) {
    throw std::runtime_error("--panel " + text + ": wants two counts from 1 to " + std::to_string(kMostCopies) +
                             ", such as 6x4");
  }
  request.columns = *columns;
  request.rows = *rows;
}

void run_import(ImportOptions& options) {
  ImportRequest& request = options.request;
  if (request.name.empty()) request.name = std::filesystem::path(request.board).stem().string();
  if (!options.panel.empty()) parse_panel(options.panel, request);
  ImportReport report;
  {
    const ProgressLine line;
    report = import_board(request, [&](const std::string& phase) { line.show(request.board + ": " + phase); });
  }
  if (options.json) {
    std::cout << report_json(report) << '\n';
  } else {
    std::cout << report_text(report);
  }
}

}  // namespace

void addImportCommand(CLI::App& app, int& exitStatus) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App* verb = app.add_subcommand("import", "Write a KiCad board to a database and read it back to check it");
  verb->add_option("BOARD", options->request.board, "Board file, *.kicad_pcb")->required();
  verb->add_option("DIR", options->request.directory, "Directory of the database")->required();
  verb->add_option("--name", options->request.name, "Name of the database instead of the board's: DIR/NAME.zydat");
  verb->add_option("--panel", options->panel,
                   "Copies of the board side by side, for load tests: columns x rows, such as 6x4");
  verb->add_flag("--json", options->json, "Print the report as one JSON object");
  verb->callback([options, &exitStatus] {
    run_import(*options);
    exitStatus = 0;
  });
}

}  // namespace CorvaneTool
