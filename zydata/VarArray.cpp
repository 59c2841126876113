#include "zydata/VarArray.h"

#include <algorithm>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/Kind.h"
#include "zydata/Schema.h"
#include "zydata/VarArrayImpl.h"

namespace ZyData {

VarArrayBase::VarArrayBase(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets, std::uint64_t start,
                           std::uint64_t count)
    : DataObj(std::move(schema)), d_start(start), d_count(count), d_offsets(std::move(offsets)) {}

std::uint64_t VarArrayBase::size() const { return shown_elements(d_start, d_count); }

std::uint64_t VarArrayBase::shown_elements(std::uint64_t first, std::uint64_t count) const {
  const std::uint64_t held = d_offsets->entries.size() - 1;
  return first >= held ? 0 : std::min(count, held - first);
}

std::span<const std::int32_t> VarArrayBase::offsets() const {
  settle();
  return d_offsets->entries.elements().subspan(std::min(d_start, d_offsets->entries.size() - 1), size() + 1);
}

VarArrayBase::Range VarArrayBase::range(std::uint64_t i) const {
  const std::uint64_t k = d_start + i;
  UTIL_ASSERT(i < size());
  if (k >= d_offsets->filled) return {};  // its offsets may not have been written yet
  const std::int32_t first = d_offsets->entries[k];
  const std::int32_t end = d_offsets->entries[k + 1];
  UTIL_ASSERT_TEXT(first >= 0 && end >= first,
                   "(*offsets)[i+offset] >= 0 and (*offsets)[i+offset+1] >= (*offsets)[i+offset]");
  return {static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(end - first)};
}

VarArrayBase::Range VarArrayBase::values_of(std::uint64_t first, std::uint64_t count) const {
  settle();
  const std::uint64_t held = d_offsets->entries.size() - 1;
  const auto begin = static_cast<std::uint64_t>(d_offsets->entries[std::min(first, held)]);
  const auto end = static_cast<std::uint64_t>(d_offsets->entries[std::min(first + count, held)]);
  return {begin, end - begin};
}

void VarArrayBase::check_modifiable() const { UTIL_ASSERT_TEXT(d_count == kToTheEnd, "siz == (size_t)~0"); }

void VarArrayBase::check_whole() const {
  if (d_start != 0 || d_count != kToTheEnd) throw Util::Error(std::string(kSliceRefusal));
}

void VarArrayBase::check_in_order(std::uint64_t i, const char* refusal) const {
  const std::uint64_t k = d_start + i;
  UTIL_ASSERT(i < size());
  const bool next = k <= d_offsets->filled && static_cast<std::uint64_t>(d_offsets->entries[k]) == value_count();
  if (!next) throw Util::Error(std::string(refusal));
}

void VarArrayBase::check_room(std::uint64_t values) const {
  constexpr std::uint64_t kMaxValues = INT32_MAX;
  if (values <= kMaxValues && value_count() + values <= kMaxValues) return;
  throw Util::Error("array \"%s\" can't hold more than %lu values", schema()->name().c_str(), kMaxValues);
}

// Elements behind `i` that were already filled are empty: they begin and end where element `i` now ends.
void VarArrayBase::store_end(std::uint64_t i) {
  if (i < d_offsets->filled) ++d_offsets->revision;
  const auto end = static_cast<std::int32_t>(value_count());
  d_offsets->filled = std::max(d_offsets->filled, i + 1);
  for (std::uint64_t k = i + 1; k <= d_offsets->filled; ++k) d_offsets->entries[k] = end;
}

void VarArrayBase::grow_elements(std::uint64_t n) {
  const std::uint64_t entries = n == kToTheEnd ? n : n + 1;
  d_offsets->entries.resize(entries, d_offsets->entries.back());
}

void VarArrayBase::drop_elements(std::uint64_t n) noexcept {
  settle();
  d_offsets->entries.truncate(d_start + n + 1);
  d_offsets->filled = std::min(d_offsets->filled, d_start + n);
  ++d_offsets->revision;
}

void VarArrayBase::settle() const noexcept {
  auto& entries = d_offsets->entries;
  const std::int32_t end = entries[d_offsets->filled];
  for (std::uint64_t k = entries.size() - 1; k > d_offsets->filled && entries[k] != end; --k) entries[k] = end;
}

void VarArrayBase::reset_view() {
  d_start = 0;
  d_count = kToTheEnd;
  d_base = 0;
}

std::uint64_t VarArrayBase::filled_elements() const {
  return d_offsets->filled <= d_start ? 0 : std::min(size(), d_offsets->filled - d_start);
}

std::shared_ptr<CpuVector<std::int32_t>> VarArrayBase::offset_vector() const {
  return {d_offsets, &d_offsets->entries};
}

std::shared_ptr<RunOffsets> VarArrayBase::copy_offsets(std::uint64_t first, std::uint64_t count) const {
  auto copy = std::make_shared<RunOffsets>();
  copy->entries.reserve(count + 1);
  for (std::uint64_t i = 0; i < count; ++i) {
    copy->entries.push_back(d_offsets->entries[first + i + 1] - d_offsets->entries[first]);
  }
  copy->filled = count;
  return copy;
}

// Offsets come from a file: they are checked once, here, so that element access can rely on them. The offsets of a
// slice that was sent do not begin at 0.
void VarArrayBase::finish() {
  auto& entries = d_offsets->entries;
  if (entries.empty()) entries.push_back(0);
  const std::int32_t* offsets = entries.data();
  const std::uint64_t count = entries.size() - 1;
  bool rising = offsets[0] >= 0;
  for (std::uint64_t i = 0; i < count; ++i) rising &= offsets[i] <= offsets[i + 1];
  const std::int32_t first = offsets[0];
  if (!rising || static_cast<std::uint64_t>(entries.back()) - static_cast<std::uint64_t>(first) != value_count()) {
    throw Util::Error("the stored offsets of \"%s\" do not describe its %lu values", schema()->name().c_str(),
                      value_count());
  }
  if (first != 0) {
    for (std::int32_t& offset : std::span(entries.data(), entries.size())) offset -= first;
  }
  d_offsets->filled = count;
  ++d_offsets->revision;
}

void check_is_var_array(const VarArrayBase& array) {
  if ((array.schema()->kind() & kKindVar) == 0)
    throw Util::Error(std::string("Provided VarArrayBase object is not VarArray!\n"));
}

#define ZYDATA_DEFINE_VAR_ARRAY(T, Name)      \
  template class RunArray<T, Util::USpan<T>>; \
  template class VarArray<T>;                 \
  template class VarValue<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_VAR_ARRAY)

}  // namespace ZyData
