// Rounds of measurements, each system once in every round, and the tables that are printed of them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/peers/System.h"

namespace CorvaneBench::Peers {

/// Prints machine, versions and options, as Markdown.
void print_systems(const std::vector<Peer>& peers);

/// Measures every system `rounds` times with boards of `rows` and prints medians of the ratios to the first, the floor,
/// of the same round. A system that fails is named and left out; returns how many did.
std::size_t compare(const std::vector<Peer>& peers, std::size_t rows, std::size_t rounds, const std::string& folder);

}  // namespace CorvaneBench::Peers
