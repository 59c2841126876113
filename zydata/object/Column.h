// What a frame asks of its columns, beside what every data object offers.
//
// Rows are appended in blocks: one call per column and block, so that the cost of a virtual call is shared by many
// rows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "util/Export.h"

namespace ZyData {

class CORVANE_API Column {
 public:
  /// Appends `count` rows from values that lie `stride` bytes apart, the first at `first`: members of a run of
  /// structures. Numbers stand as themselves, texts as std::string_view, lists as Util::USpan.
  virtual void append_strided(const void* first, std::size_t stride, std::uint64_t count) = 0;
  /// Appends rows with the column's default value; texts and lists are empty.
  virtual void append_defaults(std::uint64_t count) = 0;
  /// Drops the rows from `rows` on: how a write that failed half-way is undone.
  virtual void truncate_rows(std::uint64_t rows) noexcept = 0;
  /// Told after a load how many rows the table has, before the column's size is compared with that: a column that has
  /// not opened its file yet takes the number as a promise and checks it when it opens.
  virtual void expect_rows(std::uint64_t /*rows*/) {}

 protected:
  Column() = default;
  Column(const Column&) = default;
  Column& operator=(const Column&) = default;
  ~Column() = default;
};

}  // namespace ZyData
