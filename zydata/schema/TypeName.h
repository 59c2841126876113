// Names and identities of element types.
//
// A name is stored in files and is the key of the registries, so it is the same on every platform: basic types have
// fixed names, structures and enumerations have their qualified C++ name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "util/Export.h"

namespace ZyData {

/// The element type of records, frames and class schemas that are bound to no structure.
struct UntypedClass {};

/// A 32-bit integer that carries the element type named "long" or "unsigned long". The language's own `long` has
/// another width on every second platform and is no element type here.
template <class Integer>
struct LongCarrier {
  Integer value = 0;

  constexpr LongCarrier() = default;
  constexpr LongCarrier(Integer v) : value(v) {}        // NOLINT: behaves like the integer that it carries
  constexpr operator Integer() const { return value; }  // NOLINT
};
using Long = LongCarrier<std::int32_t>;
using ULong = LongCarrier<std::uint32_t>;

/// Calls M(type, identifier) for every basic element type.
#define ZYDATA_FOR_EACH_BASIC_TYPE(M) \
  M(char, Char)                       \
  M(unsigned char, UnsignedChar)      \
  M(short, Short)                     \
  M(unsigned short, UnsignedShort)    \
  M(int, Int)                         \
  M(unsigned int, UnsignedInt)        \
  M(::ZyData::Long, Long)             \
  M(::ZyData::ULong, ULong)           \
  M(float, Float)                     \
  M(double, Double)                   \
  M(bool, Bool)

template <class T>
inline constexpr bool kIsBasicType =
    std::is_same_v<T, Long> || std::is_same_v<T, ULong> || std::is_same_v<T, char> ||
    std::is_same_v<T, unsigned char> || std::is_same_v<T, short> || std::is_same_v<T, unsigned short> ||
    std::is_same_v<T, int> || std::is_same_v<T, unsigned int> || std::is_same_v<T, float> ||
    std::is_same_v<T, double> || std::is_same_v<T, bool>;

/// Element types whose values can stand as ids: every basic type but the floating-point ones.
template <class T>
inline constexpr bool kIsIntegralElement = kIsBasicType<T> && !std::is_floating_point_v<T>;

/// The readable name of a type as this compiler gives it, with "class ", "struct " and "enum " cut out.
CORVANE_API std::string readable_type_name(const std::type_info& type);

/// Cuts every "class ", "struct " and "enum " out of a type name until none remains.
CORVANE_API std::string without_type_keywords(std::string name);

/// The name of element type T: fixed for basic types, texts, void and UntypedClass, else the readable name.
template <class T>
std::string element_type_name() {
  static_assert(
      !std::is_same_v<T, long> && !std::is_same_v<T, unsigned long>,
      "the width of long depends on the platform: use ZyData::Long or ZyData::ULong, which carry these element types");
  if constexpr (std::is_same_v<T, Long>) {
    return "long";
  } else if constexpr (std::is_same_v<T, ULong>) {
    return "unsigned long";
  } else if constexpr (std::is_same_v<T, const char*>) {
    return "const char*";
  } else if constexpr (std::is_same_v<T, UntypedClass>) {
    return "ZyData::UntypedClass";
  } else {
    return readable_type_name(typeid(T));
  }
}

/// What a schema stores as the identity of its element type: FNV-1a (64 bit) of the type's name. Equal data thus give
/// equal bytes in every process; the value is never interpreted.
struct TypeIdentity {
  std::uint64_t value = 0;

  static TypeIdentity of(std::string_view type_name);
  friend bool operator==(TypeIdentity, TypeIdentity) = default;
};
static_assert(sizeof(TypeIdentity) == 8);

}  // namespace ZyData
