// The error of a row that names an object which the tables given to a `read` do not have.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "util/Export.h"

namespace Mesh2DPlat {

/// The text is the same for every row; where it happened stands in the accessors.
class CORVANE_API DanglingReference : public std::out_of_range {
 public:
  explicit DanglingReference(std::string id);

  /// The table whose row names the missing object: "em2dtrace". Rows count from 0.
  const std::string& table() const { return d_table; }
  std::uint64_t row() const { return d_row; }

  /// What is missing: an id in digits, or a name.
  const std::string& id() const { return d_id; }

  /// For the loop over the rows, which knows.
  void set_place(std::string table, std::uint64_t row) {
    d_table = std::move(table);
    d_row = row;
  }

 private:
  std::string d_id;
  std::string d_table;
  std::uint64_t d_row = 0;
};

}  // namespace Mesh2DPlat
