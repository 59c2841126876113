// What storing a mesh costs against hand-written loops and bare system calls.
#pragma once

#include <cstddef>
#include <string>

namespace CorvaneBench {

/// Registers the figures of a mesh of about `nodes` nodes, three times as many edges and twice as many faces. Files go
/// to `folder`, which must exist.
void register_mesh_figures(const std::string& folder, std::size_t nodes, std::size_t pairs);

}  // namespace CorvaneBench
