#include "facade/DBRoot.h"

#include <list>
#include <utility>

#include "util/Error.h"
#include "zydata/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

/// Every root that was ever made, and the tables that an open replaced. They are never freed, but stay reachable.
std::list<DBRoot>& kept_roots() {
  static auto* roots = new std::list<DBRoot>;
  return *roots;
}

template <class T>
void make_table(std::unique_ptr<T>& slot, ZyData::Schema* top) {
  slot = std::make_unique<T>();
  if (top != nullptr) slot->define(*top);
}

}  // namespace

DBRoot* currentRoot = nullptr;

void replace_root(const std::string& name) { currentRoot = &kept_roots().emplace_back(name); }

DBRoot::DBRoot(const std::string& /*name*/) {}

DBRoot::~DBRoot() { unlink(); }

// The order in which the record kinds stand in a file.
void DBRoot::make_tables(ZyData::Schema* top) {
  make_table(config, top);
  make_table(nets, top);
  make_table(vertices, top);
  make_table(layers, top);
  make_table(signals, top);
  make_table(shapes, top);
  make_table(vias, top);
  make_table(polyVias, top);
  make_table(traces, top);
  make_table(pins, top);
}

void DBRoot::start(const std::string& name) {
  DBRoot fresh("");
  fresh.schema = ZyData::make_record_schema(name);
  fresh.make_tables(fresh.schema.get());
  fresh.tree = make_tree(fresh.schema).release();
  replace_by(fresh);
}

void DBRoot::take(OwnedTree loaded) {
  DBRoot fresh("");
  fresh.tree = loaded.release();
  if (fresh.tree != nullptr) {
    fresh.schema = fresh.tree->schema();
    fresh.make_tables(nullptr);
  }
  replace_by(fresh);
}

void DBRoot::replace_by(DBRoot& fresh) {
  DBRoot& kept = kept_roots().emplace_back("");  // for the tables that are replaced
  std::swap(*this, fresh);
  fresh.unlink();
  kept = std::move(fresh);
}

void DBRoot::unlink() {
  if (tree != nullptr) tree->clear_hierarchy();
  tree.reset();
  schema.reset();
}

const std::shared_ptr<ZyData::DataObj>& DBRoot::open_tree() const {
  if (tree == nullptr) throw Util::Error("no database is open");
  return tree;
}

}  // namespace Mesh2DPlat
