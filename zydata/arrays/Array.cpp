#include "zydata/arrays/Array.h"

#include <algorithm>
#include <iostream>

#include "util/Error.h"
#include "zydata/arrays/ArrayImpl.h"
#include "zydata/schema/DataFactory.h"

namespace ZyData {

std::uint64_t ArrayBase::size() const { return shown_elements(d_start, d_count); }

std::uint64_t ArrayBase::size_bytes() const {
  std::cout << "ArrayBase attempts to call size_bytes()!\n";
  return 0;
}

void ArrayBase::throw_outside() { throw Util::Error("index bounds error"); }

void ArrayBase::check_resizable() const {
  if (is_slice()) throw Util::Error(std::string(kSliceRefusal));
}

void ArrayBase::check_whole() const {
  if (is_slice() || d_count != kToTheEnd) throw Util::Error(std::string(kSliceRefusal));
}

void ArrayBase::show(std::uint64_t start, std::uint64_t count) {
  d_start = start;
  d_count = count;
}

// A bool is refused, too: not every byte that a file may bring is one.
void check_storable_structure(const std::string& type_name, std::uint64_t size, std::uint32_t kind) {
  std::uint64_t declared = 0;
  for (const auto& field : find_class_schema(type_name).fields()) {
    const bool is_number = (field->kind() & (kKindString | kKindVar)) == 0 && field->type_name() != "bool";
    if (is_number) declared += find_factory(field->type_name(), 0)->create_from(field)->size_bytes();
  }
  if (declared == size) return;
  throw Util::Error("can't vectorize type 0x%x [%s]", kind, kind_to_string(kind).c_str());
}

#define ZYDATA_DEFINE_ARRAY(T, Name)          \
  template class ArrayBase2<T, CpuVector<T>>; \
  template class Array<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_ARRAY)

}  // namespace ZyData
