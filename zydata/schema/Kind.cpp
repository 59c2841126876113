#include "zydata/schema/Kind.h"

#include <array>

namespace ZyData {
namespace {

constexpr std::array<const char*, 32> kFlagNames = {
    "array",     "sparse",  "var",          "frame",     "record",      "mmap",          "mmap_var_array", "haps_array",
    "hier_name", "dict",    "string",       "selection", "defaulted",   "initial_sized", "hashed",         "reference",
    "temp",      "<bit17>", "class_access", "read-only", "distributed", "global_id",     "partition",      "slice",
    "range",     "<bit25>", "<bit26>",      "<bit27>",   "<bit28>",     "<bit29>",       "<bit30>",        "<bit31>"};

}  // namespace

std::uint32_t vector_kind(std::uint32_t kind) {
  switch (kind & kKindKeyMask) {
    case 0:
      return kKindArray;
    case kKindDefaulted:
      return kKindDefaulted | kKindArray;
    case kKindVar:
      return kKindVar | kKindArray;
    case kKindMMap:
      return kKindMMap | kKindArray;
    case kKindDefaulted | kKindMMap:
      return kKindDefaulted | kKindMMap | kKindArray;
    case kKindVar | kKindMMap:
      return kKindMMapVarArray;
    case kKindString:
      return kKindString | kKindArray;
    default:
      return 0;
  }
}

std::string kind_to_string(std::uint32_t kind) {
  std::string text;
  for (std::size_t bit = kFlagNames.size(); bit-- > 0;) {
    if ((kind >> bit & 1U) == 0) continue;
    if (!text.empty()) text += ' ';
    text += kFlagNames[bit];
  }
  return text;
}

}  // namespace ZyData
