// The mesh operations of the database. This version has no mesh file yet: every operation says so and touches nothing.
#include "facade/DBZydata.h"
#include "util/Error.h"

namespace Mesh2DPlat {
namespace {

[[noreturn]] void unavailable() { throw Util::Error("this version of the library can't store meshes"); }

}  // namespace

bool DBZydata::write(SImesh2D*, const std::vector<std::map<EM2DVia*, int>>&, const std::vector<EM2DShape*>&) {
  unavailable();
}

bool DBZydata::read(SImesh2D*, ViaTable&, const Table<int, EM2DLayer>&, const Table<int, EM2DNet>&,
                    const Table<std::string, EM2DVia>&, std::vector<EM2DShape*>*,
                    std::vector<std::map<EM2DVia*, int>>*) {
  unavailable();
}

bool DBZydata::writeNegPolyMesh(SImesh2D*) { unavailable(); }

bool DBZydata::readNegPolyMesh(SImesh2D*, MeshReadInterface*) { unavailable(); }

}  // namespace Mesh2DPlat
