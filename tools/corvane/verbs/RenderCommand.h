// The verb `render`: a picture of what a file holds.
#pragma once

#include <CLI/CLI.hpp>

namespace CorvaneTool {

/// Adds `render FILE.zydat OUT.svg [--layer NAME] [--net NAME] [--width PIXELS] [--json]`; an OUT of `-`
/// is standard output. Failures are thrown; an earlier picture then stays.
void addRenderCommand(CLI::App& app, int& exitStatus);

}  // namespace CorvaneTool
