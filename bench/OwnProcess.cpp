#include "bench/OwnProcess.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "bench/FileRivals.h"
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

std::istringstream measured(Operation operation, const std::string& directory, const std::string& name) {
  return std::istringstream(
      output_of({"measure", kMeasureOption, std::to_string(static_cast<int>(operation)), directory, name}));
}

template <class Run>
void print_bytes(Run&& run) {
  reset_peak();
  const std::size_t before = resident_bytes();
  run();
  std::cout << peak_bytes() - before << '\n';
}

template <class Run>
void print_time(const std::string& file, Run&& run) {
  touch_and_free(2 * std::filesystem::file_size(file));
  const Duration taken = time(run);
  std::cout.precision(12);
  std::cout << taken.seconds << ' ' << taken.cpu_seconds << '\n';
}

}  // namespace

double bytes_in_own_process(Operation operation, const std::string& directory, const std::string& name) {
  double bytes = 0;
  measured(operation, directory, name) >> bytes;
  return bytes;
}

Duration time_in_own_process(Operation operation, const std::string& directory, const std::string& name) {
  Duration taken;
  measured(operation, directory, name) >> taken.seconds >> taken.cpu_seconds;
  return taken;
}

void measure(const std::string& operation, const std::string& directory, const std::string& name) {
  const std::string file = directory + "/" + name + ".zydat";
  Mesh2DPlat::DBZydata database(directory);
  FrameBuffers buffers;
  switch (static_cast<Operation>(std::stoi(operation))) {
    case Operation::load_memory:
      return print_bytes([&] { database.openem(true, name); });
    case Operation::save_memory:
      database.openem(true, name);
      return print_bytes([&] { database.save(kSavedName); });
    case Operation::load:
      return print_time(file, [&] { database.openem(true, name); });
    case Operation::read:
      return print_time(file, [&] { buffers = read_into_malloced_buffers(file); });
  }
}

}  // namespace CorvaneBench
