// Tables keyed by numbers from a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace CorvaneTool {

/// The standard hash of a number is the number: whoever writes a file could put all its keys into one bucket, and make
/// every search walk through all of them. This one depends on the run, so tables that use it must not be listed in
/// their own order.
struct SpreadHash {
  std::size_t operator()(std::uint64_t key) const {
    static const std::uint64_t seed = (std::uint64_t{std::random_device()()} << 32U) | std::random_device()();
    std::uint64_t hash = key + seed;
    hash = (hash ^ (hash >> 30U)) * 0xbf58476d1ce4e5b9U;
    hash = (hash ^ (hash >> 27U)) * 0x94d049bb133111ebU;
    return hash ^ (hash >> 31U);
  }
};

}  // namespace CorvaneTool
