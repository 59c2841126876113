// The concrete data factories.
//
// One class serves every family of containers: what differs per element type is a function that makes the object. The
// parameters that a file stores for a schema node are described in docs/file-format.md.
#pragma once

#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "util/Export.h"
#include "zydata/arrays/ArrayImpl.h"
#include "zydata/arrays/MMapArrayImpl.h"
#include "zydata/arrays/MMapVarArrayImpl.h"
#include "zydata/arrays/VarArrayImpl.h"
#include "zydata/keyed/DictImpl.h"
#include "zydata/keyed/SparseArrayImpl.h"
#include "zydata/object/Value.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/TypeName.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

namespace ZyData {

/// Which numbers stand before a factory's text.
enum class ParameterLayout {
  kNone,          // nothing
  kCount,         // u64 initial element count
  kCountAndKind,  // u64 initial element count, u32 kind word
};

struct FactoryParameters {
  // NOLINTNEXTLINE(google-explicit-constructor): braces make one
  FactoryParameters(std::uint64_t count = 0, std::string default_value = "", std::string file = "")
      : initial_count(count), text(std::move(default_value)), file_name(std::move(file)) {}

  std::uint64_t initial_count;  // elements of a new object
  std::string text;             // a default value as decimal text, or ""
  std::string file_name;        // of a mapped array, base name of a mapped variable array; "": the schema's name
  bool stored = false;          // the object's content will come from a message
};

using CreateFunction = std::shared_ptr<DataObj> (*)(std::shared_ptr<Schema> schema,
                                                    const FactoryParameters& parameters);

class CORVANE_API FamilyFactory final : public DataFactory {
 public:
  FamilyFactory(std::string type_name, std::uint32_t kind, ParameterLayout layout, CreateFunction creator,
                FactoryParameters parameters = {});

  std::shared_ptr<DataObj> create(std::shared_ptr<Schema> schema) const override;
  /// With this factory's default value and file name. Where a program has registered a factory of its own for the
  /// vector form: a copy of that.
  std::shared_ptr<DataFactory> vector_factory(std::uint32_t kind, std::uint32_t initial_count) const override;
  void write_parameters(Util::ByteWriter& writer) const override;
  std::shared_ptr<DataFactory> read_parameters(Util::ByteReader& reader) const override;
  std::shared_ptr<DataFactory> copy() const override;

  /// The same factory with other parameters.
  std::shared_ptr<FamilyFactory> with(FactoryParameters parameters) const;

 private:
  std::string d_type_name;
  ParameterLayout d_layout;
  CreateFunction d_create;
  FactoryParameters d_parameters;
  bool d_from_file = false;  // count and file name are claims: objects start without elements, and name no new file
};

template <class T>
struct PlainNumber {
  using type = T;
};
template <class Integer>
struct PlainNumber<LongCarrier<Integer>> {
  using type = Integer;
};
template <class T>
requires std::is_enum_v<T>
struct PlainNumber<T> {
  using type = std::underlying_type_t<T>;
};
template <>
struct PlainNumber<bool> {
  using type = unsigned char;
};
template <>
struct PlainNumber<char> {
  using type = signed char;
};

/// A default value as the shortest decimal text that reads back equal; "" for zero.
template <class T>
std::string default_text(T value) {
  const auto number = static_cast<typename PlainNumber<T>::type>(value);
  if (number == 0) return "";
  char digits[32];
  const auto result = std::to_chars(digits, digits + sizeof digits, number);
  return std::string(digits, result.ptr);
}

[[noreturn]] CORVANE_API void throw_bad_default(const Schema& schema, const std::string& text);

/// The counterpart of default_text. Throws Util::Error for a text that is no such number.
template <class T>
T default_value(const Schema& schema, const std::string& text) {
  typename PlainNumber<T>::type number{};
  if (text.empty()) return T();
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) throw_bad_default(schema, text);
  return static_cast<T>(number);
}

template <class T>
std::shared_ptr<DataObj> create_value(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  if constexpr (kIsBasicType<T> || std::is_enum_v<T>) {
    const T value = default_value<T>(*schema, parameters.text);
    return std::make_shared<Value<T>>(std::move(schema), value);
  } else {
    return std::make_shared<Value<T>>(std::move(schema));
  }
}

template <class T>
std::shared_ptr<DataObj> create_array(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  auto array = std::make_shared<Array<T>>(schema);
  if constexpr (kIsBasicType<T> || std::is_enum_v<T>)
    array->set_default_value(default_value<T>(*schema, parameters.text));
  array->resize(parameters.initial_count);
  return array;
}

template <class T>
std::shared_ptr<DataObj> create_var_array(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  auto array = std::make_shared<VarArray<T>>(std::move(schema));
  array->resize(parameters.initial_count);
  return array;
}

template <class T>
std::shared_ptr<DataObj> create_sparse_array(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  auto array = std::make_shared<SparseArray<T>>(schema);
  array->set_default_value(default_value<T>(*schema, parameters.text));
  return array;
}

