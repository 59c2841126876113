#include "bench/Workload.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <random>
#include <system_error>

#include "tools/corvane/board/Board.h"
#include "tools/corvane/layout/LayoutBuilder.h"

namespace CorvaneBench {
namespace {

using namespace Mesh2DPlat;
using CorvaneTool::Layout;

constexpr std::size_t kLayers = 8;
constexpr std::size_t kRowsPerNet = 1000;
constexpr std::size_t kRowsPerLayer = 500;  // neighbours mostly share their layer

/// Texts of all lengths from 0 to 19: those that a string keeps inside itself and those that it keeps elsewhere.
std::string text_of(std::size_t row) {
  std::string text = std::to_string(row * 2654435761U % 10000000000U);
  text.resize(row % 20, '.');
  return text;
}

void make_layers_and_nets(Layout& layout, std::size_t rows) {
  for (std::size_t i = 0; i < kLayers; ++i) {
    layout.layers.make(static_cast<int>(i), "In" + std::to_string(i) + ".Cu", 0.2 * static_cast<double>(i));
  }
  for (std::size_t i = 0; i <= rows / kRowsPerNet; ++i) {
    layout.nets.make(static_cast<int>(i), EM2DNet::Type::Signal, "/bus/net" + std::to_string(i));
  }
}

void make_vertices(Layout& layout, std::size_t rows) {
  for (std::size_t i = 0; i < rows; ++i) {
    const std::size_t layer = i / kRowsPerLayer % kLayers;
    EM2DLayer* upper = layer == 0 ? nullptr : layout.layers[layer - 1];
    EM2DLayer* lower = layer + 1 == kLayers ? nullptr : layout.layers[layer + 1];
    const auto at = static_cast<double>(i);
    layout.vertices.make(static_cast<int>(i), text_of(i), 0.01 * at, 250.0 - 0.003 * at, layout.layers[layer]->z(),
                         static_cast<int>(i % 3), layout.layers[layer], upper, lower, static_cast<int>(i % 8));
  }
}

void make_traces(Layout& layout, std::size_t rows) {
  for (std::size_t i = 0; i < rows; ++i) {
    layout.traces.make(text_of(i + 7), layout.nets[i / kRowsPerNet], layout.vertices[i],
                       layout.vertices[(i + 1) % rows], 150000);
  }
}

template <class T>
void shuffle(CorvaneTool::OwnedList<T>& list, std::mt19937_64& random) {
  std::shuffle(list.handed_over().begin(), list.handed_over().end(), random);
}

}  // namespace

Layout made_up_layout(std::size_t rows, bool shuffled) {
  Layout layout;
  make_layers_and_nets(layout, rows);
  make_vertices(layout, rows);
  make_traces(layout, rows);
  if (!shuffled) return layout;
  std::mt19937_64 random(20240607);
  shuffle(layout.vertices, random);
  shuffle(layout.traces, random);
  return layout;
}

Layout board_panel(const std::string& board_file, int copies) {
  const CorvaneTool::SourceText text = CorvaneTool::SourceText::read_file(board_file);
  CorvaneTool::SkippedItems skipped;
  const Layout board = CorvaneTool::build_layout(CorvaneTool::read_board(text), "panel", skipped);
  return CorvaneTool::panel(board, copies, copies);
}

std::string largest_board(const std::string& folder) {
  std::string largest;
  std::uintmax_t bytes = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
    if (entry.path().extension() != ".kicad_pcb" || entry.file_size() <= bytes) continue;
    bytes = entry.file_size();
    largest = entry.path();
  }
  return largest;
}

}  // namespace CorvaneBench
