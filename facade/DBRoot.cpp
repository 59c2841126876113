#include "facade/DBRoot.h"

#include <utility>

#include "util/Error.h"
#include "zydata/DataFactory.h"
#include "zydata/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

/// Roots and tables that were replaced. They are never freed, but stay reachable.
struct Abandoned {
  std::vector<std::unique_ptr<DBRoot>> roots;
  std::vector<std::unique_ptr<EntityTable>> tables;
};

Abandoned& abandoned() {
  static auto* kept = new Abandoned;
  return *kept;
}

template <class T>
void replace(std::unique_ptr<T>& slot, std::unique_ptr<T> table) {
  if (slot != nullptr) abandoned().tables.push_back(std::move(slot));
  slot = std::move(table);
}

template <class T>
void renew(std::unique_ptr<T>& slot) {
  replace(slot, std::make_unique<T>());
}

}  // namespace

DBRoot* currentRoot = nullptr;

void replace_root(const std::string& name) {
  auto root = std::make_unique<DBRoot>(name);
  abandoned().roots.push_back(std::move(root));  // the current root is in the list as well
  currentRoot = abandoned().roots.back().get();
}

DBRoot::DBRoot(const std::string& /*name*/) {}

void DBRoot::make_tables() {
  renew(config);
  renew(nets);
  renew(vertices);
  renew(layers);
  renew(signals);
  renew(shapes);
  renew(vias);
  renew(polyVias);
  renew(traces);
  renew(pins);
}

std::vector<const EntityTable*> DBRoot::tables_in_creation_order() const {
  return {config.get(), nets.get(), vertices.get(), layers.get(), signals.get(),
          shapes.get(), vias.get(), polyVias.get(), traces.get(), pins.get()};
}

void DBRoot::start(const std::string& name) {
  const std::shared_ptr<ZyData::Schema> top = ZyData::make_record_schema(name);
  DBRoot fresh("");
  fresh.make_tables();
  for (const EntityTable* table : fresh.tables_in_creation_order()) table->define(*top);
  std::shared_ptr<ZyData::DataObj> created = top->factory()->create_from(top);
  created->build_traverse_hierarchy(created, created);
  created->on_attached(created);
  take(std::move(created));
}

void DBRoot::take(std::shared_ptr<ZyData::DataObj> loaded) {
  if (tree != nullptr) tree->clear_hierarchy();
  tree = std::move(loaded);
  schema = tree == nullptr ? nullptr : tree->schema();
  make_tables();
}

const std::shared_ptr<ZyData::DataObj>& DBRoot::open_tree() const {
  if (tree == nullptr) throw Util::Error("no database is open");
  return tree;
}

}  // namespace Mesh2DPlat
