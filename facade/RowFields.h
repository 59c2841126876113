// Row structures: how the fields of a table are declared once and used twice.
//
// A row structure lists its fields in a constexpr tuple. declare_rows() makes the class schema from it; RowWriter and
// RowReader take the columns by name, and take rows apart and put them together again, value by value, without a
// virtual call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "util/Error.h"
#include "util/USpan.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/String.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/ClassSchema.h"
#include "zydata/tables/Frame.h"

namespace Mesh2DPlat {

/// One field of row structure P: its column's name, the member that is written to the column, and the one that is read
/// from it.
template <class P, class M>
struct RowField {
  const char* name;
  M P::*written;
  M P::*read;
};

template <class P, class M>
constexpr RowField<P, M> row_field(const char* name, M P::*member) {
  return {name, member, member};
}
template <class P, class M>
constexpr RowField<P, M> row_field(const char* name, M P::*written, M P::*read) {
  return {name, written, read};
}

/// The class schema of row structure P under its table's name. Numbers and enumerations default to 0.
template <class P>
std::shared_ptr<ZyData::ClassSchema<P>> declare_rows() {
  auto schema = std::make_shared<ZyData::ClassSchema<P>>(P::kTable);
  const auto add = [&]<class M>(const RowField<P, M>& field) {
    if constexpr (std::is_arithmetic_v<M> || std::is_enum_v<M>) {
      schema->add(field.written, field.name, 0);
    } else {
      schema->add(field.written, field.name);
    }
  };
  std::apply([&](const auto&... fields) { (add(fields), ...); }, P::fields());
  return schema;
}

/// The class of the columns that hold members of type M.
template <class M>
struct ColumnOf {
  using type = ZyData::Array<M>;
};
template <>
struct ColumnOf<std::string_view> {
  using type = ZyData::StringArray;
};
template <class T>
struct ColumnOf<Util::USpan<T>> {
  using type = ZyData::VarArray<T>;
};

/// A column of numbers, borrowed from the array that holds it.
template <class M>
class ColumnView {
 public:
  ColumnView(ZyData::DataObj& frame, const char* name) : d_values(frame.get<ZyData::Array<M>>(name)->elements()) {}
  M operator[](std::uint64_t row) const { return d_values[row]; }

 private:
  const M* d_values;
};

/// A column of runs of T, seen as Run.
template <class T, class Run, class Column>
class RunColumnView {
 public:
  RunColumnView(ZyData::DataObj& frame, const char* name) {
    const auto column = frame.get<Column>(name);
    d_offsets = column->offsets().data();
    d_values = static_cast<const T*>(column->data());
  }
  Run operator[](std::uint64_t row) const {
    const std::int32_t first = d_offsets[row];
    return Run(d_values + first, static_cast<std::size_t>(d_offsets[row + 1] - first));
  }

 private:
  const std::int32_t* d_offsets;
  const T* d_values;
};

template <>
class ColumnView<std::string_view> : public RunColumnView<char, std::string_view, ZyData::StringArray> {
  using RunColumnView::RunColumnView;
};
template <class T>
class ColumnView<Util::USpan<T>> : public RunColumnView<T, Util::USpan<T>, ZyData::VarArray<T>> {
  using RunColumnView<T, Util::USpan<T>, ZyData::VarArray<T>>::RunColumnView;
};

/// Appends rows to one table, value by value, straight into the vectors of its columns. Nothing else may use the table
/// until done(); a writer that never comes to it leaves the table as it was.
template <class P>
class RowWriter {
 public:
  /// Exactly `count` rows will come. Throws Util::Error when the table or a column is missing or of another type.
  RowWriter(ZyData::DataObj& tree, std::uint64_t count, const char* table = P::kTable)
      : RowWriter(tree.get<ZyData::Frame<P>>(table), count, P::fields()) {}

  void append(const P& row) { append(row, std::make_index_sequence<std::tuple_size_v<Fields>>()); }
  void done() {
    std::apply([](auto&... columns) { (columns.elements.done(), ...); }, d_columns);
    d_frame->complete_rows(d_count);
  }

 private:
  using Fields = decltype(P::fields());

  /// Where one column is found, and how many rows it will take.
  struct Place {
    ZyData::DataObj& frame;
    const char* name;
    std::uint64_t count;
  };
  template <class M>
  struct ColumnWriter {
    explicit ColumnWriter(const Place& at)
        : elements(*at.frame.template get<typename ColumnOf<M>::type>(at.name), at.count) {}
    typename ColumnOf<M>::type::Appender elements;
  };
  template <class Tuple>
  struct Writers;
  template <class... M>
  struct Writers<std::tuple<RowField<P, M>...>> {
    using type = std::tuple<ColumnWriter<M>...>;
  };

  template <class... M>
  RowWriter(std::shared_ptr<ZyData::Frame<P>> frame, std::uint64_t count, const std::tuple<RowField<P, M>...>& fields)
      : d_frame(checked(std::move(frame))),
        d_count(count),
        d_columns(std::apply(
            [&](const auto&... field) {
              return std::tuple<ColumnWriter<M>...>{Place{*d_frame, field.name, count}...};
            },
            fields)) {}

  static std::shared_ptr<ZyData::Frame<P>> checked(std::shared_ptr<ZyData::Frame<P>> frame) {
    frame->check_takes_structures();
    return frame;
  }

  template <std::size_t... i>
  void append(const P& row, std::index_sequence<i...>) {
    constexpr Fields fields = P::fields();
    (std::get<i>(d_columns).elements.append(row.*(std::get<i>(fields).written)), ...);
  }

  std::shared_ptr<ZyData::Frame<P>> d_frame;
  std::uint64_t d_count;  // rows
  typename Writers<Fields>::type d_columns;
};

/// The rows of one table, put together from its columns. Borrows the columns: valid until the table changes.
template <class P>
class RowReader {
 public:
  /// Looks the table and all its columns up in `tree`. Throws Util::Error when one is missing or of another type.
  explicit RowReader(ZyData::DataObj& tree, const char* table = P::kTable)
      : RowReader(*tree.get<ZyData::Frame<P>>(table), P::fields()) {}

  std::uint64_t size() const { return d_size; }

  /// Row `i`; its texts and lists view the columns.
  P operator[](std::uint64_t i) const { return assemble(i, std::make_index_sequence<std::tuple_size_v<Fields>>()); }

 private:
  using Fields = decltype(P::fields());

  template <class Tuple>
  struct Views;
  template <class... M>
  struct Views<std::tuple<RowField<P, M>...>> {
    using type = std::tuple<ColumnView<M>...>;
  };

  template <class... M>
  RowReader(ZyData::DataObj& frame, const std::tuple<RowField<P, M>...>& fields)
      : d_size(frame.size()),
        d_columns(std::apply(
            [&](const auto&... field) { return std::tuple<ColumnView<M>...>{ColumnView<M>(frame, field.name)...}; },
            fields)) {
    for (const auto& column : frame.field_data()) {
      if (column->size() != d_size) throw Util::Error("the columns of table \"%s\" differ in length", P::kTable);
    }
  }

  template <std::size_t... i>
  P assemble(std::uint64_t row, std::index_sequence<i...>) const {
    P result{};
    constexpr Fields fields = P::fields();
    ((result.*(std::get<i>(fields).read) = std::get<i>(d_columns)[row]), ...);
    return result;
  }

  std::uint64_t d_size;  // rows
  typename Views<Fields>::type d_columns;
};

}  // namespace Mesh2DPlat
