// Where in a tree a load has failed: what errors say of tables and columns.
#pragma once

#include <cstddef>

#include "util/Error.h"
#include "zydata/object/data.h"

namespace ZyData {

/// Tells an error that was raised in a child of `parent`, which is being loaded, where the child is.
void enter_child(Util::Error& error, const DataObj& parent, std::size_t place);

/// Tells an error to which field the storage frame of this number among those of `object` belongs.
void enter_frame(Util::Error& error, const DataObj& object, std::size_t frame);

}  // namespace ZyData
