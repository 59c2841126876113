#include "zydata/arrays/MMapArray.h"

#include "zydata/arrays/MMapArrayImpl.h"

namespace ZyData {

void throw_damaged_view(const Schema& schema) {
  throw Util::Error("the stored view of mapped array \"%s\" is damaged", schema.name().c_str());
}

#define ZYDATA_DEFINE_MMAP_ARRAY(T, Name)      \
  template class ArrayBase2<T, MMapVector<T>>; \
  template class MMapArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_MMAP_ARRAY)

}  // namespace ZyData
