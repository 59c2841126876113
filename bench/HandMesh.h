// The large tables of a mesh as a program would write them by hand.
#pragma once

#include <vector>

#include "bench/Columns.h"
#include "model/SImesh2D.h"

namespace CorvaneBench {

struct NodeColumns {
  Column<int> id;
  Column<double> x, y;
  Column<int> layer;
  RunColumn<int> metal_faces, medium_faces;
};

struct EdgeColumns {
  Column<int> id, mesh_layer, layer, start, end, left, right;
  RunColumn<int> co_edges;
};

struct FaceColumns {
  Column<int> id, mesh_layer, layer, medium_polygon;
  RunColumn<int> nodes, edges;
};

struct HandMesh {
  NodeColumns nodes;
  EdgeColumns edges;
  FaceColumns faces;

  /// Every column's memory, offsets before values, in the order of a mesh file.
  std::vector<Block*> blocks();
};

/// Copies nodes, edges and faces into empty columns.
void write_by_hand(const Mesh2DPlat::SImesh2D& mesh, HandMesh& columns);

/// Makes an element of every row.
void read_by_hand(const HandMesh& columns, Mesh2DPlat::SImesh2D& mesh);

}  // namespace CorvaneBench
