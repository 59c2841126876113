#include "tools/corvane/picture/SvgItems.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "tools/corvane/picture/SvgText.h"
#include "tools/corvane/support/LineText.h"

namespace CorvaneTool {
namespace {

constexpr double kHairline = 0.7;  // pixels

// What one paint covers on one layer.
struct PaintedItems {
  std::vector<const DrawnArea*> fills, pads;
  std::vector<const DrawnFaces*> faces;
  std::vector<const DrawnLine*> edges, rims, voids;
  std::map<std::int64_t, std::vector<const DrawnLine*>> tracks;  // by width
};

using PaintedLayer = std::vector<PaintedItems>;  // by paint

class ItemWriter {
 public:
  ItemWriter(const Drawing& drawing, const Colouring& colouring, double scale)
      : d_drawing(drawing), d_colouring(colouring), d_scale(scale), d_face_line(face_line()) {}

  std::string write() {
    const auto layers = painted_layers();
    for (const auto& [layer, painted] : layers) write_layer(layer, painted, layers.size() > 1);
    write_holes();
    write_marks();
    return std::move(d_svg);
  }

 private:
  // Bottom first; things without a layer come last.
  std::map<int, PaintedLayer, std::greater<>> painted_layers() const {
    std::map<int, PaintedLayer, std::greater<>> layers;
    const auto items_of = [&](const auto& item) -> PaintedItems& {
      PaintedLayer& layer = layers[item.layer];
      layer.resize(d_colouring.paints().size());
      return layer[d_colouring.paint_of(item.layer, item.net)];
    };
    for (const DrawnArea& area : d_drawing.areas) {
      PaintedItems& items = items_of(area);
      (area.kind == AreaKind::Fill ? items.fills : items.pads).push_back(&area);
    }
    for (const DrawnFaces& faces : d_drawing.faces) items_of(faces).faces.push_back(&faces);
    for (const DrawnLine& line : d_drawing.lines) lines_like(line, items_of(line)).push_back(&line);
    return layers;
  }

  static std::vector<const DrawnLine*>& lines_like(const DrawnLine& line, PaintedItems& items) {
    switch (line.kind) {
      case LineKind::Edge:
        return items.edges;
      case LineKind::Rim:
        return items.rims;
      case LineKind::Void:
        return items.voids;
      case LineKind::Track:
        break;
    }
    return items.tracks[line.width];
  }

  // --- lengths in micrometres ---

  double from_pixels(double pixels) const { return pixels / d_scale; }

  double visible(std::int64_t nanometres) const {
    return std::max(static_cast<double>(nanometres) / 1000, from_pixels(kHairline));
  }

  // Thin enough to leave something of the faces.
  double face_line() const {
    double area = 0, count = 0;  // nm2, doubled
    for (const DrawnFaces& faces : d_drawing.faces) {
      count += static_cast<double>(faces.ends.size());
      for (std::size_t i = 0, first = 0; i < faces.ends.size(); first = faces.ends[i++])
        area += doubled_area(&faces.corners[first], faces.ends[i] - first);
    }
    const double side = std::sqrt(area / std::max(count, 1.0)) / 1000 * d_scale;  // pixels
    return from_pixels(std::clamp(side * 0.08, 0.12, 0.9));
  }

  // --- groups ---

  void write_layer(int layer, const PaintedLayer& painted, bool is_one_of_many) {
    const std::string name = layer < 0 ? "no layer" : d_drawing.layers[static_cast<std::size_t>(layer)];
    d_svg += "<g" + attribute("id", layer < 0 ? "layer-none" : "layer-" + std::to_string(layer)) +
             (is_one_of_many ? attribute("opacity", 0.85) : "") + "><title>" + xml_text(name) + "</title>\n";
    const double fill_opacity = is_one_of_many ? 0.24 : 0.45;  // planes would hide what lies below them
    for_each_paint(painted, [&](const Paint& paint, const PaintedItems& items) {
      write_areas(items.fills, paint, paint.is_faint ? 0.15 : fill_opacity);
      write_faces(items.faces, paint);
    });
    for_each_paint(painted, [this](const Paint& paint, const PaintedItems& items) {
      for (const auto& [width, tracks] : items.tracks) write_lines(tracks, paint, visible(width));
      write_lines(items.edges, paint, from_pixels(kHairline));
    });
    for_each_paint(painted, [this](const Paint& paint, const PaintedItems& items) {
      write_areas(items.pads, paint, paint.is_faint ? 0.3 : 1);
      write_lines(items.rims, paint, from_pixels(1.6 * kHairline));
      write_lines(items.voids, {kVoidColour, "", paint.is_faint}, from_pixels(1.6 * kHairline));
    });
    d_svg += "</g>\n";
  }

  // The last paint first: the legend's first ones end up on top.
  template <class Write>
  void for_each_paint(const PaintedLayer& painted, const Write& write) {
    for (std::size_t i = painted.size(); i-- > 0;) write(d_colouring.paints()[i], painted[i]);
  }

  // A path for each, because areas may overlap. The group is transparent as a whole, so that overlaps do not show.
  void write_areas(const std::vector<const DrawnArea*>& areas, const Paint& paint, double opacity) {
    if (areas.empty()) return;
    d_svg += "<g" + attribute("fill", paint.colour) + (opacity < 1 ? attribute("opacity", opacity) : "") +
             " fill-rule=\"evenodd\">\n";
    for (const DrawnArea* area : areas) {
      PathData path;
      path.add_closed(area->ring);
      d_svg += "<path";
      if (area->pen > 0) {
        d_svg += attribute("stroke", paint.colour) + attribute("stroke-width", static_cast<double>(area->pen) / 1000);
      }
      d_svg += attribute("d", path.text()) + ">" + title(area->name, area->net) + "</path>\n";
    }
    d_svg += "</g>\n";
  }

