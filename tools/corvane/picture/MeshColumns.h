// Columns of mesh tables, and references between their rows, taken from a loaded file as they stand.
//
// Everything here borrows the file's data. Whatever does not hold is a std::runtime_error or Util::Error that names the
// table.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>

#include "tools/corvane/support/SpreadHash.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/String.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/object/data.h"

namespace CorvaneTool {

/// One table; all its columns have as many rows as its ids, of which most tables have some.
class MeshTable {
 public:
  MeshTable(ZyData::DataObj& record, std::string name);

  const std::string& name() const { return d_name; }
  std::size_t rows() const { return d_ids.size(); }
  std::span<const int> ids() const { return d_ids; }

  std::span<const int> integers(const char* column) const;
  std::span<const double> numbers(const char* column) const;
  std::shared_ptr<ZyData::VarArray<int>> integer_lists(const char* column) const;
  std::shared_ptr<ZyData::VarArray<double>> number_lists(const char* column) const;
  std::shared_ptr<ZyData::StringArray> texts(const char* column) const;

  /// "meshnode row 7"
  std::string row_name(std::size_t row) const { return d_name + " row " + std::to_string(row); }

 private:
  template <class Column>
  std::shared_ptr<Column> column(const char* name) const;

  ZyData::DataObj& d_record;
  std::string d_name;
  std::span<const int> d_ids;
};

/// Finds rows by the ids that other rows name.
class RowsById {
 public:
  /// Of rows with the same id the first one counts.
  explicit RowsById(const MeshTable& table);

  /// The row with this id, which stands in `column` of another table's `row`. Throws when there is none.
  int find(int id, const MeshTable& from, const char* column, std::size_t row) const;
  /// -1, which names nothing, for -1.
  int find_or_none(int id, const MeshTable& from, const char* column, std::size_t row) const {
    return id == -1 ? -1 : find(id, from, column, row);
  }

 private:
  std::string d_table;
  std::size_t d_rows;
  bool d_ids_are_rows = true;                         // as in every mesh that was numbered as it was built
  std::unordered_map<int, int, SpreadHash> d_row_of;  // only if they are not
};

}  // namespace CorvaneTool
