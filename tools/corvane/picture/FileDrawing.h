// The drawing of a file.
#pragma once

#include <string>

#include "tools/corvane/picture/Drawing.h"

namespace CorvaneTool {

/// What the file holds decides whether it is drawn as a layout or as a mesh. Throws, with the file's name, for what is
/// neither or lacks a table, and for rows that cannot be drawn; then `corvane mesh` takes it no more than this does.
/// Whatever database this process has open is gone afterwards.
Drawing draw_file(const std::string& path);

}  // namespace CorvaneTool
