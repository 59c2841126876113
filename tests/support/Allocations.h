// The memory that the library asks for: how much, and what happens when it is refused.
//
// A program that lists Allocations.cpp among its sources and calls corvane_watch_allocations(<name>) in its
// CMakeLists.txt sees every request that the library's own code makes, by malloc and its kin or by new. Not for several
// threads.
#pragma once

#include <cstdint>

namespace TestSupport {

/// Counts the requests made while it lives; one at a time.
class AllocationWatch {
 public:
  /// The `refused`-th request (1: the first), or that one and all behind it, find no memory; 0: none.
  explicit AllocationWatch(std::uint64_t refused = 0, bool and_all_behind = false);
  ~AllocationWatch();
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;

  /// While it is paused, nothing is counted or refused.
  void pause();
  void go_on();

  /// Requests so far.
  std::uint64_t count() const;
  /// Bytes of all requests together, given back or not: never less than the memory in use at any time.
  std::uint64_t requested() const;
  /// True when there were so many requests that one was refused.
  bool refused() const;
};

}  // namespace TestSupport
