// How much may become of an input, so that a small file cannot take all memory.
#pragma once

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace CorvaneTool {

/// Thrown for a board that would become more than it may.
class TooLarge : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline std::string in_mebibytes(std::uint64_t bytes) { return std::to_string(bytes >> 20U) + " MiB"; }

/// Counts bytes of the database that is being made, roughly: texts and coordinates as they are stored, a little for
/// each row.
class Allowance {
 public:
  static constexpr std::uint64_t kRow = 32;

  explicit Allowance(std::uint64_t most = std::numeric_limits<std::uint64_t>::max()) : d_most(most) {}

  std::uint64_t taken() const { return d_taken; }

  void take(std::uint64_t bytes) {
    d_taken += bytes;
    if (d_taken > d_most) throw TooLarge("would become more than " + in_mebibytes(d_most) + " (see --limit)");
  }

 private:
  std::uint64_t d_most;
  std::uint64_t d_taken = 0;
};

}  // namespace CorvaneTool
