#include "tools/mesher/Mesher.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "facade/DBZydata.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/layout/LayoutCheck.h"
#include "tools/corvane/layout/Origin.h"
#include "tools/mesher/MeshStore.h"
#include "tools/mesher/RingRegions.h"
#include "tools/mesher/Straightener.h"

namespace CorvaneMesher {
namespace {

namespace fs = std::filesystem;
using CorvaneTool::Layout;
using Mesh2DPlat::DBZydata;

// Where parts of the work begin.
constexpr int kPercentCopper = 5, kPercentLayers = 8, kPercentBuild = 75, kPercentStore = 80;
constexpr int kPhasesOfLayer = 4, kPhasesOfStore = 4;

constexpr double kEdgesAcross = 50;  // of a board whose settings say nothing
constexpr double kLeastRatio = 10;   // of the longest edge to the smallest feature
constexpr double kUsualRatio = 40;
constexpr double kRoundingReach = 2;               // nm, by which cuts move outlines
constexpr double kSquareMm = 1e12;                 // in square nanometres
constexpr double kMostLoss = kMostDifference / 5;  // of area, for the sake of simple outlines
constexpr double kMostEmptiness = 8;               // of a board: the rest of it is refined until the limit is passed
constexpr std::int64_t kLeastSpacing = 4;          // nm
constexpr double kStraightPart = 5;                // of the spacing: how far outlines may stray where they lose corners
constexpr double kUsualAngle = 20;                 // degrees
constexpr double kLargestAngle = 20.7;             // beyond this, refining need not come to an end

/// Shortest text that tells the number from all others.
std::string text_of(double number) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

// --- sizes ---

struct Extent {
  double width, height;  // nm
};

Extent extent_of(const Copper& copper) {
  Point low{0, 0}, high{0, 0};
  bool is_first = true;
  for (const LayerCopper& layer : copper.layers) {
    for (const Ring& ring : layer.rings) {
      for (const Point point : ring.corners) {
        low = is_first ? point : Point{std::min(low.x, point.x), std::min(low.y, point.y)};
        high = is_first ? point : Point{std::max(high.x, point.x), std::max(high.y, point.y)};
        is_first = false;
      }
    }
  }
  return {static_cast<double>(high.x - low.x), static_cast<double>(high.y - low.y)};
}

bool is_length(double value) { return std::isfinite(value) && value > 0; }

/// Settings without lengths are replaced by what suits the extent; a request's length comes before both.
MeshSizes sizes_for(const MeshRequest& request, const Mesh2DPlat::SImeshConfig& config, Extent extent) {
  MeshSizes sizes;
  sizes.max_edge = request.max_edge > 0 ? request.max_edge * 1e6 : config.maxEdgeLen() * 1e6;
  if (!is_length(sizes.max_edge)) sizes.max_edge = std::max(extent.width, extent.height) / kEdgesAcross;
  sizes.min_edge = config.minEdgeLen() * 1e6;
  if (!is_length(sizes.min_edge)) sizes.min_edge = sizes.max_edge / kUsualRatio;
  sizes.min_edge = std::min(sizes.min_edge, sizes.max_edge / kLeastRatio);
  const double angle = config.thetamin();
  sizes.min_angle = std::min(is_length(angle) ? angle : kUsualAngle, kLargestAngle);
  sizes.limits = request.limits;
  if (extent.width * extent.height / (sizes.max_edge * sizes.max_edge) >
      static_cast<double>(request.limits.nodes) * kMostEmptiness) {
    throw std::runtime_error("edges of at most " + text_of(sizes.max_edge / 1e6) +
                             " mm would make tens of millions of triangles");
  }
  return sizes;
}

// --- areas ---

double relative(double found, double wanted) {
  return found == wanted ? 0 : std::abs(found - wanted) / std::max(std::abs(wanted), 1e-12);
}

struct OutlineMeasure {
  double area = 0;    // nm2
  double length = 0;  // nm
};

OutlineMeasure measure(const Outline& corners) {
  OutlineMeasure result;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const Point here = corners[i], next = corners[(i + 1) % corners.size()];
    // Seen from the first corner, whole numbers lose nothing.
    const Point a = {here.x - corners[0].x, here.y - corners[0].y}, b = {next.x - corners[0].x, next.y - corners[0].y};
    result.area += static_cast<double>(a.x * b.y - b.x * a.y) / 2;
    result.length += std::hypot(static_cast<double>(b.x - a.x), static_cast<double>(b.y - a.y));
  }
  result.area = std::abs(result.area);
  return result;
}

/// What the fills' outlines hold by themselves, less what they share. The area of an outline that crosses itself says
/// nothing, so there the area of what it surrounds an odd number of times counts.
void measure_fills(const std::vector<Ring>& rings, const RegionOutlines& regions, LayerReport& report) {
  double own = 0, surrounded = 0, length = 0;
  for (std::size_t i = 0; i < rings.size(); ++i) {
    if (!rings[i].is_fill) continue;
    const OutlineMeasure outline = measure(rings[i].corners);
    const double inside = regions.owner_areas[i];
    const bool crosses_itself = std::abs(outline.area - inside) > kRoundingReach * outline.length;
    report.crossing_fills += crosses_itself;
    own += crosses_itself ? inside : outline.area;
    surrounded += inside;
    length += outline.length;
  }
  const double overlap = surrounded - regions.fill_area;
  report.fill_area = (own - overlap) / kSquareMm;
  report.fill_overlap_area = overlap / kSquareMm;
  report.fill_rounding_area = kRoundingReach * length / kSquareMm;
}

/// With less detail as long as that changes no area by much: fine patterns are all detail.
RegionOutlines simple_outlines(const RegionOutlines& regions, const MeshSizes& sizes) {
  for (std::int64_t spacing = sizes.spacing(); spacing >= kLeastSpacing; spacing /= 4) {
    try {
      RegionOutlines outlines = simplified(regions, spacing, sizes.limits);
      straighten(outlines, static_cast<double>(spacing) / kStraightPart);
      const EnclosedAreas areas = enclosed_areas(outlines);
      if (std::max(relative(areas.copper, regions.copper_area), relative(areas.fill, regions.fill_area)) <= kMostLoss)
        return outlines;
    } catch (const PlaceError&) {  // dropping detail makes new crossings now and then: less of it, then
    }
  }
  return regions;
}

void measure_triangles(const TriangleMesh& mesh, LayerReport& report) {
  for (const TriangleMesh::Triangle& triangle : mesh.triangles) {
    report.mesh_area += mesh.area(triangle);
    if (triangle.label.is_fill) report.fill_mesh_area += mesh.area(triangle);
  }
  report.triangles = mesh.triangles.size();
  report.is_refined_less = mesh.is_early;
}

void check_areas(const LayerReport& report, const Topology& topology) {
  const auto check = [&](const char* what, double wanted, double found, double rounding) {
    if (std::abs(found - wanted) <= kMostDifference * wanted + rounding) return;
    throw std::runtime_error("layer " + report.name + ": " + what + " of " + text_of(wanted) +
                             " mm2 became triangles of " + text_of(found) + " mm2");
  };
  check("fills", report.fill_area, report.fill_mesh_area, report.fill_rounding_area);
  check("copper", report.copper_area, report.mesh_area, 0);
  double polygons = 0;
  for (const Topology::Loop& loop : topology.loops) polygons += loop.square_mm;
  check("polygons", polygons, report.mesh_area, 0);
}

// --- the whole way ---

std::vector<std::pair<std::string, std::size_t>> count_elements(const Mesh2DPlat::SImesh2D& mesh) {
  return {{"meshlayer", mesh.layers.size()},
          {"meshmetal", mesh.metals.size()},
          {"meshmedium", mesh.mediums.size()},
          {"mashape", mesh.maShapes.size()},
          {"specialvoid", mesh.specialVoids.size()},
          {"viamesh", mesh.viaMeshes.size()},
          {"meshvia", mesh.vias().size()},
          {"emmeshvertex", mesh.emVertices.size()},
          {"em2dshape", 0},  // only a mesh without negative polygons is stored with them
          {"meshnode", mesh.nodes.size()},
          {"meshedge", mesh.edges.size()},
          {"meshface", mesh.faces.size()},
          {"meshpolygon", mesh.polygons.size()},
          {"negpolymesh", mesh.negPolygons.size()}};
}

/// Holes have a radius; what else a layout's lengths may be, its reader has checked.
void check_vias(const Layout& layout) {
  for (std::size_t i = 0; i < layout.vias.size(); ++i) {
    const double radius = layout.vias[i]->radius();
    if (!(radius >= 0)) {
      throw std::runtime_error("em2dvia row " + std::to_string(i) + ": r is " + text_of(radius) +
                               ", no radius of a hole");
    }
  }
}

/// With the layer and the place of what went wrong.
LayerMesh mesh_named_layer(const LayerCopper& layer, const MeshSizes& sizes, LayerReport& report, Phases& phases) {
  try {
    return mesh_layer(layer, sizes, report, phases);
  } catch (const PlaceError& error) {
    const auto millimetres = [](std::int64_t value) { return text_of(static_cast<double>(value) / 1e6); };
    throw std::runtime_error("layer " + layer.layer->name() + ": " + error.what() + ", near (" +
                             millimetres(error.place().x) + ", " + millimetres(error.place().y) + ") mm");
  }
}

Layout open_layout(const MeshRequest& request, const std::string& name, const std::string& path, Phases& phases) {
  DBZydata database(request.directory);
  phases.run("open", [&] {
    if (!database.openem(true, name)) throw std::runtime_error(path + ": no such file");
  });
  Layout layout;
  phases.run("read layout", [&] { layout = CorvaneTool::read_layout(database); });
  return layout;
}

}  // namespace

