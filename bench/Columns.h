// Columns as a program would write them by hand for one purpose: typed, reserved, on huge pages, nothing virtual.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/Memory.h"

namespace CorvaneBench {

/// The untyped part of a column.
class Block {
 public:
  explicit Block(std::size_t element_size) : d_element_size(element_size) {}
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  ~Block() {
    if (d_is_owner) std::free(d_data);
  }

  const void* bytes() const { return d_data; }
  std::size_t size() const { return d_size; }
  std::size_t size_bytes() const { return d_size * d_element_size; }

  /// Makes room for as many elements as another column holds; only for an empty one.
  void reserve_like(const Block& other) {
    d_data = allocate_on_huge_pages(other.size_bytes());
    d_capacity = other.size();
  }
  /// Shows memory that belongs to somebody else; only for an empty one.
  void borrow(void* data, std::size_t bytes) {
    d_data = data;
    d_size = bytes / d_element_size;
    d_is_owner = false;
  }

 protected:
  void grow(std::size_t count) {
    if (!d_is_owner) throw std::logic_error("a borrowed column does not grow");
    const std::size_t capacity = std::max({std::size_t{64}, 2 * d_capacity, d_size + count});
    void* larger = allocate_on_huge_pages(capacity * d_element_size);
    if (d_size > 0) std::memcpy(larger, d_data, size_bytes());
    std::free(std::exchange(d_data, larger));
    d_capacity = capacity;
  }

  std::size_t d_element_size;  // bytes
  void* d_data = nullptr;
  std::size_t d_size = 0;      // elements in use
  std::size_t d_capacity = 0;  // elements that d_data can hold
  bool d_is_owner = true;      // of d_data
};

template <class T>
class Column : public Block {
 public:
  Column() : Block(sizeof(T)) {}

  T* data() { return static_cast<T*>(d_data); }
  const T* data() const { return static_cast<const T*>(d_data); }

  void push(T value) {
    if (d_size == d_capacity) grow(1);
    data()[d_size++] = value;
  }
  void append(const T* values, std::size_t count) {
    if (d_capacity - d_size < count) grow(count);
    if (count > 0) std::memcpy(data() + d_size, values, count * sizeof(T));
    d_size += count;
  }
};

/// Runs of differing lengths: offsets, one more than runs, and the values of all runs end to end.
template <class T>
struct RunColumn {
  Column<std::int32_t> offsets;
  Column<T> values;

  /// Before the first run.
  void start() { offsets.push(0); }
  void push(const T* run, std::size_t count) {
    values.append(run, count);
    offsets.push(static_cast<std::int32_t>(values.size()));
  }
  void push(std::string_view text) { push(text.data(), text.size()); }
  void push(const std::vector<T>& run) { push(run.data(), run.size()); }
};

using TextColumn = RunColumn<char>;

/// Where a run column's runs lie, held by value while rows are read.
template <class T>
struct RunView {
  const std::int32_t* offsets;
  const T* values;

  explicit RunView(const RunColumn<T>& column) : offsets(column.offsets.data()), values(column.values.data()) {}
  std::size_t size(std::size_t row) const { return static_cast<std::size_t>(offsets[row + 1] - offsets[row]); }
  const T* begin(std::size_t row) const { return values + offsets[row]; }
  const T* end(std::size_t row) const { return values + offsets[row + 1]; }
  std::string_view text(std::size_t row) const { return {begin(row), size(row)}; }
};

}  // namespace CorvaneBench
