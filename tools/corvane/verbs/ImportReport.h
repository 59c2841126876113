// Reports of an import, for people and for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "tools/corvane/layout/Import.h"

namespace CorvaneTool {

/// Aligned tables; ends with a line break.
std::string report_text(const ImportReport& report);

/// One object: database, bytes, rows, values, verified, skipped (kind, then
/// reason), seconds.
nlohmann::ordered_json report_json(const ImportReport& report);

}  // namespace CorvaneTool
