// The verb `import`: a board into a database.
#pragma once

#include <CLI/CLI.hpp>

namespace CorvaneTool {

/// Adds `import BOARD.kicad_pcb DIR [--name NAME] [--panel KxL] [--limit MIB] [--force] [--json]`. Failures are thrown.
void addImportCommand(CLI::App& app, int& exitStatus);

}  // namespace CorvaneTool
