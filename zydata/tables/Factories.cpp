#include "zydata/tables/Factories.h"

#include "util/Error.h"
#include "zydata/schema/Schema.h"

namespace ZyData {
namespace {

/// The file belongs to the object that was loaded with the schema, and a new object would empty it.
[[noreturn]] void throw_names_foreign_file(const Schema& schema) {
  throw Util::Error("no second object can be made from the stored schema of \"%s\", whose elements lie in a file",
                    schema.name().c_str());
}

}  // namespace

FamilyFactory::FamilyFactory(std::string type_name, std::uint32_t kind, ParameterLayout layout, CreateFunction creator,
                             FactoryParameters parameters)
    : DataFactory(kind),
      d_type_name(std::move(type_name)),
      d_layout(layout),
      d_create(creator),
      d_parameters(std::move(parameters)) {}

std::shared_ptr<DataObj> FamilyFactory::create(std::shared_ptr<Schema> schema) const {
  if (!d_from_file) return d_create(std::move(schema), d_parameters);
  FactoryParameters parameters(0, d_parameters.text, d_parameters.file_name);
  parameters.stored = ReceivedContent::is_expected();
  if (!parameters.stored && (kind() & kKindInFile) != 0) throw_names_foreign_file(*schema);
  return d_create(std::move(schema), parameters);
}

std::shared_ptr<DataFactory> FamilyFactory::vector_factory(std::uint32_t kind, std::uint32_t initial_count) const {
  const std::uint32_t vector = vector_kind(kind);
  const auto prototype = vector == 0 ? nullptr : find_factory_or_null(d_type_name, vector);
  if (prototype == nullptr) {
    if (vector != 0) find_factory(d_type_name, this->kind());  // a type that is not registered at all
    throw_cannot_vectorize(kind);
  }
  const auto family = std::dynamic_pointer_cast<FamilyFactory>(prototype);
  if (family == nullptr) return prototype->copy();  // a program's own, which has parameters of its own
  auto factory = family->with({initial_count, d_parameters.text, d_parameters.file_name});
  factory->d_from_file = d_from_file && (vector & kKindInFile) != 0;
  return factory;
}

void FamilyFactory::write_parameters(Util::ByteWriter& writer) const {
  if (d_layout != ParameterLayout::kNone) writer.put(d_parameters.initial_count);
  if (d_layout == ParameterLayout::kCountAndKind) writer.put(kind());
  writer.put_text((kind() & kKindInFile) != 0 ? d_parameters.file_name : d_parameters.text);
}

std::shared_ptr<DataFactory> FamilyFactory::read_parameters(Util::ByteReader& reader) const {
  FactoryParameters parameters;
  if (d_layout != ParameterLayout::kNone) parameters.initial_count = reader.get<std::uint64_t>();
  if (d_layout == ParameterLayout::kCountAndKind) {
    const auto stored_kind = reader.get<std::uint32_t>();
    if (stored_kind != kind()) {
      throw Util::Error("stored factory parameters of kind 0x%x stand where kind 0x%x is expected", stored_kind,
                        kind());
    }
  }
  ((kind() & kKindInFile) != 0 ? parameters.file_name : parameters.text) = reader.get_text();
  auto factory = with(std::move(parameters));
  factory->d_from_file = true;
  return factory;
}

std::shared_ptr<DataFactory> FamilyFactory::copy() const { return std::make_shared<FamilyFactory>(*this); }

std::shared_ptr<FamilyFactory> FamilyFactory::with(FactoryParameters parameters) const {
  return std::make_shared<FamilyFactory>(d_type_name, kind(), d_layout, d_create, std::move(parameters));
}

void throw_bad_default(const Schema& schema, const std::string& text) {
  throw Util::Error("\"%s\" is no default value for \"%s\" of type %s", text.c_str(), schema.name().c_str(),
                    schema.type_name().c_str());
}

}  // namespace ZyData
