// Lengths on a command line.
#pragma once

#include <charconv>
#include <string>
#include <system_error>

namespace CorvaneTool {

/// For CLI::Option::check: what is wrong with the text of a length in millimetres; empty for nothing.
inline std::string positive_length(const std::string& text) {
  double length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  const bool is_length = error == std::errc() && end == text.data() + text.size() && length > 0 && length <= 1e6;
  return is_length ? std::string() : "\"" + text + "\" is no length in mm above 0 and up to a kilometre";
}

}  // namespace CorvaneTool
