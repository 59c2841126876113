// corvane_peers: the same board kept by the library, by hand and by other libraries. docs/performance.md says what the
// figures mean, scripts/compare.sh builds and runs it.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "bench/peers/Comparison.h"
#include "bench/peers/Measure.h"

namespace CorvaneBench::Peers {

std::vector<Peer> all_peers() {
  return {floor_peer(),        hand_tuned_peer(),    corvane_peer(), corvane_on_small_pages_peer(),
          hdf5_columns_peer(), hdf5_compound_peer(), sqlite_peer(),  capn_proto_peer(),
          flat_buffers_peer(), protobuf_peer()};
}

namespace {

struct Options {
  std::vector<std::size_t> sizes{10000, 100000, 1000000};
  std::size_t rounds = 0;
  std::vector<std::string> systems;
  std::string folder = std::filesystem::temp_directory_path();
};

/// A folder of its own, removed with all that is in it.
class Scratch {
 public:
  explicit Scratch(const std::string& parent) : d_path(parent + "/corvane-peers-" + std::to_string(::getpid())) {
    std::filesystem::create_directory(d_path);
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(d_path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  const std::string& path() const { return d_path; }

 private:
  std::string d_path;
};

/// Small boards take little time and scatter more.
std::size_t usual_rounds(std::size_t rows) {
  if (rows <= 20000) return 41;
  if (rows <= 200000) return 21;
  return rows <= 2000000 ? 9 : 3;
}

/// The floor and those that were asked for; all when none was.
std::vector<Peer> chosen_peers(const std::vector<std::string>& names) {
  std::vector<Peer> peers = all_peers();
  const auto is_left_out = [&](const Peer& peer) {
    return !names.empty() && peer.name != peers[0].name &&
           std::find(names.begin(), names.end(), peer.name) == names.end();
  };
  std::vector<Peer> chosen;
  std::remove_copy_if(peers.begin(), peers.end(), std::back_inserter(chosen), is_left_out);
  return chosen;
}

std::vector<std::string> names_of(const std::vector<Peer>& peers) {
  std::vector<std::string> names;
  for (const Peer& peer : peers) names.push_back(peer.name);
  return names;
}

int run(int count, char** arguments) {
  CLI::App app("One board kept by Corvane, by hand-written code and by other libraries", "corvane_peers");
  Options options;
  app.add_option("N", options.sizes, "Vertices of the boards")->check(CLI::Range(100, 20000000))->capture_default_str();
  app.add_option("--rounds", options.rounds, "Measurements of each system; 0: as many as usual for the size");
  app.add_option("--system", options.systems, "Only this one beside the floor; may be given several times")
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names_of(all_peers())));
  app.add_option("--directory", options.folder, "Where files are written, and on which file system")
      ->capture_default_str();
  CLI11_PARSE(app, count, arguments);
  const std::vector<Peer> peers = chosen_peers(options.systems);
  const Scratch scratch(options.folder);
  print_systems(peers);
  std::size_t failed = 0;
  for (const std::size_t rows : options.sizes) {
    failed += compare(peers, rows, options.rounds != 0 ? options.rounds : usual_rounds(rows), scratch.path());
  }
  return failed == 0 ? 0 : 1;
}

}  // namespace
}  // namespace CorvaneBench::Peers

int main(int count, char** arguments) {
  try {
    if (count == 6 && arguments[1] == std::string(CorvaneBench::Peers::kHalf)) {
      CorvaneBench::Peers::run_half(arguments[2], arguments[3], arguments[4], arguments[5]);
      return 0;
    }
    return CorvaneBench::Peers::run(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << "corvane_peers: " << error.what() << '\n';
    return 1;
  }
}
