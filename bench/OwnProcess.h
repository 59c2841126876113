// What an operation takes in a process of its own, in which nothing happened before: memory that a long-lived process
// frees keeps its advice and its addresses, and whoever takes it next gains or loses by that.
#pragma once

#include <string>

#include "bench/Figure.h"

namespace CorvaneBench {

inline constexpr const char* kMeasureOption = "--measure";

/// What is measured of a database file.
enum class Operation {
  load_memory,  // bytes that loading takes at its peak
  save_memory,  // bytes that saving takes beyond what is loaded
  load,         // time of loading
  read          // time of reading the same bytes into buffers from malloc
};

/// Bytes taken beyond what the process held before.
double bytes_in_own_process(Operation operation, const std::string& directory, const std::string& name);
Duration time_in_own_process(Operation operation, const std::string& directory, const std::string& name);

/// The other process's work: `operation` is the number of an Operation. Prints what was measured on standard output.
void measure(const std::string& operation, const std::string& directory, const std::string& name);

}  // namespace CorvaneBench
