#include "tools/corvane/support/ReportTable.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace CorvaneTool {

void print_table(std::ostream& stream, const std::string& left, const std::string& right, const ReportLines& lines) {
  if (lines.empty()) return;
  std::size_t left_width = left.size(), right_width = right.size();
  for (const auto& [name, number] : lines) {
    left_width = std::max(left_width, name.size());
    right_width = std::max(right_width, number.size());
  }
  const auto print = [&](const std::string& name, const std::string& number) {
    stream << std::left << std::setw(static_cast<int>(left_width)) << name << "  " << std::right
           << std::setw(static_cast<int>(right_width)) << number << '\n';
  };
  stream << '\n';
  print(left, right);
  for (const auto& [name, number] : lines) print(name, number);
}

std::string fixed(double number, int digits) {
  std::ostringstream stream;
  stream << std::fixed << std::setprecision(digits) << number;
  return stream.str();
}

}  // namespace CorvaneTool
