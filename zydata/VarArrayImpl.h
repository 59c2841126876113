// Definitions of the variable-array templates, for sources that need runs of an element type of their own.
#pragma once

#include <algorithm>
#include <iostream>
#include <new>
#include <utility>

#include "util/Error.h"
#include "zydata/Print.h"
#include "zydata/Schema.h"
#include "zydata/VarArray.h"

namespace ZyData {

/// Writes up to the print limit of values, separated by blanks, and " ..." for the rest.
template <class T>
void print_run(std::ostream& stream, Util::USpan<T> run) {
  const std::uint64_t shown = std::min<std::uint64_t>(run.size(), print_limit());
  for (std::uint64_t i = 0; i < shown; ++i) {
    if (i > 0) stream << ' ';
    print_value(stream, run[i]);
  }
  if (run.size() > shown) stream << " ...";
}

template <class T>
std::vector<std::int32_t> run_to_ids(std::span<const T> values) {
  if constexpr (kIsIntegralElement<T>) {
    std::vector<std::int32_t> ids;
    ids.reserve(values.size());
    for (const T& value : values) ids.push_back(static_cast<std::int32_t>(value));
    return ids;
  } else {
    throw Util::Error("VarArray<T>::to_id_vector is not available for non-integral T");
  }
}

template <class T, class Run>
std::shared_ptr<DataObj> RunArray<T, Run>::slice(std::uint64_t first, std::uint64_t count) {
  return view(shared_offsets(), d_values, first, count);
}

template <class T, class Run>
std::shared_ptr<DataObj> RunArray<T, Run>::copy(std::uint64_t first, std::uint64_t count) {
  const std::uint64_t shown = shown_elements(first, count);
  const Range source = values_of(first, shown);
  auto values = std::make_shared<CpuVector<T>>();
  values->append(d_values->data() + source.first, source.size);
  return view(copy_offsets(first, shown), std::move(values), 0, kToTheEnd);
}

template <class T, class Run>
void RunArray<T, Run>::concat(const DataObj& other) {
  const auto* source = dynamic_cast<const RunArray*>(&other);
  if (source == nullptr)
    throw Util::Error("only an array of the same type can be appended to \"%s\"", schema()->name().c_str());
  const std::uint64_t count = source->size();
  check_room(source->values().size());
  for (std::uint64_t i = 0; i < count; ++i) append(source->run(i));
}

template <class T, class Run>
void RunArray<T, Run>::vectorize(FrameList& frames, std::shared_ptr<DataObj> /*self*/) {
  settle();
  const std::uint64_t first = std::min(start(), offset_vector()->size() - 1);
  const Range values = values_of(first, size());
  frames.push_back(
      std::make_shared<ElementFrame<CpuVector<std::int32_t>>>(schema(), offset_vector(), first, size() + 1));
  frames.push_back(std::make_shared<ElementFrame<CpuVector<T>>>(schema(), d_values, values.first, values.size));
}

template <class T, class Run>
std::uint64_t RunArray<T, Run>::size_bytes() const {
  return (size() + 1) * sizeof(std::int32_t) + values().size_bytes();
}

template <class T, class Run>
void RunArray<T, Run>::append(Run values) {
  check_modifiable();
  check_room(values.size());
  settle();
  offset_vector()->grow_for_append(1);
  d_values->append(values.data(), values.size());
  grow_elements(offset_vector()->size());
  store_end(offset_vector()->size() - 2);
  reset_view();
}

template <class T, class Run>
void RunArray<T, Run>::set(std::uint64_t i, Run values) {
  check_modifiable();
  check_in_order(i, order_refusal());
  check_room(values.size());
  d_values->append(values.data(), values.size());
  store_end(start() + i);
  reset_view();
}

template <class T, class Run>
void RunArray<T, Run>::resize(std::uint64_t n) {
  check_modifiable();
  UTIL_ASSERT_TEXT(n >= offset_vector()->size() - 1, "siz>=size()");
  settle();
  grow_elements(n);
  reset_view();
}

template <class T, class Run>
void RunArray<T, Run>::assign(std::span<const std::int32_t> offsets, std::span<const T> values) {
  check_modifiable();
  const bool described = !offsets.empty() && offsets.front() == 0 && std::is_sorted(offsets.begin(), offsets.end()) &&
                         static_cast<std::uint64_t>(offsets.back()) == values.size();
  if (!described)
    throw Util::Error("the offsets given for array \"%s\" do not describe its values", schema()->name().c_str());
  const auto entries = offset_vector();
  entries->reserve(offsets.size());
  if (!values.empty()) d_values->reserve(values.size());
  entries->truncate(0);
  entries->append(offsets.data(), offsets.size());
  d_values->truncate(0);
  d_values->append(values.data(), values.size());
  shared_offsets()->filled = offsets.size() - 1;
  reset_view();
}

template <class T, class Run>
std::span<const T> RunArray<T, Run>::values() const {
  settle();
  const Range shown = values_of(start(), size());
  return {d_values->data() + shown.first, shown.size};
}

template <class T, class Run>
RunArray<T, Run>::Appender::Appender(RunArray& array, std::uint64_t count)
    : d_array(array), d_before(array.size()), d_first_value(array.d_values->size()), d_count(count) {
  array.check_whole();
  array.settle();
  d_next_end = array.shared_offsets()->entries.append_for_overwrite(count);
  d_end = d_first_value;
  commit();
}

template <class T, class Run>
void RunArray<T, Run>::Appender::commit() {
  auto& values = *d_array.d_values;
  values.append_for_overwrite(d_end - values.size());
  d_values = values.data();
  d_limit = std::min<std::uint64_t>(values.capacity(), INT32_MAX);
}

template <class T, class Run>
std::uint64_t RunArray<T, Run>::Appender::expected_values() const {
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

// The room that is expected may be far more than needed, so a lack of memory for it is no failure.
template <class T, class Run>
void RunArray<T, Run>::Appender::make_room(std::uint64_t values) {
  commit();
  d_array.check_room(values);
  try {
    d_array.d_values->grow_for_append(std::max(values, expected_values()));
  } catch (const std::bad_alloc&) {
    d_array.d_values->grow_for_append(values);
  }
  commit();
}

template <class T, class Run>
void RunArray<T, Run>::Appender::done() {
  commit();
  const auto& offsets = d_array.shared_offsets();
  offsets->filled = offsets->entries.size() - 1;
  d_array.reset_view();
  d_done = true;
}

template <class T, class Run>
void RunArray<T, Run>::append_strided(const void* first, std::size_t stride, std::uint64_t count) {
  Appender elements(*this, count);
  const char* run = static_cast<const char*>(first);
  for (std::uint64_t i = 0; i < count; ++i, run += stride) elements.append(*reinterpret_cast<const Run*>(run));
  elements.done();
}

template <class T, class Run>
void RunArray<T, Run>::append_defaults(std::uint64_t count) {
  check_whole();
  settle();
  grow_elements(size() + count);
  shared_offsets()->filled = offset_vector()->size() - 1;
  reset_view();
}

template <class T, class Run>
void RunArray<T, Run>::truncate_rows(std::uint64_t rows) noexcept {
  if (rows >= size()) return;
  drop_elements(rows);
  d_values->truncate(static_cast<std::uint64_t>(shared_offsets()->entries.back()));
}

template <class T>
VarArray<T>::VarArray(std::shared_ptr<Schema> schema)
    : VarArray(std::move(schema), std::make_shared<RunOffsets>(), std::make_shared<CpuVector<T>>(), 0, kToTheEnd) {}

template <class T>
void VarArray<T>::set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                            const GenericValue& values) {
  if (!name.empty())
    throw Util::Error("variable array \"%s\" has no field named '%s'", this->schema()->name().c_str(), name.c_str());
  this->assign(offsets, values.elements<T>());
}

template <class T>
std::vector<std::int32_t> VarArray<T>::to_id_vector() const {
  return run_to_ids<T>(this->values());
}

template <class T>
GenericValue VarArray<T>::get(int i) const {
  const Run run = this->run(static_cast<std::uint64_t>(i));
  return GenericValue(run.data(), run.size());
}

template <class T>
void VarArray<T>::set(int i, const GenericValue& value) {
  this->set(static_cast<std::uint64_t>(i), Run(value.elements<T>()));
}

template <class T>
void VarArray<T>::print(int indent) {
  print(std::cout, indent);
}

template <class T>
void VarArray<T>::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << this->schema()->name() << " VarArray[" << this->size() << "] = [ ";
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
