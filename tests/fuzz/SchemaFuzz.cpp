// Any bytes as the description of a schema: it makes an empty object or is refused, and a schema that was accepted
// flattens to a description that makes the same one again.
//
// Input: sizes of the node table in nodes and of the parameters in bytes (two bytes each), then both, then the pool.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "mpsys/FrameReceiver.h"
#include "util/Assert.h"
#include "util/Bytes.h"
#include "util/Error.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/SchemaTable.h"

namespace {

using ZyData::SchemaTable;

/// Thrown in place of the program's end.
struct Stopped {};

void stop(const char* expression, const char*, int) {
  if (std::string_view(expression) != "i < siz") throw std::logic_error("an assertion that no file may reach");
  throw Stopped();
}

/// Takes up to `size` bytes from the front.
std::string take(std::string_view& bytes, std::size_t size) {
  const std::string taken(bytes.substr(0, size));
  bytes.remove_prefix(taken.size());
  return taken;
}

SchemaTable tables_of(std::string_view input) {
  constexpr std::size_t kSizes = 4;
  const std::string sizes = take(input, kSizes) + std::string(kSizes, '\0');
  SchemaTable tables;
  const auto both = Util::load<std::uint32_t>(sizes.data());
  tables.nodes = take(input, ZyData::kNodeSize * (both & 0xffff));
  tables.parameters = take(input, both >> 16);
  tables.strings = input;
  return tables;
}

bool is_sound(const std::string& nodes) {
  try {
    ZyData::check_node_table(nodes);
    return true;
  } catch (const Util::Error&) {
    return false;
  }
}

/// Null for a schema that is refused.
std::shared_ptr<ZyData::DataObj> build(const SchemaTable& tables) {
  try {
    return ZyData::build_received_object(tables.nodes, tables.parameters, tables.strings);
  } catch (const Util::Error&) {
  } catch (const Stopped&) {
    if (is_sound(tables.nodes)) throw std::logic_error("a sound node table ends the program");
  }
  return nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Util::set_assertion_handler(stop);
  const SchemaTable tables = tables_of({reinterpret_cast<const char*>(data), size});
  const auto object = build(tables);
  if (object == nullptr) return 0;
  if (!is_sound(tables.nodes)) throw std::logic_error("an unsound node table was accepted");
  const auto flattened = object->schema()->flattened();
  const auto again = build(*flattened);
  if (again == nullptr) throw std::logic_error("a schema can't be read back");
  const auto second = again->schema()->flattened();
  if (second->nodes != flattened->nodes || second->parameters != flattened->parameters ||
      second->strings != flattened->strings)
    throw std::logic_error("equal schemas were flattened differently");
  return 0;
}
