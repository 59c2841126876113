#include "tools/mesher/SizeField.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace CorvaneMesher {
namespace {

constexpr double kNodesPerSquare = 4;  // of a side as long as edges may be
constexpr double kNodesPerEdge = 8;    // as long as edges may be there

CellGrid::Box bounds_of(const RegionOutlines& outlines) {
  CellGrid::Box bounds = {1e300, 1e300, -1e300, -1e300};
  for (const RegionOutlines::Edge& edge : outlines.edges) {
    for (const int end : {edge.start, edge.end}) {
      const Point point = outlines.points[static_cast<std::size_t>(end)];
      const auto x = static_cast<double>(point.x), y = static_cast<double>(point.y);
      bounds = {std::min(bounds.x1, x), std::min(bounds.y1, y), std::max(bounds.x2, x), std::max(bounds.y2, y)};
    }
  }
  return bounds;
}

/// Cells of the smallest length's size, unless there would be too many.
std::size_t cells_wanted(const CellGrid::Box& bounds, const MeshSizes& sizes) {
  const double side = std::max(sizes.min_edge, 1.0);
  const double cells = (bounds.x2 - bounds.x1) / side * ((bounds.y2 - bounds.y1) / side);
  return static_cast<std::size_t>(std::clamp(cells, 1.0, static_cast<double>(sizes.limits.cells)));
}

double length(Point start, Point end) {
  return std::hypot(static_cast<double>(end.x - start.x), static_cast<double>(end.y - start.y));
}

}  // namespace

SizeField::SizeField(const RegionOutlines& outlines, const MeshSizes& sizes)
    : d_grid(bounds_of(outlines), cells_wanted(bounds_of(outlines), sizes)),
      d_columns(d_grid.columns()),
      d_rows(d_grid.rows()),
      d_lengths(d_grid.cell_count(), sizes.max_edge) {
  for (const RegionOutlines::Edge& edge : outlines.edges) {
    const Point start = outlines.points[static_cast<std::size_t>(edge.start)];
    const Point end = outlines.points[static_cast<std::size_t>(edge.end)];
    const double own = std::clamp(length(start, end), sizes.min_edge, sizes.max_edge);
    for (const Point point : {start, end}) {
      const auto x = static_cast<double>(point.x), y = static_cast<double>(point.y);
      double& here = d_lengths[d_grid.cell(d_grid.column(x), d_grid.row(y))];
      here = std::min(here, own);
    }
  }
  spread();
  d_nodes_expected = kNodesPerSquare * outlines.copper_area / (sizes.max_edge * sizes.max_edge);
  for (const RegionOutlines::Edge& edge : outlines.edges) {
    const Point start = outlines.points[static_cast<std::size_t>(edge.start)];
    const Point end = outlines.points[static_cast<std::size_t>(edge.end)];
    const double here = (*this)(static_cast<double>(start.x + end.x) / 2, static_cast<double>(start.y + end.y) / 2);
    d_nodes_expected += kNodesPerEdge * (1 + length(start, end) / here);
  }
}

// Two sweeps over the cells, each from the neighbours that the sweep has passed.
void SizeField::spread() {
  for (int row = 0; row < d_rows; ++row) {
    for (int column = 0; column < d_columns; ++column) {
      take_from(column, row, column - 1, row);
      for (int step = -1; step <= 1; ++step) take_from(column, row, column + step, row - 1);
    }
  }
  for (int row = d_rows - 1; row >= 0; --row) {
    for (int column = d_columns - 1; column >= 0; --column) {
      take_from(column, row, column + 1, row);
      for (int step = -1; step <= 1; ++step) take_from(column, row, column + step, row + 1);
    }
  }
}

void SizeField::take_from(int column, int row, int other_column, int other_row) {
  if (other_column < 0 || other_column >= d_columns || other_row < 0 || other_row >= d_rows) return;
  const double distance = d_grid.cell_size() * (column != other_column && row != other_row ? std::sqrt(2.0) : 1.0);
  double& here = d_lengths[d_grid.cell(column, row)];
  here = std::min(here, d_lengths[d_grid.cell(other_column, other_row)] + kGrowth * distance);
}

}  // namespace CorvaneMesher
