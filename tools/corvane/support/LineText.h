// Texts from files on their way to a terminal.
#pragma once

#include <algorithm>
#include <string>
#include <utility>

namespace CorvaneTool {

/// Names and words of a file may hold anything: control characters become question marks.
inline std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
  return text;
}

/// Messages of the library put the system's text on a line of its own.
inline std::string one_line(const std::string& text) {
  std::string line;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\n') {
      line += text[at];
      continue;
    }
    at = std::min(text.find_first_not_of(" \n", at), text.size()) - 1;
    if (at + 1 < text.size()) line += ": ";
  }
  return printable(std::move(line));
}

}  // namespace CorvaneTool
