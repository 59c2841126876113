// A whole look at a file that is not opened: what it is, and what is wrong with it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "util/Export.h"
#include "zydata/message/FileProbe.h"

namespace Mesh2DPlat {

struct ProbeResult {
  ZyData::FileFault fault = ZyData::FileFault::none;  // none: the file is sound
  std::string text;                                   // what is wrong; empty for a sound file
  std::uint64_t expectedBytes = 0;                    // that the file says it has; 0: that is not known
  std::uint64_t actualBytes = 0;
  std::string unknownType;              // for the fault unknown_type: the type's name
  std::string table;                    // where the damage lies, as far as that is known
  std::string column;                   //
  std::optional<std::uint64_t> offset;  // bytes from the file's start
};

/// Looks at everything in a file: a database, a mesh file, or any file of the data library whose types are registered.
/// Sound means that it loads, and that a database or mesh has all tables and columns in their types; whether its rows
/// name layers, nets and vertices that exist shows when they are read.
///
/// Whatever the file holds is an answer: nothing is thrown for it, no assertion fails, and what is open stays open.
/// Only running out of memory throws. Takes as much memory as loading the file.
CORVANE_API ProbeResult probe(const std::string& path);

}  // namespace Mesh2DPlat
