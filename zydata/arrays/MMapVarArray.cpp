#include "zydata/arrays/MMapVarArray.h"

#include <algorithm>

#include "util/Bytes.h"
#include "zydata/arrays/MMapVarArrayImpl.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Kind.h"

namespace ZyData {

std::string stored_base_name(const Schema& schema) {
  if (schema.factory() == nullptr || schema.factory()->kind() != kKindMMapVarArray) return schema.name();
  Util::ByteWriter parameters;
  schema.factory()->write_parameters(parameters);
  const std::string bytes = parameters.take();
  Util::ByteReader reader(bytes);
  reader.get<std::uint64_t>();  // initial count
  reader.get<std::uint32_t>();  // kind
  const std::string text(reader.get_text());
  return text.empty() ? schema.name() : text;
}

void check_stored_window(const Schema& schema, const std::uint64_t (&window)[4]) {
  constexpr std::uint64_t kMost = INT32_MAX;
  const bool fits = window[0] <= kMost && window[1] >= 1 && window[1] <= kMost && window[2] <= kMost &&
                    window[3] <= kMost - window[2];
  if (fits) return;
  throw Util::Error("the stored window of mapped variable array \"%s\" is damaged", schema.name().c_str());
}

std::uint64_t used_offsets(std::span<const std::int32_t> offsets) {
  const auto risen = std::is_sorted_until(offsets.begin(), offsets.end());
  const bool reserved = std::all_of(risen, offsets.end(), [](std::int32_t offset) { return offset == 0; });
  return static_cast<std::uint64_t>((reserved ? risen : offsets.end()) - offsets.begin());
}

void check_values_begin(const Schema& schema, std::uint64_t first_value, std::uint64_t base) {
  if (first_value == base) return;
  throw Util::Error("the mapped values of \"%s\" begin with value %lu, its offsets with value %lu",
                    schema.name().c_str(), static_cast<unsigned long>(first_value), static_cast<unsigned long>(base));
}

void throw_not_storable(const Schema& schema, const std::string& base_name) {
  throw Util::Error("mapped variable array \"%s\" can't be stored: its files are called \"%s\", its schema says \"%s\"",
                    schema.name().c_str(), base_name.c_str(), stored_base_name(schema).c_str());
}

#define ZYDATA_DEFINE_MMAP_VAR_ARRAY(T, Name)             \
  template class RunArray<T, Util::USpan<T>, MappedRuns>; \
  template class NumberRuns<T, MappedRuns>;               \
  template class MMapVarArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DEFINE_MMAP_VAR_ARRAY)

}  // namespace ZyData
