#include "tools/corvane/verbs/InfoCommand.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/TableFile.h"
#include "zydata/message/FileProbe.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Schema.h"

namespace CorvaneTool {
namespace {

struct ColumnInfo {
  std::string name;
  std::string type;
  std::string kind;  // in words
  std::uint64_t bytes = 0;
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
  std::vector<TableInfo> tables;
};

std::string kind_words(std::uint32_t kind) {
  const std::string words = ZyData::kind_to_string(kind);
  return words.empty() ? "value" : words;
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
      list_tables(child, path.empty() ? field.name() : path + "/" + field.name(), tables);
    } else {
      tables[place].columns.push_back({field.name(), field.type_name(), kind_words(field.kind()), child.size_bytes()});
    }
  }
}

FileInfo inspect(const std::string& path) {
  const TableFile file(path);
  ZyData::DataObj& root = file.root();
  FileInfo info;
  info.probe = file.probe();
  info.name = root.schema()->name();
  if ((root.schema()->kind() & (ZyData::kKindRecord | ZyData::kKindFrame)) != 0) {
    list_tables(root, "", info.tables);
  } else {
    const ZyData::Schema& schema = *root.schema();
    info.tables.push_back(
        {"", schema.type_name(), kind_words(schema.kind()), false, root.size(), root.size_bytes(), {}});
  }
  return info;
}

nlohmann::ordered_json to_json(const std::string& path, const FileInfo& info) {
  nlohmann::ordered_json tables = nlohmann::ordered_json::array();
  for (const TableInfo& table : info.tables) {
    nlohmann::ordered_json columns = nlohmann::ordered_json::array();
    for (const ColumnInfo& column : table.columns) {
      columns.push_back({{"name", column.name}, {"type", column.type}, {"kind", column.kind}, {"bytes", column.bytes}});
    }
    nlohmann::ordered_json entry = {{"name", table.path}, {"type", table.type}, {"kind", table.kind}};
    if (table.is_frame) entry["rows"] = table.rows;
    entry["bytes"] = table.bytes;
    entry["columns"] = std::move(columns);
    tables.push_back(std::move(entry));
  }
  return {{"file", path},
          {"bytes", info.probe.file_bytes},
          {"name", info.name},
          {"frames", info.probe.frame_count},
          {"schema_nodes", info.probe.node_count},
          {"trailing_bytes", info.probe.file_bytes - info.probe.message_bytes},
          {"tables", std::move(tables)}};
}

void print_table(const TableInfo& table) {
  std::cout << '\n' << (table.path.empty() ? "(top level)" : printable(table.path)) << ": ";
  if (table.is_frame) std::cout << table.rows << " rows, ";
  std::cout << table.bytes << " bytes, " << table.kind << " of " << printable(table.type) << '\n';
  std::size_t name_width = 0;
  std::size_t type_width = 0;
  std::size_t kind_width = 0;
  for (const ColumnInfo& column : table.columns) {
    name_width = std::max(name_width, column.name.size());
    type_width = std::max(type_width, column.type.size());
    kind_width = std::max(kind_width, column.kind.size());
  }
  for (const ColumnInfo& column : table.columns) {
    std::cout << "  " << std::left << std::setw(static_cast<int>(name_width)) << printable(column.name) << "  "
              << std::setw(static_cast<int>(type_width)) << printable(column.type) << "  "
              << std::setw(static_cast<int>(kind_width)) << column.kind << "  " << std::right << std::setw(12)
              << column.bytes << " bytes\n";
  }
}

void print_text(const std::string& path, const FileInfo& info) {
  std::cout << path << ": " << info.probe.file_bytes << " bytes, \"" << printable(info.name) << "\", "
            << info.probe.frame_count << " frames, " << info.probe.node_count << " schema nodes\n";
  if (info.probe.file_bytes > info.probe.message_bytes) {
    std::cout << info.probe.file_bytes - info.probe.message_bytes << " bytes follow the message and are not read\n";
  }
  for (const TableInfo& table : info.tables) print_table(table);
}

}  // namespace

void addInfoCommand(CLI::App& app, int& exitStatus) {
  struct Options {
    std::string file;
    bool json = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("info", "Show the tables and columns of a database file");
  command->add_option("FILE", options->file, "A .zydat file")->required();
  command->add_flag("--json", options->json, "Print one JSON object");
  command->callback([options, &exitStatus] {
    const FileInfo info = inspect(options->file);
    if (options->json) {
      std::cout << to_json(options->file, info).dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    } else {
      print_text(options->file, info);
    }
    exitStatus = 0;
  });
}

}  // namespace CorvaneTool
