// What a program takes away when somebody stops it.
#pragma once

#include <cstddef>
#include <string>

namespace CorvaneTool {

/// While the object lives, SIGINT, SIGTERM and SIGHUP remove this file, or this folder if it is then empty, before they
/// end the program as they would have: with the signal's status. A signal that the program was started to ignore stays
/// ignored.
///
/// For programs of one thread: the removal runs between two of its instructions. At most 16 at a time, with names below
/// 4096 bytes; std::length_error for more.
class RemovedOnInterrupt {
 public:
  explicit RemovedOnInterrupt(const std::string& path);
  ~RemovedOnInterrupt();
  RemovedOnInterrupt(const RemovedOnInterrupt&) = delete;
  RemovedOnInterrupt& operator=(const RemovedOnInterrupt&) = delete;

 private:
  std::size_t d_place;
};

}  // namespace CorvaneTool
