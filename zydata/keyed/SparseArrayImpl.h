// Definitions of the sparse array template, for sources that need sparse arrays of an element type of their own.
#pragma once

#include <iostream>
#include <limits>
#include <memory>
#include <utility>

#include "util/Error.h"
#include "zydata/keyed/SparseArray.h"
#include "zydata/object/MemoryData.h"
#include "zydata/object/Value.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

template <class T>
std::int32_t SparseArray<T>::entry_of(int index) const {
  if (!d_view.shows(index)) throw Util::Error("index bounds error");
  return look_up(index);
}

template <class T>
std::int32_t SparseArray<T>::look_up(int index) const {
  return d_table->find(Util::index_hash(index), [&](const Entry& entry) { return entry.index == index; });
}

template <class T>
const T* SparseArray<T>::find(int index) const {
  const std::int32_t e = entry_of(index);
  return e == Util::kChainEnd ? nullptr : &d_table->entries[static_cast<std::uint64_t>(e)].value;
}

template <class T>
T SparseArray<T>::value_at(int index) const {
  const T* value = find(index);
  return value == nullptr ? d_default_value : *value;
}

template <class T>
bool SparseArray<T>::set(int index, T value) {
  const bool in_front = index < d_view.first && d_view.is_whole();
  const std::int32_t e = in_front ? look_up(index) : entry_of(index);
  if (e != Util::kChainEnd) {
    d_table->entries[static_cast<std::uint64_t>(e)].value = value;
    if (in_front) d_view.first = index;
    return false;
  }
  if (d_table->entries.size() >= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
    throw Util::Error("sparse array \"%s\" can't hold more entries", schema()->name().c_str());
  }
  d_table->grow_for_one(&SparseArray::hash_of);
  d_table->entries.grow_for_append(1);
  Entry& entry = d_table->append(Util::index_hash(index));
  entry.index = index;
  entry.value = value;
  if (in_front) d_view.first = index;
  return true;
}

template <class T>
bool SparseArray<T>::remove(int index) {
  const std::int32_t e = entry_of(index);
  if (e == Util::kChainEnd) return false;
  d_table->remove(e, Util::index_hash(index));
  return true;
}

template <class T>
std::uint64_t SparseArray<T>::size() const {
  std::uint64_t shown = 0;
  for (std::uint64_t i = 0; i < d_table->entries.size(); ++i) {
    if (d_table->is_live(i) && d_view.shows(d_table->entries[i].index)) ++shown;
  }
  return shown;
}

template <class T>
std::shared_ptr<DataObj> SparseArray<T>::slice(std::uint64_t first, std::uint64_t count) {
  if (first > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
    throw Util::Error("index bounds error");
  const SparseView view{static_cast<std::int32_t>(first), 0, count};
  const std::shared_ptr<SparseArray> part(new SparseArray(schema(), d_table, view));
  part->d_default_value = d_default_value;
  return part;
}

template <class T>
void SparseArray<T>::vectorize(FrameList& frames, std::shared_ptr<DataObj> self) {
  const auto part = [&](auto& vector) {
    using VectorT = std::remove_reference_t<decltype(vector)>;
    const std::shared_ptr<VectorT> shared(d_table, &vector);
    frames.push_back(std::make_shared<ElementFrame<VectorT>>(schema(), shared, 0, vector.size()));
  };
  part(d_table->buckets);
  part(d_table->entries);
  frames.push_back(std::make_shared<FixedMemoryData>(&d_view, sizeof d_view, std::move(self)));
}

template <class T>
std::uint64_t SparseArray<T>::size_bytes() const {
  return d_table->buckets.size() * sizeof(std::int32_t) + d_table->entries.size() * sizeof(Entry) + sizeof d_view;
}

// Links come from a file: they are checked once, here.
template <class T>
void SparseArray<T>::finish() {
  if (!d_table->accept_links(&SparseArray::hash_of)) {
    throw Util::Error("the stored table of sparse array \"%s\" contradicts itself", schema()->name().c_str());
  }
  for (std::uint64_t i = 0; i < d_table->entries.size(); ++i) normalise_loaded(&d_table->entries[i].value, 1);
}

template <class T>
void SparseArray<T>::print(int indent) {
  print(std::cout, indent);
}

template <class T>
void SparseArray<T>::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << schema()->name() << " SparseArray = [";
  std::uint64_t shown = 0;
  for (std::uint64_t i = 0; i < d_table->entries.size(); ++i) {
    const Entry& entry = d_table->entries[i];
    if (!d_table->is_live(i) || !d_view.shows(entry.index)) continue;
    if (shown++ == print_limit()) {
      stream << " ...";
      break;
    }
    stream << ' ' << entry.index << ':';
    print_value(stream, entry.value);
  }
  stream << " ]\n" << std::flush;
}

}  // namespace ZyData
