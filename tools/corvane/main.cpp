// The program `corvane`: one verb per task. Exit status 0, or 1 with one line that begins with "corvane: " on standard
// error.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/corvane/support/LineText.h"
#include "tools/corvane/verbs/CheckCommand.h"
#include "tools/corvane/verbs/ImportCommand.h"
#include "tools/corvane/verbs/InfoCommand.h"
#include "tools/corvane/verbs/MeshCommand.h"
#include "tools/corvane/verbs/RenderCommand.h"

namespace {

int run(int count, char** arguments) {
  CLI::App app("Layout databases: turns circuit boards into them and shows what they hold", "corvane");
  app.set_version_flag("--version", CORVANE_VERSION);
  app.require_subcommand(1);
  int exit_status = 1;  // set by the verb that runs
  CorvaneTool::addImportCommand(app, exit_status);
  CorvaneTool::addInfoCommand(app, exit_status);
  CorvaneTool::addCheckCommand(app, exit_status);
  CorvaneTool::addMeshCommand(app);
  CorvaneTool::addRenderCommand(app, exit_status);
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help, version
    throw std::runtime_error(std::string(error.what()) + " (see corvane --help)");
  }
  if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
  return exit_status;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return run(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << "corvane: " << CorvaneTool::one_line(error.what()) << '\n';
    return 1;
  }
}
