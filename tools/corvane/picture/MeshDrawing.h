// Meshes as drawings.
#pragma once

#include "tools/corvane/picture/Drawing.h"
#include "zydata/object/data.h"

namespace CorvaneTool {

/// Faces, polygons, holes, vias and the vertices at which a mesh is fed. `record` is a mesh as files hold it.
/// Throws when a table or column is missing, an id names nothing or a place can't be drawn.
Drawing draw_mesh(ZyData::DataObj& record);

}  // namespace CorvaneTool
