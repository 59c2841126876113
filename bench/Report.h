// Figures as benchmarks, and the table that is printed of them.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "bench/Figure.h"

namespace CorvaneBench {

/// Registers a figure that is measured `pairs` times, after one pair that does not count.
void register_figure(Figure figure, std::size_t pairs);

/// Prints one line per figure, its bound beside it: "write  ratio 1.08 (1.05 to 1.12), bound 1.20".
class Table final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Figures that did not keep their bound or could not be measured.
  std::size_t missed() const { return d_missed; }

 private:
  std::size_t d_missed = 0;
};

}  // namespace CorvaneBench
