// Definitions of the array templates, for sources that need arrays of an element type of their own.
#pragma once

#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>
#include <utility>

#include "util/Error.h"
#include "zydata/arrays/Array.h"
#include "zydata/object/Value.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

template <class T, class VectorT>
ArrayBase2<T, VectorT>::ArrayBase2(std::shared_ptr<Schema> schema, std::shared_ptr<VectorT> vector, std::uint64_t start,
                                   std::uint64_t count, T default_value)
    : ArrayBase(std::move(schema), start, count), d_vector(std::move(vector)), d_default_value(default_value) {}

template <class T, class VectorT>
std::shared_ptr<DataObj> ArrayBase2<T, VectorT>::slice(std::uint64_t first, std::uint64_t count) {
  if constexpr (VectorT::kMapped) {
    const std::uint64_t shown = shown_elements(first, count);
    if (shown > 0) d_vector->check_window(first, first + shown - 1);
  }
  return view(d_vector, first, count);
}

template <class T, class VectorT>
std::shared_ptr<DataObj> ArrayBase2<T, VectorT>::copy(std::uint64_t first, std::uint64_t count) {
  const std::uint64_t shown = shown_elements(first, count);
  if (shown > 0) d_vector->check_window(first, first + shown - 1);
  std::shared_ptr<VectorT> elements = d_vector->empty_like();
  if (shown > 0) {
    elements->append(d_vector->data() + first, shown);
    normalise_loaded(elements->data(), shown);
  }
  return view(std::move(elements), 0, kToTheEnd);
}

template <class T, class VectorT>
std::vector<std::int32_t> ArrayBase2<T, VectorT>::to_id_vector() const {
  if constexpr (kIsIntegralElement<T>) {
    check_shown_in_window();
    const std::uint64_t count = size();
    std::vector<std::int32_t> ids;
    ids.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) ids.push_back(static_cast<std::int32_t>(value_at(start() + i)));
    return ids;
  } else {
    throw Util::Error("ArrayBase2<T, VectorT>::to_id_vector is not available for non-integral T");
  }
}

template <class T, class VectorT>
GenericValue ArrayBase2<T, VectorT>::get(int i) const {
  const std::uint64_t index = checked_index(i, d_vector->size());
  d_vector->check_window(index, index);
  if constexpr (kIsBasicType<T> || std::is_enum_v<T>) {
    return GenericValue(value_at(index));
  } else {
    return GenericValue(&(*d_vector)[index], 1);
  }
}

