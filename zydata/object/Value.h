// A data object that holds a single value.
#pragma once

#include <iostream>
#include <memory>
#include <utility>

#include "zydata/object/data.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {

/// Throws Util::Error unless the bytes of the registered structure `type_name` are those of its declared numbers and
/// nothing else: texts and lists view memory elsewhere, and padding or undeclared members would leak into a file.
CORVANE_API void check_storable_structure(const std::string& type_name, std::uint64_t size, std::uint32_t kind);

/// A byte other than 0 and 1 is no value of a bool; one that a file brought becomes true.
template <class T>
void normalise_loaded(T* values, std::uint64_t count) {
  if constexpr (std::is_same_v<T, bool>) {
    auto* bytes = reinterpret_cast<unsigned char*>(values);
    for (std::uint64_t i = 0; i < count; ++i) bytes[i] = bytes[i] != 0 ? 1 : 0;
  }
}

/// The value that stands there, in memory that a file may have filled.
template <class T>
T checked_value(const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return *reinterpret_cast<const unsigned char*>(&value) != 0;
  } else {
    return value;
  }
}

/// A copy of values in memory that a file may have filled.
template <class T>
GenericValue checked_copy(const T* values, std::uint64_t count) {
  if constexpr (std::is_same_v<T, bool>) {
    const auto checked = std::make_unique<bool[]>(count);
    for (std::uint64_t i = 0; i < count; ++i) checked[i] = checked_value(values[i]);
    return GenericValue(checked.get(), count);
  } else {
    return GenericValue(values, count);
  }
}

template <class T>
class Value final : public DataObj {
 public:
  explicit Value(std::shared_ptr<Schema> schema, T value = T()) : DataObj(std::move(schema)), d_value(value) {}

  using DataObj::get;
  using DataObj::print;
  using DataObj::set;

  T get_value() const { return d_value; }
  T set(T value) { return d_value = value; }

  void* data() override { return &d_value; }  // 22
  GenericValue value() const override {       // 25
    return GenericValue(&d_value, static_cast<std::size_t>(-1), NoCopy());
  }
  void set_value(const GenericValue& value) override { d_value = value.as<T>(); }  // 26
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override {      // 29
    if constexpr (!kIsBasicType<T> && !std::is_enum_v<T>)
      check_storable_structure(element_type_name<T>(), sizeof(T), schema()->kind());
    frames.push_back(std::move(self));
  }
  std::uint64_t size_bytes() const override { return sizeof(T); }  // 30
  bool fits(std::uint64_t n) override { return n == sizeof(T); }   // 31: a part of a value is no value
  void finish() override { normalise_loaded(&d_value, 1); }        // 32
  void print(int indent) override { print(std::cout, indent); }    // 36
  void print(std::ostream& stream, int indent) override {          // 37
    stream << indent_text(indent) << schema()->name() << " = ";
    print_value(stream, d_value);
    stream << std::endl;
  }

 private:
  T d_value;
};

}  // namespace ZyData
