#include "facade/DBZydata.h"

#include <filesystem>
#include <memory>
#include <system_error>

#include "facade/DBRoot.h"
#include "facade/LayoutProxies.h"
#include "facade/MeshProxies.h"
#include "mpsys/FileConnection.h"
#include "util/Assert.h"
#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/serialize.h"

namespace Mesh2DPlat {
namespace {

bool exists(const std::string& path) {
  std::error_code error;
  const bool result = Util::platform().exists(path, error);
  if (error) throw std::filesystem::filesystem_error("exists", path, error);
  return result;
}

void create_directory_if_absent(const std::string& path) {
  if (exists(path)) return;
  std::error_code error;
  Util::platform().create_directory(path, error);
  if (error) throw std::filesystem::filesystem_error("create_directory", path, error);
}

void write_file(const std::string& path, const MPSys::Message& message) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::writing);
  connection.send(message, 0);
  connection.close();
}

ZyData::DataObj& open_tree() { return *currentRoot->open_tree(); }

}  // namespace

DBZydata::DBZydata(const std::string& directoryPath) {
  register_layout_types();
  register_mesh_types();
  replace_root("em2d");
  directory = directoryPath;
}

DBZydata::DBZydata(const DBZydata& other) = default;
DBZydata& DBZydata::operator=(const DBZydata& other) = default;
DBZydata::~DBZydata() = default;

void DBZydata::write(const std::vector<EM2DPolyVia*>& polyVias) { currentRoot->polyVias->write(open_tree(), polyVias); }
void DBZydata::write(const std::vector<EM2DCircuit*>& circuits) { currentRoot->pins->write(open_tree(), circuits); }
void DBZydata::write(const std::vector<EM2DTrace*>& traces) { currentRoot->traces->write(open_tree(), traces); }
void DBZydata::write(const std::vector<EM2DVia*>& vias) { currentRoot->vias->write(open_tree(), vias); }
void DBZydata::write(const std::vector<EM2DShape*>& shapes, const std::string&) {
  currentRoot->shapes->write(open_tree(), shapes);
}
void DBZydata::write(const std::vector<EM2DSignal*>& signals) { currentRoot->signals->write(open_tree(), signals); }
void DBZydata::write(const std::vector<EM2DLayer*>& layers) { currentRoot->layers->write(open_tree(), layers); }
void DBZydata::write(const std::vector<EM2DVertex*>& vertices) { currentRoot->vertices->write(open_tree(), vertices); }
void DBZydata::write(const std::vector<EM2DNet*>& nets) { currentRoot->nets->write(open_tree(), nets); }

void DBZydata::write(SImeshConfig* config) {
  UTIL_ASSERT(config != nullptr);
  currentRoot->config->write(open_tree(), *config);
}

bool DBZydata::read(std::vector<EM2DCircuit*>& circuits, const Table<int, EM2DVertex>& vertices) {
  currentRoot->pins->read(open_tree(), circuits, vertices);
  return true;
}

bool DBZydata::read(std::vector<EM2DTrace*>& traces, const Table<int, EM2DNet>& nets,
                    const Table<int, EM2DVertex>& vertices) {
  currentRoot->traces->read(open_tree(), traces, nets, vertices);
  return true;
}

bool DBZydata::read(std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
                    const Table<int, EM2DVertex>& vertices) {
  currentRoot->vias->read(open_tree(), vias, nets, vertices);
  currentRoot->polyVias->read(open_tree(), vias, nets, vertices);
  return true;
}

bool DBZydata::read(std::vector<EM2DShape*>& shapes, const Table<int, EM2DLayer>& layers,
                    const Table<int, EM2DNet>& nets, const std::string&) {
  currentRoot->shapes->read(open_tree(), shapes, layers, nets);
  return true;
}

bool DBZydata::read(std::vector<EM2DVertex*>& vertices, const Table<int, EM2DLayer>&,
                    const Table<std::string, EM2DLayer>& layersByName) {
  currentRoot->vertices->read(open_tree(), vertices, layersByName);
  return true;
}

bool DBZydata::read(std::vector<EM2DSignal*>& signals, const Table<int, EM2DLayer>& layers) {
  currentRoot->signals->read(open_tree(), signals, layers);
  return true;
}

bool DBZydata::read(std::vector<EM2DLayer*>& layers) {
  currentRoot->layers->read(open_tree(), layers);
  return true;
}

bool DBZydata::read(std::vector<EM2DNet*>& nets) {
  currentRoot->nets->read(open_tree(), nets);
  return true;
}

bool DBZydata::read(SImeshConfig* config) {
  UTIL_ASSERT(config != nullptr);
  currentRoot->config->read(open_tree(), *config);
  return true;
}

bool DBZydata::save(const std::string& name) {
  // Everything that can fail without a file fails before a good file is cut.
  const MPSys::Message message = ZyData::data_message(currentRoot->open_tree());
  create_directory_if_absent(directory);
  write_file(directory + "/" + name + ".zydat", message);
  return true;
}

bool DBZydata::openem(bool load, const std::string& name) {
  if (!load) {
    currentRoot->start(name);
    return true;
  }
  const std::string path = directory + "/" + name + ".zydat";
  if (!exists(path)) return false;
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> loaded;
  ZyData::receiveDataObject(connection, loaded);
  currentRoot->take(std::move(loaded));  // nothing received: nothing is open
  return true;
}

void DBZydata::write(const std::string& outputDirectory) {
  write_file(outputDirectory + "/final_mesh.dat", ZyData::data_message(currentRoot->open_tree()));
}

}  // namespace Mesh2DPlat
