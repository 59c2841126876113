// `corvane check`: whether files can be trusted to load.
#pragma once

#include <CLI/CLI.hpp>

namespace CorvaneTool {

/// Adds `check FILE... [--strict] [--json]`. Running it sets the exit status: 0 when all files are sound, 2 when one is
/// missing or can't be read, else 1. With --strict a sound file makes it 1, too, if bytes follow its message or if it
/// is a layout or mesh that `render` and `mesh` refuse.
void addCheckCommand(CLI::App& app, int& exitStatus);

}  // namespace CorvaneTool
