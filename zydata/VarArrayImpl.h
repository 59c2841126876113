// Definitions of the variable-array templates, for sources that need runs of an element type of their own.
#pragma once

#include <algorithm>
#include <cstring>
#include <iostream>
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
  ++shared_offsets()->revision;
  reset_view();
}

template <class T, class Run>
std::span<const T> RunArray<T, Run>::values() const {
  settle();
  const Range shown = values_of(start(), size());
  return {d_values->data() + shown.first, shown.size};
}

template <class T, class Run>
void RunArray<T, Run>::reserve_rows(std::uint64_t rows, std::uint64_t sample) {
  settle();
  offset_vector()->grow_for_append(rows);
  const std::uint64_t measured = std::min(sample, size());
  if (measured == 0) return;
  const double mean = static_cast<double>(values_of(size() - measured, measured).size) / static_cast<double>(measured);
  const double expected = mean * static_cast<double>(rows);
  if (expected <= static_cast<double>(d_values->capacity() - d_values->size())) return;
  constexpr double kSlack = 1.05;                                 // later rows may be a little longer
  constexpr std::uint64_t kAtOnce = (256ULL << 20U) / sizeof(T);  // or far shorter: beyond this, growth just doubles
  const std::uint64_t most = std::min(std::max(kAtOnce, d_values->size()), INT32_MAX - d_values->size());
  d_values->grow_for_append(static_cast<std::uint64_t>(std::min(expected * kSlack, static_cast<double>(most))));
}

template <class T, class Run>
void RunArray<T, Run>::append_strided(const void* first, std::size_t stride, std::uint64_t count) {
  check_whole();
  const auto run_at = [&](std::uint64_t i) -> const Run& {
    return *reinterpret_cast<const Run*>(static_cast<const char*>(first) + i * stride);
  };
  std::uint64_t total = 0;
  for (std::uint64_t i = 0; i < count; ++i) total += run_at(i).size();
  check_room(total);
  settle();
  const auto& entries = shared_offsets();
  entries->entries.grow_for_append(count);
  T* target = d_values->append_for_overwrite(total);
  std::int32_t end = entries->entries.back();
  std::int32_t* ends = entries->entries.append_for_overwrite(count);
  for (std::uint64_t i = 0; i < count; ++i) {
    const Run& run = run_at(i);
    if (!run.empty()) std::memcpy(target, run.data(), run.size() * sizeof(T));
    target += run.size();
    end += static_cast<std::int32_t>(run.size());
    ends[i] = end;
  }
  entries->filled = entries->entries.size() - 1;
  reset_view();
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
