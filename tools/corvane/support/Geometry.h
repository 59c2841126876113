// Points, turning, and the outlines of pads and holes in whole nanometres: x to the right, y downwards, angles in
// degrees as board files count them (counterclockwise for a viewer whose y axis points down).
//
// Outlines are lists of corners, not closed. Those that have a size lie around the origin.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CorvaneTool {

struct Point {
  std::int64_t x = 0;
  std::int64_t y = 0;
  bool operator==(const Point&) const = default;
};

inline Point operator+(Point left, Point right) { return {left.x + right.x, left.y + right.y}; }

using Outline = std::vector<Point>;

/// Whether a length of a file, in millimetres, is a number and at most a kilometre.
bool is_drawable(double millimetres);

/// "inf, no length up to a kilometre"
std::string not_drawable(double millimetres);

/// Turns by one angle; exact for multiples of 90 degrees, else rounded to the nearest nanometre.
class Turn {
 public:
  explicit Turn(double degrees);

  Point operator()(double x, double y) const;
  Point operator()(Point point) const { return (*this)(static_cast<double>(point.x), static_cast<double>(point.y)); }

  /// Turns every point of the outline around the origin, then moves it.
  Outline placed(const Outline& outline, Point centre) const;

 private:
  double d_cosine;
  double d_sine;
};

Outline circle_outline(std::int64_t diameter);             // 16 points
Outline stadium_outline(Point size);                       // 18: two half circles of 8 chords
Outline trapezoid_outline(Point size, Point delta);        // 4; a rectangle without delta
Outline rounded_outline(Point size, double corner_ratio);  // 20: 4 chords a corner; radius / shorter side
void append_arc(Outline& outline, Point start, Point middle,
                Point end);  // chords at most 5 micrometres off, both ends included

}  // namespace CorvaneTool
