// Whether two layouts hold the same objects.
#pragma once

#include <optional>
#include <string>

#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

/// Compares what was written with what was read back, table by table and object by object: numbers bit for bit,
/// references by the ids of what they name. A trace must come back with the id of its end vertex as its option. Returns
/// nothing when all is equal, else the first difference: `em2dvertex row 17: x is 12.5, not 12.4`.
std::optional<std::string> first_difference(const Layout& written, const Layout& read);

}  // namespace CorvaneTool
