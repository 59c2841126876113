// Definitions of the mapped variable-array template, for sources that need runs of an element type of their own.
#pragma once

#include <climits>
#include <exception>
#include <span>
#include <utility>

#include "util/Error.h"
#include "zydata/arrays/MMapVarArray.h"
#include "zydata/arrays/VarArrayImpl.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

/// What a message brings must lie within what offsets can express.
CORVANE_API void check_stored_window(const Schema& schema, const std::uint64_t (&window)[4]);
/// How many offsets of a file count: all, or those up to which they rise when only zeros follow.
CORVANE_API std::uint64_t used_offsets(std::span<const std::int32_t> offsets);
/// Throws Util::Error unless the values begin where the offsets say.
CORVANE_API void check_values_begin(const Schema& schema, std::uint64_t first_value, std::uint64_t base);
[[noreturn]] CORVANE_API void throw_not_storable(const Schema& schema, const std::string& base_name);

template <class T>
MMapVarArray<T>::MMapVarArray(std::shared_ptr<Schema> schema, std::string base_name, std::uint64_t first_offset,
                              std::uint64_t offset_count, std::uint64_t first_value, std::uint64_t value_count)
    : MMapVarArray(schema, base_name.empty() ? schema->name() : base_name, nullptr, nullptr, 0, kToTheEnd) {
  using Entries = typename Offsets::Entries;
  Entries entries(StoredElements{}, RegionMem<std::int32_t>(d_base_name + ".offsets", first_offset, offset_count));
  entries.expect_any();
  this->share(
      std::make_shared<Offsets>(std::move(entries)),
      std::make_shared<Values>(StoredElements{}, RegionMem<T>(d_base_name + ".values", first_value, value_count)));
  this->ensure_open();
}

template <class T>
MMapVarArray<T>::MMapVarArray(std::shared_ptr<Schema> schema, std::string base_name, std::shared_ptr<Offsets> offsets,
                              std::shared_ptr<Values> values, std::uint64_t start, std::uint64_t count)
    : Base(std::move(schema), std::move(offsets), std::move(values), start, count), d_base_name(std::move(base_name)) {}

template <class T>
std::shared_ptr<MMapVarArray<T>> MMapVarArray<T>::for_loading(std::shared_ptr<Schema> schema,
                                                              const std::string& base_name) {
  using Entries = typename Offsets::Entries;
  const std::string name = base_name.empty() ? schema->name() : base_name;
  Entries entries(StoredElements{}, RegionMem<std::int32_t>());
  auto offsets = std::make_shared<Offsets>(std::move(entries));
  auto values = std::make_shared<Values>(StoredElements{}, RegionMem<T>());
  std::shared_ptr<MMapVarArray> array(
      new MMapVarArray(std::move(schema), name, std::move(offsets), std::move(values), 0, kToTheEnd));
  array->d_awaiting = true;
  return array;
}

template <class T>
std::shared_ptr<DataObj> MMapVarArray<T>::view(std::shared_ptr<Offsets> offsets, std::shared_ptr<Values> values,
                                               std::uint64_t start, std::uint64_t count) const {
  const std::string& name = offsets == this->shared_offsets() ? d_base_name : std::string();
  return std::shared_ptr<MMapVarArray>(
      new MMapVarArray(this->schema(), name, std::move(offsets), std::move(values), start, count));
}

template <class T>
void MMapVarArray<T>::close() {
  Offsets& offsets = *this->shared_offsets();
  Values& values = *this->shared_values();
  this->settle();
  offsets.growable = false;
  offsets.filled = 0;
  std::exception_ptr failure;
  try {
    values.close();
  } catch (...) {
    failure = std::current_exception();
  }
  offsets.entries.close();
  if (failure != nullptr) std::rethrow_exception(failure);
}

template <class T>
void MMapVarArray<T>::vectorize(FrameList& frames, std::shared_ptr<DataObj> self) {
  if (!d_awaiting) {
    if (d_base_name.empty() || stored_base_name(*this->schema()) != d_base_name)
      throw_not_storable(*this->schema(), d_base_name);
    note_window();
  }
  for (std::uint64_t& number : d_window) {
    frames.push_back(std::make_shared<FixedMemoryData>(&number, sizeof number, self));
  }
}

template <class T>
void MMapVarArray<T>::note_window() {
  Offsets& offsets = *this->shared_offsets();
  Values& values = *this->shared_values();
  const bool whole = this->start() == 0 && this->count() == kToTheEnd;
  if (whole && offsets.entries.pending()) return;  // as the message said
  const auto shown = this->values_of(this->start(), this->size());
  if (offsets.growable) {
    offsets.entries.trim();
    values.trim();
  }
  d_window[0] = offsets.entries.storage().first() + this->start();
  d_window[1] = this->size() + 1;
  d_window[2] = values.storage().first() + shown.first;
  d_window[3] = shown.size;
}

template <class T>
void MMapVarArray<T>::finish() {
  if (!d_awaiting) return;
  check_stored_window(*this->schema(), d_window);
  Offsets& offsets = *this->shared_offsets();
  Values& values = *this->shared_values();
  offsets.entries.storage().refer_to(d_base_name + ".offsets", d_window[0], d_window[1]);
  offsets.entries.expect(d_window[1], true);
  values.storage().refer_to(d_base_name + ".values", d_window[2], d_window[3]);
  values.expect(d_window[3], true);
  d_awaiting = false;
}

template <class T>
void MMapVarArray<T>::open_stored() const {
  try {
    open_and_check();
  } catch (...) {
    this->shared_offsets()->entries.unopen();
    this->shared_values()->unopen();
    throw;
  }
}

// Offsets that come from a file are checked once, here, so that element access can rely on them.
template <class T>
void MMapVarArray<T>::open_and_check() const {
  Offsets& offsets = *this->shared_offsets();
  Values& values = *this->shared_values();
  offsets.entries.ensure_open();
  const bool from_start = offsets.entries.storage().first() == 0;
  const bool referenced = values.storage().is_referenced();
  if (!referenced && offsets.entries.storage().is_open_ended())
    offsets.entries.truncate(used_offsets(offsets.entries.elements()));
  const std::span<const std::int32_t> entries = offsets.entries.elements();
  const std::int64_t described = std::int64_t{entries.back()} - entries.front();
  this->check_offsets(referenced ? values.size() : static_cast<std::uint64_t>(described));
  check_values_begin(*this->schema(), values.storage().first(), static_cast<std::uint64_t>(entries.front()));
  if (!referenced) values.expect(static_cast<std::uint64_t>(described), true);
  values.ensure_open();
  offsets.base = static_cast<std::uint64_t>(entries.front());
  offsets.filled = entries.size() - 1;
  offsets.growable = from_start && offsets.entries.storage().reaches_end() && values.storage().reaches_end();
  if (referenced) return;
  // Of whole files, what is not used goes when they are closed; those of a window keep their lengths.
  offsets.entries.storage().adopt(offsets.growable ? offsets.entries.capacity() : offsets.entries.size());
  values.storage().adopt(offsets.growable ? values.capacity() : values.size());
}

}  // namespace ZyData
