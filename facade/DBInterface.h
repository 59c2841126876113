// The abstract database of a two-dimensional mesher: layout, settings and mesh, written from and read into the
// program's own objects.
//
// The 25 operations form one table, in this order. A `write` copies objects into tables, behind the rows that are
// there; a `read` creates new objects, appends them to the given vector and hands them to the caller, who deletes them.
// Read layers and nets first, then vertices, then what refers to them. Slots 1 to 10, 12 to 20 and save() need an open
// database (openem); the mesh operations, slots 0, 11, 21 and 22, need none and leave it alone: a mesh has a file of
// its own, <directory>/corvane2d.zydat, which is also what save("corvane2d") would write to.
//
// A directory is taken as it is given: a relative one follows the current folder of the process, call by call. Files
// may be FIFOs or devices; opening a FIFO waits for its other end, without limit.
//
// Numbers are stored bit by bit, with no unit of their own: lengths have the unit of the program's objects. Layers are
// found by name where vertices refer to them, so that every layer's name must be its own and not empty: the reference
// to a layer without a name is lost, and of two layers of one name all vertices come back with the one in the table.
// Nets, vertices and layers of shapes are found by id, vias of meshes by name; these should be unique, too.
//
// What these operations throw, all derived from std::exception:
//
//     Util::Error                          util/Error.h          damaged or missing data, failing calls of the system,
//                                                                null objects, objects without what they must refer to
//     MPSys::NonDataMessageException       mpsys/Message.h       openem and mesh reads: the file is a message of this
//                                                                library without data; one flipped bit can do that
//     DanglingReference                    facade/DanglingReference.h  reads: the given tables lack an object; a
//                                                                std::out_of_range; objects appended before stay in
//                                                                the vector
//     std::filesystem::filesystem_error    <filesystem>          openem, save and meshes: a path can't be looked at, a
//                                                                directory can't be made
//     std::bad_alloc                       <new>                 everywhere
//     what the program's own code throws                         setters, MeshReadInterface, object constructors
//
// All databases of a process work on one root, without a lock: they are used by one thread at a time. Threads that use
// objects of their own of the data library, and no database, do not disturb it or one another.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "facade/DanglingReference.h"
#include "model/ModelTypes.h"
#include "util/Export.h"

namespace Mesh2DPlat {

/// The caller's objects by id or by name.
template <class Key, class Object>
using Table = std::unordered_map<Key, Object*>;

/// Mesh vias by plane id, then by name.
using ViaTable = std::unordered_map<int, std::unordered_map<std::string, SImeshVia*>>;

// The destructors are not virtual by design: databases are held as what they are, never deleted through the interface.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class CORVANE_API DBInterface {
 public:
  DBInterface() = default;
  DBInterface(const DBInterface&) = default;
  DBInterface(DBInterface&&) = default;
  DBInterface& operator=(const DBInterface&) = default;
  DBInterface& operator=(DBInterface&&) = default;
  ~DBInterface() = default;

  // --- slots 0-10: writing ---
  /// Stores a mesh, in the place of the one that the mesh file had, and creates the directory, one level. True.
  ///
  /// `viaMeshIds` has a map per mesh, via -> number there. It becomes table "viamesh", in the place of the mesh's own
  /// viaMeshes; -1 is as good as no entry. When no map has an entry, their number is lost, too. Two vias
  /// of one name throw Util::Error before the file is touched. `shapes` become the file's layout shapes. Negative
  /// polygons are left out: writeNegPolyMesh() stores those.
  virtual bool write(SImesh2D* mesh, const std::vector<std::map<EM2DVia*, int>>& viaMeshIds,
                     const std::vector<EM2DShape*>& shapes = {}) = 0;  // 0
  virtual void write(const std::vector<EM2DPolyVia*>& polyVias) = 0;   // 1
  virtual void write(const std::vector<EM2DCircuit*>& circuits) = 0;   // 2
  /// Deliberate: a trace's option word is not stored. A trace that is read has its end vertex id in that place.
  virtual void write(const std::vector<EM2DTrace*>& traces) = 0;  // 3
  /// Writes every element as a plain via: polygon vias go through their own overload.
  virtual void write(const std::vector<EM2DVia*>& vias) = 0;                                 // 4
  virtual void write(const std::vector<EM2DShape*>& shapes, const std::string& unused) = 0;  // 5
  virtual void write(const std::vector<EM2DSignal*>& signals) = 0;                           // 6
  virtual void write(const std::vector<EM2DLayer*>& layers) = 0;                             // 7
  virtual void write(const std::vector<EM2DVertex*>& vertices) = 0;                          // 8
  virtual void write(const std::vector<EM2DNet*>& nets) = 0;                                 // 9
  /// Replaces all 21 settings.
  virtual void write(SImeshConfig* config) = 0;  // 10

