// Any bytes as a file whose tables and values are shown.
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/fuzz/LookAtFile.h"
#include "tools/corvane/verbs/InfoCommand.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TestSupport::look_at_file(std::string(reinterpret_cast<const char*>(data), size), 400, [](const std::string& path) {
    using nlohmann::ordered_json;
    return CorvaneTool::info_text(path) +
           CorvaneTool::info_json(path).dump(2, ' ', true, ordered_json::error_handler_t::replace);
  });
  return 0;
}
