#include "tools/corvane/verbs/CheckCommand.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "facade/Probe.h"
#include "tools/corvane/support/LineText.h"

namespace CorvaneTool {
namespace {

using Mesh2DPlat::ProbeResult;
using ZyData::FileFault;

const char* words(FileFault fault) {
  switch (fault) {
    case FileFault::none:
      return "sound";
    case FileFault::missing:
      return "missing";
    case FileFault::unreadable:
      return "unreadable";
    case FileFault::empty:
      return "empty";
    case FileFault::not_ours:
      return "not ours";
    case FileFault::cut_short:
      return "cut short";
    case FileFault::unknown_type:
      return "unknown type";
    case FileFault::damaged:
      return "damaged";
  }
  return "";
}

int exit_status(FileFault fault) {
  if (fault == FileFault::none) return 0;
  return fault == FileFault::missing || fault == FileFault::unreadable ? 2 : 1;
}

/// " (table em2dvertex, column x, byte 812)"
std::string place(const ProbeResult& result) {
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? " (" : ", ") + part; };
  if (!result.table.empty()) add("table " + result.table);
  if (!result.column.empty()) add("column " + result.column);
  if (result.offset) add("byte " + std::to_string(*result.offset));
  return text.empty() ? text : text + ")";
}

std::string details(const ProbeResult& result) {
  switch (result.fault) {
    case FileFault::none:
      return ", " + std::to_string(result.actualBytes) + " bytes";
    case FileFault::cut_short:
      return ": " + std::to_string(result.actualBytes) + " of " + std::to_string(result.expectedBytes) + " bytes, " +
             result.text;
    default:
      return ": " + result.text + place(result);
  }
}

nlohmann::ordered_json to_json(const std::string& file, const ProbeResult& result) {
  nlohmann::ordered_json entry = {{"file", file}, {"state", words(result.fault)}, {"bytes", result.actualBytes}};
  const auto add = [&](const char* key, const auto& value, bool is_known) {
    if (is_known) entry[key] = value;
  };
  add("expected_bytes", result.expectedBytes, result.expectedBytes != 0);
  add("text", result.text, !result.text.empty());
  add("unknown_type", result.unknownType, !result.unknownType.empty());
  add("table", result.table, !result.table.empty());
  add("column", result.column, !result.column.empty());
  add("offset", result.offset.value_or(0), result.offset.has_value());
  return entry;
}

int check(const std::vector<std::string>& files, bool json) {
  int status = 0;
  nlohmann::ordered_json entries = nlohmann::ordered_json::array();
  for (const std::string& file : files) {
    const ProbeResult result = Mesh2DPlat::probe(file);
    status = std::max(status, exit_status(result.fault));
    if (json) {
      entries.push_back(to_json(file, result));
    } else {
      std::cout << printable(file + ": " + words(result.fault) + details(result)) << '\n';
    }
  }
  if (json) std::cout << entries.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
  return status;
}

}  // namespace

void addCheckCommand(CLI::App& app, int& exitStatus) {
  const auto files = std::make_shared<std::vector<std::string>>();
  const auto json = std::make_shared<bool>(false);
  CLI::App* verb = app.add_subcommand("check", "Look whether files are sound, without opening them");
  verb->add_option("FILE", *files, "Database and mesh files, *.zydat")->required();
  verb->add_flag("--json", *json, "Print a JSON array with one object per file");
  verb->callback([files, json, &exitStatus] { exitStatus = check(*files, *json); });
}

}  // namespace CorvaneTool
