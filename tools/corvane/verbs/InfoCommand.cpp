#include "tools/corvane/verbs/InfoCommand.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "facade/Probe.h"
#include "tools/corvane/layout/Origin.h"
#include "tools/corvane/support/JsonOutput.h"
#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/TableFile.h"
#include "zydata/message/FileProbe.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace CorvaneTool {
namespace {

constexpr std::size_t kPathCharacters = 512;  // of a nested table's path, and of names for programs
constexpr std::size_t kShownPath = 128;
constexpr std::uint64_t kShownValues = 3;
constexpr std::size_t kValueBytes = 200;
constexpr std::size_t kShownValue = 48;

struct ColumnInfo {
  std::string name;
  std::string type;
  std::string kind;  // in words
  std::uint64_t bytes = 0;
  bool is_single = false;
  std::string values;  // the value, or the first ones; empty where none are shown
};

struct TableInfo {
  std::string path;  // from the top-level object down
  std::string type;
  std::string kind;  // in words
  bool is_frame = false;
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;
  std::vector<ColumnInfo> columns;
};

struct FileInfo {
  ZyData::FileProbe probe;
  std::string name;  // of the top-level object
  Mesh2DPlat::FileContent content;
  std::vector<TableInfo> tables;
  std::optional<MeshSource> source;
};

std::string kind_words(std::uint32_t kind) {
  const std::string words = ZyData::kind_to_string(kind);
  return words.empty() ? "value" : words;
}

/// Takes the first bytes that a stream writes, and refuses the rest.
class FirstBytes : public std::streambuf {
 public:
  explicit FirstBytes(std::size_t most) : d_bytes(most, '\0') { setp(d_bytes.data(), d_bytes.data() + most); }
  std::string text() const { return {pbase(), pptr()}; }

