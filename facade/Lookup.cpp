#include "facade/Lookup.h"

#include <utility>

namespace Mesh2DPlat {

DanglingReference::DanglingReference(std::string id)
    : std::out_of_range("invalid unordered_map<K, T> key"), d_id(std::move(id)) {}

void throw_missing_key(int id) { throw DanglingReference(std::to_string(id)); }
void throw_missing_key(const std::string& name) { throw DanglingReference(name); }

}  // namespace Mesh2DPlat
