// What a picture shows, before it has colours: areas, lines, faces, holes and marks, each on a layer and of a net.
//
// Points and lengths are whole nanometres, y downwards. Layers and nets go by their position in the drawing's lists;
// -1 names none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/corvane/support/Geometry.h"

namespace CorvaneTool {

enum class AreaKind { Fill, Pad };  // fills lie below all else of their layer

/// A closed ring, inside where a walk from outside has crossed it an odd number of times.
struct DrawnArea {
  int layer = -1;
  int net = -1;
  AreaKind kind = AreaKind::Fill;
  Outline ring;
  std::int64_t pen = 0;  // the rim is as wide as this
  std::string name;
};

/// Track: copper. Edge: of a mesh, with no face. Rim, Void: closed, around a polygon and around a hole of a mesh.
enum class LineKind { Track, Edge, Rim, Void };

struct DrawnLine {
  int layer = -1;
  int net = -1;
  LineKind kind = LineKind::Track;
  Outline points;
  std::int64_t width = 0;  // of tracks
};

/// The faces of a mesh that one net has on one layer.
struct DrawnFaces {
  int layer = -1;
  int net = -1;
  Outline corners;                // of all faces, one after the other
  std::vector<std::size_t> ends;  // per face: one past its last corner
};

/// A hole through the layers from `first_layer` to `last_layer`; through all if the first is -1.
struct DrawnHole {
  int first_layer = -1;
  int last_layer = -1;
  int net = -1;
  Point centre;
  std::int64_t radius = 0;
  Outline ring;  // if not empty, instead of the circle
  std::string name;

  bool is_on(int layer) const { return first_layer < 0 || (first_layer <= layer && layer <= last_layer); }
};

/// A pin, or where a mesh is fed. Without a layer it is on all of them.
struct DrawnMark {
  int layer = -1;
  int net = -1;
  Point at;
  std::string name;
};

/// What has too few corners to be seen as what it is, and is left out.
struct NotDrawn {
  std::size_t shapes = 0;
  std::size_t faces = 0;
  std::size_t polygons = 0;  // and holes
};

inline constexpr std::size_t kFewestCorners = 3;

struct Drawing {
  std::vector<std::string> layers;  // top to bottom
  std::vector<std::string> nets;
  std::vector<DrawnArea> areas;
  std::vector<DrawnLine> lines;
  std::vector<DrawnFaces> faces;
  std::vector<DrawnHole> holes;
  std::vector<DrawnMark> marks;
  NotDrawn not_drawn;
  std::string a_mark_is = "mark";  // in words
  std::string marks_are = "marks";
};

struct Box {
  Point low, high;
  bool operator==(const Box&) const = default;
};

/// Nothing for an empty drawing.
std::optional<Box> bounds_of(const Drawing& drawing);

/// Leaves what lies on this layer.
void keep_layer(Drawing& drawing, int layer);

/// Positions of the layers that areas, lines or faces lie on, ascending; -1 comes first.
std::vector<int> used_layers(const Drawing& drawing);

struct Count {
  std::string one, many;  // what it is, in words
  std::size_t count;
};

/// What there is, without what there is none of; counts of things that are not drawn say so in their words.
std::vector<Count> counts_of(const Drawing& drawing);

/// "1 layer, 1471 traces, 20 pins"
std::string contents_of(const Drawing& drawing);

/// Twice the area of a closed outline, positive whichever way it turns, in square nanometres.
double doubled_area(const Point* corners, std::size_t count);

/// Whole nanometres of a length of a file. Throws std::runtime_error, with `whose` in front, when it is no number or
/// more than a kilometre.
std::int64_t drawn_length(double millimetres, const std::string& whose);
Point drawn_point(double x, double y, const std::string& whose);

/// The points of a flattened list, x0 y0 x1 y1 ... Throws std::runtime_error for an odd number too.
Outline drawn_outline(const double* coordinates, std::size_t count, const std::string& whose);

}  // namespace CorvaneTool
