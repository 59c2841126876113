// What mapped files cost against process memory, and dictionaries against the standard library's hash map.
#pragma once

#include <cstddef>
#include <string>

namespace CorvaneBench {

/// Registers the figures: `elements` elements, runs or keys each, files in `folder`, which must exist.
void register_storage_figures(const std::string& folder, std::size_t elements, std::size_t pairs);

}  // namespace CorvaneBench
