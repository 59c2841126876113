// The abstract endpoint that messages go to or come from.
//
// A connection is used by one thread at a time. All failures are thrown as Util::Error.
#pragma once

#include <cstdint>
#include <string>

#include "mpsys/Message.h"
#include "util/Export.h"

namespace MPSys {

class CORVANE_API Connection {
 public:
  // --- slots, in order ---
  virtual bool isUsable() const;                // 1: true
  virtual const std::string& name() const = 0;  // 2
  virtual std::int32_t descriptor() const = 0;  // 3: of the operating system; -1 when closed
  virtual std::uint32_t peer() const;           // 4: number of the other side; all ones: there is none
  /// Writes one message. Always true; failures throw and leave what was written so far.
  virtual bool send(const Message& message, std::uint32_t flags) = 0;  // 5: flags are 0
  virtual bool isUsableToReceive() const;                              // 6: true
  /// Reads one message. False when the stream ends before a whole header; the message is then as it was. After an
  /// exception it holds the parts that were read. `sender` may be null, else it gets the sender's number. `timeoutMs`
  /// -1 waits without limit.
  virtual bool receive(Message& message, std::int32_t* sender, std::int32_t timeoutMs) = 0;  // 7
  virtual ~Connection();                                                                     // 8

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

 protected:
  Connection() = default;
};

}  // namespace MPSys
