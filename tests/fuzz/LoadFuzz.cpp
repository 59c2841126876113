// Any bytes as a file: one that the probe accepts loads, as a database or as a bare tree, or is refused with a
// documented error, and what was loaded can be read, printed, changed, saved and loaded again.
#include <cstddef>
#include <cstdint>
#include <string>

#include "mpsys/Message.h"
#include "tests/format/Load.h"

namespace {

void use_as_database(Mesh2DPlat::DBZydata& db) {
  try {
    db.openem(true, "input");
  } catch (const Util::Error&) {
    return;
  } catch (const MPSys::NonDataMessageException&) {
    return;
  }
  if (Mesh2DPlat::currentRoot->tree == nullptr) return;
  TestSupport::read_everything(db);
  TestSupport::save_twice(db);
}

/// The files that the corpus refers to, long enough for it.
bool put_mapped_files() {
  auto& files = TestSupport::MemoryPlatform::instance().files;
  for (const char* name : {"kinds.mapped", "kinds.defaults", "kinds.values", "kinds.column"})
    files[name] = std::string(64, '\1');
  files["kinds.offsets"] = std::string("\0\0\0\0\2\0\0\0\2\0\0\0\3\0\0\0", 16);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Mesh2DPlat::DBZydata db(TestSupport::kMemory);
  [[maybe_unused]] static const bool ready = put_mapped_files();
  std::string& input = TestSupport::file("input");
  input.assign(reinterpret_cast<const char*>(data), size);
  if (!TestSupport::has_sound_node_table(input)) return 0;
  use_as_database(db);
  TestSupport::use_tree(std::string(TestSupport::kMemory) + "/input.zydat");
  return 0;
}
