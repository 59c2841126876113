// Reports of a mesh, for people and for programs.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/mesher/Mesher.h"

namespace CorvaneMesher {

/// Aligned tables; ends with a line break.
std::string report_text(const MeshReport& report);

nlohmann::ordered_json report_json(const MeshReport& report);

}  // namespace CorvaneMesher
