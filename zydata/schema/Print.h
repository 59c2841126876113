// The pieces that every debug print is made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

#include "util/Export.h"

namespace ZyData {

/// How many bytes or elements a listing shows before it writes "...": library-wide, 15 at first.
CORVANE_API std::uint64_t print_limit();
CORVANE_API void set_print_limit(std::uint64_t limit);

/// Four blanks per level, at most 40.
CORVANE_API std::string indent_text(int level);

/// True for the bytes 0x20 to 0x7e, whatever the locale.
CORVANE_API bool is_printable(char c);

/// Writes "[ ", each byte as itself or as two hexadecimal digits, each with a blank behind it, "..." when bytes remain
/// beyond the limit, and "]".
CORVANE_API void print_bytes(std::ostream& stream, const void* data, std::uint64_t size);

}  // namespace ZyData
