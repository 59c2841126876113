// The program `corvane-mesh`: from a layout in a database to a mesh file. Exit status 0, 2 for a command line that
// makes no sense, else 1; then with one line that begins with "corvane-mesh: " on standard error, and under --json with
// an object {"error": ...} on standard output.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/corvane/support/JsonOutput.h"
#include "tools/corvane/support/LengthOption.h"
#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/ProgressLine.h"
#include "tools/corvane/support/UsageError.h"
#include "tools/mesher/MeshReport.h"
#include "tools/mesher/Mesher.h"

namespace {

using namespace CorvaneMesher;

int run(int count, char** arguments) {
  MeshRequest request;
  bool without_traces = false, json = false;
  CLI::App app("Meshes the copper of a layout: DIR/NAME.zydat becomes DIR/corvane2d.zydat", "corvane-mesh");
  app.set_version_flag("--version", CORVANE_VERSION);
  app.add_option("DIR", request.directory, "Directory of the database")->required();
  app.add_option("--name", request.name, "Name of the database, when DIR has several");
  app.add_option("--max-edge", request.max_edge, "Longest edge in mm, instead of the settings' maxEdgeLen")
      ->check(CorvaneTool::positive_length);
  app.add_flag("--no-traces", without_traces, "Leave traces out");
  app.add_flag("--json", json, "Print the report as one JSON object");
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help, version
    throw CorvaneTool::UsageError(std::string(error.what()) + " (see corvane-mesh --help)");
  }
  request.with_traces = !without_traces;
  MeshReport report;
  {
    const CorvaneTool::ProgressLine line;
    report = mesh_board(request, [&](const std::string& phase, int percent) {
      line.show(request.directory + ": " + std::to_string(percent) + " %, " + phase);
    });
  }
  if (json) {
    CorvaneTool::print_json(report_json(report));
  } else {
    std::cout << report_text(report);
  }
  if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
  return 0;
}

int failed(const std::string& what, int status, bool json) {
  const std::string text = CorvaneTool::one_line(what);
  if (json) CorvaneTool::print_json({{"error", text}});
  std::cerr << "corvane-mesh: " << text << '\n';
  return status;
}

}  // namespace

int main(int count, char** arguments) {
  const bool json = std::find(arguments, arguments + count, std::string_view("--json")) != arguments + count;
  try {
    return run(count, arguments);
  } catch (const CorvaneTool::UsageError& error) {
    return failed(error.what(), CorvaneTool::kUsageStatus, json);
  } catch (const std::bad_alloc&) {
    return failed("not enough memory", 1, json);
  } catch (const std::exception& error) {
    return failed(error.what(), 1, json);
  }
}
