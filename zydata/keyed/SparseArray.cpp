#include "zydata/keyed/SparseArray.h"

#include "zydata/keyed/SparseArrayImpl.h"

namespace ZyData {

#define ZYDATA_DEFINE_SPARSE_ARRAY(T, Name) template class SparseArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_SPARSE_ARRAY)

}  // namespace ZyData
