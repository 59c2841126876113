// How much memory an operation takes, measured in a process of its own, in which nothing happened before.
#pragma once

#include <cstddef>
#include <string>

namespace CorvaneBench {

inline constexpr const char* kMeasureOption = "--measure-memory";

/// Starts this program again with kMeasureOption, `operation` ("load" or "save"), `directory` and `name`, and returns
/// the bytes that it took beyond what it held before.
std::size_t bytes_in_own_process(const std::string& operation, const std::string& directory, const std::string& name);

/// That other program's work: loads a database, or saves a loaded one, and prints the bytes taken on standard output.
void measure_memory(const std::string& operation, const std::string& directory, const std::string& name);

}  // namespace CorvaneBench
