// Files that are replaced as a whole.
#pragma once

#include <string>

#include "mpsys/Message.h"

namespace Mesh2DPlat {

/// Writes a message to a file beside `path`, `<path>.tmp`, and puts that in its place when all bytes are on the disk;
/// until then the old file stays. Its permission bits are kept; a symbolic link stays, and its target is replaced. With
/// `keep_previous` the old file remains as `<path>.bak`, in the place of an older one.
///
/// Throws Util::Error, and leaves the old file, unless everything succeeds; only when the last step fails, the wait for
/// the folder, the new file is in its place already. One process at a time: another's save in progress is an error.
void replace_file(const std::string& path, const MPSys::Message& message, bool keep_previous);

}  // namespace Mesh2DPlat
