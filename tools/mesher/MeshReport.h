// Reports of a mesh, for people and for programs.
#pragma once

#include <string>

#include "tools/mesher/Mesher.h"

namespace CorvaneMesher {

/// Aligned tables; ends with a line break.
std::string report_text(const MeshReport& report);

/// One JSON object on one line, without a line break.
std::string report_json(const MeshReport& report);

}  // namespace CorvaneMesher
