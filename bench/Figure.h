// Figures: ratios of two sides that are measured in turn, A B A B ..., each with the bound that it must keep.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace CorvaneBench {

/// Both sides of one measurement, in seconds or in bytes. CPU seconds are 0 for what is no time.
struct Sample {
  double ours = 0;
  double rival = 0;
  double ours_cpu = 0;
  double rival_cpu = 0;
};

struct Duration {
  double seconds = 0;
  double cpu_seconds = 0;
};

Duration time(const std::function<void()>& run);

/// One side of a race. Only `run` is timed.
struct Side {
  std::function<void()> prepare;
  std::function<void()> run;
  std::function<void()> clean;
};

Sample sample_of(const Duration& ours, const Duration& rival);

/// Runs both sides once, ours first. Before each `run`, `fresh_bytes` of memory are touched and freed.
Sample race(const Side& ours, const Side& rival, std::size_t fresh_bytes);

enum class Bound { at_most, at_least };  // at least: the ratio is one of speeds, the rival's time over ours

struct Figure {
  std::string name;
  Bound kind = Bound::at_most;
  double bound = 0;
  bool is_time = true;                             // else bytes
  std::function<std::function<Sample()>()> start;  // sets up; the result takes one sample
};

/// What is printed of a figure: medians over all samples.
struct Summary {
  double ratio = 0;
  double low_quartile = 0;
  double high_quartile = 0;
  double cpu_ratio = 0;  // 0 for bytes
  double ours = 0;
  double rival = 0;
};

Summary summarise(const Figure& figure, const std::vector<Sample>& samples);
bool keeps_bound(const Figure& figure, const Summary& summary);

}  // namespace CorvaneBench
