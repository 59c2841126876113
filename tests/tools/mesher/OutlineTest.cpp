// From shapes to outlines that meet at their ends only: cutting, labelling, simplifying, sizes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include "tests/tools/mesher/MesherTexts.h"
#include "tools/mesher/CellGrid.h"
#include "tools/mesher/PlanarGraph.h"
#include "tools/mesher/RegionOutlines.h"
#include "tools/mesher/RingRegions.h"
#include "tools/mesher/SizeField.h"
#include "tools/mesher/Straightener.h"

using namespace CorvaneMesher;

namespace {

constexpr std::int64_t kMm = 1'000'000;

Ring ring(std::initializer_list<Point> corners, int net = 0, bool is_fill = false) { return {corners, net, is_fill}; }

Ring square(std::int64_t x1, std::int64_t y1, std::int64_t x2, std::int64_t y2, int net = 0) {
  return ring({{x1, y1}, {x2, y1}, {x2, y2}, {x1, y2}}, net);
}

RegionOutlines regions_of(const std::vector<Ring>& rings) { return regions_of_rings(rings, {}); }

double square_mm(double square_nm) { return square_nm / 1e12; }

TEST(CutAtCrossings, ForgetsWhatRunsThereAndBack) {
  const PlanarGraph spike = cut_at_crossings(strands_of(std::vector{ring({{0, 0}, {5, 0}, {10, 0}, {4, 0}})}), 1);
  EXPECT_TRUE(spike.edges.empty());
  // The second ring's side lies on part of the first's: both run there, as three edges in all.
  const PlanarGraph two = cut_at_crossings(strands_of(std::vector{square(0, 0, 30, 30), square(30, 10, 40, 20)}), 1);
  EXPECT_EQ(two.edges.size(), 4u + 3u + 2u);
  EXPECT_EQ(two.owners.size(), two.edges.size() + 1);
}

TEST(FindRegions, CountsEachPlaceOnce) {
  const std::vector<Ring> rings = {
      ring({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 4}, {4, 4}, {4, 6}, {6, 6}, {6, 4}, {4, 4}, {0, 4}}, 2, true),
      square(5, 5, 12, 8, 1)};
  std::vector<Ring> scaled = rings;
  for (Ring& each : scaled)
    for (Point& corner : each.corners) corner = {corner.x * kMm, corner.y * kMm};
  const RegionOutlines regions = regions_of(scaled);
  EXPECT_DOUBLE_EQ(square_mm(regions.owner_areas[0]), 96);
  EXPECT_DOUBLE_EQ(square_mm(regions.owner_areas[1]), 21);
  EXPECT_DOUBLE_EQ(square_mm(regions.fill_area), 96);
  EXPECT_DOUBLE_EQ(square_mm(regions.overlap_area), 5 * 3 - 1);
  EXPECT_DOUBLE_EQ(square_mm(regions.copper_area), 96 + 21 - 14);
  EXPECT_DOUBLE_EQ(enclosed_areas(regions).copper, regions.copper_area);
  EXPECT_DOUBLE_EQ(enclosed_areas(regions).fill, regions.fill_area);
  EXPECT_EQ(regions.overlapping_nets, 1u);
  for (const RegionOutlines::Edge& edge : regions.edges) EXPECT_NE(edge.left, edge.right);
}

TEST(Simplified, KeepsRegionsAndDropsDetail) {
  // A square of 1 mm with a notch of 2 um, and a neighbour 3 um away: both are below the spacing.
  const RegionOutlines regions =
      regions_of({ring({{0, 0}, {kMm, 0}, {kMm, kMm}, {0, kMm}, {0, 502'000}, {2'000, 501'000}, {0, 500'000}}),
                  square(kMm + 3'000, 0, 2 * kMm, kMm, 1)});
  RegionOutlines outlines = simplified(regions, 5'000);
  EXPECT_NEAR(square_mm(outlines.copper_area), square_mm(regions.copper_area), 0.004);
  straighten(outlines, 1'000);
  EXPECT_NEAR(square_mm(enclosed_areas(outlines).copper), square_mm(outlines.copper_area), 0.002);
  EXPECT_EQ(outlines.edges.size(), 7u) << "two rectangles with a side in common";
}

TEST(TraceOutline, HasTheWidthAndSharesEndsWithNeighbours) {
  const Outline along = trace_outline({0, 0}, {10 * kMm, 0}, 200'000);
  const Outline across = trace_outline({10 * kMm, 0}, {10 * kMm, 5 * kMm}, 200'000);
  const auto [low, high] = std::minmax_element(along.begin(), along.end(), [](Point a, Point b) { return a.y < b.y; });
  EXPECT_EQ(high->y - low->y, 200'000);
  const auto shared = std::count_if(along.begin(), along.end(), [&](Point point) {
    return std::find(across.begin(), across.end(), point) != across.end();
  });
  EXPECT_EQ(shared, 5) << "a quarter of the circle of 16 corners, both ends included";
  EXPECT_EQ(trace_outline({7, 7}, {7, 7}, 200'000).size(), 18u) << "a trace without length is round";
}

TEST(SizeField, GrowsSlowlyBetweenItsBounds) {
  const RegionOutlines outlines =
      regions_of({square(0, 0, 40 * kMm, 30 * kMm, 1), square(10 * kMm, 10 * kMm, 10 * kMm + 20'000, 11 * kMm, 0)});
  const MeshSizes sizes = {2e6, 5e4, 20};
  const SizeField lengths(outlines, sizes);
  EXPECT_DOUBLE_EQ(lengths(10e6, 10e6), sizes.min_edge);
  EXPECT_DOUBLE_EQ(lengths(30e6, 20e6), sizes.max_edge);
  for (double x = 10e6; x < 20e6; x += 5e5)
    EXPECT_LE(std::abs(lengths(x + 1e5, 10e6) - lengths(x, 10e6)), SizeField::kGrowth * 2e5) << x;
}

TEST(CollectCopper, SaysWhatItLeavesOutAndRefusesWhatNoBoardHas) {
  using namespace MesherTests;
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Pad, rectangle(0, 0, 1, 1));
  add_shape(layout, 0, 1, EM2DShape::Type::None, rectangle(0, 0, 1, 1));
  add_shape(layout, 0, 1, EM2DShape::Type::Pad, {0, 0, 1, 1});
  for (const char* name : {"T1 w200000", "T2", "T3 w", "T4 w-5", "T5 w2x", "T6 w999999999999"})
    layout.traces.make(name, layout.nets[2], add_vertex(layout, 0, 0, 2), add_vertex(layout, 1, 0, 2), 0);
  const Copper copper = collect_copper(layout, true);
  EXPECT_EQ(copper.shapes_left_out, 2u);
  EXPECT_EQ(std::tuple(copper.traces, copper.traces_without_width), std::tuple(1u, 5u));
  EXPECT_EQ(copper.layers.size(), 2u) << "nothing is on MID";
  EXPECT_EQ(collect_copper(layout, false).layers.size(), 1u);
  for (const std::vector<double>& corners : {std::vector<double>{0, 0, 1},
                                             {0, 0, std::nan(""), 1, 1, 1},
                                             {0, 0, 1001, 0, 1, 1},
                                             {0, 0, INFINITY, 0, 1, 1}}) {
    Layout wrong = empty_layout();
    add_shape(wrong, 0, 1, EM2DShape::Type::Fill, corners);
    EXPECT_THROW(collect_copper(wrong, true), std::runtime_error);
  }
}

}  // namespace
