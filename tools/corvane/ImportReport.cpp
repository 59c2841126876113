#include "tools/corvane/ImportReport.h"

#include <algorithm>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

namespace CorvaneTool {
namespace {

using Lines = std::vector<std::pair<std::string, std::string>>;

template <class Pairs>
Lines lines_of(const Pairs& pairs) {
  Lines lines;
  for (const auto& [name, count] : pairs) lines.emplace_back(name, std::to_string(count));
  return lines;
}

Lines lines_of_seconds(const ImportReport& report) {
  Lines lines;
  for (const auto& [phase, seconds] : report.seconds) {
    std::ostringstream stream;
    stream << std::fixed << std::setprecision(3) << seconds;
    lines.emplace_back(phase, stream.str());
  }
  return lines;
}

Lines lines_of_skipped(const SkippedItems& skipped) {
  Lines lines;
  for (const auto& [what, count] : skipped.counts())
    lines.emplace_back(what.first + ": " + what.second, std::to_string(count));
  return lines;
}

// Names to the left, numbers to the right; nothing for an empty table.
void print_table(std::ostream& stream, const std::string& left, const std::string& right, const Lines& lines) {
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

}  // namespace

std::string report_text(const ImportReport& report) {
  std::ostringstream stream;
  stream << report.database << ": " << report.bytes << " bytes, read back equal\n";
  print_table(stream, "table", "rows", lines_of(report.rows));
  print_table(stream, "list column", "values", lines_of(report.values));
  print_table(stream, "not mapped, or not as it stands", "items", lines_of_skipped(report.skipped));
  print_table(stream, "phase", "seconds", lines_of_seconds(report));
  return stream.str();
}

std::string report_json(const ImportReport& report) {
  nlohmann::ordered_json json;
  json["database"] = report.database;
  json["bytes"] = report.bytes;
  json["rows"] = nlohmann::ordered_json::object();
  for (const auto& [table, count] : report.rows) json["rows"][table] = count;
  json["values"] = nlohmann::ordered_json::object();
  for (const auto& [column, count] : report.values) json["values"][column] = count;
  json["verified"] = true;  // there is no report of an import that differs
  json["skipped"] = nlohmann::ordered_json::object();
  for (const auto& [what, count] : report.skipped.counts()) json["skipped"][what.first][what.second] = count;
  json["seconds"] = nlohmann::ordered_json::object();
  for (const auto& [phase, seconds] : report.seconds) json["seconds"][phase] = seconds;
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace CorvaneTool
