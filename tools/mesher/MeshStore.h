// A mesh into the mesh file of a directory, and back out of it to see that it is whole.
#pragma once

#include <cstdint>
#include <string>

#include "tools/corvane/layout/Layout.h"
#include "tools/corvane/layout/Origin.h"
#include "tools/mesher/MeshBuilder.h"
#include "tools/mesher/Phases.h"

namespace CorvaneMesher {

struct StoredMesh {
  std::string path;
  std::uint64_t bytes = 0;
};

/// Writes the mesh in both ways that a database has, with the numbers of vias and the layout's shapes, and with
/// negative polygons; reads each back with a fresh database and compares everything. The second is what stays, as
/// <directory>/corvane2d.zydat: mesh.viaMeshes is set to the rows that the via maps make. corvane2d.json beside it says
/// which database it was made from. The files are made in a folder of their own within the directory, which signals
/// take away, and moved when all is well. Throws, and changes nothing in the directory, when anything fails or differs.
StoredMesh store_mesh(const std::string& directory, BoardMesh& board, const CorvaneTool::Layout& layout,
                      const CorvaneTool::Origin& origin, Phases& phases);

}  // namespace CorvaneMesher
