// A look at a file before it is loaded.
//
// Loading treats a node table that contradicts itself as a broken program and ends it. A host that opens files of
// unknown origin looks at them first and gets an answer instead.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "util/Export.h"

namespace ZyData {

enum class FileFault : std::uint8_t {
  none,
  missing,
  unreadable,    // no regular file, or the system refuses it
  empty,         // 0 bytes
  not_ours,      // no data-object message
  cut_short,     // a data-object message without its end
  damaged,       // contradicts itself
  unknown_type,  // has elements of a type that is not registered
};

struct FileProbe {
  std::uint64_t file_bytes = 0;
  std::uint64_t message_bytes = 0;  // up to the end of the last frame, as far as known; file_bytes may be more
  std::uint32_t frame_count = 0;
  std::uint32_t tag = 0;
  std::uint32_t flags = 0;       // as stored
  std::uint32_t node_count = 0;  // schema nodes
};

/// What was found; `found` as far as the look went.
struct FileReport {
  FileFault fault = FileFault::none;
  std::string text;                     // what is wrong, without the file's name; empty for no fault
  std::string unknown_type;             // the type's name, for that fault only
  std::optional<std::uint64_t> offset;  // of what is wrong, in bytes
  FileProbe found;
};

/// Reads the header, the size table and the schema's names and nodes, nothing else. Whatever the file holds is an
/// answer: only running out of memory throws. A file without fault may still fail to load, but ends no program.
CORVANE_API FileReport inspect_file(const std::string& path);

/// The same for files of types that may be registered later. Throws Util::Error, naming the file and what is wrong,
/// for every other fault.
CORVANE_API FileProbe probe_file(const std::string& path);

}  // namespace ZyData
