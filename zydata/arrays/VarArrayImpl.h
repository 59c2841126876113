// Definitions of the variable-array templates, for sources that need runs of an element type of their own.
#pragma once

#include <algorithm>
#include <exception>
#include <iostream>
#include <utility>

#include "util/Error.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/object/Value.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

/// Writes up to the print limit of values, separated by blanks, and " ..." for the rest.
template <class T>
void print_run(std::ostream& stream, Util::USpan<T> run) {
  const std::uint64_t shown = std::min<std::uint64_t>(run.size(), print_limit());
  for (std::uint64_t i = 0; i < shown; ++i) {
    if (i > 0) stream << ' ';
    print_value(stream, checked_value(run[i]));
  }
  if (run.size() > shown) stream << " ...";
}

template <class T>
std::vector<std::int32_t> run_to_ids(std::span<const T> values) {
  if constexpr (kIsIntegralElement<T>) {
    std::vector<std::int32_t> ids;
    ids.reserve(values.size());
    for (const T& value : values) ids.push_back(static_cast<std::int32_t>(checked_value(value)));
    return ids;
  } else {
    throw Util::Error("VarArray<T>::to_id_vector is not available for non-integral T");
  }
}

template <class T, class Run, class Memory>
std::shared_ptr<DataObj> RunArray<T, Run, Memory>::slice(std::uint64_t first, std::uint64_t count) {
  return view(this->shared_offsets(), d_values, first, count);
}

