#include "zydata/keyed/Dict.h"

#include <cstring>

#include "util/Error.h"
#include "zydata/keyed/DictImpl.h"

namespace ZyData {

std::uint64_t DictKeys::hash(std::int32_t position) const { return Util::text_hash(text(position), UINT64_MAX); }

bool DictKeys::equal(std::int32_t left, std::int32_t right) const { return std::strcmp(text(left), text(right)) == 0; }

std::int32_t DictKeys::append(const char* text, const std::string& dictionary) {
  const std::uint64_t size = std::strlen(text) + 1;
  if (texts.size() + size > INT32_MAX)
    throw Util::Error("the keys of dictionary \"%s\" take more than 2147483647 bytes", dictionary.c_str());
  const auto position = static_cast<std::int32_t>(texts.size());
  texts.append(text, size);
  return position;
}

#define ZYDATA_DEFINE_DICT(T, Name) template class Dict<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_DICT)

}  // namespace ZyData
