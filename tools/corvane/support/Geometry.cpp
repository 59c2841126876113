#include "tools/corvane/support/Geometry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>

namespace CorvaneTool {
namespace {

constexpr double kArcTolerance = 5'000;   // nm between an arc and its chords
constexpr double kMostChords = 720;       // of one arc
constexpr double kStraightRadius = 1e12;  // nm
constexpr double kFullTurn = 2 * std::numbers::pi;

Point rounded(double x, double y) { return {std::llround(x), std::llround(y)}; }

double degrees_to_radians(double degrees) { return degrees * std::numbers::pi / 180; }

// `chords` + 1 points on a circle around (x, y), from `first` degrees through `range` degrees.
void append_circle_part(Outline& outline, double x, double y, double radius, double first, double range, int chords) {
  for (int i = 0; i <= chords; ++i) {
    const double angle = degrees_to_radians(first + range * i / chords);
    outline.push_back(rounded(x + radius * std::cos(angle), y + radius * std::sin(angle)));
  }
}

void append_unless_last(Outline& outline, Point point) {
  if (outline.empty() || outline.back() != point) outline.push_back(point);
}

struct Arc {
  double x, y, radius;  // nm
  double first, range;  // radians
};

// Nothing when the three points lie on a line, or so nearly that the circle is more than a kilometre wide.
std::optional<Arc> arc_through(Point start, Point middle, Point end) {
  const double mx = static_cast<double>(middle.x - start.x), my = static_cast<double>(middle.y - start.y);
  const double ex = static_cast<double>(end.x - start.x), ey = static_cast<double>(end.y - start.y);
  const double cross = 2 * (mx * ey - my * ex);
  if (cross == 0) return std::nullopt;
  const double m2 = mx * mx + my * my, e2 = ex * ex + ey * ey;
  const double cx = (ey * m2 - my * e2) / cross, cy = (mx * e2 - ex * m2) / cross;  // the centre seen from the start
  const double radius = std::hypot(cx, cy);
  if (radius > kStraightRadius) return std::nullopt;
  const double first = std::atan2(-cy, -cx);
  const double upwards = std::fmod(std::atan2(ey - cy, ex - cx) - first + 2 * kFullTurn, kFullTurn);
  return Arc{static_cast<double>(start.x) + cx, static_cast<double>(start.y) + cy, radius, first,
             cross > 0 ? upwards : upwards - kFullTurn};
}

int chord_count(const Arc& arc) {
  const double step = 2 * std::acos(1 - std::min(kArcTolerance / arc.radius, 0.5));
  return static_cast<int>(std::clamp(std::ceil(std::abs(arc.range) / step), 2.0, kMostChords));
}

constexpr double kFarthest = 1e6;  // mm

}  // namespace

bool is_drawable(double millimetres) { return std::abs(millimetres) <= kFarthest; }

std::string not_drawable(double millimetres) {
  char digits[32];
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, millimetres);
  return std::string(digits, end) + ", no length up to a kilometre";
}

Turn::Turn(double degrees) {
  const double angle = std::remainder(degrees, 360);  // -180 to 180
  d_cosine = std::cos(degrees_to_radians(angle));
  d_sine = std::sin(degrees_to_radians(angle));
  if (angle == std::trunc(angle / 90) * 90) {
    d_cosine = std::round(d_cosine);
    d_sine = std::round(d_sine);
  }
}

Point Turn::operator()(double x, double y) const {
  return rounded(x * d_cosine + y * d_sine, y * d_cosine - x * d_sine);
}

Outline Turn::placed(const Outline& outline, Point centre) const {
  Outline result;
  result.reserve(outline.size());
  for (const Point point : outline) result.push_back((*this)(point) + centre);
  return result;
}

Outline circle_outline(std::int64_t diameter) {
  Outline outline;
  append_circle_part(outline, 0, 0, static_cast<double>(diameter) / 2, 0, 337.5, 15);
  return outline;
}

Outline stadium_outline(Point size) {
  const bool is_wide = size.x >= size.y;
  const double radius = static_cast<double>(std::min(size.x, size.y)) / 2;
  const double straight = static_cast<double>(std::max(size.x, size.y)) / 2 - radius;
  Outline outline;
  if (is_wide) {
    append_circle_part(outline, straight, 0, radius, -90, 180, 8);
    append_circle_part(outline, -straight, 0, radius, 90, 180, 8);
  } else {
    append_circle_part(outline, 0, straight, radius, 0, 180, 8);
    append_circle_part(outline, 0, -straight, radius, 180, 180, 8);
  }
  return outline;
}

Outline trapezoid_outline(Point size, Point delta) {
  const double x = static_cast<double>(size.x) / 2, y = static_cast<double>(size.y) / 2;
  const double dx = static_cast<double>(delta.x) / 2, dy = static_cast<double>(delta.y) / 2;
  return {rounded(-x - dy, y + dx), rounded(x + dy, y - dx), rounded(x - dy, -y + dx), rounded(-x + dy, -y - dx)};
}

Outline rounded_outline(Point size, double corner_ratio) {
  const double x = static_cast<double>(size.x) / 2, y = static_cast<double>(size.y) / 2;
  const double radius = 2 * std::min(x, y) * std::clamp(corner_ratio, 0.0, 0.5);
  Outline outline;
  append_circle_part(outline, x - radius, y - radius, radius, 0, 90, 4);
  append_circle_part(outline, radius - x, y - radius, radius, 90, 90, 4);
  append_circle_part(outline, radius - x, radius - y, radius, 180, 90, 4);
  append_circle_part(outline, x - radius, radius - y, radius, 270, 90, 4);
  return outline;
}

void append_arc(Outline& outline, Point start, Point middle, Point end) {
  append_unless_last(outline, start);
  if (const std::optional<Arc> arc = arc_through(start, middle, end)) {
    const int chords = chord_count(*arc);
    for (int i = 1; i < chords; ++i) {
      const double angle = arc->first + arc->range * i / chords;
      append_unless_last(outline,
                         rounded(arc->x + arc->radius * std::cos(angle), arc->y + arc->radius * std::sin(angle)));
    }
  } else {
    append_unless_last(outline, middle);
  }
  append_unless_last(outline, end);
}

}  // namespace CorvaneTool
