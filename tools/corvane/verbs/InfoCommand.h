// The verb `info`: what stands in a file of the data library.
#pragma once

#include <CLI/CLI.hpp>

namespace CorvaneTool {

/// Adds `info FILE.zydat [--json]`. The verb works on every file whose types are registered; failures are thrown.
void addInfoCommand(CLI::App& app, int& exitStatus);

}  // namespace CorvaneTool
