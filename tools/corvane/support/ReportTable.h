// Tables of a report for people: names to the left, numbers to the right.
#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace CorvaneTool {

using ReportLines = std::vector<std::pair<std::string, std::string>>;

/// An empty line, the two headings and the lines; nothing for an empty table.
void print_table(std::ostream& stream, const std::string& left, const std::string& right, const ReportLines& lines);

/// A number with that many digits after the point.
std::string fixed(double number, int digits);

}  // namespace CorvaneTool
