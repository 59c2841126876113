// A value of any element type, handed to and from schemas and records without templates.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/Assert.h"
#include "util/Export.h"
#include "zydata/schema/GenericType.h"

namespace ZyData {

/// Selects the constructor that refers to the caller's memory instead of copying it.
struct NoCopy {};

/// One value, or a run of values, of one element type. Copies share the elements.
class CORVANE_API GenericValue {
 public:
  /// No value: element type void, size 0.
  GenericValue();

  /// A single value, copied.
  template <class T>
  requires(kIsBasicType<T> || std::is_enum_v<T>) explicit GenericValue(T value)
      : d_data(std::make_shared<T>(value)), d_size(kScalar), d_type(&GenericTypeT<T>::instance()) {}

  /// `n` values at `data`, copied.
  template <class T>
  GenericValue(const T* data, std::size_t n)
      : d_data(copy_of(data, n)), d_size(static_cast<std::int64_t>(n)), d_type(&GenericTypeT<T>::instance()) {}

  /// `n` values in the caller's memory, which must outlive this value and its copies; an `n` of -1 means a single
  /// value.
  template <class T>
  GenericValue(const T* data, std::size_t n, NoCopy)
      : d_data(data, [](const void*) {}), d_size(static_cast<std::int64_t>(n)), d_type(&GenericTypeT<T>::instance()) {
    UTIL_ASSERT(d_size >= kScalar);
  }

  /// A text, copied; its element type is `const char*`.
  explicit GenericValue(std::string text);
  /// A text up to its zero byte, copied; null stands for "".
  explicit GenericValue(const char* text) : GenericValue(std::string(text == nullptr ? "" : text)) {}

  /// True when this is one value, not a run.
  bool is_scalar() const { return d_size == kScalar; }
  /// Elements of a run; -1 for a single value.
  std::int64_t size() const { return d_size; }
  /// Elements as a count: 1 for a single value.
  std::size_t count() const { return is_scalar() ? 1 : static_cast<std::size_t>(d_size); }
  const void* data() const { return d_data.get(); }
  const GenericType& type() const { return *d_type; }

  /// True when the elements are of type T.
  template <class T>
  bool holds() const {
    return std::type_index(typeid(T)) == d_type->type_id();
  }
  /// The first element. A wrong T, or a run without elements, is a programming error and ends the program.
  template <class T>
  const T& as() const {
    const std::span<const T> all = elements<T>();
    UTIL_ASSERT(!all.empty());
    return all[0];
  }
  /// The first text, zero bytes included where this value copied it; "" for a null one. A value that holds no text is a
  /// programming error and ends the program.
  std::string_view text() const;
  /// All elements. A wrong T is a programming error and ends the program.
  template <class T>
  std::span<const T> elements() const {
    UTIL_ASSERT_TEXT(holds<T>(), "std::type_index(typeid(T)) == d_type->type_id()");
    return {static_cast<const T*>(d_data.get()), count()};
  }

  friend std::ostream& operator<<(std::ostream& stream, const GenericValue& value) {
    value.d_type->print(stream, value);
    return stream;
  }

 private:
  static constexpr std::int64_t kScalar = -1;
  static constexpr std::size_t kUnknown = ~std::size_t{0};

  template <class T>
  static std::shared_ptr<const void> copy_of(const T* data, std::size_t n) {
    const std::shared_ptr<T[]> copy(new T[n == 0 ? 1 : n]());
    std::copy_n(data, n, copy.get());
    return {copy, copy.get()};
  }

  std::shared_ptr<const void> d_data;  // the first element
  std::int64_t d_size;                 // -1: a single value; 0: an empty run
  const GenericType* d_type;           // never null
  std::size_t d_text_size = kUnknown;  // bytes of the one text that this value copied
};

}  // namespace ZyData
