#include "tools/corvane/verbs/CheckCommand.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "facade/Probe.h"
#include "tools/corvane/picture/FileDrawing.h"
#include "tools/corvane/support/JsonOutput.h"
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
      return ", " + std::to_string(result.actualBytes) + " bytes" +
             (result.trailingBytes > 0 ? ", " + std::to_string(result.trailingBytes) + " of them behind the message"
                                       : "");
    case FileFault::cut_short:
      return ": " + std::to_string(result.actualBytes) + " of " + std::to_string(result.expectedBytes) + " bytes, " +
             result.text;
    default:
      return ": " + result.text + place(result);
  }
}

/// Why `render` and `mesh` would refuse the rows of a sound file; empty if they take them, for what is neither layout
/// nor mesh, and for a layout under a name by which no database can be opened.
std::string refusal_of_rows(const std::string& file, const ProbeResult& result) {
  const Mesh2DPlat::FileKind kind = result.content.kind;
  if (result.fault != FileFault::none || kind == Mesh2DPlat::FileKind::other) return "";
  if (kind == Mesh2DPlat::FileKind::database && !file.ends_with(".zydat")) return "";
  try {
    draw_file(file);
    return "";
  } catch (const std::runtime_error& error) {
    const std::string text = error.what();
    return text.starts_with(file + ": ") ? text.substr(file.size() + 2) : text;
  }
}

nlohmann::ordered_json to_json(const std::string& file, const ProbeResult& result, const std::string& refusal) {
  nlohmann::ordered_json entry = {{"file", file}, {"state", words(result.fault)}, {"bytes", result.actualBytes}};
  const auto add = [&](const char* key, const auto& value, bool is_known) {
    if (is_known) entry[key] = value;
  };
  add("trailing_bytes", result.trailingBytes, result.trailingBytes != 0);
  add("expected_bytes", result.expectedBytes, result.expectedBytes != 0);
  add("text", result.text, !result.text.empty());
  add("unknown_type", result.unknownType, !result.unknownType.empty());
  add("table", result.table, !result.table.empty());
  add("column", result.column, !result.column.empty());
  add("offset", result.offset.value_or(0), result.offset.has_value());
  add("refused", refusal, !refusal.empty());
  return entry;
}

int check(const std::vector<std::string>& files, bool strict, bool json) {
  int status = 0;
  nlohmann::ordered_json entries = nlohmann::ordered_json::array();
  for (const std::string& file : files) {
    const ProbeResult result = Mesh2DPlat::probe(file);
    const std::string refusal = strict ? refusal_of_rows(file, result) : "";
    status = std::max(status, exit_status(result.fault));
    if (strict && (result.trailingBytes > 0 || !refusal.empty())) status = std::max(status, 1);
    if (json) {
      entries.push_back(to_json(file, result, refusal));
    } else {
      std::cout << printable(file + ": " + words(result.fault) + details(result));
      if (!refusal.empty()) std::cout << ", but cannot be drawn or meshed: " << printable(refusal);
      std::cout << '\n';
    }
  }
  if (json) print_json(entries);
  return status;
}

}  // namespace

void addCheckCommand(CLI::App& app, int& exitStatus) {
  struct Options {
    std::vector<std::string> files;
    bool strict = false, json = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* verb = app.add_subcommand("check", "Look whether files are sound, without opening them");
  verb->add_option("FILE", options->files, "Database and mesh files, *.zydat")->required();
  verb->add_flag("--strict", options->strict,
                 "Also refuse bytes behind the message, and layouts and meshes that cannot be drawn or meshed");
  verb->add_flag("--json", options->json, "Print a JSON array with one object per file");
  verb->callback([options, &exitStatus] { exitStatus = check(options->files, options->strict, options->json); });
}

}  // namespace CorvaneTool
