// The one error of the board importer.
#pragma once

#include <stdexcept>

namespace CorvaneTool {

/// The text is one line that names the file and, where there is one, the place: `board.kicad_pcb:120:14: ...` (line,
/// then byte in the line, both counted from 1).
class BoardError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace CorvaneTool
