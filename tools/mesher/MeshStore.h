// A mesh into the mesh file of a directory, and back out of it to see that it is whole.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/corvane/layout/Layout.h"
#include "tools/mesher/MeshBuilder.h"

namespace CorvaneMesher {

/// Runs a piece of work under the name of a phase.
using InPhase = std::function<void(const char* phase, const std::function<void()>& work)>;

struct StoredMesh {
  std::string path;
  std::uint64_t bytes = 0;
};

/// Writes the mesh in both ways that a database has, with the numbers of vias and the layout's shapes, and with
/// negative polygons; reads each back with a fresh database and compares everything. The second is what stays, as
/// <directory>/corvane2d.zydat: mesh.viaMeshes is set to the rows that the via maps make. The files are made in a
/// folder of their own within the directory and moved when all is well. Throws, and changes nothing in the directory,
/// when anything fails or differs.
StoredMesh store_mesh(const std::string& directory, BoardMesh& board, const CorvaneTool::Layout& layout,
                      const InPhase& in_phase);

}  // namespace CorvaneMesher
