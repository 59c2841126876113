#include "bench/Figure.h"

#include <algorithm>
#include <chrono>
#include <ctime>

#include "bench/Memory.h"

namespace CorvaneBench {
namespace {

double cpu_seconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void time_side(const Side& side, std::size_t fresh_bytes, double& seconds, double& cpu) {
  using Clock = std::chrono::steady_clock;
  side.prepare();
  touch_and_free(fresh_bytes);
  const double cpu_begin = cpu_seconds();
  const Clock::time_point begin = Clock::now();
  side.run();
  seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  cpu = cpu_seconds() - cpu_begin;
  side.clean();
}

template <class Value>
double quantile(const std::vector<Sample>& samples, double part, Value&& value) {
  std::vector<double> values;
  for (const Sample& sample : samples) values.push_back(value(sample));
  std::sort(values.begin(), values.end());
  const double place = part * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

double ratio_of(Bound kind, double ours, double rival) { return kind == Bound::at_most ? ours / rival : rival / ours; }

}  // namespace

Sample race(const Side& ours, const Side& rival, std::size_t fresh_bytes) {
  Sample sample;
  time_side(ours, fresh_bytes, sample.ours, sample.ours_cpu);
  time_side(rival, fresh_bytes, sample.rival, sample.rival_cpu);
  return sample;
}

Summary summarise(const Figure& figure, const std::vector<Sample>& samples) {
  const auto ratio = [&](const Sample& sample) { return ratio_of(figure.kind, sample.ours, sample.rival); };
  const auto cpu_ratio = [&](const Sample& sample) { return ratio_of(figure.kind, sample.ours_cpu, sample.rival_cpu); };
  Summary summary;
  summary.ratio = quantile(samples, 0.5, ratio);
  summary.low_quartile = quantile(samples, 0.25, ratio);
  summary.high_quartile = quantile(samples, 0.75, ratio);
  if (figure.is_time) summary.cpu_ratio = quantile(samples, 0.5, cpu_ratio);
  summary.ours = quantile(samples, 0.5, [](const Sample& sample) { return sample.ours; });
  summary.rival = quantile(samples, 0.5, [](const Sample& sample) { return sample.rival; });
  return summary;
}

bool keeps_bound(const Figure& figure, const Summary& summary) {
  return figure.kind == Bound::at_most ? summary.ratio <= figure.bound : summary.ratio >= figure.bound;
}

}  // namespace CorvaneBench