  void write_faces(const std::vector<const DrawnFaces*>& sets, const Paint& paint) {
    for (const DrawnFaces* faces : sets) {
      d_svg += "<g" + attribute("fill", paint.colour) + attribute("fill-opacity", paint.is_faint ? 0.08 : 0.3) +
               attribute("stroke", paint.colour) + attribute("stroke-opacity", paint.is_faint ? 0.25 : 0.9) +
               attribute("stroke-width", d_face_line) + ">" + title("", faces->net) + "\n";
      std::size_t first = 0;
      write_paths(faces->ends, [&](PathData& path, std::size_t end) {
        path.add_closed(&faces->corners[first], end - first);
        first = end;
      });
      d_svg += "</g>\n";
    }
  }

  // Lines of one look in one group, transparent as a whole: overlaps do not show, and files stay small.
  void write_lines(const std::vector<const DrawnLine*>& lines, const Paint& paint, double width) {
    if (lines.empty()) return;
    d_svg += "<g fill=\"none\"" + attribute("stroke", paint.colour) +
             (paint.is_faint ? attribute("opacity", 0.3) : "") + attribute("stroke-width", width) + ">\n";
    write_paths(lines, [](PathData& path, const DrawnLine* line) {
      const bool is_closed = line->kind == LineKind::Rim || line->kind == LineKind::Void;
      is_closed ? path.add_closed(line->points) : path.add_open(line->points);
    });
    d_svg += "</g>\n";
  }

  // As few paths as their length allows. add(path, part) adds one part.
  template <class Parts, class Add>
  void write_paths(const Parts& parts, const Add& add) {
    PathData path;
    const auto write = [&] {
      if (!path.text().empty()) d_svg += "<path" + attribute("d", path.text()) + "/>\n";
      path = PathData();
    };
    for (const auto& part : parts) {
      add(path, part);
      if (path.text().size() >= kLongestPath) write();
    }
    write();
  }

  // What is plated is a ring around what is drilled. Meshes have faces inside.
  void write_holes() {
    if (d_drawing.holes.empty()) return;
    d_svg += "<g id=\"vias\"" + attribute("fill", d_drawing.faces.empty() ? kPanelColour : "none") +
             "><title>vias</title>\n";
    for (const DrawnHole& hole : d_drawing.holes) write_hole(hole);
    d_svg += "</g>\n";
  }

  void write_hole(const DrawnHole& hole) {
    const Paint& paint = d_colouring.paints()[d_colouring.paint_of_hole(hole.net)];
    const double radius = visible(hole.radius);
    const double hairline = from_pixels(kHairline);
    const double ring = d_drawing.faces.empty() ? std::max(0.35 * radius, hairline) : 2 * hairline;
    const std::string look = attribute("stroke", paint.colour) + (paint.is_faint ? attribute("opacity", 0.4) : "");
    if (hole.ring.empty()) {
      d_svg += "<circle" + position(hole.centre) + attribute("r", radius + ring / 2) + attribute("stroke-width", ring) +
               look + ">" + title(hole.name, hole.net) + "</circle>\n";
      return;
    }
    PathData path;
    path.add_closed(hole.ring);
    d_svg += "<path fill-rule=\"evenodd\"" + attribute("stroke-width", from_pixels(2 * kHairline)) + look +
             attribute("d", path.text()) + ">" + title(hole.name, hole.net) + "</path>\n";
  }

  void write_marks() {
    if (d_drawing.marks.empty()) return;
    const double radius = std::clamp(80.0, from_pixels(kHairline), from_pixels(2.5 * kHairline));
    d_svg +=
        "<g id=\"marks\"" + attribute("fill", kMarkColour) + "><title>" + xml_text(d_drawing.marks_are) + "</title>\n";
    for (const DrawnMark& mark : d_drawing.marks) {
      const bool is_faint = d_colouring.is_faint(mark.net);
      d_svg += "<circle" + position(mark.at) + attribute("r", radius) + (is_faint ? attribute("opacity", 0.3) : "") +
               ">" + title(mark.name, mark.net) + "</circle>\n";
    }
    d_svg += "</g>\n";
  }

  static std::string position(Point point) {
    return attribute("cx", static_cast<double>(point.x) / 1000, 0) +
           attribute("cy", static_cast<double>(point.y) / 1000, 0);
  }

  // What a viewer shows at the pointer: names, cut, for they stand at every item.
  std::string title(const std::string& name, int net) const {
    std::string text = shortened(name, kNameCharacters);
    if (net >= 0 && !d_drawing.nets[static_cast<std::size_t>(net)].empty())
      text += (text.empty() ? "" : ", ") + shortened(d_drawing.nets[static_cast<std::size_t>(net)], kNameCharacters);
    return "<title>" + xml_text(text) + "</title>";
  }

  const Drawing& d_drawing;
  const Colouring& d_colouring;
  const double d_scale;      // pixels per micrometre
  const double d_face_line;  // micrometres
  std::string d_svg;
};

}  // namespace

std::string svg_of_items(const Drawing& drawing, const Colouring& colouring, double scale) {
  return ItemWriter(drawing, colouring, scale).write();
}

}  // namespace CorvaneTool
