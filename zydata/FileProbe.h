// A look at a file before it is loaded.
//
// Loading treats a node table that contradicts itself as a broken program and ends it. A host that opens files of
// unknown origin calls probe_file() first and gets an error instead.
#pragma once

#include <cstdint>
#include <string>

#include "util/Export.h"

namespace ZyData {

struct FileProbe {
  std::uint64_t file_bytes = 0;
  std::uint64_t message_bytes = 0;  // up to the end of the last frame; less than file_bytes when something follows
  std::uint32_t frame_count = 0;
  std::uint32_t tag = 0;
  std::uint32_t flags = 0;       // as stored
  std::uint32_t node_count = 0;  // schema nodes
};

/// Reads the header, the size table and the schema's node table, nothing else. Throws Util::Error, naming the file and
/// what is wrong, when the file can't be read, holds no whole data-object message, or has a node table that loading
/// would not survive.
CORVANE_API FileProbe probe_file(const std::string& path);

}  // namespace ZyData
