#include "bench/OwnMemory.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "bench/Memory.h"
#include "facade/DBZydata.h"

namespace CorvaneBench {
namespace {

constexpr const char* kSavedName = "saved-in-own-process";

void check(int error_number, const char* what) {
  if (error_number != 0) throw std::system_error(error_number, std::generic_category(), what);
}

/// Standard output of this program, started with `arguments`.
std::string output_of(std::array<std::string, 5> arguments) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) check(errno, "pipe");
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  ::posix_spawn_file_actions_addclose(&actions, ends[0]);
  std::array<char*, 6> pointers{};
  for (std::size_t i = 0; i < arguments.size(); ++i) pointers[i] = arguments[i].data();
  pid_t child = 0;
  const int spawned = ::posix_spawn(&child, "/proc/self/exe", &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  std::string text;
  std::array<char, 64> part{};
  for (ssize_t n = 0; spawned == 0 && (n = ::read(ends[0], part.data(), part.size())) > 0;) {
    text.append(part.data(), static_cast<std::size_t>(n));
  }
  ::close(ends[0]);
  check(spawned, "posix_spawn");
  int status = 0;
  ::waitpid(child, &status, 0);
  if (status != 0) throw std::runtime_error("the measuring process failed");
  return text;
}

}  // namespace

std::size_t bytes_in_own_process(const std::string& operation, const std::string& directory, const std::string& name) {
  return std::stoull(output_of({"measure", kMeasureOption, operation, directory, name}));
}

void measure_memory(const std::string& operation, const std::string& directory, const std::string& name) {
  Mesh2DPlat::DBZydata database(directory);
  if (operation == "save") database.openem(true, name);
  reset_peak();
  const std::size_t before = resident_bytes();
  operation == "save" ? database.save(kSavedName) : database.openem(true, name);
  std::cout << peak_bytes() - before << '\n';
}

}  // namespace CorvaneBench
