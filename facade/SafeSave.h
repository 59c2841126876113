// Files that are replaced as a whole.
#pragma once

#include <string>

#include "mpsys/Message.h"

namespace Mesh2DPlat {

/// Writes a message to a file beside `path`, `<path>.tmp`, and puts that in its place when all bytes are on the disk;
/// until then the old file stays. Its owner, group and permission bits are kept as far as this process may: where it
/// may not keep owner or group, the bits become fewer, so that nobody can do more than before; bits that set a user or
/// a group on execution go. Other names of the old file (hard links) stay with the old content; access lists and other
/// extended attributes are not taken over. A symbolic link stays, and its target is replaced, unless the link lies in a
/// folder that others may write, belongs neither to this user nor to the folder's owner, and leads to another owner's
/// file or to none. With `keep_previous` the old file remains as `<path>.bak`, in the place of an older one.
///
/// Throws Util::Error, and leaves the old file, unless everything succeeds; only when the last step fails, the wait for
/// the folder, the new file is in its place already. One process at a time: another's save in progress is an error.
void replace_file(const std::string& path, const MPSys::Message& message, bool keep_previous);

}  // namespace Mesh2DPlat
