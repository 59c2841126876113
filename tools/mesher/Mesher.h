// From a database with a layout to a verified mesh file beside it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/mesher/MeshBuilder.h"
#include "tools/mesher/Phases.h"
#include "tools/mesher/SizeField.h"

namespace CorvaneMesher {

struct MeshRequest {
  std::string directory{};
  std::string name{};   // of the database; empty: the only one there is
  double max_edge = 0;  // mm; 0: as the database's settings say
  bool with_traces = true;
  MeshLimits limits{};
};

/// Areas in square millimetres.
struct LayerReport {
  std::string name;
  double fill_area = 0;              // of the fills' outlines; where fills overlap, once
  double fill_mesh_area = 0;         // of the triangles inside fills
  double fill_rounding_area = 0;     // how far both may differ because cuts lie on whole nanometres
  double copper_area = 0;            // of all outlines together, places that several cover counted once
  double mesh_area = 0;              // of all triangles
  double fill_overlap_area = 0;      // what fills cover more than once
  std::size_t crossing_fills = 0;    // fills that cross themselves: inside is what an odd number of turns surrounds
  double net_overlap_area = 0;       // copper of several nets, given to the one with the smallest id
  std::size_t overlapping_nets = 0;  // pairs
  bool is_refined_less = false;      // than asked for, in detail of the outlines
  std::size_t triangles = 0;

  double relative_difference() const;  // the larger one of both
};

struct MeshReport {
  std::string database;  // paths
  std::string mesh;
  std::uint64_t bytes = 0;
  std::vector<std::pair<std::string, std::size_t>> elements;  // by table of the mesh file
  double smallest_angle = 0;                                  // degrees
  double max_edge = 0;                                        // mm
  double min_edge = 0;
  bool sizes_from_extent = false;  // the settings had none
  std::size_t traces = 0;          // meshed
  std::size_t traces_without_width = 0;
  std::size_t shapes_left_out = 0;
  std::vector<LayerReport> layers;
  std::vector<std::pair<std::string, double>> seconds;  // by phase
};

constexpr double kMostDifference = 1e-3;  // between areas, relative

/// Meshes the layout, checks the areas, writes the mesh file, reads it back and compares it. Throws when anything
/// fails, differs, or when areas differ by more than `kMostDifference`; the directory is then as it was.
MeshReport mesh_board(const MeshRequest& request, const Progress& progress);

/// The same without files; the report gets what is known without them. Throws for lengths that no board has, with table
/// and row, and for outlines that pass the limits, with layer and place.
BoardMesh mesh_layout(const CorvaneTool::Layout& layout, const MeshRequest& request, MeshReport& report,
                      Phases& phases);

/// The mesh of one layer's copper; the report gets the areas and counts. Throws when areas differ.
LayerMesh mesh_layer(const LayerCopper& copper, const MeshSizes& sizes, LayerReport& report, Phases& phases);

/// The name of the only database in a directory, or `name`, which must be there. Throws std::runtime_error.
std::string database_name(const std::string& directory, const std::string& name);

}  // namespace CorvaneMesher
