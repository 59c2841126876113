// The verb `info`: what stands in a file of the data library.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace CorvaneTool {

/// Adds `info FILE.zydat [--json]`. The verb works on every file whose types are registered; failures are thrown.
void addInfoCommand(CLI::App& app, int& exitStatus);

/// What the verb prints. Names are cut, so that the answer's length is bounded by the file's.
std::string info_text(const std::string& path);
nlohmann::ordered_json info_json(const std::string& path);

}  // namespace CorvaneTool
