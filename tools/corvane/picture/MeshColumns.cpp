#include "tools/corvane/picture/MeshColumns.h"

#include <limits>
#include <stdexcept>
#include <utility>

namespace CorvaneTool {

MeshTable::MeshTable(ZyData::DataObj& record, std::string name)
    : d_record(record), d_name(std::move(name)), d_ids(record.get<ZyData::Array<int>>(d_name + "/id")->span()) {
  if (d_ids.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw std::runtime_error(d_name + ": more rows than ids can tell apart");
}

template <class Column>
std::shared_ptr<Column> MeshTable::column(const char* name) const {
  std::shared_ptr<Column> column = d_record.get<Column>(d_name + "/" + name);
  if (column->size() == rows()) return column;
  throw std::runtime_error(d_name + ": column \"" + name + "\" has " + std::to_string(column->size()) + " rows, not " +
                           std::to_string(rows()));
}

std::span<const int> MeshTable::integers(const char* name) const { return column<ZyData::Array<int>>(name)->span(); }

std::span<const double> MeshTable::numbers(const char* name) const {
  return column<ZyData::Array<double>>(name)->span();
}

std::shared_ptr<ZyData::VarArray<int>> MeshTable::integer_lists(const char* name) const {
  return column<ZyData::VarArray<int>>(name);
}

std::shared_ptr<ZyData::VarArray<double>> MeshTable::number_lists(const char* name) const {
  return column<ZyData::VarArray<double>>(name);
}

std::shared_ptr<ZyData::StringArray> MeshTable::texts(const char* name) const {
  return column<ZyData::StringArray>(name);
}

RowsById::RowsById(const MeshTable& table) : d_table(table.name()), d_rows(table.rows()) {
  const std::span<const int> ids = table.ids();
  for (std::size_t row = 0; row < d_rows && d_ids_are_rows; ++row) d_ids_are_rows = ids[row] == static_cast<int>(row);
  if (d_ids_are_rows) return;
  d_row_of.reserve(d_rows);
  for (std::size_t row = 0; row < d_rows; ++row) d_row_of.emplace(ids[row], static_cast<int>(row));
}

int RowsById::find(int id, const MeshTable& from, const char* column, std::size_t row) const {
  if (d_ids_are_rows) {
    if (id >= 0 && static_cast<std::size_t>(id) < d_rows) return id;
  } else if (const auto entry = d_row_of.find(id); entry != d_row_of.end()) {
    return entry->second;
  }
  throw std::runtime_error(from.row_name(row) + ": column \"" + column + "\" names " + std::to_string(id) +
                           ", which is not in table \"" + d_table + "\"");
}

}  // namespace CorvaneTool
