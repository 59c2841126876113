// The verb `mesh`: starts the program that meshes layouts.
#pragma once

#include <CLI/CLI.hpp>

namespace CorvaneTool {

/// Adds `mesh DIR [--name NAME] [--max-edge mm] [--json]`. It becomes the program `corvane-mesh`, beside this one or in
/// PATH, whose output and exit status are those of the verb. Throws when there is no such program.
void addMeshCommand(CLI::App& app);

}  // namespace CorvaneTool
