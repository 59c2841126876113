// Everything that a program can do with one database or mesh file in memory. Anything else than an accepted file or a
// documented error ends the fuzz target.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "model/SImesh2D.h"
#include "mpsys/Message.h"
#include "tests/format/Load.h"

namespace TestSupport {

inline constexpr const char* kMeshFile = "corvane2d";
inline constexpr std::size_t kFilesPerSave = 8;

inline void use_database(Mesh2DPlat::DBZydata& db, const std::string& name, bool store) {
  try {
    db.openem(true, name);
  } catch (const Util::Error&) {
    return;
  } catch (const MPSys::NonDataMessageException&) {
    return;
  }
  if (Mesh2DPlat::currentRoot->tree == nullptr) return;
  read_everything(db);
  if (store) save_twice(db);
}

inline bool reads_mesh(Mesh2DPlat::DBZydata& db, Mesh2DPlat::SImesh2D& mesh) {
  try {
    return db.readNegPolyMesh(&mesh, nullptr);
  } catch (const Util::Error&) {
    return false;
  } catch (const MPSys::NonDataMessageException&) {
    return false;
  }
}

/// A mesh that is stored and read again must be the one that was read first.
inline void use_mesh(Mesh2DPlat::DBZydata& db, bool store) {
  Mesh2DPlat::SImesh2D mesh, again;
  if (!reads_mesh(db, mesh) || !store) return;
  db.writeNegPolyMesh(&mesh);
  const std::string stored = file(kMeshFile);
  if (!reads_mesh(db, again)) throw std::logic_error("a mesh can't be read back");
  db.writeNegPolyMesh(&again);
  if (file(kMeshFile) != stored) throw std::logic_error("equal meshes were stored differently");
}

/// The mapped files that inputs refer to, long enough for it.
inline bool put_mapped_files() {
  auto& files = MemoryPlatform::instance().files;
  for (const char* name : {"kinds.mapped", "kinds.defaults", "kinds.values", "kinds.column"})
    files[name] = std::string(64, '\1');
  files["kinds.offsets"] = std::string("\0\0\0\0\2\0\0\0\2\0\0\0\3\0\0\0", 16);
  return true;
}

/// The file as what its texts make of it: a database, a mesh or any other tree. Some node tables end the program, as
/// documented: they are passed over. What was loaded is stored now and then.
inline void use_file(const std::string& bytes) {
  static Mesh2DPlat::DBZydata db(kMemory);
  [[maybe_unused]] static const bool ready = put_mapped_files();
  if (!has_sound_node_table(bytes)) return;
  const bool store = std::hash<std::string>()(bytes) % kFilesPerSave == 0;
  if (bytes.find("em2d") != std::string::npos) {
    file("input") = bytes;
    use_database(db, "input", store);
  } else if (bytes.find("mesh2d") != std::string::npos) {
    file(kMeshFile) = bytes;
    use_mesh(db, store);
  } else {
    file("input") = bytes;
    use_tree(std::string(kMemory) + "/input.zydat", store);
  }
}

}  // namespace TestSupport
