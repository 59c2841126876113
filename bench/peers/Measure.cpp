#include "bench/peers/Measure.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>

#include "bench/Figure.h"
#include "bench/Memory.h"
#include "bench/peers/Board.h"

namespace CorvaneBench::Peers {
namespace {

/// What a half says: the times of its two phases and the checksum of its objects.
struct Outcome {
  double first = 0, second = 0;
  std::uint64_t sum = 0;
};

std::string file_in(const std::string& folder) { return folder + "/board.zydat"; }
std::string outcome_in(const std::string& folder) { return folder + "/outcome"; }

Outcome run_in_own_process(const char* half, const Peer& peer, std::size_t rows, const std::string& folder) {
  std::filesystem::remove(outcome_in(folder));
  std::array<std::string, 6> words{"half", kHalf, half, peer.name, std::to_string(rows), folder};
  std::array<char*, 7> arguments{};
  std::transform(words.begin(), words.end(), arguments.begin(), [](std::string& word) { return word.data(); });
  pid_t child = 0;
  int status = ::posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, arguments.data(), environ);
  if (status == 0) ::waitpid(child, &status, 0);
  Outcome outcome;
  std::ifstream text(outcome_in(folder));
  if (status != 0 || !(text >> outcome.first >> outcome.second >> outcome.sum)) {
    throw std::runtime_error(peer.name + ": the process that had to " + half + " failed");
  }
  return outcome;
}

template <class Phase>
double timed(std::size_t rows, Phase&& phase) {
  touch_and_free(memory_of(rows));
  return time(phase).seconds;
}

Outcome write_half(System& system, std::size_t rows) {
  const Layout board = make_board(rows);
  Outcome outcome;
  outcome.first = timed(rows, [&] { system.build(board); });
  outcome.second = timed(rows, [&] { system.save(); });
  outcome.sum = checksum(board);
  return outcome;
}

Outcome read_half(System& system, std::size_t rows) {
  Objects objects;
  Outcome outcome;
  outcome.first = timed(rows, [&] { system.load(); });
  outcome.second = timed(rows, [&] { system.rebuild(objects); });
  outcome.sum = checksum(objects.layout);
  check_tables(objects);
  return outcome;
}

}  // namespace

Times measure(const Peer& peer, std::size_t rows, const std::string& folder) {
  const std::string file = file_in(folder);
  std::filesystem::remove(file);
  const Outcome written = run_in_own_process("write", peer, rows, folder);
  const std::uintmax_t bytes = std::filesystem::file_size(file);
  const Outcome read = run_in_own_process("read", peer, rows, folder);
  std::filesystem::remove(file);
  if (written.sum != read.sum) throw std::runtime_error(peer.name + " gave back other objects than it got");
  return {written.first, written.second, read.first, read.second, bytes};
}

void run_half(const std::string& half, const std::string& peer, const std::string& rows, const std::string& folder) {
  const std::vector<Peer> peers = all_peers();
  const auto found = std::find_if(peers.begin(), peers.end(), [&](const Peer& each) { return each.name == peer; });
  if (found == peers.end()) throw std::runtime_error("no such system: " + peer);
  const auto system = found->make(file_in(folder));
  const Outcome outcome = (half == "write" ? write_half : read_half)(*system, std::stoul(rows));
  std::ofstream text(outcome_in(folder));
  text.precision(std::numeric_limits<double>::max_digits10);
  text << outcome.first << ' ' << outcome.second << ' ' << outcome.sum << '\n';
}

}  // namespace CorvaneBench::Peers
