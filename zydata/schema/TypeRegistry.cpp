#include "zydata/schema/TypeRegistry.h"

#include <map>
#include <mutex>
#include <utility>

#include "util/Error.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/SchemaTable.h"

namespace ZyData {
namespace {

struct Registries {
  std::map<FactoryKey, std::shared_ptr<DataFactory>> factories;
  std::map<std::string, std::shared_ptr<const Schema>, std::less<>> class_schemas;
};

// Never destroyed: a program may save a database while its own static objects are.
Registries& bare_registries() {
  static auto* registries = new Registries;
  return *registries;
}

class FlagRaised {
 public:
  explicit FlagRaised(bool& flag) : d_flag(flag) { d_flag = true; }
  ~FlagRaised() { d_flag = false; }
  FlagRaised(const FlagRaised&) = delete;
  FlagRaised& operator=(const FlagRaised&) = delete;

 private:
  bool& d_flag;
};

// The built-in types are entered through the public registration functions, so the flag is raised before they run.
Registries& registries() {
  static std::once_flag filled;
  thread_local bool filling = false;
  if (!filling) {
    const FlagRaised raised(filling);
    std::call_once(filled, register_builtin_types);
  }
  return bare_registries();
}

}  // namespace

void register_factory(const std::string& type_name, std::shared_ptr<DataFactory> factory) {
  FactoryKey key{type_name, 0};
  factory->store_kind(key);
  registries().factories.try_emplace(std::move(key), std::move(factory));
}

std::shared_ptr<DataFactory> find_factory_or_null(const std::string& type_name, std::uint32_t kind) {
  const auto& factories = registries().factories;
  const auto found = factories.find(FactoryKey{type_name, kind & kKindKeyMask});
  return found == factories.end() ? nullptr : found->second;
}

std::shared_ptr<DataFactory> find_factory(const std::string& type_name, std::uint32_t kind) {
  if (auto found = find_factory_or_null(type_name, kind)) return found;
  throw Util::Error(
      "data type \"%s\" is not registered with zydata (flags: %s):\n\t call \"ZyData::register_type<%s>();\" before "
      "deserialization.",
      type_name.c_str(), kind_to_string(kind & kKindKeyMask).c_str(), type_name.c_str());
}

void register_class_schema(std::shared_ptr<const Schema> class_schema) {
  const std::string& type_name = class_schema->type_name();
  registries().class_schemas.try_emplace(type_name, std::move(class_schema));
}

const Schema& find_class_schema(const std::string& type_name) {
  const auto& class_schemas = registries().class_schemas;
  const auto found = class_schemas.find(type_name);
  if (found != class_schemas.end()) return *found->second;
  throw Util::Error(
      "data type \"%s\" is not registered with zydata:\n\t call \"ZyData::register_class_type<%s>();\" during "
      "initialization.",
      type_name.c_str(), type_name.c_str());
}

bool has_class_schema(const std::string& type_name) { return registries().class_schemas.contains(type_name); }

std::shared_ptr<Schema> create_schema(const SchemaHeader& header) {
  if ((header.kind & kKindClassAccess) == 0) return std::make_shared<Schema>();
  return find_class_schema(header.type_name).clone(nullptr);
}

std::shared_ptr<Schema> make_schema(std::string name, const std::string& type_name, std::uint32_t kind) {
  if ((kind & kKindClassAccess) != 0) find_class_schema(type_name);
  return std::make_shared<Schema>(std::move(name), type_name, kind, find_factory(type_name, kind));
}

std::shared_ptr<Schema> make_record_schema(std::string name) {
  return make_schema<UntypedClass>(std::move(name), kKindRecord);
}

std::shared_ptr<Schema> make_frame_schema(std::string name) {
  return make_schema<UntypedClass>(std::move(name), kKindFrame);
}

}  // namespace ZyData
