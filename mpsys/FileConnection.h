// A connection to one file, either written or read, and the framing of messages in it.
//
// A message is a header of 12 bytes (frame count, tag, flags), a table with the byte size of every message frame, and
// the frames' bytes without anything between them; all numbers are little-endian. docs/file-format.md describes every
// byte.
//
// Frames are written from the memory of the data objects and read into it; nothing is copied in between. A number from
// a regular file is compared with the bytes that the file still has before memory is taken for it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "mpsys/Connection.h"
#include "mpsys/FileStream.h"
#include "util/Export.h"
#include "zydata/object/data.h"

namespace MPSys {

enum class FileMode : std::uint8_t { writing = 0, reading = 1 };

/// The library has it for VFileStream only.
template <class Stream>
class CORVANE_API FileConnectionBase : public Connection {
 public:
  /// Opens the file; writing creates it or cuts an existing one to nothing. Throws Util::Error.
  FileConnectionBase(const char* fileName, FileMode mode);
  /// Takes over the descriptor that `open` answers with, open in this mode. What `open` throws passes through.
  template <class Open>
  FileConnectionBase(const char* fileName, FileMode mode, Open open) : d_stream(fileName), d_mode(mode) {
    d_stream.attach(open());  // last: nothing behind it throws, so the descriptor has its owner
  }

  const std::string& name() const override { return d_stream.fileName(); }  // 2: as given to the constructor
  std::int32_t descriptor() const override { return d_stream.fd(); }        // 3
  bool send(const Message& message, std::uint32_t flags) override;          // 5
  /// What is thrown as Util::Error says where in the file, as far as that is known.
  bool receive(Message& message, std::int32_t* sender, std::int32_t timeoutMs) override;  // 7
  /// Closes the file quietly: whoever must know that all bytes have arrived calls close() first.
  ~FileConnectionBase() override;  // 8

  /// Closes the file; again is no error. Throws Util::Error when the system reports a failure: the file is then closed,
  /// but what was written may be incomplete.
  void close();

 private:
  bool receive_message(Message& message, std::int32_t timeoutMs);

  Stream d_stream;
  FileMode d_mode;
};

extern template class FileConnectionBase<VFileStream>;

using FileConnection = FileConnectionBase<VFileStream>;

}  // namespace MPSys
