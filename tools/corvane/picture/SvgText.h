// Pieces of SVG: numbers, texts and outlines. Nothing here depends on the locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/corvane/support/Geometry.h"

namespace CorvaneTool {

/// With at most so many decimals, and no zeros at their end.
std::string svg_number(double value, int decimals = 2);

/// " name=\"value\""; the value stands there as it is.
std::string attribute(const char* name, const std::string& value);
std::string attribute(const char* name, double value, int decimals = 2);

/// Text between tags or in double quotes. What XML can't hold (control characters, broken UTF-8) is dropped.
std::string xml_text(std::string_view text);

inline constexpr std::size_t kLongestPath = 512 * 1024;  // bytes, roughly, of a PathData for which a new one begins

/// The value of an attribute `d`, in whole micrometres.
class PathData {
 public:
  /// Of a ring with very many corners, those that lie close to the one before are left out, as few as it takes for the
  /// ring to stay below half a megabyte: readers of SVG have limits.
  void add_closed(const Point* points, std::size_t count);
  void add_closed(const Outline& points) { add_closed(points.data(), points.size()); }
  void add_open(const Outline& points);

  const std::string& text() const { return d_text; }

 private:
  void add_ring(const Point* points, std::size_t count, std::int64_t shortest_step);
  void begin(Point point);
  void line_to(Point point);
  void append_step(Point to);
  void append_number(std::int64_t number);

  std::string d_text;
  Point d_at;     // micrometres; where the path ends
  Point d_start;  // where its last part began, which is where closing it leads
};

}  // namespace CorvaneTool
