// The program `corvane-mesh`: from a layout in a database to a mesh file. Exit status 0, or 1 with one line that begins
// with "corvane-mesh: " on standard error.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/ProgressLine.h"
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
      ->check(CLI::PositiveNumber);
  app.add_flag("--no-traces", without_traces, "Leave traces out");
  app.add_flag("--json", json, "Print the report as one JSON object");
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help, version
    throw std::runtime_error(std::string(error.what()) + " (see corvane-mesh --help)");
  }
  request.with_traces = !without_traces;
  MeshReport report;
  {
    const CorvaneTool::ProgressLine line;
    report = mesh_board(request, [&](const std::string& phase) { line.show(request.directory + ": " + phase); });
  }
  if (json) {
    std::cout << report_json(report) << '\n';
  } else {
    std::cout << report_text(report);
  }
  if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return run(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << "corvane-mesh: " << CorvaneTool::one_line(error.what()) << '\n';
    return 1;
  }
}
