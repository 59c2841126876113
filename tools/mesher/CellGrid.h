// A grid of square cells over many small things, each of which lies in the cells that it may touch.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "tools/corvane/support/Geometry.h"

namespace CorvaneMesher {

using CorvaneTool::Point;

class CellGrid {
 public:
  struct Box {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  };

  /// About as many cells as things, over `bounds`; one cell when they are empty, low above high.
  CellGrid(const Box& bounds, std::size_t things)
      : d_x(bounds.x1),
        d_y(bounds.y1),
        d_size(cell_size(bounds, things)),
        d_columns(std::max(steps(bounds.x2 - bounds.x1), 0) + 1),
        d_rows(std::max(steps(bounds.y2 - bounds.y1), 0) + 1) {}

  std::size_t cell_count() const { return static_cast<std::size_t>(d_columns * d_rows); }
  double cell_size() const { return d_size; }
  int columns() const { return d_columns; }
  int rows() const { return d_rows; }

  int column(double x) const { return std::clamp(steps(x - d_x), 0, d_columns - 1); }
  int row(double y) const { return std::clamp(steps(y - d_y), 0, d_rows - 1); }
  std::size_t cell(int column, int row) const { return static_cast<std::size_t>(row * d_columns + column); }

  /// In its middle.
  Point place(std::size_t cell) const {
    const auto columns = static_cast<std::size_t>(d_columns);
    return {std::llround(d_x + (static_cast<double>(cell % columns) + 0.5) * d_size),
            std::llround(d_y + (static_cast<double>(cell / columns) + 0.5) * d_size)};
  }

  /// Calls `enter(thing, visit)` for each thing twice; that calls `visit(cell)` for the thing's cells, the same each
  /// time.
  template <class Enter>
  void fill(std::size_t things, const Enter& enter) {
    d_first.assign(cell_count() + 1, 0);
    for (std::size_t i = 0; i < things; ++i) enter(i, [this](std::size_t cell) { ++d_first[cell + 1]; });
    for (std::size_t cell = 0; cell < cell_count(); ++cell) d_first[cell + 1] += d_first[cell];
    d_members.resize(d_first.back());
    std::vector<std::size_t> next(d_first.begin(), d_first.end() - 1);
    for (std::size_t i = 0; i < things; ++i)
      enter(i, [&](std::size_t cell) { d_members[next[cell]++] = static_cast<int>(i); });
  }

  /// Things of a cell, ascending.
  std::span<const int> members(std::size_t cell) const {
    return {d_members.data() + d_first[cell], d_first[cell + 1] - d_first[cell]};
  }

  template <class Visit>
  void visit_box(const Box& box, const Visit& visit) const {
    for (int y = row(box.y1); y <= row(box.y2); ++y) {
      for (int x = column(box.x1); x <= column(box.x2); ++x) visit(cell(x, y));
    }
  }

  /// All cells within `reach` of a segment, and perhaps a few more.
  template <class Visit>
  void visit_segment(double x1, double y1, double x2, double y2, double reach, const Visit& visit) const {
    if (x1 > x2) {
      std::swap(x1, x2);
      std::swap(y1, y2);
    }
    const double slope = x2 > x1 ? (y2 - y1) / (x2 - x1) : 0;
    const int last = column(x2 + reach);
    for (int x = column(x1 - reach); x <= last; ++x) {
      // The part of the segment above this column, widened by the reach.
      const double left = std::max(d_x + x * d_size - reach, x1), right = std::min(d_x + (x + 1) * d_size + reach, x2);
      double low = y1 + slope * (left - x1), high = y1 + slope * (right - x1);
      if (x2 == x1) high = y2;
      if (low > high) std::swap(low, high);
      for (int y = row(low - reach); y <= row(high + reach); ++y) visit(cell(x, y));
    }
  }

 private:
  static double cell_size(const Box& bounds, std::size_t things) {
    const double width = std::max(bounds.x2 - bounds.x1, 0.0), height = std::max(bounds.y2 - bounds.y1, 0.0);
    const double count = std::clamp(static_cast<double>(things), 1.0, 4e6);
    // The longer side alone bounds the number of columns of a very flat grid.
    return std::max({std::sqrt(width * height / count), std::max(width, height) / count, 1e-9});
  }

  int steps(double distance) const { return static_cast<int>(std::clamp(distance / d_size, -1.0, 1e8)); }

  double d_x, d_y, d_size;
  int d_columns, d_rows;
  std::vector<std::size_t> d_first;  // per cell, and one more
  std::vector<int> d_members;
};

}  // namespace CorvaneMesher
