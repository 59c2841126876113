// The board that all systems store, and the number that tells whether they gave it back.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bench/peers/Objects.h"

namespace CorvaneBench::Peers {

/// `rows` vertices on eight layers, as many traces, a tenth of that vias, a fiftieth shapes of 8 to 200 numbers and a
/// hundredth circuits of 2 to 16 pins. Names have 0 to 19 bytes. The same on every run.
Layout make_board(std::size_t rows);

/// Bytes of memory that a process needs, at most, to make or to rebuild a board of `rows`.
std::size_t memory_of(std::size_t rows);

/// Depends on every member of every object, on the objects that it refers to, and on the order of the lists.
std::uint64_t checksum(const Layout& board);

/// Throws std::runtime_error when an object is missing in its table.
void check_tables(const Objects& objects);

}  // namespace CorvaneBench::Peers
