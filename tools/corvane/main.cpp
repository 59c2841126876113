// The program `corvane`: one verb per task. Exit status 0, what a verb says, 2 for a command line that makes no sense,
// else 1; then with one line that begins with "corvane: " on standard error, and under --json with an object
// {"error": ...} on standard output.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>
#include <numeric>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/corvane/support/JsonOutput.h"
#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/UsageError.h"
#include "tools/corvane/verbs/CheckCommand.h"
#include "tools/corvane/verbs/ImportCommand.h"
#include "tools/corvane/verbs/InfoCommand.h"
#include "tools/corvane/verbs/MeshCommand.h"
#include "tools/corvane/verbs/RenderCommand.h"

namespace {

using CorvaneTool::UsageError;

// How many letters must be changed, added or taken away.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char letter : from) {
    std::size_t corner = row[0]++;
    for (std::size_t i = 1; i < row.size(); ++i) {
      const std::size_t replaced = corner + (letter == to[i - 1] ? 0 : 1);
      corner = row[i];
      row[i] = std::min({replaced, row[i] + 1, row[i - 1] + 1});
    }
  }
  return row.back();
}

void check_verb(const CLI::App& app, const std::string& word) {
  std::string nearest;
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    const std::string name = verb->get_name();
    if (name == word) return;
    if (nearest.empty() || distance(word, name) < distance(word, nearest)) nearest = name;
  }
  throw UsageError("\"" + word + "\" is no verb, the nearest one is \"" + nearest + "\" (see corvane --help)");
}

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
  if (count > 1 && arguments[1][0] != '-') check_verb(app, arguments[1]);
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help, version
    throw UsageError(std::string(error.what()) + " (see corvane --help)");
  }
  if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
  return exit_status;
}

int failed(const std::string& what, int status, bool json) {
  const std::string text = CorvaneTool::one_line(what);
  if (json) CorvaneTool::print_json({{"error", text}});
  std::cerr << "corvane: " << text << '\n';
  return status;
}

}  // namespace

int main(int count, char** arguments) {
  const bool json = std::find(arguments, arguments + count, std::string_view("--json")) != arguments + count;
  try {
    return run(count, arguments);
  } catch (const UsageError& error) {
    return failed(error.what(), CorvaneTool::kUsageStatus, json);
  } catch (const std::bad_alloc&) {
    return failed("not enough memory", 1, json);
  } catch (const std::exception& error) {
    return failed(error.what(), 1, json);
  }
}
