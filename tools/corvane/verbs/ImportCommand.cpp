#include "tools/corvane/verbs/ImportCommand.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/support/JsonOutput.h"
#include "tools/corvane/support/ProgressLine.h"
#include "tools/corvane/support/UsageError.h"
#include "tools/corvane/verbs/ImportReport.h"

namespace CorvaneTool {
namespace {

constexpr int kMostCopies = 1000;  // in one direction

struct ImportOptions {
  ImportRequest request;
  std::string panel;
  std::uint64_t limit = 0;  // MiB; 0: the default
  bool json = false;
};

// "6x4": six copies side by side in four rows.
void parse_panel(const std::string& text, ImportRequest& request) {
  const std::size_t cross = text.find('x');
  const std::optional<int> columns = parse_whole(text.substr(0, cross));
  const std::optional<int> rows = parse_whole(cross == std::string::npos ? std::string() : text.substr(cross + 1));
  const auto is_count = [](const std::optional<int>& count) { return count && *count >= 1 && *count <= kMostCopies; };
  if (!is_count(columns) || !is_count(rows)) {
    throw UsageError("--panel " + text + ": wants two counts from 1 to " + std::to_string(kMostCopies) +
                     ", such as 6x4");
  }
  request.columns = *columns;
  request.rows = *rows;
}

void run_import(ImportOptions& options) {
  ImportRequest& request = options.request;
  if (request.name.empty()) request.name = std::filesystem::path(request.board).stem().string();
  if (!options.panel.empty()) parse_panel(options.panel, request);
  request.limit = options.limit << 20U;
  ImportReport report;
  {
    const ProgressLine line;
    report = import_board(request, [&](const std::string& text) { line.show(request.board + ": " + text); });
  }
  if (options.json) {
    print_json(report_json(report));
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
  verb->add_option("--limit", options->limit,
                   "MiB that the database may have, roughly; by default 64 and 16 times the board's file for each "
                   "copy, at most 1024")
      ->check(CLI::Range(1, 1 << 20));
  verb->add_flag("--force", options->request.force,
                 "Replace a database that was made from another board or changed since");
  verb->add_flag("--json", options->json, "Print the report as one JSON object");
  verb->callback([options, &exitStatus] {
    run_import(*options);
    exitStatus = 0;
  });
}

}  // namespace CorvaneTool
