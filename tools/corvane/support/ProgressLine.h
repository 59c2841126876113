// What a program is doing, for people who wait.
#pragma once

#include <unistd.h>

#include <iostream>
#include <string>

#include "tools/corvane/support/LineText.h"

namespace CorvaneTool {

/// Overwrites one line of a terminal, and leaves it empty at the end. Pipes and files get nothing.
class ProgressLine {
 public:
  ProgressLine() = default;
  ~ProgressLine() { show(""); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(const std::string& text) const {
    if (d_is_shown) std::cerr << "\r\033[K" << printable(text) << std::flush;
  }

 private:
  bool d_is_shown = ::isatty(STDERR_FILENO) == 1;
};

}  // namespace CorvaneTool
