// The abstract database of a two-dimensional mesher: layout, settings and mesh, written from and read into the
// program's own objects.
//
// The 25 operations form one table, in this order. A `write` copies objects into tables; a `read` creates new objects,
// appends them to the given vector and hands them to the caller, who deletes them. Every failure is thrown: Util::Error
// for damaged or missing data, DanglingReference, a std::out_of_range, for a reference that the given tables do not
// resolve (objects appended before stay in the vector), and std::filesystem::filesystem_error for a directory. Not for
// several threads.
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
  virtual bool write(SImesh2D* mesh, const std::vector<std::map<EM2DVia*, int>>& viaMeshIds,
                     const std::vector<EM2DShape*>& shapes = {}) = 0;  // 0
  virtual void write(const std::vector<EM2DPolyVia*>& polyVias) = 0;   // 1
  virtual void write(const std::vector<EM2DCircuit*>& circuits) = 0;   // 2
  virtual void write(const std::vector<EM2DTrace*>& traces) = 0;       // 3
  /// Writes every element as a plain via: polygon vias go through their own overload.
  virtual void write(const std::vector<EM2DVia*>& vias) = 0;                                 // 4
  virtual void write(const std::vector<EM2DShape*>& shapes, const std::string& unused) = 0;  // 5
  virtual void write(const std::vector<EM2DSignal*>& signals) = 0;                           // 6
  virtual void write(const std::vector<EM2DLayer*>& layers) = 0;                             // 7
  virtual void write(const std::vector<EM2DVertex*>& vertices) = 0;                          // 8
  virtual void write(const std::vector<EM2DNet*>& nets) = 0;                                 // 9
  virtual void write(SImeshConfig* config) = 0;                                              // 10

  // --- slots 11-20: reading; always true, unless said otherwise ---
  virtual bool read(SImesh2D* mesh, ViaTable& vias, const Table<int, EM2DLayer>& layers = {},
                    const Table<int, EM2DNet>& nets = {}, const Table<std::string, EM2DVia>& viasByName = {},
                    std::vector<EM2DShape*>* shapes = nullptr,
                    std::vector<std::map<EM2DVia*, int>>* viaMeshIds = nullptr) = 0;                   // 11
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
  virtual bool read(SImeshConfig* config) = 0;                                                    // 20

  // --- slots 21-24: meshes with negative polygons, files ---
  virtual bool writeNegPolyMesh(SImesh2D* mesh) = 0;                            // 21
  virtual bool readNegPolyMesh(SImesh2D* mesh, MeshReadInterface* reader) = 0;  // 22
  /// Writes everything to <directory>/<name>.zydat; creates the directory, one level. A failed save leaves a truncated
  /// file. True.
  virtual bool save(const std::string& name) = 0;  // 23
  /// `load`: reads <directory>/<name>.zydat; false when there is no such file, and nothing changes. Else starts an
  /// empty database whose top-level schema is called `name`; true. Whatever was open before is replaced.
  virtual bool openem(bool load, const std::string& name) = 0;  // 24

 protected:
  std::string directory;  // every file name starts with it
};

}  // namespace Mesh2DPlat

#pragma GCC diagnostic pop
