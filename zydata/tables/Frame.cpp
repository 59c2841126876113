#include "zydata/tables/Frame.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/arrays/Array.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/ClassSchema.h"

namespace ZyData {

template class Frame<UntypedClass>;

namespace {

Column& as_column(DataObj& data) {
  auto* column = dynamic_cast<Column*>(&data);
  if (column == nullptr) throw Util::Error("\"%s\" can't be a column of a table", data.schema()->name().c_str());
  return *column;
}

}  // namespace

FrameBase::FrameBase(std::shared_ptr<Schema> schema) : Composite(std::move(schema)) { refresh(); }

FrameBase::FrameBase(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> columns, std::uint64_t rows)
    : Composite(std::move(schema), std::move(columns)), d_rows(rows) {}

void FrameBase::refresh() {
  const std::uint64_t rows = field_data().empty() ? 0 : field_data().front()->size();
  for (const auto& column : field_data()) {
    if (column->size() == rows) continue;
    throw Util::Error("column \"%s\" of table \"%s\" has %lu rows, the first column %lu",
                      column->schema()->name().c_str(), schema()->name().c_str(), column->size(), rows);
  }
  d_rows = rows;
}

// Columns count from their vectors' element 0, also in a slice.
std::uint64_t FrameBase::shown_rows(std::uint64_t first, std::uint64_t count) const {
  if (!field_data().empty()) return field_data().front()->slice(first, count)->size();
  return first >= d_rows ? 0 : std::min(count, d_rows - first);
}

std::shared_ptr<DataObj> FrameBase::slice(std::uint64_t first, std::uint64_t count) {
  const std::uint64_t shown = shown_rows(first, count);
  std::vector<std::shared_ptr<DataObj>> parts;
  for (const auto& column : field_data()) parts.push_back(column->slice(first, shown));
  const std::shared_ptr<FrameBase> result = with_columns(schema()->clone(nullptr), std::move(parts), shown);
  result->d_is_slice = true;
  return result;
}

std::shared_ptr<DataObj> FrameBase::copy(std::uint64_t first, std::uint64_t count) {
  const std::uint64_t shown = shown_rows(first, count);
  std::vector<std::shared_ptr<DataObj>> parts;
  for (const auto& column : field_data()) parts.push_back(column->copy(first, shown));
  return with_columns(schema()->clone(nullptr), std::move(parts), shown);
}

std::shared_ptr<DataObj> FrameBase::select(const std::shared_ptr<DataObj>& ids) { return select(ids->to_id_vector()); }

std::shared_ptr<DataObj> FrameBase::select(const std::vector<std::int32_t>& ids) {
  std::vector<std::shared_ptr<DataObj>> chosen;
  std::shared_ptr<Schema> selected = select_fields(ids, chosen);
  return with_columns(std::move(selected), std::move(chosen), d_rows);
}

void FrameBase::vectorize(FrameList& frames, std::shared_ptr<DataObj> self) {
  check_row_counts();
  frames.push_back(std::make_shared<FixedMemoryData>(&d_rows, sizeof d_rows, self));
  vectorize_children(frames);
}

std::uint64_t FrameBase::size_bytes() const { return sizeof d_rows + children_size_bytes(); }

void FrameBase::finish() {
  Composite::finish();
  for (Column* column : columns()) column->expect_rows(d_rows);
  check_row_counts();
}

void FrameBase::print(int indent) {
  print(std::cout, indent);
  std::cout << std::endl;
}

void FrameBase::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << schema()->type_name() << " Frame[" << d_rows << "] {\n";
  for (const auto& column : field_data()) column->print(stream, indent + 1);
  stream << indent_text(indent) << "}\n";
}

void FrameBase::truncate_rows(std::uint64_t rows) noexcept {
  for (const auto& part : field_data()) {
    if (auto* column = dynamic_cast<Column*>(part.get())) column->truncate_rows(rows);
  }
  d_rows = std::min(d_rows, rows);
}

const ClassSchemaBase& FrameBase::class_schema() const {
  const auto* result = dynamic_cast<const ClassSchemaBase*>(schema().get());
  if (result == nullptr) throw Util::Error("table \"%s\" is not bound to a structure", schema()->name().c_str());
  return *result;
}

void FrameBase::check_takes_structures() const {
  if (d_is_slice) throw Util::Error(std::string(kSliceRefusal));
  class_schema().check_holds_all_members();
  check_described();
  check_row_counts();
}

void FrameBase::complete_rows(std::uint64_t rows) {
  try {
    for (const auto& part : field_data()) {
      if (part->size() == d_rows) as_column(*part).append_defaults(rows);
      UTIL_ASSERT(part->size() == d_rows + rows);
    }
  } catch (...) {
    truncate_rows(d_rows);
    throw;
  }
  d_rows += rows;
}

void FrameBase::append_structures(const void* first, std::size_t stride, std::uint64_t count) {
  check_takes_structures();
  if (count == 0) return;
  const ClassSchemaBase& members = class_schema();
  const std::vector<Column*> targets = columns();
  try {
    for (std::size_t i = 0; i < targets.size(); ++i) {
      const ClassFieldAccess& access = members.access(i);
      if (access.usable()) {
        targets[i]->append_strided(access.address(first), stride, count);
      } else {
        targets[i]->append_defaults(count);
      }
    }
  } catch (...) {
    truncate_rows(d_rows);
    throw;
  }
  d_rows += count;
}

std::shared_ptr<Schema> FrameBase::field_form(const std::shared_ptr<Schema>& form) const {
  if ((form->kind() & kKindHasFields) != 0) schema()->check_takes_frames();
  const bool is_column = (form->kind() & (kKindArray | kKindMMapVarArray)) != 0;
  return is_column ? form : form->vector_form();
}

void FrameBase::accept(DataObj& new_column, bool created_here) {
  Column& column = as_column(new_column);
  if (created_here && new_column.size() < d_rows) column.append_defaults(d_rows - new_column.size());
  if (field_data().empty()) d_rows = new_column.size();
  check_elements(new_column.size());
}

void FrameBase::check_elements(std::uint64_t count) const {
  if (count == d_rows) return;
  throw Util::Error("%lu elements do not fit table \"%s\" of %lu rows", count, schema()->name().c_str(), d_rows);
}

void FrameBase::check_row_counts() const {
  for (const auto& column : field_data()) {
    if (column->size() == d_rows) continue;
    throw Util::Error("column \"%s\" of table \"%s\" has %lu rows, the table %lu", column->schema()->name().c_str(),
                      schema()->name().c_str(), column->size(), d_rows);
  }
}

std::vector<Column*> FrameBase::columns() const {
  std::vector<Column*> result;
  result.reserve(field_data().size());
  for (const auto& part : field_data()) result.push_back(&as_column(*part));
  return result;
}

}  // namespace ZyData
