// Enters the types that every registry starts with: the basic types, text and UntypedClass.
#include "zydata/arrays/String.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/ClassSchema.h"
#include "zydata/tables/Factories.h"

namespace ZyData {
namespace {

template <class TextArray>
std::shared_ptr<DataObj> create_text_array(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  auto array = std::make_shared<TextArray>(std::move(schema));
  array->resize(parameters.initial_count);
  return array;
}

void register_text(std::uint32_t kind, ParameterLayout layout, CreateFunction create) {
  const std::string type_name = element_type_name<const char*>();
  register_factory(type_name, std::make_shared<FamilyFactory>(type_name, kind, layout, create));
}

}  // namespace

void register_builtin_types() {
#define ZYDATA_REGISTER_TYPE(T, Name) register_type<T>();
  ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_REGISTER_TYPE)
#undef ZYDATA_REGISTER_TYPE
  register_text(kKindString, ParameterLayout::kCount, &create_empty<StringData>);
  register_text(kKindString | kKindArray, ParameterLayout::kCountAndKind, &create_text_array<StringArray>);
  register_text(kKindHashed | kKindString | kKindArray, ParameterLayout::kCountAndKind,
                &create_text_array<SearchableStringArray>);
  register_factories<UntypedClass, kKindFrame, kKindRecord, kKindDefaulted | kKindFrame>();
  register_class_schema(std::make_shared<ClassSchema<UntypedClass>>(""));
}

}  // namespace ZyData
