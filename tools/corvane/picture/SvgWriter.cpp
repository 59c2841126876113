#include "tools/corvane/picture/SvgWriter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tools/corvane/picture/Colouring.h"
#include "tools/corvane/picture/PictureFrame.h"
#include "tools/corvane/picture/SvgItems.h"
#include "tools/corvane/picture/SvgText.h"
#include "tools/corvane/support/LineText.h"

namespace CorvaneTool {
namespace {

constexpr const char* kPage = "#10161d";
constexpr const char* kPanelRim = "#2c3946";
constexpr const char* kText = "#e8edf2";
constexpr const char* kQuietText = "#9fb0c0";

constexpr std::size_t kLabelCharacters = 28;

class SvgWriter {
 public:
  SvgWriter(const Drawing& drawing, const Box& frame, const PictureRequest& request)
      : d_drawing(drawing),
        d_request(request),
        d_colouring(drawing, request.highlighted_net),
        d_frame(frame, request.width, labels()) {}

  Picture write() {
    begin();
    write_heading();
    write_panel();
    write_legend();
    write_scale_bar();
    d_svg += "</svg>\n";
    return {std::move(d_svg), d_request.width, d_frame.height()};
  }

 private:
  std::vector<std::string> labels() const {
    std::vector<std::string> labels;
    for (const Paint& paint : d_colouring.paints()) labels.push_back(shortened(paint.label, kLabelCharacters));
    if (has_voids()) labels.push_back("holes");
    if (!d_drawing.marks.empty()) labels.push_back(d_drawing.marks_are);
    return labels;
  }

  bool has_voids() const {
    return std::any_of(d_drawing.lines.begin(), d_drawing.lines.end(),
                       [](const DrawnLine& line) { return line.kind == LineKind::Void; });
  }

  void begin() {
    const std::string width = std::to_string(d_request.width), height = std::to_string(d_frame.height());
    d_svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"" +
            attribute("width", width) + attribute("height", height) +
            attribute("viewBox", "0 0 " + width + " " + height) +
            " font-family=\"Helvetica, Arial, sans-serif\">\n<title>" + xml_text(d_request.title) + "</title>\n";
    write_box(0, 0, d_request.width, d_frame.height(), 0, kPage);
  }

  void write_box(double x, double y, double width, double height, double radius, const char* colour,
                 const std::string& more = "") {
    d_svg += "<rect" + attribute("x", x) + attribute("y", y) + attribute("width", width) + attribute("height", height) +
             (radius > 0 ? attribute("rx", radius) : "") + attribute("fill", colour) + more + "/>\n";
  }

  void write_text(double x, double y, double size, const char* colour, const std::string& text,
                  const std::string& more = "") {
    d_svg += "<text" + attribute("x", x) + attribute("y", y) + attribute("font-size", size) +
             attribute("fill", colour) + more + ">" + xml_text(text) + "</text>\n";
  }

  void write_heading() {
    const double font = d_frame.font();
    write_text(d_frame.margin(), d_frame.title_line(), 1.4 * font, kText,
               shortened(d_request.title, d_frame.title_characters()), attribute("font-weight", "bold"));
    write_text(d_frame.margin(), d_frame.contents_line(), font, kQuietText,
               shortened(contents_of(d_drawing), d_frame.text_characters()));
  }

  void write_legend() {
    const std::vector<std::string> texts = labels();
    const double font = d_frame.font();
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const auto [x, y] = d_frame.legend()[i];
      write_swatch(i, texts[i], x, y - 0.36 * font);
      write_text(x + 1.8 * font, y, font, kText, texts[i]);
    }
  }

  // Paints come first, then holes and marks. `y` is the middle.
  void write_swatch(std::size_t entry, const std::string& label, double x, double y) {
    const double font = d_frame.font();
    const std::vector<Paint>& paints = d_colouring.paints();
    if (entry < paints.size()) {
      const std::string opacity = paints[entry].is_faint ? attribute("opacity", 0.5) : "";
      return write_box(x, y - 0.45 * font, 1.3 * font, 0.9 * font, 0.2 * font, paints[entry].colour.c_str(), opacity);
    }
    const bool is_mark = label == d_drawing.marks_are;
    d_svg += "<circle" + attribute("cx", x + 0.65 * font) + attribute("cy", y) +
             attribute("r", (is_mark ? 0.2 : 0.4) * font) +
             (is_mark ? attribute("fill", kMarkColour)
                      : attribute("fill", "none") + attribute("stroke", kVoidColour) +
                            attribute("stroke-width", 0.12 * font)) +
             "/>\n";
  }

  void write_scale_bar() {
    const double font = d_frame.font(), y = d_frame.scale_bar_line(), right = d_frame.scale_bar_right();
    const double left = right - d_frame.scale_bar_pixels(), tick = 0.35 * font;
    d_svg += "<path id=\"scale-bar\"" + attribute("stroke", kText) + attribute("stroke-width", 0.12 * font) +
             " fill=\"none\"" +
             attribute("d", "M" + svg_number(left) + " " + svg_number(y - tick) + "v" + svg_number(2 * tick) + "m0 " +
                                svg_number(-tick) + "H" + svg_number(right) + "m0 " + svg_number(-tick) + "v" +
                                svg_number(2 * tick)) +
             "/>\n";
    write_text((left + right) / 2, y - 0.7 * font, font, kText, svg_number(d_frame.scale_bar_length(), 6) + " mm",
               " text-anchor=\"middle\"");
  }

  void write_panel() {
    const double font = d_frame.font();
    write_box(d_frame.margin(), d_frame.panel_top(), d_frame.panel_width(), d_frame.panel_height(), 0.4 * font,
              kPanelColour, attribute("stroke", kPanelRim));
    if (contents_of(d_drawing).empty()) {
      return write_text(d_request.width / 2.0, d_frame.panel_top() + d_frame.panel_height() / 2, 1.2 * font, kQuietText,
                        "nothing to draw", " text-anchor=\"middle\"");
    }
    d_svg += "<g id=\"drawing\" transform=\"translate(" + svg_number(d_frame.origin_x(), 3) + " " +
             svg_number(d_frame.origin_y(), 3) + ") scale(" + svg_number(d_frame.scale(), 12) +
             ")\" stroke-linejoin=\"round\" stroke-linecap=\"round\">\n";
    d_svg += svg_of_items(d_drawing, d_colouring, d_frame.scale());
    d_svg += "</g>\n";
  }

  const Drawing& d_drawing;
  const PictureRequest& d_request;
  const Colouring d_colouring;
  const PictureFrame d_frame;
  std::string d_svg;
};

}  // namespace

Picture write_svg(const Drawing& drawing, const Box& frame, const PictureRequest& request) {
  return SvgWriter(drawing, frame, request).write();
}

}  // namespace CorvaneTool
