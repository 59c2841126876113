// Reports of an import, for people and for programs.
#pragma once

#include <string>

#include "tools/corvane/layout/Import.h"

namespace CorvaneTool {

/// Aligned tables; ends with a line break.
std::string report_text(const ImportReport& report);

/// One JSON object on one line, without a line break: database, bytes, rows, values, verified, skipped (kind, then
/// reason), seconds.
std::string report_json(const ImportReport& report);

}  // namespace CorvaneTool
