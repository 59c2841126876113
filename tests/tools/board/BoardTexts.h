// Small boards for tests, in the words of a chosen format version.
#pragma once

#include <string>

#include "tools/corvane/board/Board.h"
#include "tools/corvane/board/BoardError.h"
#include "tools/corvane/layout/LayoutBuilder.h"

namespace BoardTexts {

/// Two copper layers and two others, nets 1 "GND" and 2 "SIG" (declared where the version declares nets), then `items`.
inline std::string two_layer_text(int version, const std::string& items) {
  const std::string bottom = version >= 20241030 ? "2" : "31";
  const std::string nets = version >= 20251028 ? "" : "(net 0 \"\") (net 1 GND) (net 2 \"SIG\")\n";
  return "(kicad_pcb (version " + std::to_string(version) + ")\n(layers (0 \"F.Cu\" signal) (" + bottom +
         " B.Cu signal) (37 \"F.SilkS\" user) (39 F.Mask user))\n" + nets + items + "\n)\n";
}

inline CorvaneTool::Board board_of(const std::string& text) {
  return CorvaneTool::read_board(CorvaneTool::SourceText("b.kicad_pcb", text));
}

inline CorvaneTool::Board two_layer_board(int version, const std::string& items) {
  return board_of(two_layer_text(version, items));
}

inline CorvaneTool::Layout layout_of(const CorvaneTool::Board& board) {
  CorvaneTool::SkippedItems skipped;
  return CorvaneTool::build_layout(board, "case", skipped);
}

/// The message of the BoardError that reading this text throws.
inline std::string board_error(const std::string& text) {
  try {
    board_of(text);
  } catch (const CorvaneTool::BoardError& error) {
    return error.what();
  }
  return "<nothing thrown>";
}

}  // namespace BoardTexts
