// Texts from files on their way to a terminal.
#pragma once

#include <algorithm>
#include <string>

namespace CorvaneTool {

/// Names and words of a file may hold anything: control characters become question marks.
inline std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
  return text;
}

}  // namespace CorvaneTool
