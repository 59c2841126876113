// Any bytes as a file: it loads or is refused with a documented error, and what was loaded can be read, printed,
// changed, saved and loaded again.
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/fuzz/UseFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TestSupport::use_file(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
