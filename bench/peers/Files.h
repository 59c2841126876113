// The operating system's files, for systems that leave them to the program.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace CorvaneBench::Peers {

/// An open file, closed at the end. Every failure throws std::system_error.
class File {
 public:
  static File created(const std::string& path);
  static File opened(const std::string& path);
  ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int descriptor() const { return d_descriptor; }
  std::size_t size() const;
  /// One call: writes from, or reads into, all parts in their order. Throws when fewer bytes were moved.
  void write(const std::vector<iovec>& parts) const;
  void read(const std::vector<iovec>& parts) const;

 private:
  File(const std::string& path, int flags);

  int d_descriptor;
};

/// A whole file in the address space, read-only.
class Mapping {
 public:
  explicit Mapping(const std::string& path);
  ~Mapping();
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  std::span<const std::byte> bytes() const { return {d_begin, d_size}; }

 private:
  const std::byte* d_begin;
  std::size_t d_size;
};

}  // namespace CorvaneBench::Peers
