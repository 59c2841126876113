// Any bytes as a file that is to be drawn.
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/fuzz/LookAtFile.h"
#include "tools/corvane/picture/FileDrawing.h"
#include "tools/corvane/picture/SvgWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace CorvaneTool;
  TestSupport::look_at_file(std::string(reinterpret_cast<const char*>(data), size), 400, [](const std::string& path) {
    const Drawing drawing = draw_file(path);
    const Box frame = bounds_of(drawing).value_or(Box());
    return write_svg(drawing, frame, {"title", 800, drawing.nets.empty() ? -1 : 0}).svg +
           write_svg(drawing, frame, {"title", 200, -1}).svg;
  });
  return 0;
}