template <class T, class VectorT>
GenericValue ArrayBase2<T, VectorT>::value() const {
  check_shown_in_window();
  if constexpr (std::is_same_v<T, bool> && VectorT::kMapped) return checked_copy(elements(), size());
  return GenericValue(elements(), size(), NoCopy());
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::set_value(const GenericValue& value) {
  const std::span<const T> values = value.elements<T>();
  resize(values.size());
  assign(values.data(), values.size());
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::vectorize(FrameList& frames, std::shared_ptr<DataObj> self) {
  if constexpr (!kIsBasicType<T> && !std::is_enum_v<T>)
    check_storable_structure(element_type_name<T>(), sizeof(T), schema()->kind());
  describe(frames, self);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::describe(FrameList& parts, const std::shared_ptr<void>& owner) {
  if constexpr (!VectorT::kMapped) {
    const std::uint64_t first = std::min(start(), d_vector->size());
    parts.push_back(std::make_shared<ElementFrame<VectorT>>(schema(), d_vector, first, size()));
  }
  d_vector->storage().describe(parts, owner);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::finish() {
  normalise_loaded(elements(), size());
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::print(int indent) {
  print(std::cout, indent);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << schema()->name() << ' ' << d_vector->storage().kind_name() << "Array[" << size()
         << "] = [";
  std::uint64_t shown = 0;
  for (const std::uint64_t most = std::min(size(), print_limit()); shown < most; ++shown) {
    if (!d_vector->in_window(start() + shown)) break;
    stream << ' ';
    print_value(stream, value_at(start() + shown));
  }
  if (size() > shown) stream << "...";
  stream << " ]\n" << std::flush;
}

template <class T, class VectorT>
T* ArrayBase2<T, VectorT>::elements() {
  return d_vector->data() == nullptr ? nullptr : d_vector->data() + std::min(start(), d_vector->size());
}

template <class T, class VectorT>
const T* ArrayBase2<T, VectorT>::elements() const {
  return const_cast<ArrayBase2*>(this)->elements();
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::resize(std::uint64_t n) {
  check_resizable();
  d_vector->resize(n, d_default_value);
}

template <class T, class VectorT>
bool ArrayBase2<T, VectorT>::resize_bytes(std::uint64_t nbytes) {
  check_resizable();
  const std::uint64_t n = nbytes / sizeof(T);
  if (nbytes % sizeof(T) != 0) d_vector->reserve(n + 1);  // whoever writes all the bytes stays inside the buffer
  resize(n);
  return true;
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::assign(const T* values, std::uint64_t k) {
  if (k == 0) return;
  const std::uint64_t end = start() + k;
  d_vector->check_window(start(), end - 1);
  const auto offset = reinterpret_cast<std::uintptr_t>(values) - reinterpret_cast<std::uintptr_t>(d_vector->data());
  const bool from_here = d_vector->data() != nullptr && offset < d_vector->size() * sizeof(T);
  if (end > d_vector->capacity()) d_vector->reserve(std::max(end, d_vector->storage().min_capacity()));
  if (start() > d_vector->size()) d_vector->resize(start(), d_default_value);
  if (end > d_vector->size()) d_vector->resize_for_overwrite(end);
  const void* source =
      from_here ? reinterpret_cast<const char*>(d_vector->data()) + offset : static_cast<const void*>(values);
  std::memmove(d_vector->data() + start(), source, k * sizeof(T));
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::append(const DataObj& array) {
  const auto* source = dynamic_cast<const ArrayBase*>(&array);
  if (source == nullptr || source->element_type().type_id() != typeid(T)) {
    throw Util::Error("only an array of element type %s can be appended to array \"%s\"",
                      element_type_name<T>().c_str(), schema()->name().c_str());
  }
  check_resizable();
  const std::uint64_t k = source->size();
  if (k == 0) return;
  d_vector->check_window(d_vector->size(), d_vector->size() + k - 1);
  d_vector->append(static_cast<const T*>(source->element_data()), k);
  normalise_loaded(d_vector->data() + d_vector->size() - k, k);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::push_back(T value) {
  const std::uint64_t index = d_vector->size();
  d_vector->check_window(index, index);
  d_vector->push_back(value);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::reset() {
  take_vector(d_vector->empty_like());
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::append_strided(const void* first, std::size_t stride, std::uint64_t count) {
  check_whole();
  if (count > 0) d_vector->check_window(d_vector->size(), d_vector->size() + count - 1);
  const char* source = static_cast<const char*>(first);
  T* target = d_vector->append_for_overwrite(count);
  for (std::uint64_t i = 0; i < count; ++i, source += stride) std::memcpy(target + i, source, sizeof(T));
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::append_defaults(std::uint64_t count) {
  check_whole();
  resize(size() + count);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::truncate_rows(std::uint64_t rows) noexcept {
  if constexpr (VectorT::kMapped) {
    try {
      d_vector->size();
    } catch (const std::exception&) {  // a file that can't be opened has no rows to drop
      return;
    }
  }
  if (rows < size()) d_vector->truncate(start() + rows);
}

template <class T, class VectorT>
void ArrayBase2<T, VectorT>::check_shown_in_window() const {
  if (const std::uint64_t shown = size(); shown > 0) d_vector->check_window(start(), start() + shown - 1);
}

/// An element of the vector. A mapped file may hold any byte for a bool.
template <class T, class VectorT>
T ArrayBase2<T, VectorT>::value_at(std::uint64_t index) const {
  return checked_value((*d_vector)[index]);
}

template <class T>
Array<T>::Array(std::shared_ptr<Schema> schema, std::uint64_t n)
    : Array(std::move(schema), std::make_shared<CpuVector<T>>(n, CpuMem<T>()), 0, kToTheEnd, T()) {}

template <class T>
Array<T>::Array(std::shared_ptr<Schema> schema, std::shared_ptr<CpuVector<T>> vector, std::uint64_t start,
                std::uint64_t count, T default_value)
    : Base(std::move(schema), std::move(vector), start, count, default_value) {}

template <class T>
std::shared_ptr<DataObj> Array<T>::view(std::shared_ptr<CpuVector<T>> vector, std::uint64_t start,
                                        std::uint64_t count) const {
  return std::shared_ptr<Array>(new Array(this->schema(), std::move(vector), start, count, this->default_value()));
}

}  // namespace ZyData