double LayerReport::relative_difference() const {
  return std::max(relative(fill_mesh_area, fill_area), relative(mesh_area, copper_area));
}

BoardMesh mesh_layout(const Layout& layout, const MeshRequest& request, MeshReport& report, Phases& phases) {
  Copper copper;
  phases.enter("", kPercentCopper, kPercentLayers, 1);
  phases.run("copper", [&] {
    CorvaneTool::check_lengths(layout);
    check_vias(layout);
    copper = collect_copper(layout, request.with_traces);
  });
  if (copper.layers.empty()) throw std::runtime_error(report.database + ": no copper to mesh");
  MeshSizes sizes = sizes_for(request, layout.config, extent_of(copper));
  report.max_edge = sizes.max_edge / 1e6;
  report.min_edge = sizes.min_edge / 1e6;
  report.sizes_from_extent = !is_length(layout.config.maxEdgeLen()) && request.max_edge == 0;
  report.traces = copper.traces;
  report.traces_without_width = copper.traces_without_width;
  report.shapes_left_out = copper.shapes_left_out;
  report.smallest_angle = 180;
  std::vector<LayerMesh> layers;
  const auto percent = [&](std::size_t done) {
    return kPercentLayers +
           static_cast<int>(done) * (kPercentBuild - kPercentLayers) / static_cast<int>(copper.layers.size());
  };
  for (std::size_t i = 0; i < copper.layers.size(); ++i) {
    const std::string part = "layer " + copper.layers[i].layer->name() + " (" + std::to_string(i + 1) + " of " +
                             std::to_string(copper.layers.size()) + "): ";
    phases.enter(part, percent(i), percent(i + 1), kPhasesOfLayer);
    layers.push_back(mesh_named_layer(copper.layers[i], sizes, report.layers.emplace_back(), phases));
    report.smallest_angle = std::min(report.smallest_angle, smallest_angle(layers.back().triangles));
    sizes.limits.nodes -= std::min(sizes.limits.nodes, layers.back().triangles.nodes.size());
  }
  BoardMesh board;
  phases.enter("", kPercentBuild, kPercentStore, 1);
  phases.run("build", [&] { board = build_mesh(layout, copper, layers); });
  return board;
}

