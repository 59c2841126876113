#include "facade/ConfigTable.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "facade/Model.h"
#include "zydata/arrays/String.h"
#include "zydata/object/Value.h"
#include "zydata/schema/TypeRegistry.h"

namespace Mesh2DPlat {
namespace {

/// One value of each setting.
struct Values {
#define CORVANE_SETTING(T, name) T name{};
  CORVANE_FOR_EACH_SETTING(CORVANE_SETTING)
#undef CORVANE_SETTING
};

/// Calls visit(name, member of Values, the model's getter and setter) for each setting, in the order of the fields.
template <class Visit>
void visit_settings(Visit visit) {
#define CORVANE_SETTING(T, name) visit(#name, &Values::name, ModelAccess::setting_of<#name>());
  CORVANE_FOR_EACH_SETTING(CORVANE_SETTING)
#undef CORVANE_SETTING
}

template <class T>
constexpr bool kIsText = std::is_same_v<T, std::string>;

/// The data object that holds a setting of type T.
template <class T>
using SettingField = std::conditional_t<kIsText<T>, ZyData::StringData, ZyData::Value<T>>;

template <class T>
std::shared_ptr<ZyData::Schema> setting_schema(const char* name) {
  if constexpr (kIsText<T>) {
    return ZyData::make_schema<const char*>(name, ZyData::kKindString);
  } else {
    return ZyData::make_schema<T>(name, 0);
  }
}

/// The record's fields in the order of the settings. Throws unless it has every one in its type.
std::vector<ZyData::DataObj*> fields_of(ZyData::DataObj& record) {
  std::vector<ZyData::DataObj*> fields;
  visit_settings([&]<class T>(const char* name, T Values::*, const auto&) {
    fields.push_back(record.get<SettingField<T>>(name).get());
  });
  return fields;
}

/// Calls `visit` with each setting's field, member of Values, and getter and setter.
template <class Visit>
void visit_fields(const std::vector<ZyData::DataObj*>& fields, Visit visit) {
  auto next = fields.begin();
  visit_settings([&]<class T>(const char*, T Values::*member, const auto& setting) {
    visit(static_cast<SettingField<T>&>(**next++), member, setting);
  });
}

}  // namespace

void ConfigTable::define(ZyData::Schema& top) const {
  const auto record = ZyData::make_record_schema(kTable);
  visit_settings(
      [&]<class T>(const char* name, T Values::*, const auto&) { record->add_field(setting_schema<T>(name)); });
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
  visit_settings([&]<class T>(const char* name, T Values::*, const auto&) {
    const auto field = record->find_path_or_null(name);
    if (dynamic_cast<const SettingField<T>*>(field.get()) != nullptr) return;
    gaps.push_back({kTable, name, field != nullptr});
  });
}

// Room for the texts comes first, so that nothing fails any more once the first setting has changed.
void ConfigTable::write(ZyData::DataObj& tree, const SImeshConfig& config) {
  const std::vector<ZyData::DataObj*> fields = fields_of(*tree.find_path(kTable));
  Values values;
  visit_settings([&]<class T>(const char*, T Values::*member, const auto& setting) {
    if constexpr (kIsText<T>) {
      values.*member = std::string_view(std::invoke(setting.get, config));
    } else {
      values.*member = std::invoke(setting.get, config);
    }
  });
  visit_fields(fields, [&]<class T>(auto& field, T Values::*member, const auto&) {
    if constexpr (kIsText<T>) field.reserve((values.*member).size());
  });
  visit_fields(fields, [&](auto& field, auto member, const auto&) { field.set(values.*member); });
}

void ConfigTable::read(ZyData::DataObj& tree, SImeshConfig& config) {
  const std::vector<ZyData::DataObj*> fields = fields_of(*tree.find_path(kTable));
  Values values;
  visit_fields(fields, [&]<class T>(auto& field, T Values::*member, const auto&) {
    if constexpr (kIsText<T>) {
      values.*member = field.text();
    } else {
      values.*member = field.get_value();
    }
  });
  visit_settings([&](const char*, auto member, const auto& setting) {
    std::invoke(setting.set, config, std::move(values.*member));
  });
}

}  // namespace Mesh2DPlat
