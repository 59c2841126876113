// Triangles of all layers as one mesh of the database's model.
//
// What the lists hold, where the model leaves it open:
//   layers        one per layout layer with copper, from the top down
//   nodes         of one mesh layer each; metalFaces: the faces around it; mediumFaces stay empty
//   edges         left and right as seen with x to the right and y upwards; leftFace, rightFace -1: no copper there
//   faces         nodes counterclockwise in that view, edge i from node i to node i + 1; mediumPolygon: the polygon
//   that
//                 holds the face
//   polygons      the outer outline of each connected area of one net, counterclockwise (orientation 1); leftPolygon:
//   its
//                 own id, rightPolygon: -1
//   negPolygons   holes, clockwise (orientation -1); leftPolygon: the polygon around it, rightPolygon: -1
//   metals        one per mesh layer and net with copper there, under the net's name
//   mediums       one per gap between neighbouring mesh layers, `layer` the upper one's; upMetal and lowMetal: the
//   metal
//                 above and below where there is only one, else -1; meshNodes: the nodes on the outlines above
//   vias          one per layout via and mesh layer between its ends where copper of its net is at its centre; ratio:
//   the
//                 hole's area divided by that of the copper area it goes through; radius: of a round hole as large
//   emVertices    one per pin of a circuit, "circuit.pin"; nodeLayer: mesh layer, connLayer: layout layer of its
//   vertex;
//                 plane, upPlane, lowPlane: net of the copper at that place on this and the neighbouring mesh layers
//   viaMeshes     per mesh layer the id of the via's mesh via there
// maShapes and specialVoids stay empty.
#pragma once

#include <map>
#include <vector>

#include "model/SImesh2D.h"
#include "tools/mesher/Copper.h"
#include "tools/mesher/Outlines.h"
#include "tools/mesher/TriangleMesh.h"

namespace CorvaneMesher {

struct LayerMesh {
  const Mesh2DPlat::EM2DLayer* layer = nullptr;
  TriangleMesh triangles;
  Topology topology;
};

using ViaMaps = std::vector<std::map<Mesh2DPlat::EM2DVia*, int>>;

struct BoardMesh {
  Mesh2DPlat::SImesh2D mesh;
  ViaMaps via_maps;  // per mesh layer: a layout via, and its mesh via's id
};

/// Throws std::runtime_error when two vias of the layout share a name: files name vias.
BoardMesh build_mesh(const CorvaneTool::Layout& layout, const Copper& copper, const std::vector<LayerMesh>& layers);

}  // namespace CorvaneMesher
