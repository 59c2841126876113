// Where the parts of a picture go: title, panel with the drawing, legend and scale bar. In pixels.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/corvane/picture/Drawing.h"

namespace CorvaneTool {

struct LegendPlace {
  double x = 0;  // left end of the swatch
  double y = 0;  // base line of the text
};

class PictureFrame {
 public:
  /// `labels` are those of the legend.
  PictureFrame(const Box& content, int width, const std::vector<std::string>& labels);

  double font() const { return d_font; }
  double margin() const { return 1.5 * d_font; }
  double title_line() const { return 2.4 * d_font; }
  double contents_line() const { return 4.1 * d_font; }

  double panel_top() const { return 5.2 * d_font; }
  double panel_width() const { return d_width - 2 * margin(); }
  double panel_height() const { return d_panel_height; }

  /// Pixels per micrometre, and where the content's origin lies.
  double scale() const { return d_scale; }
  double origin_x() const { return d_origin_x; }
  double origin_y() const { return d_origin_y; }

  const std::vector<LegendPlace>& legend() const { return d_legend; }

  double scale_bar_right() const { return d_width - margin(); }
  double scale_bar_line() const { return panel_bottom() + 2.6 * d_font; }
  /// A round length, in millimetres.
  double scale_bar_length() const { return d_scale_bar_length; }
  double scale_bar_pixels() const { return d_scale_bar_length * 1000 * d_scale; }

  int height() const;

  /// Characters of the title's size that fit beside one another.
  std::size_t title_characters() const;
  std::size_t text_characters() const;

 private:
  double panel_bottom() const { return panel_top() + d_panel_height; }
  void place_content(const Box& content);
  void choose_scale_bar();
  void place_legend(const std::vector<std::string>& labels);

  double d_width;
  double d_font;
  double d_panel_height = 0;
  double d_scale = 0;
  double d_origin_x = 0;
  double d_origin_y = 0;
  double d_scale_bar_length = 0;
  std::vector<LegendPlace> d_legend;
};

}  // namespace CorvaneTool
