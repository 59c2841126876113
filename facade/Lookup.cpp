#include "facade/Lookup.h"

#include <stdexcept>

namespace Mesh2DPlat {

void throw_missing_key() { throw std::out_of_range("invalid unordered_map<K, T> key"); }

}  // namespace Mesh2DPlat