template <class T>
std::shared_ptr<DataObj> create_mmap_array(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  if (parameters.stored) return MMapArray<T>::for_loading(std::move(schema));
  auto array = std::make_shared<MMapArray<T>>(schema, 0, parameters.file_name);
  array->set_default_value(default_value<T>(*schema, parameters.text));
  array->resize(parameters.initial_count);
  return array;
}

/// What existing files hold goes: a factory makes empty objects.
template <class T>
std::shared_ptr<DataObj> create_mmap_var_array(std::shared_ptr<Schema> schema, const FactoryParameters& parameters) {
  if (parameters.stored) return MMapVarArray<T>::for_loading(std::move(schema), parameters.file_name);
  auto array = std::make_shared<MMapVarArray<T>>(std::move(schema), parameters.file_name);
  array->truncate_rows(0);
  array->resize(parameters.initial_count);
  return array;
}

/// For objects that start empty whatever their parameters.
template <class Object>
std::shared_ptr<DataObj> create_empty(std::shared_ptr<Schema> schema, const FactoryParameters&) {
  return std::make_shared<Object>(std::move(schema));
}

/// The creator of objects of element type T and kind word `kind`.
template <class T, std::uint32_t kind>
struct DataFactoryT {
  /// The one instance of this pair.
  static const std::shared_ptr<FamilyFactory>& instance() {
    static const auto& factory = *new std::shared_ptr<FamilyFactory>(
        std::make_shared<FamilyFactory>(element_type_name<T>(), kind, layout(), creator()));
    return factory;
  }

 private:
  static constexpr ParameterLayout layout() {
    constexpr std::uint32_t with_count = kKindArray | kKindVar | kKindSparse | kKindDict | kKindMMapVarArray;
    return (kind & with_count) != 0 ? ParameterLayout::kCountAndKind : ParameterLayout::kNone;
  }
  static constexpr CreateFunction creator() {
    if constexpr ((kind & kKindFrame) != 0) {
      return &create_empty<Frame<T>>;
    } else if constexpr ((kind & kKindRecord) != 0) {
      return &create_empty<Record<T>>;
    } else if constexpr (kind == kKindMMapVarArray) {
      return &create_mmap_var_array<T>;
    } else if constexpr ((kind & kKindMMap) != 0) {
      return &create_mmap_array<T>;
    } else if constexpr (kind == (kKindVar | kKindArray)) {
      return &create_var_array<T>;
    } else if constexpr (kind == kKindVar) {
      return &create_empty<VarValue<T>>;
    } else if constexpr ((kind & kKindSparse) != 0) {
      return &create_sparse_array<T>;
    } else if constexpr ((kind & kKindDict) != 0) {
      return &create_empty<Dict<T>>;
    } else if constexpr ((kind & kKindArray) != 0) {
      return &create_array<T>;
    } else {
      return &create_value<T>;
    }
  }
};

template <class T, std::uint32_t... kinds>
void register_factories() {
  (register_factory(element_type_name<T>(), DataFactoryT<T, kinds>::instance()), ...);
}

/// Enters the factories of a basic type or an enumeration. Entering again changes nothing.
template <class T>
void register_type() {
  static_assert(kIsBasicType<T> || std::is_enum_v<T>, "structures are entered with register_class_type");
  if constexpr (std::is_enum_v<T>) {
    static_assert(
        sizeof(T) == sizeof(int) && requires { T{0}; }, "declare the enumeration with `: int`");
  }
  constexpr std::uint32_t sparse_array = kKindSparse | kKindArray;
  register_factories<T, 0, kKindDefaulted, kKindArray, kKindDefaulted | kKindArray, kKindVar, kKindVar | kKindArray,
                     sparse_array, kKindDefaulted | kKindSparse, kKindDefaulted | sparse_array, kKindDict>();
  register_factories<T, kKindMMap | kKindArray, kKindDefaulted | kKindMMap | kKindArray, kKindMMapVarArray>();
}

/// Enters the factories of a plain structure.
template <class T>
void register_class_factories() {
  register_factories<T, 0, kKindArray, kKindFrame, kKindRecord, kKindDefaulted | kKindFrame>();
}

/// The schema of an array or a variable array in mapped files of this name, or base name; `kind` is 0x21, 0x1021 or
/// 0x40.
template <class T, std::uint32_t kind>
std::shared_ptr<Schema> make_mapped_schema(std::string name, std::string file_name, T default_value = T()) {
  static_assert(kind == (kKindMMap | kKindArray) || kind == (kKindDefaulted | kKindMMap | kKindArray) ||
                kind == kKindMMapVarArray);
  auto factory = DataFactoryT<T, kind>::instance()->with({0, default_text(default_value), std::move(file_name)});
  return std::make_shared<Schema>(std::move(name), element_type_name<T>(), kind, std::move(factory));
}

/// The factory of a single value with a default.
template <class T>
std::shared_ptr<DataFactory> defaulted_factory(T value) {
  return DataFactoryT<T, kKindDefaulted>::instance()->with({0, default_text(value)});
}

}  // namespace ZyData
