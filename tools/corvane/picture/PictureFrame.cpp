#include "tools/corvane/picture/PictureFrame.h"

#include <algorithm>
#include <cmath>

namespace CorvaneTool {
namespace {

// Widths of characters differ, and so do fonts; these are generous averages, in font sizes.
constexpr double kTitleCharacter = 0.8;
constexpr double kCharacter = 0.58;

constexpr double kTallest = 1.5;  // panel, in its widths
constexpr double kFlattest = 0.12;
constexpr double kLongestBar = 0.2;  // in panel widths
constexpr double kSwatch = 1.8;      // with the gap to its text, in font sizes
constexpr double kLegendGap = 1.6;
constexpr double kLegendLine = 1.75;

double micrometres(std::int64_t nanometres) { return static_cast<double>(nanometres) / 1000; }

// The text's characters, not its bytes.
double characters_in(const std::string& text) {
  return static_cast<double>(std::count_if(
      text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }));
}

// 1, 2 or 5 times a power of ten, and as long as it may be.
double round_length(double longest) {
  const double power = std::pow(10, std::floor(std::log10(longest)));
  for (const double factor : {5.0, 2.0}) {
    if (factor * power <= longest) return factor * power;
  }
  return power;
}

}  // namespace

PictureFrame::PictureFrame(const Box& content, int width, const std::vector<std::string>& labels)
    : d_width(width), d_font(std::max(width / 100.0, 5.0)) {
  place_content(content);
  choose_scale_bar();
  place_legend(labels);
}

// With a border all around, so that nothing touches the panel's rim and even a point has a scale.
void PictureFrame::place_content(const Box& content) {
  const double width = micrometres(content.high.x - content.low.x),
               height = micrometres(content.high.y - content.low.y);
  const double border = std::max(0.02 * std::max(width, height), 100.0);
  const double ratio = (height + 2 * border) / (width + 2 * border);
  d_panel_height = panel_width() * std::clamp(ratio, kFlattest, kTallest);
  d_scale = std::min(panel_width() / (width + 2 * border), d_panel_height / (height + 2 * border));
  d_origin_x = d_width / 2 - d_scale * (micrometres(content.low.x) + width / 2);
  d_origin_y = panel_top() + d_panel_height / 2 - d_scale * (micrometres(content.low.y) + height / 2);
}

void PictureFrame::choose_scale_bar() {
  d_scale_bar_length = round_length(kLongestBar * panel_width() / d_scale / 1000);
}

// From left to right, in as many lines as it takes, beside the scale bar.
void PictureFrame::place_legend(const std::vector<std::string>& labels) {
  const double right = margin() + panel_width() * (1 - kLongestBar) - 2 * d_font;
  double x = margin(), y = panel_bottom() + 2 * d_font;
  for (const std::string& label : labels) {
    const double width = (kSwatch + kCharacter * characters_in(label)) * d_font;
    if (x > margin() && x + width > right) {
      x = margin();
      y += kLegendLine * d_font;
    }
    d_legend.push_back({x, y});
    x += width + kLegendGap * d_font;
  }
}

int PictureFrame::height() const {
  const double last_line = d_legend.empty() ? 0 : d_legend.back().y;
  return static_cast<int>(std::ceil(std::max(last_line, scale_bar_line()) + 1.3 * d_font));
}

std::size_t PictureFrame::title_characters() const {
  return static_cast<std::size_t>(panel_width() / (kTitleCharacter * d_font));
}

std::size_t PictureFrame::text_characters() const {
  return static_cast<std::size_t>(panel_width() / (kCharacter * d_font));
}

}  // namespace CorvaneTool
