#include "tools/corvane/board/Stackup.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "tools/corvane/board/BoardNumbers.h"

namespace CorvaneTool {
namespace {

constexpr std::int64_t kUsualThickness = 1'600'000;  // nm, where the board gives none
constexpr std::int64_t kUsualCopper = 35'000;
constexpr std::int64_t kBothMasks = 20'000;

// Sums are kept as doubles: exact for whole nanometres up to some thousand kilometres, and harmless beyond.
struct StackLayer {
  bool is_copper;
  double thickness;  // nm
};

// A dielectric may consist of several sheets, each with a thickness of its own.
double total_thickness(const Item& layer) {
  double total = 0;
  for (const Item child : layer) {
    if (child.is_list() && child.word() == "thickness" && child.atom(0))
      total += static_cast<double>(nanometres(child.atom(0)));
  }
  return total;
}

// From top to bottom.
std::vector<StackLayer> read_stackup(const Item& stackup) {
  std::vector<StackLayer> layers;
  for (const Item child : stackup) {
    if (!child.is_list() || child.word() != "layer") continue;
    layers.push_back({child.find("type").atom(0).word() == "copper", total_thickness(child)});
  }
  return layers;
}

// Nothing unless the stack has as many copper layers as the board.
std::optional<std::vector<double>> stackup_heights(const std::vector<StackLayer>& stack, std::size_t copper_count) {
  std::vector<double> heights;
  double height = 0;  // nm above the bottom copper's lower face
  for (auto layer = stack.rbegin(); layer != stack.rend(); ++layer) {
    if (layer->is_copper) heights.push_back((2 * height + layer->thickness) / 2e6);
    if (!heights.empty()) height += layer->thickness;
  }
  if (heights.size() != copper_count) return std::nullopt;
  std::reverse(heights.begin(), heights.end());
  return heights;
}

std::vector<double> equal_gap_heights(std::int64_t thickness, std::size_t copper_count) {
  const auto gaps = static_cast<double>(copper_count > 1 ? copper_count - 1 : 1);
  // From one mid-plane to the next but for the division by the gaps; a board thinner than its copper lies flat.
  const auto rise = static_cast<double>(std::max<std::int64_t>(thickness - kBothMasks - kUsualCopper, 0));
  std::vector<double> heights;
  for (std::size_t i = copper_count; i-- > 0;) {
    heights.push_back((static_cast<double>(kUsualCopper) / 2 * gaps + static_cast<double>(i) * rise) / (gaps * 1e6));
  }
  return heights;
}

}  // namespace

std::vector<double> copper_heights(const Item& board, std::size_t copper_count) {
  const std::optional<std::vector<double>> heights =
      stackup_heights(read_stackup(board.find("setup").find("stackup")), copper_count);
  if (heights) return *heights;
  return equal_gap_heights(nanometres_in(board.find("general"), "thickness", kUsualThickness), copper_count);
}

}  // namespace CorvaneTool
