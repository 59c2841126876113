// Any bytes as a database file: a file that the probe accepts loads or is refused with a documented error, and what was
// loaded can be read, printed, saved and loaded again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "mpsys/Message.h"
#include "tests/format/Load.h"
#include "util/Bytes.h"
#include "zydata/SchemaTable.h"

namespace {

/// The check of the probe, on bytes: without it some node tables end the program, as documented.
bool has_sound_node_table(const std::string& bytes) {
  constexpr std::size_t kHeader = 12;
  if (bytes.size() < kHeader) return true;
  const std::uint64_t frames = Util::load<std::uint32_t>(bytes.data());
  if (frames < 3 || frames > (bytes.size() - kHeader) / 8) return true;  // never gets as far as the table
  const std::size_t start = kHeader + 8 * frames;
  const auto size = Util::load<std::uint64_t>(bytes.data() + kHeader);
  if (size > bytes.size() - start) return true;
  try {
    ZyData::check_node_table(std::string_view(bytes).substr(start, size));
    return true;
  } catch (const Util::Error&) {
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Mesh2DPlat::DBZydata db(TestSupport::kMemory);
  std::string& input = TestSupport::file("input");
  input.assign(reinterpret_cast<const char*>(data), size);
  if (!has_sound_node_table(input)) return 0;
  try {
    db.openem(true, "input");
  } catch (const Util::Error&) {
    return 0;
  } catch (const MPSys::NonDataMessageException&) {
    return 0;
  }
  if (Mesh2DPlat::currentRoot->tree == nullptr) return 0;
  TestSupport::read_everything(db);
  TestSupport::save_twice(db);
  return 0;
}
