#include "tools/mesher/Mesher.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "facade/DBZydata.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/mesher/MeshStore.h"
#include "tools/mesher/Straightener.h"

namespace CorvaneMesher {
namespace {

namespace fs = std::filesystem;
using CorvaneTool::Layout;
using Mesh2DPlat::DBZydata;

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

class Mesher {
 public:
  Mesher(const MeshRequest& request, const Progress& progress) : d_request(request), d_progress(progress) {}

  MeshReport run() {
    const std::string name = database_name(d_request.directory, d_request.name);
    d_report.database = d_request.directory + "/" + name + ".zydat";
    const Layout layout = open(name);
    const InPhase in_phase_here = [this](const char* phase, const auto& work) { in_phase(phase, work); };
    BoardMesh board = mesh_layout(layout, d_request, d_report, in_phase_here);
    const StoredMesh stored = store_mesh(d_request.directory, board, layout, in_phase_here);
    d_report.mesh = stored.path;
    d_report.bytes = stored.bytes;
    d_report.elements = count_elements(board.mesh);
    return std::move(d_report);
  }

 private:
  Layout open(const std::string& name) {
    DBZydata database(d_request.directory);
    in_phase("open", [&] {
      if (!database.openem(true, name)) throw std::runtime_error(d_report.database + ": no such file");
    });
    Layout layout;
    in_phase("read layout", [&] { layout = CorvaneTool::read_layout(database); });
    return layout;
  }

  /// Phases of one name add up.
  void in_phase(const std::string& phase, const std::function<void()>& work) {
    using Clock = std::chrono::steady_clock;
    d_progress(phase);
    const Clock::time_point begin = Clock::now();
    work();
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    const auto entry = std::find_if(d_report.seconds.begin(), d_report.seconds.end(),
                                    [&](const auto& other) { return other.first == phase; });
    if (entry == d_report.seconds.end()) {
      d_report.seconds.emplace_back(phase, seconds);
    } else {
      entry->second += seconds;
    }
  }

  const MeshRequest& d_request;
  const Progress& d_progress;
  MeshReport d_report;
};

}  // namespace

double LayerReport::relative_difference() const {
  return std::max(relative(fill_mesh_area, fill_area), relative(mesh_area, copper_area));
}

BoardMesh mesh_layout(const Layout& layout, const MeshRequest& request, MeshReport& report, const InPhase& in_phase) {
  Copper copper;
  in_phase("copper", [&] { copper = collect_copper(layout, request.with_traces); });
  if (copper.layers.empty()) throw std::runtime_error(report.database + ": no copper to mesh");
  const MeshSizes sizes = sizes_for(request, layout.config, extent_of(copper));
  report.max_edge = sizes.max_edge / 1e6;
  report.min_edge = sizes.min_edge / 1e6;
  report.sizes_from_extent = !is_length(layout.config.maxEdgeLen()) && request.max_edge == 0;
  report.traces = copper.traces;
  report.traces_without_width = copper.traces_without_width;
  report.shapes_left_out = copper.shapes_left_out;
  report.smallest_angle = 180;
  std::vector<LayerMesh> layers;
  for (const LayerCopper& layer : copper.layers) {
    try {
      layers.push_back(mesh_layer(layer, sizes, report.layers.emplace_back(), in_phase));
    } catch (const PlaceError& error) {
      throw std::runtime_error("layer " + layer.layer->name() + ": " + error.what() + ", near (" +
                               text_of(static_cast<double>(error.place().x) / 1e6) + ", " +
                               text_of(static_cast<double>(error.place().y) / 1e6) + ") mm");
    }
    report.smallest_angle = std::min(report.smallest_angle, smallest_angle(layers.back().triangles));
  }
  BoardMesh board;
  in_phase("build", [&] { board = build_mesh(layout, copper, layers); });
  return board;
}

LayerMesh mesh_layer(const LayerCopper& copper, const MeshSizes& sizes, LayerReport& report, const InPhase& in_phase) {
  LayerMesh mesh;
  mesh.layer = copper.layer;
  report.name = copper.layer->name();
  RegionOutlines regions, outlines;
  in_phase("find regions", [&] {
    std::vector<Label> owners;
    for (const Ring& ring : copper.rings) owners.push_back({ring.net, ring.is_fill});
    regions = find_regions(cut_at_crossings(strands_of(copper.rings), 1, sizes.limits), owners);
  });
  in_phase("simplify", [&] { outlines = simple_outlines(regions, sizes); });
  in_phase("triangulate", [&] {
    if (!outlines.edges.empty()) mesh.triangles = triangulate(outlines, SizeField(outlines, sizes), sizes);
  });
  in_phase("build", [&] { mesh.topology = find_topology(mesh.triangles); });
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

MeshReport mesh_board(const MeshRequest& request, const Progress& progress) { return Mesher(request, progress).run(); }

}  // namespace CorvaneMesher
