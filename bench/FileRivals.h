// Hand-written ways of moving a database's bytes to a file and back: one system call each, nothing else.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mpsys/Message.h"

namespace CorvaneBench {

/// A whole file as one list of buffers: header, size table, and the message's frames where they lie.
class GatheredFile {
 public:
  /// The message's memory must stay as it is.
  explicit GatheredFile(const MPSys::Message& message);

  /// Creates the file and writes everything with one call.
  void write(const std::string& path) const;

 private:
  std::vector<std::uint32_t> d_header;
  std::vector<std::uint64_t> d_sizes;  // bytes, frame by frame
  std::vector<iovec> d_buffers;
};

/// The buffers that a file's frames were read into.
using FrameBuffers = std::vector<std::unique_ptr<void, void (*)(void*)>>;

/// Reads header and size table, takes a buffer from malloc for every frame and reads all frames with one call.
FrameBuffers read_into_malloced_buffers(const std::string& path);

}  // namespace CorvaneBench
