#include "bench/peers/Comparison.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <thread>

#include "bench/Figure.h"
#include "bench/Memory.h"
#include "bench/peers/Measure.h"

namespace CorvaneBench::Peers {
namespace {

#ifdef __clang__
constexpr const char* kCompiler = "clang";
#else
constexpr const char* kCompiler = "GCC";
#endif

using Phase = double (*)(const Times&);

constexpr Phase kPhases[] = {
    [](const Times& times) { return times.build; }, [](const Times& times) { return times.save; },
    [](const Times& times) { return times.load; }, [](const Times& times) { return times.rebuild; },
    [](const Times& times) { return times.total(); }};

/// All rounds of one system; nothing when it failed.
using Rounds = std::optional<std::vector<Times>>;

Summary ratio_to(const std::vector<Times>& floor, const std::vector<Times>& rounds, Phase phase) {
  std::vector<Sample> samples;
  for (std::size_t i = 0; i < rounds.size(); ++i) samples.push_back({phase(rounds[i]), phase(floor[i]), 0, 0});
  Figure figure;
  figure.is_time = false;  // no CPU times
  return summarise(figure, samples);
}

void print_row(const Peer& peer, const std::vector<Times>& floor, const std::vector<Times>& rounds) {
  std::printf("| %s |", peer.name.c_str());
  for (const Phase phase : kPhases) std::printf(" %.2f |", ratio_to(floor, rounds, phase).ratio);
  const Summary total = ratio_to(floor, rounds, kPhases[4]);
  std::printf(" %.2f to %.2f | %.1f | %.1f |\n", total.low_quartile, total.high_quartile, 1e3 * total.ours,
              1e-6 * static_cast<double>(rounds[0].file_bytes));
}

void print_floor(const std::vector<Times>& floor) {
  std::printf("\nThe floor's times in ms:");
  const char* names[] = {"build", "save", "load", "rebuild", "total"};
  for (std::size_t i = 0; i < std::size(kPhases); ++i) {
    const auto milliseconds = [&](const Times& times) { return 1e3 * kPhases[i](times); };
    std::vector<Sample> samples;
    for (const Times& times : floor) samples.push_back({milliseconds(times), 1, 0, 0});
    Figure figure;
    figure.is_time = false;
    const Summary summary = summarise(figure, samples);
    std::printf("%s %s %.2f (%.2f to %.2f)", i == 0 ? "" : ",", names[i], summary.ratio, summary.low_quartile,
                summary.high_quartile);
  }
  std::printf(".\n");
}

std::string processor() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  }
  return "unknown processor";
}

double load_average() {
  double average = 0;
  std::ifstream("/proc/loadavg") >> average;
  return average;
}

}  // namespace

void print_systems(const std::vector<Peer>& peers) {
  std::printf("%u processors (%s), load average %.1f before the first round, huge pages %s; compiled with %s %s\n\n",
              std::thread::hardware_concurrency(), processor().c_str(), load_average(),
              huge_pages_granted() ? "on request" : "never", kCompiler, __VERSION__);
  std::printf("| System | Version | How it is used |\n|---|---|---|\n");
  for (const Peer& peer : peers) {
    std::printf("| %s | %s | %s |\n", peer.name.c_str(), peer.version.c_str(), peer.options.c_str());
  }
  std::fflush(stdout);
}

std::size_t compare(const std::vector<Peer>& peers, std::size_t rows, std::size_t rounds, const std::string& folder) {
  std::vector<Rounds> all(peers.size(), std::vector<Times>());
  std::size_t failed = 0;
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < peers.size(); ++i) {
      if (!all[i]) continue;
      try {
        all[i]->push_back(measure(peers[i], rows, folder));
      } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        if (i == 0) throw;
        all[i].reset();
        ++failed;
      }
    }
  }
  std::printf("\n%zu vertices, %zu rounds; medians of ratios to the floor, quartiles of the total's:\n\n", rows,
              rounds);
  std::printf("| System | build | save | load | rebuild | total | quartiles | total, ms | file, MB |\n");
  std::printf("|---|---|---|---|---|---|---|---|---|\n");
  for (std::size_t i = 0; i < peers.size(); ++i) {
    if (all[i]) {
      print_row(peers[i], *all[0], *all[i]);
    } else {
      std::printf("| %s | failed | | | | | | | |\n", peers[i].name.c_str());
    }
  }
  print_floor(*all[0]);
  std::fflush(stdout);
  return failed;
}

}  // namespace CorvaneBench::Peers
