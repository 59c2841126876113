// `corvane check`: whether files can be trusted to load.
#pragma once

#include <CLI/CLI.hpp>

namespace CorvaneTool {

/// Adds the verb. Running it sets the exit status: 0 when all files are sound, 2 when one is missing or can't be read,
/// else 1.
void addCheckCommand(CLI::App& app, int& exitStatus);

}  // namespace CorvaneTool
