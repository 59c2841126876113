#include "tools/corvane/verbs/ImportReport.h"

#include <sstream>

#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/ReportTable.h"

namespace CorvaneTool {
namespace {

template <class Pairs>
ReportLines lines_of(const Pairs& pairs) {
  ReportLines lines;
  for (const auto& [name, count] : pairs) lines.emplace_back(name, std::to_string(count));
  return lines;
}

ReportLines lines_of_seconds(const ImportReport& report) {
  ReportLines lines;
  for (const auto& [phase, seconds] : report.seconds) lines.emplace_back(phase, fixed(seconds, 3));
  return lines;
}

ReportLines lines_of_skipped(const SkippedItems& skipped) {
  ReportLines lines;
  for (const auto& [what, count] : skipped.counts())
    lines.emplace_back(printable(what.first, kNameCharacters) + ": " + what.second, std::to_string(count));
  return lines;
}

}  // namespace

std::string report_text(const ImportReport& report) {
  std::ostringstream stream;
  stream << printable(report.database) << ": " << report.bytes << " bytes, read back equal\n";
  print_table(stream, "table", "rows", lines_of(report.rows));
  print_table(stream, "list column", "values", lines_of(report.values));
  print_table(stream, "not mapped, or not as it stands", "items", lines_of_skipped(report.skipped));
  print_table(stream, "phase", "seconds", lines_of_seconds(report));
  return stream.str();
}

nlohmann::ordered_json report_json(const ImportReport& report) {
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
  return json;
}

}  // namespace CorvaneTool
