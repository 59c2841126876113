// A whole look at a file that is not opened: what it is, and what is wrong with it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "util/Export.h"
#include "zydata/message/FileProbe.h"

namespace ZyData {
class DataObj;
}

namespace Mesh2DPlat {

enum class FileKind : std::uint8_t {
  other,     // any tree of the data library
  database,  // layout and settings
  mesh,
};

/// A table or column without which a file is no whole database or mesh. Settings count as columns of "simeshconfig".
struct ContentGap {
  std::string table;
  std::string column;          // empty: the whole table
  bool isOfOtherType = false;  // it is there, but its type is not the one that is read
};

struct FileContent {
  FileKind kind = FileKind::other;
  std::vector<ContentGap> gaps;  // in the order of the tables in a new file; none: it is whole

  /// What is missing, in one sentence; empty for nothing.
  std::string text() const;
};

/// What a loaded tree is, and which parts of that it lacks: the one answer for all who open, draw or check files.
///
/// Two top-level fields with the name or the row type of a database's tables make a database, two of a mesh's make a
/// mesh; of both, the larger number. So one table that is missing or has got another name changes nothing of what a
/// file is, and is a gap. More tables and columns than those of a new file are welcome. Throws only for lack of memory.
CORVANE_API FileContent probeContent(ZyData::DataObj& tree);

struct ProbeResult {
  ZyData::FileFault fault = ZyData::FileFault::none;  // none: the file is sound
  std::string text;                                   // what is wrong; empty for a sound file
  std::uint64_t expectedBytes = 0;                    // that the file says it has; 0: that is not known
  std::uint64_t actualBytes = 0;
  std::uint64_t trailingBytes = 0;      // behind the message of a file that loads; nobody reads them
  std::string unknownType;              // for the fault unknown_type: the type's name
  std::string table;                    // where the damage lies, as far as that is known
  std::string column;                   //
  std::optional<std::uint64_t> offset;  // bytes from the file's start
  FileContent content;                  // of a file that loads
};

/// Looks at everything in a file: a database, a mesh file, or any file of the data library whose types are registered.
/// Sound means that it loads, and that a database or mesh has all tables and columns in their types; whether its rows
/// name layers, nets and vertices that exist shows when they are read. Bytes behind the message are counted and no
/// fault.
///
/// Whatever the file holds is an answer: nothing is thrown for it, no assertion fails, and what is open stays open.
/// Only running out of memory throws. Takes as much memory as loading the file.
CORVANE_API ProbeResult probe(const std::string& path);

}  // namespace Mesh2DPlat
