#include "tools/corvane/picture/SvgText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "tools/corvane/support/LineText.h"

namespace CorvaneTool {
namespace {

std::int64_t micrometres(std::int64_t nanometres) { return (nanometres + (nanometres < 0 ? -500 : 500)) / 1000; }

// The characters of XML 1.0.
bool is_xml_character(char32_t code) {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  return code != 0xFFFE && code != 0xFFFF;
}

}  // namespace

std::string svg_number(double value, int decimals) {
  char digits[400];  // the largest double has 309 before the point
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals);
  std::string text(digits, end);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
  }
  return text == "-0" ? "0" : text;
}

std::string attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + "\"";
}

std::string attribute(const char* name, double value, int decimals) {
  return attribute(name, svg_number(value, decimals));
}

std::string xml_text(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const Character character = first_character(text);
    text.remove_prefix(std::max<std::size_t>(character.bytes.size(), 1));
    if (character.bytes.empty() || !is_xml_character(character.code)) continue;
    switch (character.code) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += character.bytes;
    }
  }
  return result;
}

void PathData::add_closed(const Point* points, std::size_t count) {
  if (count == 0) return;
  const PathData before = *this;
  add_ring(points, count, 0);
  for (std::int64_t step = 1'000; d_text.size() - before.d_text.size() > kLongestPath; step *= 2) {
    *this = before;
    add_ring(points, count, step);
  }
}

void PathData::add_ring(const Point* points, std::size_t count, std::int64_t shortest_step) {
  begin(points[0]);
  Point last = points[0];
  for (std::size_t i = 1; i < count; ++i) {
    if (std::abs(points[i].x - last.x) + std::abs(points[i].y - last.y) < shortest_step) continue;
    line_to(last = points[i]);
  }
  d_text += 'z';
  d_at = d_start;
}

// A line without length is kept: its round ends make it a dot.
void PathData::add_open(const Outline& points) {
  if (points.empty()) return;
  begin(points[0]);
  const std::size_t length = d_text.size();
  for (const Point point : points) line_to(point);
  if (d_text.size() == length) d_text += "h0";
}

void PathData::begin(Point point) {
  const Point to{micrometres(point.x), micrometres(point.y)};
  d_text += 'm';  // relative, save where a path begins; further points are ends of lines
  append_step(to);
  d_start = to;
}

void PathData::line_to(Point point) {
  const Point to{micrometres(point.x), micrometres(point.y)};
  if (to != d_at) append_step(to);
}

void PathData::append_step(Point to) {
  append_number(to.x - d_at.x);
  append_number(to.y - d_at.y);
  d_at = to;
}

// A minus sign also separates.
void PathData::append_number(std::int64_t number) {
  const bool follows_digit = !d_text.empty() && d_text.back() >= '0' && d_text.back() <= '9';
  if (follows_digit && number >= 0) d_text += ' ';
  d_text += std::to_string(number);
}

}  // namespace CorvaneTool
