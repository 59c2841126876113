// JSON on standard output.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace CorvaneTool {

/// Prints the value, indented, and a line break. Bytes of texts that are no UTF-8 become U+FFFD; on a terminal, all but
/// printable ASCII is escaped.
void print_json(const nlohmann::ordered_json& value);

}  // namespace CorvaneTool
