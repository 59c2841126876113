// Receiving what follows a message's header: size table, frames, and, for a data object, the checks of all claims.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "mpsys/FileStream.h"
#include "mpsys/Message.h"
#include "util/Error.h"
#include "zydata/object/data.h"

namespace ZyData {

/// The empty data object of the schema that a message's first three frames describe: the node table, the parameters,
/// the string pool. The bytes are borrowed for the call. Errors carry the offset of a node in `nodes`. This and the
/// next are the serializer's part of receiving, which lies above this layer.
std::shared_ptr<DataObj> build_received_object(std::string_view nodes, std::string_view parameters,
                                               std::string_view strings);
/// Tells an error to which field of an object the storage frame of this number belongs.
void locate_frame(Util::Error& error, const DataObj& object, std::size_t frame);

}  // namespace ZyData

namespace MPSys {

/// Fills a message with `frameCount` frames from a stream that stands behind the header. Throws Util::Error, which says
/// where in the file; memory is taken only for what a regular file still has.
void receive_frames(VFileStream& stream, std::uint32_t frameCount, bool isData, Message& message);

}  // namespace MPSys