template <class T, class Run, class Memory>
std::shared_ptr<DataObj> RunArray<T, Run, Memory>::copy(std::uint64_t first, std::uint64_t count) {
  const std::uint64_t shown = this->shown_elements(first, count);
  const Range source = this->values_of(first, shown);
  const auto values = d_values->empty_like();
  add_values(*values, values_vector().data() + source.first, source.size);
  return view(this->copy_offsets(first, shown), values, 0, kToTheEnd);
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::concat(const DataObj& other) {
  const auto* source = dynamic_cast<const RunArray*>(&other);
  if (source == nullptr)
    throw Util::Error("only an array of the same type can be appended to \"%s\"", this->schema()->name().c_str());
  // The source may be this array, whose view the first append resets.
  const std::uint64_t first = source->start();
  const std::uint64_t count = source->size();
  const std::uint64_t before = this->offset_vector()->size() - 1;
  try {
    for (std::uint64_t i = 0; i < count; ++i) {
      const Range at = source->values_of(first + i, 1);
      append(Run(source->values_vector().data() + at.first, at.size));
    }
  } catch (...) {
    truncate_rows(before);
    throw;
  }
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::vectorize(FrameList& frames, std::shared_ptr<DataObj> /*self*/) {
  if constexpr (!Memory::kMapped) {
    this->settle();
    const auto offsets = this->offset_vector();
    const std::uint64_t first = std::min(this->start(), offsets->size() - 1);
    const Range values = this->values_of(first, this->size());
    frames.push_back(
        std::make_shared<ElementFrame<CpuVector<std::int32_t>>>(this->schema(), offsets, first, this->size() + 1));
    frames.push_back(std::make_shared<ElementFrame<CpuVector<T>>>(this->schema(), d_values, values.first, values.size));
  }
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::finish() {
  Table::finish();
  if constexpr (!Memory::kMapped) normalise_loaded(d_values->data(), d_values->size());
}

template <class T, class Run, class Memory>
std::uint64_t RunArray<T, Run, Memory>::size_bytes() const {
  return (this->size() + 1) * sizeof(std::int32_t) + values().size_bytes();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::add_values(Values& target, const T* first, std::uint64_t count) {
  target.append(first, count);
  if constexpr (std::is_same_v<T, bool>) normalise_loaded(target.data() + target.size() - count, count);
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::append(Run values) {
  this->check_modifiable();
  this->check_room(values.size());
  this->settle();
  Offsets& offsets = *this->shared_offsets();
  UTIL_ASSERT_TEXT(static_cast<std::uint64_t>(offsets.entries.back()) == offsets.base + value_count(),
                   "offsets->back() == int(values->size())");
  offsets.entries.grow_for_append(1);
  add_values(*d_values, values.data(), values.size());
  offsets.entries.push_back(static_cast<std::int32_t>(value_count()));
  offsets.filled = offsets.entries.size() - 1;
  this->reset_view();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::set(std::uint64_t i, Run values) {
  this->check_modifiable();
  this->check_in_order(i, order_refusal());
  this->check_room(values.size());
  add_values(*d_values, values.data(), values.size());
  this->store_end(this->start() + i);
  this->reset_view();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::resize(std::uint64_t n) {
  this->check_modifiable();
  UTIL_ASSERT_TEXT(n >= this->size(), "siz>=size()");
  if (n < this->offset_vector()->size() - 1) throw Util::Error(std::string(kSliceRefusal));
  this->settle();
  this->grow_elements(n);
  this->reset_view();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::assign(std::span<const std::int32_t> offsets, std::span<const T> values) {
  this->check_modifiable();
  const bool described = !offsets.empty() && offsets.front() == 0 && std::is_sorted(offsets.begin(), offsets.end()) &&
                         static_cast<std::uint64_t>(offsets.back()) == values.size();
  if (!described)
    throw Util::Error("the offsets given for array \"%s\" do not describe its values", this->schema()->name().c_str());
  const auto entries = this->offset_vector();
  entries->reserve(offsets.size());
  if (!values.empty()) d_values->reserve(values.size());
  entries->truncate(0);
  entries->append(offsets.data(), offsets.size());
  d_values->truncate(0);
  add_values(*d_values, values.data(), values.size());
  this->shared_offsets()->filled = offsets.size() - 1;
  ++this->shared_offsets()->revision;
  this->reset_view();
}

template <class T, class Run, class Memory>
std::span<const T> RunArray<T, Run, Memory>::values() const {
  this->settle();
  const Range shown = this->values_of(this->start(), this->size());
  return {values_vector().data() + shown.first, shown.size};
}

template <class T, class Run, class Memory>
RunArray<T, Run, Memory>::Appender::Appender(RunArray& array, std::uint64_t count)
    : d_array(array), d_before(array.size()), d_first_value(array.values_vector().size()), d_count(count) {
  array.check_whole();
  array.check_modifiable();
  array.settle();
  d_next_end = array.shared_offsets()->entries.append_for_overwrite(count);
  d_end = d_first_value;
  commit();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::Appender::commit() {
  auto& values = *d_array.d_values;
  values.append_for_overwrite(d_end - values.size());
  d_values = values.data();
  d_limit = std::min<std::uint64_t>(values.capacity(), INT32_MAX);
}

template <class T, class Run, class Memory>
std::uint64_t RunArray<T, Run, Memory>::Appender::expected_values() const {
  constexpr std::uint64_t kSample = 256;                                    // elements; fewer say little
  constexpr double kSlack = 1.05;                                           // later ones may be a little longer
  constexpr double kAtOnce = static_cast<double>(256U << 20U) / sizeof(T);  // or far shorter: then growth just doubles
  const std::int32_t* first = d_array.shared_offsets()->entries.data() + d_before + 1;
  const auto come = static_cast<std::uint64_t>(d_next_end - first);
  if (come < kSample) return 0;
  const double mean = static_cast<double>(d_end - d_first_value) / static_cast<double>(come);
  const double expected = mean * static_cast<double>(d_count - come) * kSlack;
  return static_cast<std::uint64_t>(std::min({expected, kAtOnce, static_cast<double>(INT32_MAX - d_end)}));
}

// The room that is expected may be far more than needed, so a lack of memory or of disk space for it is no failure.
template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::Appender::make_room(std::uint64_t values) {
  commit();
  d_array.check_room(values);
  try {
    d_array.d_values->grow_for_append(std::max(values, expected_values()));
  } catch (const std::exception&) {
    d_array.d_values->grow_for_append(values);
  }
  commit();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::Appender::done() {
  commit();
  const auto& offsets = d_array.shared_offsets();
  offsets->filled = offsets->entries.size() - 1;
  d_array.reset_view();
  d_done = true;
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::append_strided(const void* first, std::size_t stride, std::uint64_t count) {
  Appender elements(*this, count);
  const char* run = static_cast<const char*>(first);
  for (std::uint64_t i = 0; i < count; ++i, run += stride) elements.append(*reinterpret_cast<const Run*>(run));
  elements.done();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::append_defaults(std::uint64_t count) {
  this->check_whole();
  this->check_modifiable();
  this->settle();
  this->grow_elements(this->size() + count);
  this->shared_offsets()->filled = this->offset_vector()->size() - 1;
  this->reset_view();
}

template <class T, class Run, class Memory>
void RunArray<T, Run, Memory>::truncate_rows(std::uint64_t rows) noexcept {
  if (rows >= this->size()) return;
  if constexpr (Memory::kMapped) {
    try {
      this->check_modifiable();
    } catch (const std::exception&) {  // nothing is dropped from a window, nor from files that can't be opened
      return;
    }
  }
  this->drop_elements(rows);
  d_values->truncate(static_cast<std::uint64_t>(this->shared_offsets()->entries.back()));
}

template <class T>
VarArray<T>::VarArray(std::shared_ptr<Schema> schema)
    : VarArray(std::move(schema), std::make_shared<RunOffsets>(), std::make_shared<CpuVector<T>>(), 0, kToTheEnd) {}

template <class T, class Memory>
void NumberRuns<T, Memory>::set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                                      const GenericValue& values) {
  if (!name.empty())
    throw Util::Error("variable array \"%s\" has no field named '%s'", this->schema()->name().c_str(), name.c_str());
  this->assign(offsets, values.elements<T>());
}

template <class T, class Memory>
std::vector<std::int32_t> NumberRuns<T, Memory>::to_id_vector() const {
  return run_to_ids<T>(this->values());
}

template <class T, class Memory>
GenericValue NumberRuns<T, Memory>::get(int i) const {
  const Run run = this->run(static_cast<std::uint64_t>(i));
  return checked_copy(run.data(), run.size());
}

template <class T, class Memory>
void NumberRuns<T, Memory>::set(int i, const GenericValue& value) {
  this->set(static_cast<std::uint64_t>(i), Run(value.elements<T>()));
}

template <class T, class Memory>
void NumberRuns<T, Memory>::print(int indent) {
  print(std::cout, indent);
}

template <class T, class Memory>
void NumberRuns<T, Memory>::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << this->schema()->name() << (Memory::kMapped ? " MMapVarArray[" : " VarArray[")
         << this->size() << "] = [ ";
  const std::uint64_t shown = std::min(this->size(), print_limit());
  for (std::uint64_t i = 0; i < shown; ++i) {
    stream << '[';
    print_run(stream, this->run(i));
    stream << "] ";
  }
  if (this->size() > shown) stream << " ...";
  stream << "]\n" << std::flush;
}

template <class T>
std::shared_ptr<DataObj> VarArray<T>::view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<T>> values,
                                           std::uint64_t start, std::uint64_t count) const {
  return std::shared_ptr<VarArray>(new VarArray(this->schema(), std::move(offsets), std::move(values), start, count));
}

template <class T>
void VarValue<T>::set(Util::USpan<T> values) {
  auto replacement = std::make_shared<CpuVector<T>>();
  replacement->append(values.data(), values.size());
  d_values = std::move(replacement);
}

template <class T>
std::vector<std::int32_t> VarValue<T>::to_id_vector() const {
  return run_to_ids<T>(d_values->elements());
}

template <class T>
void VarValue<T>::vectorize(FrameList& frames, std::shared_ptr<DataObj> /*self*/) {
  frames.push_back(std::make_shared<ElementFrame<CpuVector<T>>>(schema(), d_values, 0, size()));
}

template <class T>
void VarValue<T>::finish() {
  normalise_loaded(d_values->data(), d_values->size());
}

template <class T>
void VarValue<T>::print(int indent) {
  print(std::cout, indent);
}

template <class T>
void VarValue<T>::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << schema()->name() << " VarValue = [";
  print_run(stream, run());
  stream << "]\n" << std::flush;
}

}  // namespace ZyData
