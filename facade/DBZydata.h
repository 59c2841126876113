// The database: the one implementation of DBInterface.
//
//     Mesh2DPlat::DBZydata db("boards");
//     db.openem(false, "demo");  // an empty database in memory
//     db.write(layers);
//     db.save("demo");           // boards/demo.zydat
//
// All databases of a process work on one shared root: the one that was constructed last wins, for all of them. Two
// `DBZydata` objects are therefore two directories, not two databases: what is open is open in both.
//
// DBInterface.h says what the operations do, what names and units must be, what is thrown and what holds for threads.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "facade/DBInterface.h"

namespace Mesh2DPlat {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class CORVANE_API DBZydata : public DBInterface {
 public:
  /// A database on `directory`, which need not exist, with nothing open. Replaces the shared root: what other databases
  /// had open is freed.
  explicit DBZydata(const std::string& directory);
  /// Copies the directory; both work on the shared root.
  DBZydata(const DBZydata& other);
  DBZydata& operator=(const DBZydata& other);
  ~DBZydata();

  // --- slots 0-10: writing ---
  bool write(SImesh2D* mesh, const std::vector<std::map<EM2DVia*, int>>& viaMeshIds,
             const std::vector<EM2DShape*>& shapes = {}) override;                        // 0
  void write(const std::vector<EM2DPolyVia*>& polyVias) override;                         // 1
  void write(const std::vector<EM2DCircuit*>& circuits) override;                         // 2
  void write(const std::vector<EM2DTrace*>& traces) override;                             // 3
  void write(const std::vector<EM2DVia*>& vias) override;                                 // 4
  void write(const std::vector<EM2DShape*>& shapes, const std::string& unused) override;  // 5
  void write(const std::vector<EM2DSignal*>& signals) override;                           // 6
  void write(const std::vector<EM2DLayer*>& layers) override;                             // 7
  void write(const std::vector<EM2DVertex*>& vertices) override;                          // 8
  void write(const std::vector<EM2DNet*>& nets) override;                                 // 9
  void write(SImeshConfig* config) override;                                              // 10

  // --- slots 11-20: reading ---
  bool read(SImesh2D* mesh, ViaTable& vias, const Table<int, EM2DLayer>& layers = {},
            const Table<int, EM2DNet>& nets = {}, const Table<std::string, EM2DVia>& viasByName = {},
            std::vector<EM2DShape*>* shapes = nullptr,
            std::vector<std::map<EM2DVia*, int>>* viaMeshIds = nullptr) override;                   // 11
  bool read(std::vector<EM2DCircuit*>& circuits, const Table<int, EM2DVertex>& vertices) override;  // 12
  bool read(std::vector<EM2DTrace*>& traces, const Table<int, EM2DNet>& nets,
            const Table<int, EM2DVertex>& vertices) override;  // 13
  bool read(std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
            const Table<int, EM2DVertex>& vertices) override;  // 14
  bool read(std::vector<EM2DShape*>& shapes, const Table<int, EM2DLayer>& layers, const Table<int, EM2DNet>& nets,
            const std::string& unused) override;  // 15
  bool read(std::vector<EM2DVertex*>& vertices, const Table<int, EM2DLayer>& layersById,
            const Table<std::string, EM2DLayer>& layersByName) override;                       // 16
  bool read(std::vector<EM2DSignal*>& signals, const Table<int, EM2DLayer>& layers) override;  // 17
  bool read(std::vector<EM2DLayer*>& layers) override;                                         // 18
  bool read(std::vector<EM2DNet*>& nets) override;                                             // 19
  bool read(SImeshConfig* config) override;                                                    // 20

  // --- slots 21-24: meshes with negative polygons, files ---
  bool writeNegPolyMesh(SImesh2D* mesh) override;                            // 21
  bool readNegPolyMesh(SImesh2D* mesh, MeshReadInterface* reader) override;  // 22
  bool save(const std::string& name) override;                               // 23
  bool openem(bool load, const std::string& name) override;                  // 24

  /// The most bytes of memory that read(circuits) may take, in every database of the process; 0, as at the start: 64
  /// times what the database takes in a file and 256 MiB. A pin name stands once in a file and once in each circuit
  /// that is read, so that few bytes of a file could fill the memory.
  static void limitCircuits(std::uint64_t bytes);

  /// Writes everything to <outputDirectory>/final_mesh.dat, in the format of save(). The directory must exist.
  void write(const std::string& outputDirectory);

  /// Like save(), but the old file stays as it is until the new one is whole and on the disk, whatever happens on the
  /// way: a process that is killed at any moment leaves one of the two. The new file is written as
  /// <directory>/<name>.zydat.tmp first, so that the disk needs room for both, and gets the old one's permission bits.
  /// With `keepPrevious` the old file remains as <name>.zydat.bak.
  ///
  /// Always true; throws Util::Error when any step fails, also while another process saves the same file this way.
  bool saveSafely(const std::string& name, bool keepPrevious = false);
};

#pragma GCC diagnostic pop

}  // namespace Mesh2DPlat
