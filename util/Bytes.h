// Little-endian numbers in byte areas: what the parameter and node tables of a file are made of.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "util/Export.h"

namespace Util {

static_assert(std::endian::native == std::endian::little,
              "stored numbers are little-endian and are copied as they stand");

template <class T>
concept FixedWidthNumber = std::same_as<T, std::uint8_t> || std::same_as<T, std::uint32_t> ||
    std::same_as<T, std::int32_t> || std::same_as<T, std::uint64_t>;

/// The number at `bytes`, which needs no alignment.
template <FixedWidthNumber T>
T load(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// Appends numbers and texts to a byte area of its own.
class CORVANE_API ByteWriter {
 public:
  template <FixedWidthNumber T>
  void put(T value) {
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    d_bytes.append(bytes, sizeof value);
  }
  void put_bytes(std::string_view bytes) { d_bytes.append(bytes); }
  /// A u32 byte count, then the bytes. Throws Util::Error for a text of 4 GiB and more.
  void put_text(std::string_view text);

  std::size_t size() const { return d_bytes.size(); }
  const std::string& bytes() const { return d_bytes; }
  std::string take() { return std::move(d_bytes); }

 private:
  std::string d_bytes;
};

/// Reads numbers and texts from a borrowed byte area, front to back. Every reading past the end throws Util::Error and
/// moves nothing.
class CORVANE_API ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : d_bytes(bytes) {}

  template <FixedWidthNumber T>
  T get() {
    return load<T>(take(sizeof(T)).data());
  }
  /// The counterpart of put_text. The view lives as long as the area.
  std::string_view get_text();
  std::size_t remaining() const { return d_bytes.size() - d_position; }

 private:
  std::string_view take(std::size_t count);

  std::string_view d_bytes;
  std::size_t d_position = 0;  // bytes read so far
};

}  // namespace Util
