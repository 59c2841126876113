// A circuit board as its file describes it: plain records in nanometres, with the differences between format versions
// gone.
//
// Layers are places in the stack (0 on top), nets are positions in `nets`; all positions are absolute.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/corvane/board/BoardFormat.h"
#include "tools/corvane/board/NetTable.h"
#include "tools/corvane/board/SExpression.h"
#include "tools/corvane/board/SkippedItems.h"
#include "tools/corvane/support/Allowance.h"
#include "tools/corvane/support/Geometry.h"

namespace CorvaneTool {

struct CopperLayer {
  std::string name;
  double height;  // mm: mid-plane above the lower face of the bottom copper
};

struct Track {
  Point start;
  std::optional<Point> middle;  // of an arc
  Point end;
  std::int64_t width;
  int layer;
  int net;
};

struct Via {
  Point position;
  std::int64_t drill;
  int first_layer;  // as named: usually, not always, the upper one
  int last_layer;
  int net;
};

enum class PadKind { Surface, PlatedHole, UnplatedHole };
enum class PadShape { Circle, Oval, Rectangle, Trapezoid, RoundedRectangle, CustomOnCircle, CustomOnRectangle, Other };

struct Pad {
  std::string number;
  PadKind kind;
  PadShape shape;
  Point position;
  double angle;  // degrees, absolute
  Point offset;  // of the copper from the position, before turning
  Point size;
  Point delta;  // trapezoid
  double corner_ratio;
  Point hole;               // width and height; 0: no hole
  std::vector<int> layers;  // copper, in the order in which they are named
  int net;
  std::vector<Outline> polygons;  // of a custom shape, before turning
};

struct Footprint {
  std::string reference;
  bool is_on_bottom;
  std::vector<Pad> pads;
};

/// An area of copper: a zone's filled polygon, or a polygon drawn on copper.
struct Area {
  int layer;
  int net;
  bool is_island;
  std::int64_t pen_width;  // more than 0: the outline is the centre line of a pen this wide
  Outline outline;
};

struct Board {
  BoardFormat format;
  std::vector<CopperLayer> layers;  // from top to bottom
  std::vector<NetTable::Net> nets;
  std::vector<Track> tracks;
  std::vector<Via> vias;
  std::vector<Footprint> footprints;
  std::vector<Area> fills;
  std::vector<Area> graphics;
  std::size_t repaired_parentheses = 0;
  SkippedItems skipped;
};

/// Throws BoardError for text that is no whole board, for unknown layers, undeclared nets and numbers that are none,
/// and TooLarge when its outlines, arcs taken apart and each for every layer that it lies on, take more than
/// `allowance`.
Board read_board(const SourceText& text, Allowance allowance = Allowance());

}  // namespace CorvaneTool
