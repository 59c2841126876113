#include "tools/corvane/picture/Drawing.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>

namespace CorvaneTool {
namespace {

class Bounds {
 public:
  void add(Point point, std::int64_t reach) {
    const Box box{{point.x - reach, point.y - reach}, {point.x + reach, point.y + reach}};
    if (!d_box) d_box = box;
    d_box->low = {std::min(d_box->low.x, box.low.x), std::min(d_box->low.y, box.low.y)};
    d_box->high = {std::max(d_box->high.x, box.high.x), std::max(d_box->high.y, box.high.y)};
  }
  void add(const Outline& points, std::int64_t reach = 0) {
    for (const Point point : points) add(point, reach);
  }

  const std::optional<Box>& box() const { return d_box; }

 private:
  std::optional<Box> d_box;
};

std::size_t count_lines(const Drawing& drawing, LineKind kind) {
  return static_cast<std::size_t>(std::count_if(drawing.lines.begin(), drawing.lines.end(),
                                                [kind](const DrawnLine& line) { return line.kind == kind; }));
}

}  // namespace

std::optional<Box> bounds_of(const Drawing& drawing) {
  Bounds bounds;
  for (const DrawnArea& area : drawing.areas) bounds.add(area.ring, area.pen / 2);
  for (const DrawnLine& line : drawing.lines) bounds.add(line.points, line.width / 2);
  for (const DrawnFaces& faces : drawing.faces) bounds.add(faces.corners);
  for (const DrawnHole& hole : drawing.holes)
    hole.ring.empty() ? bounds.add(hole.centre, hole.radius) : bounds.add(hole.ring);
  for (const DrawnMark& mark : drawing.marks) bounds.add(mark.at, 0);
  return bounds.box();
}

void keep_layer(Drawing& drawing, int layer) {
  const auto is_elsewhere = [layer](const auto& item) { return item.layer != layer; };
  std::erase_if(drawing.areas, is_elsewhere);
  std::erase_if(drawing.lines, is_elsewhere);
  std::erase_if(drawing.faces, is_elsewhere);
  std::erase_if(drawing.holes, [layer](const DrawnHole& hole) { return !hole.is_on(layer); });
  std::erase_if(drawing.marks, [layer](const DrawnMark& mark) { return mark.layer >= 0 && mark.layer != layer; });
}

std::vector<int> used_layers(const Drawing& drawing) {
  std::set<int> layers;
  for (const DrawnArea& area : drawing.areas) layers.insert(area.layer);
  for (const DrawnLine& line : drawing.lines) layers.insert(line.layer);
  for (const DrawnFaces& faces : drawing.faces) layers.insert(faces.layer);
  return {layers.begin(), layers.end()};
}

std::vector<Count> counts_of(const Drawing& drawing) {
  std::size_t faces = 0;
  for (const DrawnFaces& set : drawing.faces) faces += set.ends.size();
  std::vector<Count> counts;
  const auto add = [&](std::size_t count, const std::string& one, const std::string& many) {
    if (count > 0) counts.push_back({one, many, count});
  };
  add(used_layers(drawing).size(), "layer", "layers");
  add(count_lines(drawing, LineKind::Track), "trace", "traces");
  add(drawing.areas.size(), "shape", "shapes");
  add(faces, "face", "faces");
  add(count_lines(drawing, LineKind::Edge), "bare edge", "bare edges");
  add(count_lines(drawing, LineKind::Rim), "polygon", "polygons");
  add(count_lines(drawing, LineKind::Void), "hole", "holes");
  add(drawing.holes.size(), "via", "vias");
  add(drawing.marks.size(), drawing.a_mark_is, drawing.marks_are);
  add(drawing.not_drawn.shapes, "shape without an area not drawn", "shapes without an area not drawn");
  add(drawing.not_drawn.faces, "face without an area not drawn", "faces without an area not drawn");
  add(drawing.not_drawn.polygons, "polygon without an area not drawn", "polygons without an area not drawn");
  return counts;
}

std::string contents_of(const Drawing& drawing) {
  std::string contents;
  for (const Count& count : counts_of(drawing)) {
    contents += (contents.empty() ? "" : ", ") + std::to_string(count.count) + " " +
                (count.count == 1 ? count.one : count.many);
  }
  return contents;
}

double doubled_area(const Point* corners, std::size_t count) {
  double sum = 0;
  for (std::size_t i = 1; i + 1 < count; ++i) {  // seen from the first corner, so that the products stay exact enough
    const Point left{corners[i].x - corners[0].x, corners[i].y - corners[0].y};
    const Point right{corners[i + 1].x - corners[0].x, corners[i + 1].y - corners[0].y};
    sum += static_cast<double>(left.x) * static_cast<double>(right.y) -
           static_cast<double>(left.y) * static_cast<double>(right.x);
  }
  return std::abs(sum);
}

std::int64_t drawn_length(double millimetres, const std::string& whose) {
  if (is_drawable(millimetres)) return std::llround(millimetres * 1e6);
  throw std::runtime_error(whose + ": " + not_drawable(millimetres));
}

Point drawn_point(double x, double y, const std::string& whose) {
  return {drawn_length(x, whose), drawn_length(y, whose)};
}

Outline drawn_outline(const double* coordinates, std::size_t count, const std::string& whose) {
  if (count % 2 != 0) throw std::runtime_error(whose + ": an odd number of coordinates");
  Outline outline;
  outline.reserve(count / 2);
  for (std::size_t i = 0; i < count; i += 2) outline.push_back(drawn_point(coordinates[i], coordinates[i + 1], whose));
  return outline;
}

}  // namespace CorvaneTool