 private:
  std::string d_bytes;
};

/// What a data object prints behind its name, kind and length: `1.5`, `"a" "b" …`. Objects in other files are not
/// opened for it.
std::string values_of(ZyData::DataObj& object) {
  const ZyData::Schema& schema = *object.schema();
  if ((schema.kind() & (ZyData::kKindInFile | ZyData::kKindDict | ZyData::kKindSparse)) != 0) return "";
  FirstBytes bytes(schema.name().size() + kValueBytes);
  std::ostream stream(&bytes);
  stream.precision(12);
  object.print(stream, 0);
  std::string text = bytes.text();
  const std::size_t equals = text.find(" = ", text.starts_with(schema.name()) ? schema.name().size() : 0);
  const std::size_t quote = text.find('"');
  const std::size_t begin = equals != std::string::npos ? equals + 3 : std::min(quote, text.size());
  text = text.substr(begin, text.find('\n', begin) - begin);
  if (text.starts_with("[ ") || text == "[]") text.erase(0, 2);
  if (text.ends_with(" ]") || text.ends_with(" []")) text.resize(text.size() - 2);
  if (text.ends_with("]") && text.find('[') == std::string::npos) text.pop_back();
  if (!stream) return text + "…";
  const bool has_more = text.ends_with("...");
  text.resize(text.find_last_not_of(has_more ? " ." : " ") + 1);
  return has_more ? text + " …" : text;
}

std::string nested_path(const std::string& path, const std::string& name) {
  const std::string full = path.empty() ? name : path + "/" + name;
  return full.size() <= kPathCharacters ? full : "…/" + shortened(name, kPathCharacters / 2);
}

/// Lists a record or frame and everything below it.
void list_tables(ZyData::DataObj& object, const std::string& path, std::vector<TableInfo>& tables) {
  const ZyData::Schema& schema = *object.schema();
  const std::size_t place = tables.size();
  const bool is_frame = (schema.kind() & ZyData::kKindFrame) != 0;
  tables.push_back(
      {path, schema.type_name(), kind_words(schema.kind()), is_frame, object.size(), object.size_bytes(), {}});
  for (std::size_t i = 0; i < schema.fields().size(); ++i) {
    const ZyData::Schema& field = *schema.fields()[i];
    ZyData::DataObj& child = *object.field_data()[i];
    if ((field.kind() & (ZyData::kKindRecord | ZyData::kKindFrame)) != 0) {
      list_tables(child, nested_path(path, field.name()), tables);
    } else {
      tables[place].columns.push_back({shortened(field.name(), kPathCharacters),
                                       shortened(field.type_name(), kPathCharacters), kind_words(field.kind()),
                                       child.size_bytes(), !is_frame, values_of(child)});
    }
  }
}

FileInfo inspect(const std::string& path) {
  const TableFile file(path);
  ZyData::DataObj& root = file.root();
  ZyData::set_print_limit(kShownValues);
  FileInfo info;
  info.probe = file.probe();
  info.name = shortened(root.schema()->name(), kPathCharacters);
  info.content = Mesh2DPlat::probeContent(root);
  info.source = source_of_mesh(path);
  if ((root.schema()->kind() & (ZyData::kKindRecord | ZyData::kKindFrame)) != 0) {
    list_tables(root, "", info.tables);
  } else {
    const ZyData::Schema& schema = *root.schema();
    info.tables.push_back(
        {"", schema.type_name(), kind_words(schema.kind()), false, root.size(), root.size_bytes(), {}});
  }
  return info;
}

const char* words(Mesh2DPlat::FileKind kind) {
  switch (kind) {
    case Mesh2DPlat::FileKind::database:
      return "database";
    case Mesh2DPlat::FileKind::mesh:
      return "mesh";
    case Mesh2DPlat::FileKind::other:
      break;
  }
  return "other";
}

nlohmann::ordered_json to_json(const std::string& path, const FileInfo& info) {
  nlohmann::ordered_json tables = nlohmann::ordered_json::array();
  for (const TableInfo& table : info.tables) {
    nlohmann::ordered_json columns = nlohmann::ordered_json::array();
    for (const ColumnInfo& column : table.columns) {
      nlohmann::ordered_json entry = {
          {"name", column.name}, {"type", column.type}, {"kind", column.kind}, {"bytes", column.bytes}};
      if (!column.values.empty()) entry[column.is_single ? "value" : "first"] = column.values;
      columns.push_back(std::move(entry));
    }
    nlohmann::ordered_json entry = {
        {"name", table.path}, {"type", shortened(table.type, kPathCharacters)}, {"kind", table.kind}};
    if (table.is_frame) entry["rows"] = table.rows;
    entry["bytes"] = table.bytes;
    entry["columns"] = std::move(columns);
    tables.push_back(std::move(entry));
  }
  nlohmann::ordered_json json = {{"file", path},
                                 {"bytes", info.probe.file_bytes},
                                 {"name", info.name},
                                 {"holds", words(info.content.kind)},
                                 {"frames", info.probe.frame_count},
                                 {"schema_nodes", info.probe.node_count},
                                 {"trailing_bytes", info.probe.file_bytes - info.probe.message_bytes}};
  if (!info.content.gaps.empty()) json["lacks"] = info.content.text();
  if (info.source) json["source"] = to_json(*info.source);
  json["tables"] = std::move(tables);
  return json;
}

void print_table(std::ostream& stream, const TableInfo& table) {
  stream << '\n' << (table.path.empty() ? "(top level)" : printable(table.path, kShownPath)) << ": ";
  if (table.is_frame) stream << table.rows << " rows, ";
  stream << table.bytes << " bytes, " << table.kind << " of " << printable(table.type, kNameCharacters) << '\n';
  std::vector<std::array<std::string, 3>> cells;
  std::array<std::size_t, 3> widths{};
  for (const ColumnInfo& column : table.columns) {
    cells.push_back({printable(column.name, kNameCharacters), printable(column.type, kNameCharacters), column.kind});
    for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], cells.back()[i].size());
  }
  for (std::size_t row = 0; row < cells.size(); ++row) {
    stream << ' ' << std::left;
    for (std::size_t i = 0; i < widths.size(); ++i)
      stream << ' ' << std::setw(static_cast<int>(widths[i])) << cells[row][i] << ' ';
    const ColumnInfo& column = table.columns[row];
    stream << std::right << std::setw(12) << column.bytes << " bytes";
    if (!column.values.empty()) stream << "  " << printable(column.values, kShownValue);
    stream << '\n';
  }
}

void print_text(std::ostream& stream, const std::string& path, const FileInfo& info) {
  stream << printable(path) << ": " << info.probe.file_bytes << " bytes, \"" << printable(info.name, kNameCharacters)
         << "\", " << info.probe.frame_count << " frames, " << info.probe.node_count << " schema nodes\n";
  if (info.probe.file_bytes > info.probe.message_bytes)
    stream << info.probe.file_bytes - info.probe.message_bytes << " bytes follow the message and are not read\n";
  if (!info.content.gaps.empty())
    stream << "not a whole " << words(info.content.kind) << ": " << printable(info.content.text()) << '\n';
  if (info.source) stream << in_words(*info.source) << '\n';
  for (const TableInfo& table : info.tables) print_table(stream, table);
}

}  // namespace

std::string info_text(const std::string& path) {
  std::ostringstream stream;
  print_text(stream, path, inspect(path));
  return std::move(stream).str();
}

nlohmann::ordered_json info_json(const std::string& path) { return to_json(path, inspect(path)); }

void addInfoCommand(CLI::App& app, int& exitStatus) {
  struct Options {
    std::string file;
    bool json = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("info", "Show the tables and columns of a database file, its settings and first values");
  command->add_option("FILE", options->file, "A .zydat file")->required();
  command->add_flag("--json", options->json, "Print one JSON object");
  command->callback([options, &exitStatus] {
    if (options->json) {
      print_json(info_json(options->file));
    } else {
      std::cout << info_text(options->file);
    }
    exitStatus = 0;
  });
}

}  // namespace CorvaneTool
