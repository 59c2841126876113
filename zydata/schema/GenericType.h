// Run-time descriptors of element types: their name, their identity and how their values print.
//
// There is exactly one descriptor per element type, made on first use (thread-safe) and kept until the process ends.
#pragma once

#include <ostream>
#include <string>
#include <type_traits>
#include <typeindex>
#include <typeinfo>

#include "util/Export.h"
#include "zydata/schema/TypeName.h"

namespace ZyData {

class GenericValue;

class CORVANE_API GenericType {
 public:
  virtual ~GenericType();                                                         // 0
  virtual const char* name() const;                                               // 1
  virtual void print(std::ostream& stream, const GenericValue& value) const = 0;  // 2
  virtual std::type_index type_id() const = 0;                                    // 3

 protected:
  explicit GenericType(std::string name);
  GenericType(const GenericType&) = delete;
  GenericType& operator=(const GenericType&) = delete;

  /// Writes the value as "[]", one element, or "[a b c]"; `print_element` writes the element at an address.
  static void print_elements(std::ostream& stream, const GenericValue& value, std::size_t element_size,
                             void (*print_element)(std::ostream&, const void*));

 private:
  std::string d_name;
};

/// Writes one element as the library's prints show it: numbers as numbers, `char` as a character, an enumeration as its
/// integer, a structure as its name and "unspecified".
template <class T>
void print_value(std::ostream& stream, const T& value) {
  if constexpr (kIsBasicType<T>) {
    stream << value;
  } else if constexpr (std::is_same_v<T, const char*>) {
    if (value != nullptr) stream << value;
  } else if constexpr (std::is_enum_v<T>) {
    stream << static_cast<std::underlying_type_t<T>>(value);
  } else if constexpr (std::is_same_v<T, UntypedClass>) {
    stream << "UntypedClass unspecified";
  } else {
    stream << element_type_name<T>() << " unspecified";
  }
}

// Exported, so that a program and the library share the one instance of a type.
template <class T>
class CORVANE_API GenericTypeT final : public GenericType {
 public:
  /// The one descriptor of T.
  static const GenericTypeT& instance() {
    static const auto* descriptor = new GenericTypeT;
    return *descriptor;
  }

  void print(std::ostream& stream, const GenericValue& value) const override {
    if constexpr (std::is_void_v<T>) {
      stream << "<void>";
    } else {
      print_elements(stream, value, sizeof(T),
                     [](std::ostream& out, const void* element) { print_value(out, *static_cast<const T*>(element)); });
    }
  }
  std::type_index type_id() const override { return typeid(T); }

 private:
  GenericTypeT() : GenericType(element_type_name<T>()) {}
};

}  // namespace ZyData
