// The shared root of all databases of a process.
#pragma once

#include <memory>
#include <string>

#include "facade/ConfigTable.h"
#include "facade/DatabaseFile.h"
#include "facade/LayoutTables.h"
#include "zydata/object/data.h"
#include "zydata/schema/Schema.h"

namespace Mesh2DPlat {

/// What is open: the data tree, its schema, and one table object per record kind. All empty until a database is opened.
/// Tables belong to the process: those that an open replaces are abandoned, not freed.
struct DBRoot {
  /// Deliberate: the name is not kept. The root has no name in memory or on disk.
  explicit DBRoot(const std::string& name);
  DBRoot(DBRoot&&) = default;
  DBRoot& operator=(DBRoot&&) = default;
  ~DBRoot();  // unlinks the tree, which would keep itself alive

  /// Lets go of tree and schema.
  void unlink();

  std::shared_ptr<ZyData::DataObj> tree;
  std::shared_ptr<ZyData::Schema> schema;  // of `tree`
  NetTable* nets = nullptr;                // slot 1
  ConfigTable* config = nullptr;           // slot 2
  VertexTable* vertices = nullptr;         // slot 3
  LayerTable* layers = nullptr;            // slot 4
  SignalTable* signals = nullptr;          // slot 5
  ShapeTable* shapes = nullptr;            // slot 6
  ViaTableEntity* vias = nullptr;          // slot 7
  PolyViaTable* polyVias = nullptr;        // slot 8
  TraceTable* traces = nullptr;            // slot 9
  PinTable* pins = nullptr;                // slot 10

  // What was open before is replaced; when something throws, it stays.
  /// Starts an empty database whose top-level schema has this name.
  void start(const std::string& name);
  /// Takes over a tree that was loaded from `path`. An empty one leaves nothing open: no tree, no schema, no tables.
  void take(OwnedTree loaded, const std::string& path = "");
  /// The tree. Throws Util::Error while nothing is open, with the path that nothing was received from.
  const std::shared_ptr<ZyData::DataObj>& open_tree() const;

 private:
  /// Each table adds its schema to `top`; null when the schemas come from a file.
  void make_tables(ZyData::Schema* top);
  void replace_by(DBRoot& fresh);

  std::string d_empty_file;  // that was opened last and had no tree; else empty
};

/// The root that every database works on; null before the first one is constructed.
extern DBRoot* currentRoot;

/// Makes a new root current. The old one's tree is freed; the record itself and its tables are abandoned: they stay in
/// memory until the process ends.
void replace_root(const std::string& name);

}  // namespace Mesh2DPlat
