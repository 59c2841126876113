#include "facade/DBRoot.h"

#include <list>
#include <utility>

#include "util/Error.h"
#include "zydata/schema/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

/// The tables of one open database, side by side: programs open many in their time.
struct Tables {
  NetTable nets;
  ConfigTable config;
  VertexTable vertices;
  LayerTable layers;
  SignalTable signals;
  ShapeTable shapes;
  ViaTableEntity vias;
  PolyViaTable polyVias;
  TraceTable traces;
  PinTable pins;
};

// Whatever was ever made is never freed, but stays reachable.
std::list<DBRoot>& all_roots() {
  static auto* roots = new std::list<DBRoot>;
  return *roots;
}
std::list<Tables>& all_tables() {
  static auto* tables = new std::list<Tables>;
  return *tables;
}

template <class T>
void set_table(T*& slot, T& table, ZyData::Schema* top) {
  slot = &table;
  if (top != nullptr) table.define(*top);
}

}  // namespace

DBRoot* currentRoot = nullptr;

void replace_root(const std::string& name) {
  DBRoot* old = std::exchange(currentRoot, &all_roots().emplace_back(name));
  if (old != nullptr) old->unlink();
}

DBRoot::DBRoot(const std::string& /*name*/) {}

DBRoot::~DBRoot() { unlink(); }

// The order in which the record kinds stand in a file.
void DBRoot::make_tables(ZyData::Schema* top) {
  Tables& made = all_tables().emplace_back();
  set_table(config, made.config, top);
  set_table(nets, made.nets, top);
  set_table(vertices, made.vertices, top);
  set_table(layers, made.layers, top);
  set_table(signals, made.signals, top);
  set_table(shapes, made.shapes, top);
  set_table(vias, made.vias, top);
  set_table(polyVias, made.polyVias, top);
  set_table(traces, made.traces, top);
  set_table(pins, made.pins, top);
}

void DBRoot::start(const std::string& name) {
  DBRoot fresh("");
  fresh.schema = ZyData::make_record_schema(name);
  fresh.make_tables(fresh.schema.get());
  fresh.tree = make_tree(fresh.schema).release();
  replace_by(fresh);
}

void DBRoot::take(OwnedTree loaded, const std::string& path) {
  DBRoot fresh("");
  if (!loaded) fresh.d_empty_file = path;
  fresh.tree = loaded.release();
  if (fresh.tree != nullptr) {
    fresh.schema = fresh.tree->schema();
    fresh.make_tables(nullptr);
  }
  replace_by(fresh);
}

void DBRoot::replace_by(DBRoot& fresh) {
  std::swap(*this, fresh);
  fresh.unlink();
}

void DBRoot::unlink() {
  if (tree != nullptr) tree->clear_hierarchy();
  tree.reset();
  schema.reset();
  if (pins != nullptr) pins->forget_names();
}

const std::shared_ptr<ZyData::DataObj>& DBRoot::open_tree() const {
  if (tree != nullptr) return tree;
  if (d_empty_file.empty()) throw Util::Error("no database is open");
  throw Util::Error("no database is open: nothing was received from file '" + d_empty_file + "'");
}

}  // namespace Mesh2DPlat
