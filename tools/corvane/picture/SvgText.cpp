#include "tools/corvane/picture/SvgText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace CorvaneTool {
namespace {

std::int64_t micrometres(std::int64_t nanometres) { return (nanometres + (nanometres < 0 ? -500 : 500)) / 1000; }

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; }

// Bytes of the character that the text begins with; 0 if it begins with none.
std::size_t character_length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
  if (length == 0 || length > text.size()) return 0;
  return std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), is_continuation) ? length
                                                                                                            : 0;
}

std::uint32_t code_point(std::string_view character) {
  if (character.size() == 1) return static_cast<unsigned char>(character.front());
  std::uint32_t code = static_cast<unsigned char>(character.front()) & (0x7FU >> character.size());
  for (const char byte : character.substr(1)) code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  return code;
}

// The characters of XML 1.0, without the longer spellings of shorter characters.
bool is_xml_character(std::string_view character) {
  const std::uint32_t code = code_point(character);
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  if (character.size() == 3 && code < 0x800) return false;
  if (character.size() == 4 && (code < 0x10000 || code > 0x10FFFF)) return false;
  return code < 0xD800 || (code > 0xDFFF && code != 0xFFFE && code != 0xFFFF);
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
    const std::size_t length = character_length(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    text.remove_prefix(character.size());
    if (length == 0 || !is_xml_character(character)) continue;
    switch (character.front()) {
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
        result += character;
    }
  }
  return result;
}

std::string shortened(const std::string& text, std::size_t characters) {
  std::size_t seen = 0, end = text.size();  // `end`: of all but the last allowed character
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (is_continuation(text[at])) continue;
    if (++seen == characters) end = at;
  }
  return seen <= characters ? text : text.substr(0, end) + "…";
}

void PathData::add_closed(const Point* points, std::size_t count) {
  if (count == 0) return;
  begin(points[0]);
  for (std::size_t i = 1; i < count; ++i) line_to(points[i]);
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
