#include "bench/Report.h"

#include <cstdio>
#include <string>
#include <utility>

#include "bench/Memory.h"

namespace CorvaneBench {
namespace {

void fill_counters(benchmark::UserCounters& counters, const Figure& figure, const Summary& summary) {
  counters["ratio"] = summary.ratio;
  counters["low_quartile"] = summary.low_quartile;
  counters["high_quartile"] = summary.high_quartile;
  counters["cpu_ratio"] = summary.cpu_ratio;
  counters["bound"] = figure.bound;
  counters["is_floor"] = figure.kind == Bound::at_least ? 1 : 0;
  counters["kept"] = keeps_bound(figure, summary) ? 1 : 0;
  counters["is_time"] = figure.is_time ? 1 : 0;
  counters["ours"] = summary.ours;
  counters["rival"] = summary.rival;
}

void run_figure(benchmark::State& state, const Figure& figure) {
  const auto sample = figure.start();
  sample();
  std::vector<Sample> samples;
  for (auto _ : state) {
    samples.push_back(sample());
    state.SetIterationTime(figure.is_time ? samples.back().ours : 0);
  }
  fill_counters(state.counters, figure, summarise(figure, samples));
}

/// The name that the figure was registered with, without what the framework appends.
std::string figure_name(const benchmark::BenchmarkReporter::Run& run) { return run.run_name.function_name; }

}  // namespace

void register_figure(Figure figure, std::size_t pairs) {
  const std::string name = figure.name;
  benchmark::RegisterBenchmark(name.c_str(),
                               [figure = std::move(figure)](benchmark::State& state) { run_figure(state, figure); })
      ->Iterations(static_cast<benchmark::IterationCount>(pairs))
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

bool Table::ReportContext(const Context& context) {
  std::printf("%d processors, huge pages %s; medians of ratios ours : hand-written, quartiles in brackets\n\n",
              context.cpu_info.num_cpus, huge_pages_granted() ? "on request" : "never");
  return true;
}

void Table::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) {
      std::printf("%-28s failed: %s\n", figure_name(run).c_str(), run.error_message.c_str());
      ++d_missed;
      continue;
    }
    const auto value = [&](const char* counter) { return run.counters.at(counter).value; };
    const bool is_time = value("is_time") != 0;
    std::printf("%-28s ratio %.3f (%.3f to %.3f), bound %s%.2f%s", figure_name(run).c_str(), value("ratio"),
                value("low_quartile"), value("high_quartile"), value("is_floor") != 0 ? "at least " : "",
                value("bound"), value("kept") != 0 ? "" : " MISSED");
    const double scale = is_time ? 1e3 : 1e-6;
    std::printf("   %.1f : %.1f %s", scale * value("ours"), scale * value("rival"), is_time ? "ms" : "MB");
    if (is_time) std::printf(", CPU ratio %.3f", value("cpu_ratio"));
    std::printf("\n");
    if (value("kept") == 0) ++d_missed;
  }
  std::fflush(stdout);
}

}  // namespace CorvaneBench