LayerMesh mesh_layer(const LayerCopper& copper, const MeshSizes& sizes, LayerReport& report, Phases& phases) {
  LayerMesh mesh;
  mesh.layer = copper.layer;
  report.name = copper.layer->name();
  RegionOutlines regions, outlines;
  phases.run("find regions", [&] { regions = regions_of_rings(copper.rings, sizes.limits); });
  phases.run("simplify", [&] { outlines = simple_outlines(regions, sizes); });
  phases.run("triangulate", [&] {
    if (!outlines.edges.empty()) mesh.triangles = triangulate(outlines, SizeField(outlines, sizes), sizes);
  });
  phases.run("build", [&] { mesh.topology = find_topology(mesh.triangles); });
  report.copper_area = regions.copper_area / kSquareMm;
  report.net_overlap_area = regions.overlap_area / kSquareMm;
  report.overlapping_nets = regions.overlapping_nets;
  measure_fills(copper.rings, regions, report);
  measure_triangles(mesh.triangles, report);
  check_areas(report, mesh.topology);
  return mesh;
}

std::string database_name(const std::string& directory, const std::string& name) {
  std::error_code error;
  if (!fs::is_directory(directory, error)) throw std::runtime_error(directory + ": not a directory");
  if (!name.empty()) {
    if (name.find('/') != std::string::npos || !fs::exists(directory + "/" + name + ".zydat", error))
      throw std::runtime_error(directory + ": no database named \"" + name + "\"");
    return name;
  }
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (entry.path().extension() == ".zydat" && entry.path().stem() != "corvane2d" && entry.is_regular_file())
      names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  if (names.empty()) throw std::runtime_error(directory + ": no database (*.zydat)");
  if (names.size() == 1) return names.front();
  std::string list;
  for (const std::string& each : names) list += (list.empty() ? "" : ", ") + each;
  throw std::runtime_error(directory + ": several databases, choose one with --name: " + list);
}

MeshReport mesh_board(const MeshRequest& request, const Progress& progress) {
  Phases phases(progress);
  MeshReport report;
  const std::string name = database_name(request.directory, request.name);
  report.database = request.directory + "/" + name + ".zydat";
  const CorvaneTool::Origin origin{name + ".zydat", CorvaneTool::digest_of_file(report.database)};
  phases.enter("", 0, kPercentCopper, 2);
  const Layout layout = open_layout(request, name, report.database, phases);
  BoardMesh board = mesh_layout(layout, request, report, phases);
  phases.enter("", kPercentStore, 100, kPhasesOfStore);
  const StoredMesh stored = store_mesh(request.directory, board, layout, origin, phases);
  report.mesh = stored.path;
  report.bytes = stored.bytes;
  report.elements = count_elements(board.mesh);
  report.seconds = phases.seconds();
  return report;
}

}  // namespace CorvaneMesher
