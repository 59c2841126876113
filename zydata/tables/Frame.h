// Frames: tables held column by column, one column data object per field, all of one row count.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "util/Export.h"
#include "zydata/object/Column.h"
#include "zydata/schema/TypeName.h"
#include "zydata/tables/Composite.h"

namespace ZyData {

class ClassSchemaBase;

class CORVANE_API FrameBase : public Composite {
 public:
  using DataObj::print;
  using DataObj::select;

  // --- slots ---
  std::uint64_t size() const override { return d_rows; }  // 1: rows
  /// Takes the row count over from the columns, after they were changed one by one. Throws Util::Error when they
  /// differ.
  void refresh() override;  // 2
  /// A frame that shows the rows [first, first + count) of every column, as far as there are such rows; as for arrays,
  /// `first` counts from the columns' vectors' element 0. It can't be appended to.
  std::shared_ptr<DataObj> slice(std::uint64_t first, std::uint64_t count) override;  // 3
  std::shared_ptr<DataObj> copy(std::uint64_t first, std::uint64_t count) override;   // 4
  std::shared_ptr<DataObj> select(const std::shared_ptr<DataObj>& ids) override;      // 7
  /// A frame of the columns whose indices are listed; they are shared, not copied.
  std::shared_ptr<DataObj> select(const std::vector<std::int32_t>& ids) override;  // 8
  /// The row count, then the columns. Throws Util::Error for columns of unequal length.
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;  // 29
  std::uint64_t size_bytes() const override;                                  // 30
  void finish() override;                                 // 32: throws for columns of unequal length
  void print(int indent) override;                        // 36
  void print(std::ostream& stream, int indent) override;  // 37

  // --- rows ---
  /// For a writer that appends to the columns itself. Throws Util::Error for a slice, and for a table, loaded from a
  /// file, that has no place for a member of its structure.
  void check_takes_structures() const;
  /// Counts `rows` rows that such a writer has appended; a column that it left alone gets its default value. When
  /// anything throws, the rows are gone.
  void complete_rows(std::uint64_t rows);
  /// Drops the rows from `rows` on.
  void truncate_rows(std::uint64_t rows) noexcept;

 protected:
  explicit FrameBase(std::shared_ptr<Schema> schema);
  FrameBase(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> columns, std::uint64_t rows);

  /// Appends `count` structures that lie `stride` bytes apart; all columns or none.
  void append_structures(const void* first, std::size_t stride, std::uint64_t count);

  std::shared_ptr<Schema> field_form(const std::shared_ptr<Schema>& schema) const override;
  void accept(DataObj& new_column, bool created_here) override;
  void check_elements(std::uint64_t count) const override;
  virtual std::shared_ptr<FrameBase> with_columns(std::shared_ptr<Schema> schema,
                                                  std::vector<std::shared_ptr<DataObj>> columns,
                                                  std::uint64_t rows) const = 0;

 private:
  std::uint64_t shown_rows(std::uint64_t first, std::uint64_t count) const;
  void check_row_counts() const;
  const ClassSchemaBase& class_schema() const;
  /// The children as columns; throws when one is none.
  std::vector<Column*> columns() const;

  std::uint64_t d_rows = 0;
  bool d_is_slice = false;
};

/// A table of structures T, or of a plain schema for UntypedClass.
template <class T>
class Frame final : public FrameBase {
 public:
  explicit Frame(std::shared_ptr<Schema> schema) : FrameBase(std::move(schema)) {}
  Frame(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> columns, std::uint64_t rows)
      : FrameBase(std::move(schema), std::move(columns), rows) {}

  /// Appends rows; everything that they view is copied, and must not lie in this frame. When anything throws, no column
  /// has changed. Throws Util::Error when the table, loaded from a file, has no place for a member of T.
  void append_rows(std::span<const T> rows) { append_structures(rows.data(), sizeof(T), rows.size()); }
  void append(const T& row) { append_rows({&row, 1}); }

 private:
  std::shared_ptr<FrameBase> with_columns(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> columns,
                                          std::uint64_t rows) const override {
    return std::make_shared<Frame>(std::move(schema), std::move(columns), rows);
  }
};

extern template class CORVANE_API Frame<UntypedClass>;

}  // namespace ZyData