  // --- slots 11-20: reading; always true, unless said otherwise ---
  /// Reads the mesh file: false when there is none; then, and when anything throws, nothing changes.
  ///
  /// Replaces the content of `mesh`, of `vias` (by plane id and name; of equal ones the last) and of `viaMeshIds`, and
  /// appends to `shapes`; the vias belong to the mesh. `layers` and `nets` are used for shapes only, `viasByName` for
  /// via maps only. Left out: negative polygons (the mesh has none afterwards), shapes and via maps that are not asked
  /// for, map entries of -1, maps behind the last one with an entry.
  virtual bool read(SImesh2D* mesh, ViaTable& vias, const Table<int, EM2DLayer>& layers = {},
                    const Table<int, EM2DNet>& nets = {}, const Table<std::string, EM2DVia>& viasByName = {},
                    std::vector<EM2DShape*>* shapes = nullptr,
                    std::vector<std::map<EM2DVia*, int>>* viaMeshIds = nullptr) = 0;  // 11
  /// Throws Util::Error, and reads none, when the circuits would take more memory than DBZydata::limitCircuits()
  /// allows.
  virtual bool read(std::vector<EM2DCircuit*>& circuits, const Table<int, EM2DVertex>& vertices) = 0;  // 12
  virtual bool read(std::vector<EM2DTrace*>& traces, const Table<int, EM2DNet>& nets,
                    const Table<int, EM2DVertex>& vertices) = 0;  // 13
  /// Plain vias, then polygon vias.
  virtual bool read(std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
                    const Table<int, EM2DVertex>& vertices) = 0;  // 14
  virtual bool read(std::vector<EM2DShape*>& shapes, const Table<int, EM2DLayer>& layers,
                    const Table<int, EM2DNet>& nets,
                    const std::string& unused) = 0;  // 15
  /// Layers are found by name; the table by id is not used.
  virtual bool read(std::vector<EM2DVertex*>& vertices, const Table<int, EM2DLayer>& layersById,
                    const Table<std::string, EM2DLayer>& layersByName) = 0;                       // 16
  virtual bool read(std::vector<EM2DSignal*>& signals, const Table<int, EM2DLayer>& layers) = 0;  // 17
  virtual bool read(std::vector<EM2DLayer*>& layers) = 0;                                         // 18
  virtual bool read(std::vector<EM2DNet*>& nets) = 0;                                             // 19
  /// Fetches all 21 settings, then calls the object's setters, one after the other.
  virtual bool read(SImeshConfig* config) = 0;  // 20

  // --- slots 21-24: meshes with negative polygons, files ---
  /// As slot 0, in the same file, with the mesh's negative polygons and its own viaMeshes, as they stand; without
  /// layout shapes. True.
  virtual bool writeNegPolyMesh(SImesh2D* mesh) = 0;  // 21
  /// As slot 11, with negative polygons, one after the other at the end; `reader` hears of each and answers for layers
  /// and nets of the shapes, which it is handed if it wants them. It may be null: then nobody hears, and no shapes are
  /// made. Vias are in the mesh, not by plane and name. When the reader throws, the mesh is what it was before.
  virtual bool readNegPolyMesh(SImesh2D* mesh, MeshReadInterface* reader) = 0;  // 22
  /// Writes everything to <directory>/<name>.zydat; creates the directory, one level. A failed save leaves a truncated
  /// file. True. "corvane2d" is the mesh's file: save the layout under another name.
  virtual bool save(const std::string& name) = 0;  // 23
  /// `load`: reads <directory>/<name>.zydat; false when there is no such file, and nothing changes. From a file of
  /// fewer than 12 bytes nothing is received: true, and nothing is open; the next operation throws and names the file.
  /// Else starts an empty database whose top-level schema is called `name`, at most 65535 bytes; true. Whatever was
  /// open before is replaced, unless this throws. A database can have at most 20000 fields in all, tables and columns
  /// counted.
  virtual bool openem(bool load, const std::string& name) = 0;  // 24

 protected:
  std::string directory;  // every file name starts with it
};

}  // namespace Mesh2DPlat

#pragma GCC diagnostic pop
