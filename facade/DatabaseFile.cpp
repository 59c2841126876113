#include "facade/DatabaseFile.h"

#include <filesystem>
#include <system_error>

#include "mpsys/FileConnection.h"
#include "util/Platform.h"
#include "zydata/DataFactory.h"
#include "zydata/Schema.h"
#include "zydata/serialize.h"

namespace Mesh2DPlat {

OwnedTree make_tree(const std::shared_ptr<ZyData::Schema>& schema) {
  OwnedTree tree(schema->factory()->create_from(schema));
  tree.get()->build_traverse_hierarchy(tree.get(), tree.get());
  tree.get()->on_attached(tree.get());
  return tree;
}

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

OwnedTree read_file(const std::string& path) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> loaded;
  ZyData::receiveDataObject(connection, loaded);
  return OwnedTree(std::move(loaded));
}

}  // namespace Mesh2DPlat
