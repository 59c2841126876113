// What the timed programs work on: layouts of a stated size.
#pragma once

#include <cstddef>
#include <string>

#include "tools/corvane/layout/Layout.h"

namespace CorvaneBench {

/// `rows` vertices on eight layers and as many traces between them, with texts of 0 to 19 bytes; the same on every run.
/// Shuffled: the lists name the objects in an arbitrary order, so that neighbours lie anywhere in memory.
CorvaneTool::Layout made_up_layout(std::size_t rows, bool shuffled);

/// `copies` x `copies` copies of a board side by side.
CorvaneTool::Layout board_panel(const std::string& board_file, int copies);

/// The largest board file below `folder`; empty when there is none.
std::string largest_board(const std::string& folder);

}  // namespace CorvaneBench
