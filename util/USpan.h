// A counted view of values that somebody else owns: the type of every variable-length member of a row structure.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace Util {

/// Views `size()` values at `data()`. Owns nothing: whoever fills a row keeps the values alive until the row is stored,
/// and a span that was read from a column dies with the next change of that column.
template <class T>
class USpan {
 public:
  using value_type = T;

  constexpr USpan() = default;
  constexpr USpan(const T* data, std::size_t size) : d_data(data), d_size(size) {}
  constexpr USpan(std::span<const T> values)
      : d_data(values.data()), d_size(values.size()) {}  // NOLINT: a view of a view
  USpan(const std::vector<T>& values)
      : d_data(values.data()), d_size(values.size()) {}  // NOLINT: implicit like std::span
  USpan(std::vector<T>&&) = delete;                      // the list would be gone before the view is read

  constexpr const T* data() const { return d_data; }
  constexpr std::size_t size() const { return d_size; }
  constexpr bool empty() const { return d_size == 0; }
  constexpr const T* begin() const { return d_data; }
  constexpr const T* end() const { return d_data + d_size; }
  constexpr const T& operator[](std::size_t i) const { return d_data[i]; }
  std::vector<T> to_vector() const { return std::vector<T>(begin(), end()); }

 private:
  const T* d_data = nullptr;  // null only when empty
  std::size_t d_size = 0;     // elements
};

}  // namespace Util
