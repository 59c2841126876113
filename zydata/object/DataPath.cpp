// The path walk of data objects and the errors of typed access.
#include <string>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/object/data.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeName.h"

namespace ZyData {
namespace {

std::string missing_field_text(const Schema& schema, std::string_view name) {
  std::string text =
      "object type '" + schema.name() + "' does not have a field named '" + std::string(name) + "' (options are";
  for (const auto& field : schema.fields()) text += " \"" + field->name() + "\"";
  return text + ")";
}

/// Empty when there is none: another object that shares the schema may have more children.
std::shared_ptr<DataObj> child_named(DataObj& object, std::string_view name) {
  const std::int64_t index = object.schema()->field_index(name);
  if (index < 0 || static_cast<std::uint64_t>(index) >= object.field_data().size()) return nullptr;
  return object.field(index);
}

/// What follows the slash at `slash`. Two slashes in a row have an empty step between them: nothing is handed on.
std::string_view path_behind(std::string_view name, std::size_t slash) {
  const std::string_view tail = name.substr(slash + 1);
  return tail.starts_with('/') ? std::string_view() : tail;
}

}  // namespace

// Both walks are loops: a path from outside may have any number of steps.
std::shared_ptr<DataObj> DataObj::find_path(std::string_view name) {
  std::shared_ptr<DataObj> found;
  for (DataObj* at = this;; at = found.get()) {
    if (name.empty()) throw Util::Error("a name must be given to DataObj::find_path");
    if (name.front() == '/') throw Util::Error("only relative names supported by DataObj::find_path");
    const std::size_t slash = name.find('/');
    found = at->step(name.substr(0, slash));
    if (slash == std::string_view::npos) return found;
    name = path_behind(name, slash);
  }
}

std::shared_ptr<DataObj> DataObj::step(std::string_view name) {
  if (name == "..") {
    if (d_parent != nullptr) return d_parent;
    throw Util::Error("relative path \"..\" only possible after call to 'build_traverse_hierarchy'");
  }
  std::shared_ptr<DataObj> found = child_named(*this, name);
  if (found == nullptr) throw Util::Error(missing_field_text(*d_schema, name));
  return found;
}

std::shared_ptr<DataObj> DataObj::find_path_or_null(std::string_view name) {
  std::shared_ptr<DataObj> found;
  for (DataObj* at = this;; at = found.get()) {
    if (name.empty()) throw Util::Error("a name must be given (after final '/')");
    if (name.front() == '/') throw Util::Error("only relative path names supported");
    const std::size_t slash = name.find('/');
    found = at->step_or_null(name.substr(0, slash));
    if (found == nullptr || slash == std::string_view::npos) return found;
    name = path_behind(name, slash);
  }
}

std::shared_ptr<DataObj> DataObj::step_or_null(std::string_view name) {
  if (name == "..") {
    if (d_parent == nullptr) UTIL_DEBUG_ASSERT("d_parent");
    return d_parent.get() == this ? nullptr : d_parent;
  }
  // Objects of structures have a schema with fields, but no children.
  if ((d_schema->kind() & (kKindRecord | kKindFrame)) == 0) return nullptr;
  return child_named(*this, name);
}

void DataObj::throw_type_mismatch(const std::string& name, const std::type_info& requested, const DataObj& found) {
  const Schema& schema = *found.d_schema;
  throw Util::Error("while accessing field '%s', requested type (%s) does not match schema type (%s %s)", name.c_str(),
                    readable_type_name(requested).c_str(), schema.type_text(true).c_str(),
                    kind_to_string(schema.kind()).c_str());
}

void DataObj::throw_type_mismatch(const std::type_info& requested) const {
  throw Util::Error("while accessing field '%s', requested type (%s) does not match schema type (%s)",
                    d_schema->name().c_str(), readable_type_name(requested).c_str(), d_schema->type_text(true).c_str());
}

}  // namespace ZyData
