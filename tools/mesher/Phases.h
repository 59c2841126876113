// What takes how long, for the report, and how far it is, for people who wait.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace CorvaneMesher {

/// Is told what begins, and how much of the whole is done.
using Progress = std::function<void(const std::string& phase, int percent)>;

class Phases {
 public:
  explicit Phases(Progress progress = {}) : d_progress(std::move(progress)) {}

  /// The next `count` phases take the work from one percentage to another; `part` stands before their names.
  void enter(std::string part, int first, int last, int count) {
    d_part = std::move(part);
    d_first = first;
    d_last = last;
    d_count = count;
    d_done = 0;
  }

  template <class Work>
  void run(const std::string& phase, const Work& work) {
    using Clock = std::chrono::steady_clock;
    if (d_progress) d_progress(d_part + phase, d_first + (d_last - d_first) * d_done / d_count);
    const Clock::time_point begin = Clock::now();
    work();
    add(phase, std::chrono::duration<double>(Clock::now() - begin).count());
    d_done = std::min(d_done + 1, d_count);
  }

  /// By name: phases of one name add up.
  const std::vector<std::pair<std::string, double>>& seconds() const { return d_seconds; }

 private:
  void add(const std::string& phase, double seconds) {
    const auto entry =
        std::find_if(d_seconds.begin(), d_seconds.end(), [&](const auto& other) { return other.first == phase; });
    if (entry == d_seconds.end()) {
      d_seconds.emplace_back(phase, seconds);
    } else {
      entry->second += seconds;
    }
  }

  Progress d_progress;
  std::string d_part;
  int d_first = 0, d_last = 0, d_count = 1, d_done = 0;
  std::vector<std::pair<std::string, double>> d_seconds;
};

}  // namespace CorvaneMesher
