#include "zydata/schema/Print.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>

namespace ZyData {
namespace {

constexpr int kMaxIndentLevel = 10;
constexpr int kBlanksPerLevel = 4;

std::uint64_t& current_print_limit() {
  static std::uint64_t limit = 15;
  return limit;
}

}  // namespace

std::uint64_t print_limit() { return current_print_limit(); }

void set_print_limit(std::uint64_t limit) { current_print_limit() = limit; }

std::string indent_text(int level) {
  return std::string(static_cast<std::size_t>(kBlanksPerLevel * std::clamp(level, 0, kMaxIndentLevel)), ' ');
}

bool is_printable(char c) { return c >= 0x20 && c <= 0x7e; }

void print_bytes(std::ostream& stream, const void* data, std::uint64_t size) {
  const char* bytes = static_cast<const char*>(data);
  stream << "[ ";
  for (std::uint64_t i = 0; i < std::min(size, print_limit()); ++i) {
    if (is_printable(bytes[i])) {
      stream << bytes[i] << ' ';
    } else {
      std::array<char, 4> digits{};
      std::snprintf(digits.data(), digits.size(), "%02x ", static_cast<unsigned>(static_cast<unsigned char>(bytes[i])));
      stream << digits.data();
    }
  }
  if (size > print_limit()) stream << "...";
  stream << ']';
}

}  // namespace ZyData
