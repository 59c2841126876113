// A small mesh that tests store.
#pragma once

#include <climits>
#include <cstddef>
#include <limits>
#include <vector>

#include "model/SImesh2D.h"

namespace TestSupport {

/// Elements of every kind, with empty and long lists, empty names, references to nothing and to what is not there.
inline Mesh2DPlat::SImesh2D make_mesh() {
  const double tiny = std::numeric_limits<double>::denorm_min();
  Mesh2DPlat::SImesh2D mesh;
  mesh.addLayer({-1, "F.Cu"});
  mesh.addLayer({-1, ""});
  mesh.addMetal({-1, 3, "GND", {0, 1, -1}});
  mesh.addMetal({-1, 4, "", {}});
  mesh.addMedium({-1, 3, 0, -1, {2, 1, 0}});
  mesh.addMAShape({-1, 7, 1, 0.25, -0.0, {1}, {}});
  mesh.addSpecialVoid({-1, 0, 3, "VCC", {0, tiny, 1e300, -1}});
  mesh.addEMVertex({-1, "U1.3", 1.5, -2.5, 0, 1, "GND", "", "F.Cu"});
  for (int i = 0; i < 3; ++i)
    mesh.addNode({-1, 0.5 * i, -i * tiny, 3, std::vector<int>(static_cast<std::size_t>(i), i), {}});
  for (int i = 0; i < 3; ++i) mesh.addEdge({-1, 0, 3, i, (i + 1) % 3, 0, -1, {i, INT_MAX}});
  mesh.addFace({-1, 0, 3, 0, {0, 1, 2}, {2, 1, 0}});
  mesh.addFace({-1, 1, 4, -1, {}, {}});
  mesh.addPolygon({-1, -1, 0, 1, 0, 3, "GND", {0, 1, 2}, {0, 1, 2}});
  mesh.nodes[1].id = 77;  // ids are the program's: they are neither changed nor looked up
  mesh.edges[2].startNode = INT_MIN;
  mesh.addVia("via \"a\"", 5, 1, 2, 3, 0.5, 0.25);
  mesh.addVia("", -5, 1, 2, 3, 0, 0);
  mesh.addVia("via \"a\"", 5, 9, 9, 9, 9, 9);  // the same plane and name again
  return mesh;
}

/// Negative polygons, and numbers of vias in an order of their own.
inline void add_holes(Mesh2DPlat::SImesh2D& mesh) {
  mesh.viaMeshes = {{"z", {}}, {"a", {3, -1}}};
  for (const char* net : {"one", "two"}) mesh.addNegPolygon({-1, 1, -1, -1, 0, 3, net, {2, 1}, {0}});
}

}  // namespace TestSupport
