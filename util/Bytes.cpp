#include "util/Bytes.h"

#include <limits>

#include "util/Error.h"

namespace Util {

void ByteWriter::put_text(std::string_view text) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max())
    throw Error("a text of %zu bytes is too long to be stored", text.size());
  put(static_cast<std::uint32_t>(text.size()));
  put_bytes(text);
}

std::string_view ByteReader::take(std::size_t count) {
  if (count > remaining())
    throw Error("stored parameters end too early: %zu bytes wanted, %zu left", count, remaining());
  const std::string_view result = d_bytes.substr(d_position, count);
  d_position += count;
  return result;
}

std::string_view ByteReader::get_text() {
  const std::size_t start = d_position;
  const auto size = get<std::uint32_t>();
  if (size > remaining()) {
    d_position = start;
    throw Error("stored parameters end too early: a text of %u bytes, %zu left", size, remaining());
  }
  return take(size);
}

}  // namespace Util
