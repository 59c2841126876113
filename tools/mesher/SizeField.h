// How long the edges of a mesh may be, place by place.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tools/mesher/CellGrid.h"
#include "tools/mesher/MeshLimits.h"
#include "tools/mesher/RegionOutlines.h"

namespace CorvaneMesher {

/// Lengths in nanometres, angles in degrees.
struct MeshSizes {
  double max_edge = 0;
  double min_edge = 0;  // features below this are not looked at more closely
  double min_angle = 0;
  MeshLimits limits{};

  /// Detail of outlines below this may be dropped: a tenth of the smallest length, and never more than arcs lose to
  /// chords.
  std::int64_t spacing() const { return std::llround(std::clamp(min_edge / 10, 1.0, 5000.0)); }

  /// Edges of outlines below this stay as they are.
  double least_split() const { return static_cast<double>(spacing()) / 4; }
};

/// As long as the outlines' own edges where their corners are, at least the minimum, and from there on growing with the
/// distance up to the maximum.
class SizeField {
 public:
  /// `outlines` has edges.
  SizeField(const RegionOutlines& outlines, const MeshSizes& sizes);

  double operator()(double x, double y) const { return d_lengths[d_grid.cell(d_grid.column(x), d_grid.row(y))]; }

  /// Nodes of a mesh of the outlines that keeps to these lengths; generous.
  double nodes_expected() const { return d_nodes_expected; }

  static constexpr double kGrowth = 0.6;  // of the length, per distance

 private:
  void spread();
  void take_from(int column, int row, int other_column, int other_row);

  CellGrid d_grid;
  int d_columns, d_rows;
  std::vector<double> d_lengths;  // per cell
  double d_nodes_expected = 0;
};

}  // namespace CorvaneMesher
