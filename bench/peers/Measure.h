// One measurement of one system, in two fresh processes: one that has the objects and writes, one that reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/peers/System.h"

namespace CorvaneBench::Peers {

struct Times {
  double build = 0, save = 0, load = 0, rebuild = 0;  // seconds
  std::uintmax_t file_bytes = 0;

  double total() const { return build + save + load + rebuild; }
};

/// The first argument of a program that runs as one of the two processes; the others are for run_half().
inline constexpr const char* kHalf = "--half";

/// Measures `peer` with a board of `rows`, its file in `folder`. Throws std::runtime_error when a process fails or the
/// system gave back something else than it got.
Times measure(const Peer& peer, std::size_t rows, const std::string& folder);

/// What such a process does: `half` is "write" or "read"; the outcome goes to a file in `folder`.
void run_half(const std::string& half, const std::string& peer, const std::string& rows, const std::string& folder);

}  // namespace CorvaneBench::Peers
