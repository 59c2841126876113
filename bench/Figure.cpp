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

Duration time_side(const Side& side, std::size_t fresh_bytes) {
  side.prepare();
  touch_and_free(fresh_bytes);
  const Duration taken = time(side.run);
  side.clean();
  return taken;
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

Duration time(const std::function<void()>& run) {
  using Clock = std::chrono::steady_clock;
  const double cpu_begin = cpu_seconds();
  const Clock::time_point begin = Clock::now();
  run();
  const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  return {seconds, cpu_seconds() - cpu_begin};
}

Sample sample_of(const Duration& ours, const Duration& rival) {
  return {ours.seconds, rival.seconds, ours.cpu_seconds, rival.cpu_seconds};
}

Sample race(const Side& ours, const Side& rival, std::size_t fresh_bytes) {
  const Duration taken = time_side(ours, fresh_bytes);
  return sample_of(taken, time_side(rival, fresh_bytes));
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
