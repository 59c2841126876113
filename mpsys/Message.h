// What a connection sends and receives: an ordered list of byte blocks.
//
// A message frame is any data object, used through its memory only: its address, its byte size, and its answer to "do n
// bytes fit?". The frames of a data-object message encode a data tree with its schema; those of a plain message mean
// what sender and receiver agree on.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>

#include "util/Export.h"
#include "zydata/object/data.h"

namespace MPSys {

struct CORVANE_API Message {
  std::uint32_t tag = 0;                  // travels in the header
  ZyData::FrameList frames;               // in the order in which they travel
  std::shared_ptr<ZyData::DataObj> data;  // what the frames encode; empty for a plain message
  std::uint8_t isData = 0;                // 1: the frames encode a data object

  /// Makes this the message of `object`.
  void attach(std::shared_ptr<ZyData::DataObj> object);
};

/// A message arrived that holds no data object although one was expected. Copies without throwing.
class CORVANE_API NonDataMessageException : public std::exception {
 public:
  explicit NonDataMessageException(const Message& received);
  ~NonDataMessageException() override;

  const char* what() const noexcept override;
  /// The message as received; lives as long as any copy of this exception.
  const Message& message() const { return *d_message; }

 private:
  std::shared_ptr<const Message> d_message;
};

}  // namespace MPSys
