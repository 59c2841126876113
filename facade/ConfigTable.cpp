#include "facade/ConfigTable.h"

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "facade/ModelAccess.h"
#include "zydata/String.h"
#include "zydata/TypeRegistry.h"
#include "zydata/Value.h"

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

/// Throws unless the record has every field in its type.
void check_fields(ZyData::DataObj& record) {
  ModelAccess::visit_settings(
      [&](const char* name, auto getter, auto) { record.get<SettingField<SettingType<decltype(getter)>>>(name); });
}

}  // namespace

void ConfigTable::define(ZyData::Schema& top) const {
  const auto record = ZyData::make_record_schema(kTable);
  ModelAccess::visit_settings([&](const char* name, auto getter, auto) {
    record->add_field(setting_schema<SettingType<decltype(getter)>>(name));
  });
  top.add_field(record);
}

void ConfigTable::check(ZyData::DataObj& tree) { check_fields(*tree.find_path(kTable)); }

void ConfigTable::write(ZyData::DataObj& tree, const SImeshConfig& config) {
  const auto record = tree.find_path(kTable);
  check_fields(*record);
  ModelAccess::visit_settings([&](const char* name, auto getter, auto) {
    record->get<SettingField<SettingType<decltype(getter)>>>(name)->set((config.*getter)());
  });
}

void ConfigTable::read(ZyData::DataObj& tree, SImeshConfig& config) {
  const auto record = tree.find_path(kTable);
  check_fields(*record);
  ModelAccess::visit_settings([&](const char* name, auto getter, auto setter) {
    using T = SettingType<decltype(getter)>;
    const auto field = record->get<SettingField<T>>(name);
    if constexpr (std::is_same_v<T, std::string>) {
      (config.*setter)(std::string(field->text()));
    } else {
      (config.*setter)(field->get_value());
    }
  });
}

}  // namespace Mesh2DPlat
