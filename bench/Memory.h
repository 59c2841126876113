// The memory around a timed run: fresh before it, measured after it.
#pragma once

#include <cstddef>

namespace CorvaneBench {

/// True when the system grants huge pages to a program that asks for them.
bool huge_pages_granted();

/// Makes every large block come fresh from the system and go back to it when it is freed, as in the first use of a
/// process. Call once, at the start.
void use_fresh_blocks();

/// Gives free memory back, then takes `bytes`, writes to every page and frees them again. A virtual machine's host
/// takes unused memory away, and the first touch afterwards costs several times as much: this pays for it before the
/// clock runs.
void touch_and_free(std::size_t bytes);

/// Bytes of this process that are in memory now.
std::size_t resident_bytes();
/// The most that were in memory at a time since reset_peak(), which does nothing where the system refuses it; then
/// since the program started.
std::size_t peak_bytes();
void reset_peak();

/// A block of at least `bytes`, aligned for huge pages and asking for them when there is room for one. Freed with
/// std::free; throws std::bad_alloc.
void* allocate_on_huge_pages(std::size_t bytes);

}  // namespace CorvaneBench
