#include "zydata/arrays/VarArray.h"

#include <algorithm>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/arrays/VarArrayImpl.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

VarArrayBase::VarArrayBase(std::shared_ptr<Schema> schema, std::uint64_t start, std::uint64_t count)
    : DataObj(std::move(schema)), d_start(start), d_count(count) {}

void VarArrayBase::reset_view() {
  d_start = 0;
  d_count = kToTheEnd;
}

template <class Memory>
RunTable<Memory>::RunTable(std::shared_ptr<Schema> schema, std::shared_ptr<Offsets> offsets, std::uint64_t start,
                           std::uint64_t count)
    : VarArrayBase(std::move(schema), start, count), d_offsets(std::move(offsets)) {}

template <class Memory>
std::uint64_t RunTable<Memory>::size() const {
  return shown_elements(start(), count());
}

template <class Memory>
std::span<const std::int32_t> RunTable<Memory>::offsets() const {
  ensure_open();
  settle();
  if (d_offsets->entries.empty()) return {};
  return d_offsets->entries.elements().subspan(std::min(start(), d_offsets->entries.size() - 1), size() + 1);
}

template <class Memory>
typename RunTable<Memory>::Range RunTable<Memory>::values_of(std::uint64_t first, std::uint64_t count) const {
  ensure_open();
  settle();
  if (d_offsets->entries.empty()) return {};
  const std::uint64_t held = d_offsets->entries.size() - 1;
  return between(d_offsets->entries[std::min(first, held)], d_offsets->entries[std::min(first + count, held)]);
}

template <class Memory>
void RunTable<Memory>::check_modifiable() const {
  UTIL_ASSERT_TEXT(count() == kToTheEnd, "siz == (size_t)~0");
  if constexpr (Memory::kMapped) {
    if (d_offsets->entries.closed()) throw_closed(d_offsets->entries.storage().file_name());
    if (!table().growable) throw StorageError::WindowViolation();
  }
}

template <class Memory>
void RunTable<Memory>::check_whole() const {
  if (start() != 0 || count() != kToTheEnd) throw Util::Error(std::string(kSliceRefusal));
}

template <class Memory>
void RunTable<Memory>::check_in_order(std::uint64_t i, const char* refusal) const {
  const std::uint64_t k = start() + i;
  const bool next =
      i < size() && k <= d_offsets->filled && static_cast<std::uint64_t>(d_offsets->entries[k]) == value_count();
  if (!next) throw Util::Error(std::string(refusal));
}

template <class Memory>
void RunTable<Memory>::check_room(std::uint64_t values) const {
  constexpr std::uint64_t kMaxValues = INT32_MAX;
  if (values <= kMaxValues && value_count() + values <= kMaxValues) return;
  throw Util::Error("array \"%s\" can't hold more than %lu values", schema()->name().c_str(), kMaxValues);
}

// Elements behind `i` that were already filled are empty: they begin and end where element `i` now ends.
template <class Memory>
void RunTable<Memory>::store_end(std::uint64_t i) {
  if (i < d_offsets->filled) ++d_offsets->revision;
  const auto end = static_cast<std::int32_t>(value_count());
  d_offsets->filled = std::max(d_offsets->filled, i + 1);
  for (std::uint64_t k = i + 1; k <= d_offsets->filled; ++k) d_offsets->entries[k] = end;
}

template <class Memory>
void RunTable<Memory>::grow_elements(std::uint64_t n) {
  const std::uint64_t entries = n == kToTheEnd ? n : n + 1;
  d_offsets->entries.resize(entries, d_offsets->entries.back());
}

template <class Memory>
void RunTable<Memory>::drop_elements(std::uint64_t n) noexcept {
  d_offsets->entries.truncate(start() + n + 1);
  d_offsets->filled = std::min(d_offsets->filled, start() + n);
  settle();
  ++d_offsets->revision;
}

template <class Memory>
std::uint64_t RunTable<Memory>::filled_elements() const {
  return d_offsets->filled <= start() ? 0 : std::min(size(), d_offsets->filled - start());
}

template <class Memory>
std::shared_ptr<typename RunTable<Memory>::OffsetVector> RunTable<Memory>::offset_vector() const {
  return {d_offsets, &d_offsets->entries};
}

template <class Memory>
std::shared_ptr<typename RunTable<Memory>::Offsets> RunTable<Memory>::copy_offsets(std::uint64_t first,
                                                                                   std::uint64_t count) const {
  auto copy = d_offsets->empty_like();
  copy->entries.reserve(count + 1);
  for (std::uint64_t i = 0; i < count; ++i) {
    copy->entries.push_back(d_offsets->entries[first + i + 1] - d_offsets->entries[first]);
  }
  copy->filled = count;
  return copy;
}

// Offsets come from a file: they are checked once, here, so that element access can rely on them. The offsets of a
// slice that was sent do not begin at 0.
template <class Memory>
void RunTable<Memory>::finish() {
  auto& entries = d_offsets->entries;
  if (entries.empty()) entries.push_back(0);
  check_offsets(value_count());
  const std::int32_t first = entries[0];
  if (first != 0) {
    for (std::int32_t& offset : std::span(entries.data(), entries.size())) offset -= first;
  }
  d_offsets->filled = entries.size() - 1;
  ++d_offsets->revision;
}

template <class Memory>
void RunTable<Memory>::check_offsets(std::uint64_t values) const {
  const std::span<const std::int32_t> offsets = d_offsets->entries.elements();
  bool rising = offsets[0] >= 0;
  for (std::size_t i = 1; i < offsets.size(); ++i) rising &= offsets[i - 1] <= offsets[i];
  const std::int64_t described = std::int64_t{offsets.back()} - offsets.front();
  if (rising && static_cast<std::uint64_t>(described) == values) return;
  throw Util::Error("the stored offsets of \"%s\" do not describe its %lu values", schema()->name().c_str(),
                    static_cast<unsigned long>(values));
}

void check_is_var_array(const VarArrayBase& array) {
  if ((array.schema()->kind() & kKindVar) == 0)
    throw Util::Error(std::string("Provided VarArrayBase object is not VarArray!\n"));
}

template class RunTable<ProcessRuns>;
template class RunTable<MappedRuns>;

#define ZYDATA_DEFINE_VAR_ARRAY(T, Name)      \
  template class RunArray<T, Util::USpan<T>>; \
  template class NumberRuns<T, ProcessRuns>;  \
  template class VarArray<T>;                 \
  template class VarValue<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_VAR_ARRAY)

}  // namespace ZyData
