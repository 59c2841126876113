// A data tree as a message, and a message as a data tree.
//
// Sending: schema -> three byte areas (Schema::flattened), objects -> their own memory (vectorize), both -> one
// message. Receiving: three byte areas -> schema -> empty objects -> their memory (vectorize again) -> filled by the
// connection -> checked (finish) -> linked. Bulk data are never copied in either direction. docs/file-format.md
// describes every byte.
#pragma once

#include <cstdint>
#include <memory>

#include "mpsys/Connection.h"
#include "mpsys/Message.h"
#include "util/Export.h"
#include "zydata/object/data.h"

namespace ZyData {

/// The message of a data object. Its frames view the object's memory: it is valid until the object changes. Throws
/// Util::Error for an object that can't be stored.
CORVANE_API MPSys::Message data_message(const std::shared_ptr<DataObj>& object);

/// Writes `object` as one message. Always true; failures throw.
CORVANE_API bool sendDataObject(MPSys::Connection& connection, const std::shared_ptr<DataObj>& object,
                                std::uint32_t flags = 0);

/// Reads one message into a new object, linked to itself as the root of its tree. False at the end of the stream;
/// throws MPSys::NonDataMessageException for a message without a data object and Util::Error for a damaged one.
/// `object` changes only when the result is true. `sender` may be null.
CORVANE_API bool receiveDataObject(MPSys::Connection& connection, std::shared_ptr<DataObj>& object,
                                   std::int32_t* sender = nullptr, std::int32_t timeoutMs = -1);

}  // namespace ZyData
