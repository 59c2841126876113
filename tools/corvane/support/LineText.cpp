#include "tools/corvane/support/LineText.h"

#include <algorithm>

namespace CorvaneTool {
namespace {

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; }

// Of a character of `length` bytes, whose first one says so.
char32_t decoded(std::string_view bytes) {
  const auto byte = [&](std::size_t at) { return static_cast<char32_t>(static_cast<unsigned char>(bytes[at])); };
  if (bytes.size() == 1) return byte(0);
  char32_t code = byte(0) & (0x7FU >> bytes.size());
  for (std::size_t at = 1; at < bytes.size(); ++at) code = code << 6U | (byte(at) & 0x3FU);
  return code;
}

bool obeyed_by_terminals(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(std::string_view bytes) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text.append("\\x").append(1, kDigits[value >> 4U]).append(1, kDigits[value & 15U]);
  }
  return text;
}

}  // namespace

Character first_character(std::string_view text) {
  if (text.empty()) return {};
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
  if (length == 0 || length > text.size()) return {};
  const std::string_view bytes = text.substr(0, length);
  if (!std::all_of(bytes.begin() + 1, bytes.end(), is_continuation)) return {};
  const char32_t code = decoded(bytes);
  const bool is_too_long = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  if (is_too_long || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return {};
  return {bytes, code};
}

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const Character character = first_character(text);
    const std::string_view bytes = character.bytes.empty() ? text.substr(0, 1) : character.bytes;
    if (character.bytes.empty() || obeyed_by_terminals(character.code)) {
      result += escaped(bytes);
    } else {
      result += bytes;
    }
    text.remove_prefix(bytes.size());
  }
  return result;
}

std::string printable(std::string_view text, std::size_t characters) { return printable(shortened(text, characters)); }

std::string one_line(const std::string& text) {
  std::string line;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\n') {
      line += text[at];
      continue;
    }
    at = std::min(text.find_first_not_of(" \n", at), text.size()) - 1;
    if (at + 1 < text.size()) line += ": ";
  }
  return printable(line);
}

std::string shortened(std::string_view text, std::size_t characters) {
  std::size_t end = 0;  // of all but the last allowed character
  std::string_view rest = text;
  for (std::size_t seen = 0; !rest.empty(); ++seen) {
    if (seen == characters) return std::string(text.substr(0, end)) + "…";
    if (seen + 1 == characters) end = text.size() - rest.size();
    rest.remove_prefix(std::max<std::size_t>(first_character(rest).bytes.size(), 1));
  }
  return std::string(text);
}

}  // namespace CorvaneTool
