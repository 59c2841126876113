// Definitions of the dictionary template, for sources that need dictionaries of a value type of their own.
#pragma once

#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "util/Error.h"
#include "zydata/keyed/Dict.h"
#include "zydata/object/Value.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

template <class T>
std::int32_t Dict<T>::index_of(const std::string& key) const {
  const DictKeys::LookUp look_up(d_table->keys, key.c_str());
  return d_table->find(d_table->keys.hash(-1), [&](const Entry& entry) { return d_table->keys.equal(entry.key, -1); });
}

template <class T>
T* Dict<T>::find(const std::string& key) {
  const std::int32_t e = index_of(key);
  return e == Util::kChainEnd ? nullptr : &d_table->entries[static_cast<std::uint64_t>(e)].value;
}

template <class T>
T Dict<T>::get(const std::string& key) const {
  const T* value = find(key);
  if (value == nullptr) throw Util::Error("The dictionary data with key \"%s\" is not existed!\n", key.c_str());
  return *value;
}

template <class T>
std::uint64_t Dict<T>::checked_entry(int i) const {
  const auto index = static_cast<std::uint64_t>(std::int64_t{i});  // a negative index becomes a huge one
  if (!d_table->is_live(index)) throw Util::Error("dictionary index out of bounds");
  return index;
}

template <class T>
T Dict<T>::value_at(int i) const {
  return d_table->entries[checked_entry(i)].value;
}

template <class T>
const char* Dict<T>::key_at(int i) const {
  return d_table->keys.text(d_table->entries[checked_entry(i)].key);
}

template <class T>
bool Dict<T>::set(const std::string& key, T value) {
  T* existing = find(key);
  if (existing != nullptr) {
    *existing = value;
    return false;
  }
  if (d_table->entries.size() >= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
    throw Util::Error("dictionary \"%s\" can't hold more entries", schema()->name().c_str());
  }
  grow_for_one();
  d_table->entries.grow_for_append(1);
  const std::int32_t position = d_table->keys.append(key.c_str(), schema()->name());
  Entry& entry = d_table->append(d_table->keys.hash(position));
  entry.key = position;
  entry.value = value;
  return true;
}

template <class T>
bool Dict<T>::remove(const std::string& key) {
  const std::int32_t e = index_of(key);
  if (e == Util::kChainEnd) return false;
  d_table->remove(e, Util::text_hash(key.c_str(), UINT64_MAX));
  return true;
}

template <class T>
void Dict<T>::grow_for_one() {
  if (d_table->wants_closing()) close_free_places();  // before the table does it, which knows nothing of keys
  d_table->grow_for_one([&](const Entry& entry) { return d_table->keys.hash(entry.key); });
}

// Live entries and their keys move up, in order.
template <class T>
void Dict<T>::close_free_places() {
  auto compact = std::make_shared<Table>();
  const auto hash_of = [&](const Entry& entry) { return compact->keys.hash(entry.key); };
  for (std::uint64_t i = 0; i < d_table->entries.size(); ++i) {
    if (!d_table->is_live(i)) continue;
    compact->grow_for_one(hash_of);
    const std::int32_t position = compact->keys.append(d_table->keys.text(d_table->entries[i].key), schema()->name());
    Entry& entry = compact->append(compact->keys.hash(position));
    entry.key = position;
    entry.value = d_table->entries[i].value;
  }
  d_table = std::move(compact);
}

template <class T>
void Dict<T>::vectorize(FrameList& frames, std::shared_ptr<DataObj> /*self*/) {
  const auto part = [&](auto& vector) {
    using VectorT = std::remove_reference_t<decltype(vector)>;
    const std::shared_ptr<VectorT> shared(d_table, &vector);
    frames.push_back(std::make_shared<ElementFrame<VectorT>>(schema(), shared, 0, vector.size()));
  };
  part(d_table->buckets);
  part(d_table->entries);
  part(d_table->keys.texts);
}

template <class T>
std::uint64_t Dict<T>::size_bytes() const {
  return d_table->buckets.size() * sizeof(std::int32_t) + d_table->entries.size() * sizeof(Entry) +
         d_table->keys.texts.size();
}

// Links and positions come from a file: they are checked once, here.
template <class T>
void Dict<T>::finish() {
  bool sound = d_table->keys.ends_with_zero();
  std::int32_t last_key = -1;
  for (std::uint64_t i = 0; sound && i < d_table->entries.size(); ++i) {
    Entry& entry = d_table->entries[i];
    normalise_loaded(&entry.value, 1);
    sound = entry.key > last_key && d_table->keys.starts_text(entry.key);
    last_key = entry.key;
  }
  sound = sound && d_table->accept_links([&](const Entry& entry) { return d_table->keys.hash(entry.key); });
  if (!sound) throw Util::Error("the stored table of dictionary \"%s\" contradicts itself", schema()->name().c_str());
}

template <class T>
void Dict<T>::print(int indent) {
  print(std::cout, indent);
}

// Deliberate: the entry that reaches the print limit is no longer printed, so one entry fewer is shown than elsewhere.
template <class T>
void Dict<T>::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << schema()->name() << " Dict[" << size() << "] = [";
  std::uint64_t counted = 0;
  for (std::uint64_t i = 0; i < d_table->entries.size(); ++i) {
    if (!d_table->is_live(i)) continue;
    if (++counted >= print_limit()) {
      stream << " ...";
      break;
    }
    const Entry& entry = d_table->entries[i];
    stream << (counted > 1 ? ", \"" : " \"") << d_table->keys.text(entry.key) << "\" : ";
    print_value(stream, entry.value);
  }
  stream << " ]\n" << std::flush;
}

}  // namespace ZyData
