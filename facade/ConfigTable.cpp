#include "facade/ConfigTable.h"

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "facade/ModelAccess.h"
#include "zydata/arrays/String.h"
#include "zydata/object/Value.h"
#include "zydata/schema/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

/// The value type of the setting that a getter yields.
template <class Getter>
using SettingType = std::remove_cvref_t<std::invoke_result_t<Getter, const SImeshConfig&>>;

/// The data object that holds a setting of type T.
template <class T>
using SettingField = std::conditional_t<std::is_same_v<T, std::string>, ZyData::StringData, ZyData::Value<T>>;

template <class T>
std::shared_ptr<ZyData::Schema> setting_schema(const char* name) {
  if constexpr (std::is_same_v<T, std::string>) {
    return ZyData::make_schema<const char*>(name, ZyData::kKindString);
  } else {
    return ZyData::make_schema<T>(name, 0);
  }
}

/// The record's fields in the order of the settings. Throws unless it has every one in its type.
std::vector<ZyData::DataObj*> fields_of(ZyData::DataObj& record) {
  std::vector<ZyData::DataObj*> fields;
  ModelAccess::visit_settings([&](const char* name, auto getter, auto) {
    fields.push_back(record.get<SettingField<SettingType<decltype(getter)>>>(name).get());
  });
  return fields;
}

/// Calls `visit` with each setting's field, getter and setter.
template <class Visit>
void visit_fields(const std::vector<ZyData::DataObj*>& fields, Visit visit) {
  auto next = fields.begin();
  ModelAccess::visit_settings([&](const char*, auto getter, auto setter) {
    visit(static_cast<SettingField<SettingType<decltype(getter)>>&>(**next++), getter, setter);
  });
}

}  // namespace

void ConfigTable::define(ZyData::Schema& top) const {
  const auto record = ZyData::make_record_schema(kTable);
  ModelAccess::visit_settings([&](const char* name, auto getter, auto) {
    record->add_field(setting_schema<SettingType<decltype(getter)>>(name));
  });
  top.add_field(record);
}

bool ConfigTable::is_defined_in(const ZyData::Schema& top) {
  const auto& fields = top.fields();
  return std::any_of(fields.begin(), fields.end(), [](const auto& field) { return field->name() == kTable; });
}

void ConfigTable::find_gaps(ZyData::DataObj& tree, std::vector<ContentGap>& gaps) {
  const auto record = tree.find_path_or_null(kTable);
  if (record == nullptr || !record->is_composite()) {
    gaps.push_back({kTable, "", record != nullptr});
    return;
  }
  ModelAccess::visit_settings([&](const char* name, auto getter, auto) {
    const auto field = record->find_path_or_null(name);
    if (dynamic_cast<const SettingField<SettingType<decltype(getter)>>*>(field.get()) != nullptr) return;
    gaps.push_back({kTable, name, field != nullptr});
  });
}

void ConfigTable::write(ZyData::DataObj& tree, const SImeshConfig& config) {
  const std::vector<ZyData::DataObj*> fields = fields_of(*tree.find_path(kTable));
  visit_fields(fields, [&](auto& field, auto getter, auto) {
    if constexpr (requires { field.text(); }) field.reserve((config.*getter)().size());
  });
  visit_fields(fields, [&](auto& field, auto getter, auto) { field.set((config.*getter)()); });
}

void ConfigTable::read(ZyData::DataObj& tree, SImeshConfig& config) {
  const std::vector<ZyData::DataObj*> fields = fields_of(*tree.find_path(kTable));
  SImeshConfig restored = config;
  visit_fields(fields, [&](auto& field, auto, auto setter) {
    if constexpr (requires { field.text(); }) {
      (restored.*setter)(field.text());
    } else {
      (restored.*setter)(field.get_value());
    }
  });
  config = std::move(restored);
}

}  // namespace Mesh2DPlat
