#include "zydata/arrays/MMapArray.h"

#include "zydata/arrays/MMapArrayImpl.h"

namespace ZyData {

#define ZYDATA_DEFINE_MMAP_ARRAY(T, Name)      \
  template class ArrayBase2<T, MMapVector<T>>; \
  template class MMapArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_MMAP_ARRAY)

}  // namespace ZyData
