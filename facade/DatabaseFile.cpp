#include "facade/DatabaseFile.h"

#include <filesystem>
#include <system_error>

#include "mpsys/FileConnection.h"
#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Schema.h"

namespace Mesh2DPlat {
namespace {

/// Null when there is none.
const ZyData::Schema* find_field_in_file(const ZyData::Schema& schema) {
  if ((schema.kind() & ZyData::kKindInFile) != 0) return &schema;
  for (const auto& field : schema.fields()) {
    if (const ZyData::Schema* found = find_field_in_file(*field)) return found;
  }
  return nullptr;
}

}  // namespace

void refuse_fields_in_files(const ZyData::Schema& schema) {
  const ZyData::Schema* field = find_field_in_file(schema);
  if (field == nullptr) return;
  throw Util::Error("field \"%s\" of kind 0x%x [%s] keeps its elements in another file: no database can have it",
                    field->name().c_str(), field->kind(), ZyData::kind_to_string(field->kind()).c_str());
}

void check_path(const std::string& path) {
  if (path.find('\0') == std::string::npos) return;
  throw Util::Error("the path '%s' goes on behind a zero byte", path.c_str());
}

OwnedTree make_tree(const std::shared_ptr<ZyData::Schema>& schema) {
  OwnedTree tree(schema->factory()->create_from(schema));
  tree.get()->build_traverse_hierarchy(tree.get(), tree.get());
  tree.get()->on_attached(tree.get());
  return tree;
}

bool exists(const std::string& path) {
  check_path(path);
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
  check_path(path);
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::writing);
  connection.send(message, 0);
  connection.close();
}

OwnedTree read_file(const std::string& path) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> loaded;
  ZyData::receiveDataObject(connection, loaded);
  OwnedTree tree(std::move(loaded));
  if (tree) refuse_fields_in_files(*tree.get()->schema());
  return tree;
}

}  // namespace Mesh2DPlat
