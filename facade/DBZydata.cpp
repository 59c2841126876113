#include "facade/DBZydata.h"

#include <memory>

#include "facade/DBRoot.h"
#include "facade/DatabaseFile.h"
#include "facade/LayoutProxies.h"
#include "facade/MeshProxies.h"
#include "facade/SafeSave.h"
#include "util/Error.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/SchemaTable.h"

namespace Mesh2DPlat {
namespace {

// The tree comes first: while nothing is open there are no tables either.
template <class Entity, class Objects>
void write_to(Entity* DBRoot::*table, const Objects& objects) {
  ZyData::DataObj& tree = *currentRoot->open_tree();
  (currentRoot->*table)->write(tree, objects);
}

template <class Entity, class... Arguments>
bool read_from(Entity* DBRoot::*table, Arguments&... arguments) {
  ZyData::DataObj& tree = *currentRoot->open_tree();
  (currentRoot->*table)->read(tree, arguments...);
  return true;
}

/// A name that no file could take.
void check_name(const std::string& name) {
  if (name.size() <= ZyData::kMaxNameSize) return;
  throw Util::Error("a schema text of %zu bytes is longer than %zu bytes", name.size(), ZyData::kMaxNameSize);
}

}  // namespace

DBZydata::DBZydata(const std::string& directoryPath) {
  directory = directoryPath;
  register_layout_types();
  register_mesh_types();
  replace_root("em2d");  // last: a database that can't be made leaves the open one alone
}

DBZydata::DBZydata(const DBZydata& other) = default;
DBZydata& DBZydata::operator=(const DBZydata& other) = default;
DBZydata::~DBZydata() = default;

void DBZydata::write(const std::vector<EM2DPolyVia*>& polyVias) { write_to(&DBRoot::polyVias, polyVias); }
void DBZydata::write(const std::vector<EM2DCircuit*>& circuits) { write_to(&DBRoot::pins, circuits); }
void DBZydata::write(const std::vector<EM2DTrace*>& traces) { write_to(&DBRoot::traces, traces); }
void DBZydata::write(const std::vector<EM2DVia*>& vias) { write_to(&DBRoot::vias, vias); }
void DBZydata::write(const std::vector<EM2DShape*>& shapes, const std::string&) { write_to(&DBRoot::shapes, shapes); }
void DBZydata::write(const std::vector<EM2DSignal*>& signals) { write_to(&DBRoot::signals, signals); }
void DBZydata::write(const std::vector<EM2DLayer*>& layers) { write_to(&DBRoot::layers, layers); }
void DBZydata::write(const std::vector<EM2DVertex*>& vertices) { write_to(&DBRoot::vertices, vertices); }
void DBZydata::write(const std::vector<EM2DNet*>& nets) { write_to(&DBRoot::nets, nets); }

void DBZydata::write(SImeshConfig* config) { write_to(&DBRoot::config, given(config, "settings")); }

bool DBZydata::read(std::vector<EM2DCircuit*>& circuits, const Table<int, EM2DVertex>& vertices) {
  return read_from(&DBRoot::pins, circuits, vertices);
}

bool DBZydata::read(std::vector<EM2DTrace*>& traces, const Table<int, EM2DNet>& nets,
                    const Table<int, EM2DVertex>& vertices) {
  return read_from(&DBRoot::traces, traces, nets, vertices);
}

bool DBZydata::read(std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
                    const Table<int, EM2DVertex>& vertices) {
  read_from(&DBRoot::vias, vias, nets, vertices);
  return read_from(&DBRoot::polyVias, vias, nets, vertices);
}

bool DBZydata::read(std::vector<EM2DShape*>& shapes, const Table<int, EM2DLayer>& layers,
                    const Table<int, EM2DNet>& nets, const std::string&) {
  return read_from(&DBRoot::shapes, shapes, layers, nets);
}

bool DBZydata::read(std::vector<EM2DVertex*>& vertices, const Table<int, EM2DLayer>&,
                    const Table<std::string, EM2DLayer>& layersByName) {
  return read_from(&DBRoot::vertices, vertices, layersByName);
}

bool DBZydata::read(std::vector<EM2DSignal*>& signals, const Table<int, EM2DLayer>& layers) {
  return read_from(&DBRoot::signals, signals, layers);
}

bool DBZydata::read(std::vector<EM2DLayer*>& layers) { return read_from(&DBRoot::layers, layers); }

bool DBZydata::read(std::vector<EM2DNet*>& nets) { return read_from(&DBRoot::nets, nets); }

bool DBZydata::read(SImeshConfig* config) { return read_from(&DBRoot::config, given(config, "settings")); }

void DBZydata::limitCircuits(std::uint64_t bytes) { PinTable::limit_circuits(bytes); }

bool DBZydata::save(const std::string& name) {
  // Everything that can fail without a file fails before a good file is cut.
  const MPSys::Message message = ZyData::data_message(currentRoot->open_tree());
  create_directory_if_absent(directory);
  write_file(directory + "/" + name + ".zydat", message);
  return true;
}

bool DBZydata::saveSafely(const std::string& name, bool keepPrevious) {
  const MPSys::Message message = ZyData::data_message(currentRoot->open_tree());
  create_directory_if_absent(directory);
  replace_file(directory + "/" + name + ".zydat", message, keepPrevious);
  return true;
}

bool DBZydata::openem(bool load, const std::string& name) {
  if (!load) {
    check_name(name);
    currentRoot->start(name);
    return true;
  }
  const std::string path = directory + "/" + name + ".zydat";
  if (!exists(path)) return false;
  currentRoot->take(read_file(path), path);
  return true;
}

void DBZydata::write(const std::string& outputDirectory) {
  write_file(outputDirectory + "/final_mesh.dat", ZyData::data_message(currentRoot->open_tree()));
}

}  // namespace Mesh2DPlat
