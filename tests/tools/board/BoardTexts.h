// Small boards for tests, in the words of a chosen format version.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

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

struct Case {
  int version = 0;
  std::string text;
  std::string told;
};

/// The cases of a file in this folder's `cases`: lines of text up to one that begins with ">" and says what is told of
/// them. "version N" holds for all that follow; empty lines and those with "#" say nothing.
inline std::vector<Case> cases(const std::string& file) {
  std::ifstream stream(CORVANE_TEST_DATA "/../tools/board/cases/" + file);
  std::vector<Case> all;
  Case next;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with('>')) {
      all.push_back({next.version, next.text, line.substr(std::min<std::size_t>(line.size(), 2))});
      next.text.clear();
    } else if (line.starts_with("version ")) {
      next.version = std::stoi(line.substr(8));
    } else if (!line.empty() && line[0] != '#') {
      next.text += (next.text.empty() ? "" : "\n") + line;
    }
  }
  EXPECT_GT(all.size(), 10u) << file;
  return all;
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
