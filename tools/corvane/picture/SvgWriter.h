// Drawings as SVG pictures.
#pragma once

#include <string>

#include "tools/corvane/picture/Drawing.h"

namespace CorvaneTool {

struct PictureRequest {
  std::string title;
  int width = 1600;          // pixels
  int highlighted_net = -1;  // position in the drawing's nets
};

struct Picture {
  std::string svg;
  int width = 0;  // pixels
  int height = 0;
};

/// What of a drawing lies in `frame`, under a title, above a legend and a scale bar. The height follows from the frame,
/// within limits: nothing is stretched.
///
/// Layers are groups with ids and titles, bottom first. Inside the picture's transformed group one unit is a
/// micrometre, so coordinates are whole numbers.
Picture write_svg(const Drawing& drawing, const Box& frame, const PictureRequest& request);

}  // namespace CorvaneTool
