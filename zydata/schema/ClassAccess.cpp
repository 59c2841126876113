#include "zydata/schema/ClassAccess.h"

namespace ZyData {

void ClassFieldAccessSized::set(void* object, const void* value) const {
  std::memcpy(static_cast<char*>(object) + d_position, value, d_size);
}

const void* ClassFieldAccessSized::address(const void* object) const {
  return static_cast<const char*>(object) + d_position;
}

void ClassFieldAccessSized::write_parameters(Util::ByteWriter& writer) const { writer.put(d_position); }

void ClassFieldAccessSized::read_parameters(Util::ByteReader& reader) { d_position = reader.get<std::uint64_t>(); }

}  // namespace ZyData
