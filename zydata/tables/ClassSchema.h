// Class schemas: schemas whose fields are members of a plain structure.
//
// A structure's schema is declared once, in the order of its members:
//
//     auto schema = std::make_shared<ClassSchema<Row>>("rows");
//     schema->add(&Row::id, "id", 0).add(&Row::name, "name");
//
// The structure and its enumerations are entered before anything is built of them (register_class_type, register_type).
// Added to a record object it becomes a frame of such rows. In the declared form the fields are single values; the
// frame form (Schema::vector_form) has columns, the record form single values held by a record.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "util/Export.h"
#include "util/USpan.h"
#include "zydata/schema/ClassAccess.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Factories.h"

namespace ZyData {

class CORVANE_API ClassSchemaBase : public Schema {
 public:
  using Schema::field;

  std::shared_ptr<Schema> clone(std::shared_ptr<Schema> target) const override;  // 0
  void add_field(std::shared_ptr<Schema> field_schema) override;                 // 2: a field without a member
  void clear_fields() override;                                                  // 5
  std::uint32_t deserialize(SchemaTableReader& reader, const SchemaHeader& header) override;  // 8
  std::shared_ptr<Schema> create() const override;                                            // 9

  /// Without a name and without fields.
  ClassSchemaBase() = default;

  /// The accessor of field `index`; never null.
  const ClassFieldAccess& access(std::size_t index) const { return *d_accessors[index]; }
  /// Throws Util::Error when members of the structure have no field to go to: rows would lose them.
  void check_holds_all_members() const;
  /// The same schema for a record of single values.
  std::shared_ptr<Schema> record_form() const;

 protected:
  ClassSchemaBase(std::string name, std::string type_name);
  void add_member(std::shared_ptr<Schema> field_schema, std::shared_ptr<ClassFieldAccess> accessor);

 private:
  std::vector<std::shared_ptr<ClassFieldAccess>> d_accessors;  // one per field
  std::vector<std::string> d_members_without_field;            // after fields were taken away or a file's differ
};

/// The schema of structure T.
template <class T>
class ClassSchema final : public ClassSchemaBase {
 public:
  ClassSchema() = default;
  explicit ClassSchema(std::string name) : ClassSchemaBase(std::move(name), element_type_name<T>()) {}

  std::shared_ptr<Schema> create() const override { return std::make_shared<ClassSchema>(); }  // 9

  /// Adds a number or an enumeration with its default value.
  template <class M, class D>
  ClassSchema& add(M T::*member, std::string name, D default_value) {
    auto factory = defaulted_factory<M>(static_cast<M>(default_value));
    add_member(std::make_shared<Schema>(std::move(name), element_type_name<M>(), kKindDefaulted, std::move(factory)),
               std::make_shared<ClassFieldAccessT<T, M>>(member));
    return *this;
  }
  /// Adds a text.
  ClassSchema& add(std::string_view T::*member, std::string name) {
    add_member(make_schema<const char*>(std::move(name), kKindString),
               std::make_shared<ClassFieldAccessT<T, std::string_view>>(member));
    return *this;
  }
  /// Adds a list of numbers.
  template <class M>
  ClassSchema& add(Util::USpan<M> T::*member, std::string name) {
    add_member(make_schema<M>(std::move(name), kKindVar), std::make_shared<ClassFieldAccessVec>(member));
    return *this;
  }
  /// Adds a number or an enumeration whose column a frame keeps in a mapped file; "": a file called like the field.
  template <class M, class D>
  requires(std::is_convertible_v<D, M> || std::is_enum_v<M>) ClassSchema& add_mapped(M T::*member, std::string name,
                                                                                     D default_value,
                                                                                     std::string file_name = "") {
    auto factory = DataFactoryT<M, kKindDefaulted>::instance()->with(
        {0, default_text(static_cast<M>(default_value)), std::move(file_name)});
    add_member(std::make_shared<Schema>(std::move(name), element_type_name<M>(), kKindDefaulted | kKindMMap,
                                        std::move(factory)),
               std::make_shared<ClassFieldAccessT<T, M>>(member));
    return *this;
  }
  /// Adds a list of numbers whose column a frame keeps in two mapped files; "": files called like the field.
  template <class M>
  ClassSchema& add_mapped(Util::USpan<M> T::*member, std::string name, std::string base_name = "") {
    auto factory = DataFactoryT<M, kKindVar>::instance()->with({0, "", std::move(base_name)});
    add_member(
        std::make_shared<Schema>(std::move(name), element_type_name<M>(), kKindVar | kKindMMap, std::move(factory)),
        std::make_shared<ClassFieldAccessVec>(member));
    return *this;
  }
};

/// Enters the class schema of structure T and its factories (single object, array of objects, frame, record, defaulted
/// frame). T offers its schema as `static std::shared_ptr<ClassSchema<T>> class_schema()`. Entering again changes
/// nothing.
template <class T>
void register_class_type() {
  register_class_factories<T>();
  register_class_schema(T::class_schema());
}

}  // namespace ZyData
