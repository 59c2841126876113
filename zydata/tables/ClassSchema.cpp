#include "zydata/tables/ClassSchema.h"

#include <algorithm>

#include "util/Error.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/SchemaTable.h"

namespace ZyData {
namespace {

const std::shared_ptr<ClassFieldAccess>& no_access() {
  static const auto& accessor = *new std::shared_ptr<ClassFieldAccess>(std::make_shared<ClassFieldNoAccess>());
  return accessor;
}

/// True when `stored` is `declared` as it stands in an object of kind `kind`: as a column in a frame, else as it is,
/// but in memory.
bool is_same_field(const Schema& stored, const Schema& declared, std::uint32_t kind) {
  const std::uint32_t wanted =
      (kind & kKindFrame) != 0 ? vector_kind(declared.kind()) : declared.kind() & kKindKeyMask & ~kKindMMap;
  return stored.name() == declared.name() && stored.type_name() == declared.type_name() &&
         (stored.kind() & kKindKeyMask) == wanted;
}

}  // namespace

ClassSchemaBase::ClassSchemaBase(std::string name, std::string type_name)
    : Schema(std::move(name), std::move(type_name), kKindClassAccess, nullptr) {}

std::shared_ptr<Schema> ClassSchemaBase::clone(std::shared_ptr<Schema> target) const {
  target = Schema::clone(std::move(target));
  if (auto* same = dynamic_cast<ClassSchemaBase*>(target.get())) {
    same->d_accessors = d_accessors;
    same->d_members_without_field = d_members_without_field;
  }
  return target;
}

void ClassSchemaBase::add_field(std::shared_ptr<Schema> field_schema) {
  add_member(std::move(field_schema), no_access());
}

void ClassSchemaBase::add_member(std::shared_ptr<Schema> field_schema, std::shared_ptr<ClassFieldAccess> accessor) {
  if (accessor->usable()) std::erase(d_members_without_field, field_schema->name());
  d_accessors.push_back(std::move(accessor));
  try {
    Schema::add_field(std::move(field_schema));
  } catch (...) {
    d_accessors.pop_back();
    throw;
  }
}

void ClassSchemaBase::clear_fields() {
  check_field_access();
  for (std::size_t i = 0; i < d_accessors.size(); ++i) {
    if (d_accessors[i]->usable()) d_members_without_field.push_back(fields()[i]->name());
  }
  d_accessors.clear();
  Schema::clear_fields();
}

// The file's fields replace the declared ones; accessors are found again by name, element type and kind. A field takes
// one accessor, so that two fields of one name keep their own members.
std::uint32_t ClassSchemaBase::deserialize(SchemaTableReader& reader, const SchemaHeader& header) {
  const std::vector<std::shared_ptr<Schema>> declared = fields();
  const std::vector<std::shared_ptr<ClassFieldAccess>> declared_accessors = std::move(d_accessors);
  d_accessors.clear();
  const std::uint32_t next = Schema::deserialize(reader, header);
  d_members_without_field.clear();
  for (std::size_t i = 0; i < declared.size(); ++i) {
    std::size_t at = 0;
    while (at < fields().size() &&
           (d_accessors[at] != no_access() || !is_same_field(*fields()[at], *declared[i], kind())))
      ++at;
    if (at < fields().size()) {
      d_accessors[at] = declared_accessors[i];
    } else {
      d_members_without_field.push_back(declared[i]->name());
    }
  }
  return next;
}

std::shared_ptr<Schema> ClassSchemaBase::create() const { return std::make_shared<ClassSchemaBase>(); }

void ClassSchemaBase::check_holds_all_members() const {
  if (d_members_without_field.empty()) return;
  throw Util::Error("rows of type \"%s\" do not fit table \"%s\": its field '%s' is missing or of another type",
                    type_name().c_str(), name().c_str(), d_members_without_field.front().c_str());
}

std::shared_ptr<Schema> ClassSchemaBase::record_form() const {
  find_class_schema(type_name());
  const auto result = std::dynamic_pointer_cast<ClassSchemaBase>(clone(nullptr));
  result->clear_fields();
  for (std::size_t i = 0; i < d_accessors.size(); ++i) {
    const std::shared_ptr<Schema> value = fields()[i]->clone(nullptr);
    value->set_kind_and_factory(value->kind() & ~kKindMMap, value->factory());  // only columns lie in mapped files
    value->check_registered();
    result->add_member(value, d_accessors[i]);
  }
  const std::uint32_t kind = (this->kind() & ~kKindFrame) | kKindRecord;
  result->set_kind_and_factory(kind, find_factory(type_name(), kind)->copy());
  return result;
}

}  // namespace ZyData
