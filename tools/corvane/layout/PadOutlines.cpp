#include "tools/corvane/layout/PadOutlines.h"

namespace CorvaneTool {
namespace {

// Around the origin, before turning; empty for an unknown shape.
Outline basic_outline(const Pad& pad) {
  switch (pad.shape) {
    case PadShape::Circle:
    case PadShape::CustomOnCircle:
      return circle_outline(pad.size.x);
    case PadShape::Oval:
      return stadium_outline(pad.size);
    case PadShape::Rectangle:
    case PadShape::CustomOnRectangle:
      return trapezoid_outline(pad.size, Point());
    case PadShape::Trapezoid:
      return trapezoid_outline(pad.size, pad.delta);
    case PadShape::RoundedRectangle:
      return rounded_outline(pad.size, pad.corner_ratio);
    case PadShape::Other:
      return {};
  }
  return {};
}

}  // namespace

std::vector<Outline> pad_outlines(const Pad& pad) {
  const Turn turn(pad.angle);
  const Point centre = pad.position + turn(pad.offset);
  std::vector<Outline> outlines;
  if (pad.shape != PadShape::Other) outlines.push_back(turn.placed(basic_outline(pad), centre));
  for (const Outline& polygon : pad.polygons) {
    if (!polygon.empty()) outlines.push_back(turn.placed(polygon, centre));
  }
  return outlines;
}

Outline hole_outline(const Pad& pad) { return Turn(pad.angle).placed(stadium_outline(pad.hole), pad.position); }

}  // namespace CorvaneTool
