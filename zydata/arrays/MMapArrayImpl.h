// Definitions of the mapped array template, for sources that need mapped arrays of an element type of their own.
#pragma once

#include <algorithm>
#include <cstring>
#include <utility>

#include "util/Error.h"
#include "zydata/arrays/ArrayImpl.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

[[noreturn]] CORVANE_API void throw_damaged_view(const Schema& schema);

template <class T>
MMapArray<T>::MMapArray(std::shared_ptr<Schema> schema, std::uint64_t n, const std::string& file_name)
    : MMapArray(schema, std::make_shared<MMapVector<T>>(n, MMap<T>(file_name.empty() ? schema->name() : file_name))) {}

template <class T>
MMapArray<T>::MMapArray(std::shared_ptr<Schema> schema, std::shared_ptr<MMapVector<T>> vector)
    : MMapArray(std::move(schema), std::move(vector), 0, kToTheEnd, T()) {}

template <class T>
MMapArray<T>::MMapArray(std::shared_ptr<Schema> schema, std::shared_ptr<MMapVector<T>> vector, std::uint64_t start,
                        std::uint64_t count, T default_value)
    : Base(std::move(schema), std::move(vector), start, count, default_value) {}

template <class T>
std::shared_ptr<MMapArray<T>> MMapArray<T>::for_loading(std::shared_ptr<Schema> schema) {
  MMap<T> storage;
  storage.await_reference();
  auto vector = std::make_shared<MMapVector<T>>(StoredElements(), std::move(storage));
  auto array = std::make_shared<MMapArray>(std::move(schema), std::move(vector));
  array->d_awaiting = true;
  return array;
}

template <class T>
std::shared_ptr<DataObj> MMapArray<T>::view(std::shared_ptr<MMapVector<T>> vector, std::uint64_t start,
                                            std::uint64_t count) const {
  return std::shared_ptr<MMapArray>(
      new MMapArray(this->schema(), std::move(vector), start, count, this->default_value()));
}

template <class T>
void MMapArray<T>::reset() {
  MMapVector<T>& vector = *this->vector();
  const bool nameless = vector.closed() && vector.storage().file_name().empty();
  if (this->vector().use_count() > 1 || nameless) return Base::reset();
  if (vector.closed()) return this->take_vector(std::make_shared<MMapVector<T>>(0, vector.storage()));
  vector.ensure_open();
  vector.truncate(0);
  this->show_everything();
}

template <class T>
void MMapArray<T>::describe(FrameList& parts, const std::shared_ptr<void>& owner) {
  const std::shared_ptr<MMapVector<T>>& vector = this->vector();
  if (!d_awaiting) {
    if (vector->storage().file_name().empty()) {
      throw Util::Error("mapped array \"%s\" is in a file without a name and can't be stored",
                        this->schema()->name().c_str());
    }
    if (this->start() > kMostElements) {
      throw Util::Error("a slice of mapped array \"%s\" begins behind what a file can hold and can't be stored",
                        this->schema()->name().c_str());
    }
    vector->trim();
    const T default_value = this->default_value();
    d_view = View{this->start(), this->count(), {}};
    std::memcpy(d_view.default_value, &default_value, sizeof default_value);
  }
  vector->storage().describe(parts, vector);
  parts.push_back(std::make_shared<FixedMemoryData>(&d_view, sizeof d_view, owner));
}

template <class T>
void MMapArray<T>::finish() {
  if (!d_awaiting) return;
  this->vector()->storage().check_reference(sizeof(T));
  if (d_view.start > kMostElements) throw_damaged_view(*this->schema());
  if constexpr (std::is_same_v<T, bool>) d_view.default_value[0] = d_view.default_value[0] != 0;
  T default_value;
  std::memcpy(&default_value, d_view.default_value, sizeof default_value);
  this->set_default_value(default_value);
  this->show(d_view.start, d_view.count);
  this->vector()->expect_any();
  d_awaiting = false;
}

// A view of fewer elements than there are rows will not get more by opening the file.
template <class T>
void MMapArray<T>::expect_rows(std::uint64_t rows) {
  const std::uint64_t shown = std::min(rows, this->count());
  if (!this->vector()->pending()) return;
  if (shown > kMostElements - this->start()) throw_damaged_view(*this->schema());
  this->vector()->expect(this->start() + shown, this->count() > rows);
}

}  // namespace ZyData
