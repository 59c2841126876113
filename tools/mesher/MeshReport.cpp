#include "tools/mesher/MeshReport.h"

#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/ReportTable.h"

namespace CorvaneMesher {
namespace {

using CorvaneTool::fixed;
using CorvaneTool::kNameCharacters;
using CorvaneTool::print_table;
using CorvaneTool::printable;
using CorvaneTool::ReportLines;

std::string percent(double part) {
  std::ostringstream stream;
  stream << std::setprecision(2) << part * 100;
  return stream.str();
}

/// What a reader should know before relying on the areas.
ReportLines remarks(const MeshReport& report) {
  ReportLines lines;
  const auto add = [&](const std::string& what, std::size_t count) {
    if (count > 0) lines.emplace_back(what, std::to_string(count));
  };
  add("trace: without a width in its name, left out", report.traces_without_width);
  add("shape: of another type or without an area, left out", report.shapes_left_out);
  for (const LayerReport& layer : report.layers) {
    const std::string name = printable(layer.name, kNameCharacters);
    add(name + ": fills that cross themselves, odd turns counted", layer.crossing_fills);
    add(name + ": pairs of nets that overlap on " + fixed(layer.net_overlap_area, 6) + " mm2, the smaller id counted",
        layer.overlapping_nets);
    add(name + ": outlines too fine for round triangles, left as they are", layer.is_refined_less ? 1 : 0);
    add(name + ": fills overlap on " + fixed(layer.fill_overlap_area, 6) + " mm2, counted once",
        layer.fill_overlap_area > 1e-6 ? 1 : 0);
  }
  return lines;
}

nlohmann::ordered_json layer_json(const LayerReport& layer) {
  return {{"name", layer.name},
          {"fill_area_mm2", layer.fill_area},
          {"fill_mesh_area_mm2", layer.fill_mesh_area},
          {"copper_area_mm2", layer.copper_area},
          {"mesh_area_mm2", layer.mesh_area},
          {"relative_difference", layer.relative_difference()},
          {"fill_overlap_mm2", layer.fill_overlap_area},
          {"crossing_fills", layer.crossing_fills},
          {"net_overlap_mm2", layer.net_overlap_area},
          {"overlapping_net_pairs", layer.overlapping_nets},
          {"refined_less", layer.is_refined_less},
          {"triangles", layer.triangles}};
}

}  // namespace

std::string report_text(const MeshReport& report) {
  std::ostringstream stream;
  stream << printable(report.mesh) << ": " << report.bytes << " bytes, read back equal, made from "
         << printable(report.database) << '\n'
         << "edges of " << report.min_edge << " to " << report.max_edge << " mm"
         << (report.sizes_from_extent ? " (from the board's extent: its settings have none)" : "")
         << ", smallest angle " << fixed(report.smallest_angle, 2) << " degrees, " << report.traces << " traces\n";
  ReportLines elements, fills, copper, seconds;
  for (const auto& [table, count] : report.elements) elements.emplace_back(table, std::to_string(count));
  for (const LayerReport& layer : report.layers) {
    const std::string name = printable(layer.name, kNameCharacters);
    fills.emplace_back(name, fixed(layer.fill_area, 4) + " / " + fixed(layer.fill_mesh_area, 4));
    copper.emplace_back(name, std::to_string(layer.triangles) + " on " + fixed(layer.copper_area, 4) + " / " +
                                  fixed(layer.mesh_area, 4) + ", off by " + percent(layer.relative_difference()) +
                                  " %");
  }
  for (const auto& [phase, time] : report.seconds) seconds.emplace_back(phase, fixed(time, 3));
  print_table(stream, "element", "rows", elements);
  print_table(stream, "fills", "mm2 of outlines / triangles", fills);
  print_table(stream, "copper", "triangles on mm2 of outlines / triangles", copper);
  print_table(stream, "left out, or not as it stands", "items", remarks(report));
  print_table(stream, "phase", "seconds", seconds);
  return stream.str();
}

nlohmann::ordered_json report_json(const MeshReport& report) {
  nlohmann::ordered_json json;
  json["database"] = report.database;
  json["mesh"] = report.mesh;
  json["bytes"] = report.bytes;
  json["elements"] = nlohmann::ordered_json::object();
  for (const auto& [table, count] : report.elements) json["elements"][table] = count;
  json["smallest_angle_deg"] = report.smallest_angle;
  json["layers"] = nlohmann::ordered_json::array();
  for (const LayerReport& layer : report.layers) json["layers"].push_back(layer_json(layer));
  json["sizes"] = {{"max_edge", report.max_edge}, {"min_edge", report.min_edge}};
  json["sizes_from_extent"] = report.sizes_from_extent;
  json["traces"] = report.traces;
  json["left_out"] = {{"traces_without_width", report.traces_without_width}, {"shapes", report.shapes_left_out}};
  json["verified"] = true;  // there is no report of a mesh that differs
  json["seconds"] = nlohmann::ordered_json::object();
  for (const auto& [phase, time] : report.seconds) json["seconds"][phase] = time;
  return json;
}

}  // namespace CorvaneMesher
