// The two registries through which a reader turns a stored type name and kind word back into a live object.
//
// Both are process-wide, made on first use with the built-in types in them, and never emptied. Making them is
// thread-safe. Registering is not locked and belongs to start-up, on one thread; from then on several threads may look
// up at once, as they do when each builds, stores and loads trees of its own.
//
// Structures and enumerations of a program are entered before anything of them is built, stored or loaded:
// register_type<T>() for an enumeration, register_class_type<T>() for a structure.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "util/Export.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/TypeName.h"

namespace ZyData {

class DataFactory;
class Schema;
struct SchemaHeader;

/// Enters a factory under its element type's name and its own kind. A pair that is already known keeps its first
/// factory.
CORVANE_API void register_factory(const std::string& type_name, std::shared_ptr<DataFactory> factory);

/// The registered factory for a type name and the key bits of `kind`. Throws Util::Error when there is none.
CORVANE_API std::shared_ptr<DataFactory> find_factory(const std::string& type_name, std::uint32_t kind);
/// As find_factory; empty when there is none.
CORVANE_API std::shared_ptr<DataFactory> find_factory_or_null(const std::string& type_name, std::uint32_t kind);

/// Enters the class schema of a structure under its element type name. A name that is already known keeps its first
/// schema.
CORVANE_API void register_class_schema(std::shared_ptr<const Schema> class_schema);

/// The registered class schema. Throws Util::Error when there is none.
CORVANE_API const Schema& find_class_schema(const std::string& type_name);
CORVANE_API bool has_class_schema(const std::string& type_name);

/// Turns a stored header into a new schema: for a kind with "class_access" a fresh one from the registered class
/// schema, else an empty plain one. Throws Util::Error for a structure that was never registered.
CORVANE_API std::shared_ptr<Schema> create_schema(const SchemaHeader& header);

/// A plain schema with the registered factory of this type name and kind. Throws Util::Error when there is none.
CORVANE_API std::shared_ptr<Schema> make_schema(std::string name, const std::string& type_name, std::uint32_t kind);

/// A plain schema for elements of type T.
template <class T>
std::shared_ptr<Schema> make_schema(std::string name, std::uint32_t kind) {
  const std::string type_name = element_type_name<T>();
  if constexpr (std::is_class_v<T> && !kIsBasicType<T> && !std::is_same_v<T, UntypedClass>) {
    if (find_factory_or_null(type_name, kind) == nullptr) find_class_schema(type_name);  // says how T is entered
  }
  return make_schema(std::move(name), type_name, kind);
}
/// A schema of a record or frame that is bound to no structure, without fields.
CORVANE_API std::shared_ptr<Schema> make_record_schema(std::string name);
CORVANE_API std::shared_ptr<Schema> make_frame_schema(std::string name);

/// Enters the types that every registry starts with. Defined beside the built-in factories.
void register_builtin_types();

}  // namespace ZyData
