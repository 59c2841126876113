// Small layouts for tests of the mesher.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tools/corvane/layout/Layout.h"
#include "tools/mesher/Mesher.h"

namespace MesherTests {

using CorvaneTool::Layout;
using Mesh2DPlat::EM2DShape;

/// Layers "TOP", "MID" and "BOTTOM", nets 0 (none), 1 "GND" and 2 "SIG"; edges of 0.05 to 1 mm.
inline Layout empty_layout() {
  Layout layout;
  int id = 10;
  for (const char* name : {"TOP", "MID", "BOTTOM"}) layout.layers.make(id++, name, 1.0);
  layout.nets.make(0, Mesh2DPlat::EM2DNet::Type::None, "");
  layout.nets.make(1, Mesh2DPlat::EM2DNet::Type::Power, "GND");
  layout.nets.make(2, Mesh2DPlat::EM2DNet::Type::Signal, "SIG");
  layout.config.setMaxEdgeLen(1);
  layout.config.setMinEdgeLen(0.05);
  return layout;
}

inline void add_shape(Layout& layout, int layer, int net, EM2DShape::Type type, std::vector<double> corners) {
  layout.shapes.make("S" + std::to_string(layout.shapes.size()), layout.layers[layer], layout.nets[net], type, 0,
                     std::move(corners));
}

inline std::vector<double> rectangle(double x1, double y1, double x2, double y2) {
  return {x1, y1, x2, y1, x2, y2, x1, y2};
}

/// A square of 10 mm with a square hole of 2 mm in its middle, as one ring with a bridge that has no width.
inline std::vector<double> square_with_hole() {
  return {0, 0, 10, 0, 10, 10, 0, 10, 0, 4, 4, 4, 4, 6, 6, 6, 6, 4, 4, 4, 0, 4};
}

inline Mesh2DPlat::EM2DVertex* add_vertex(Layout& layout, double x, double y, int layer) {
  const int id = static_cast<int>(layout.vertices.size());
  return layout.vertices.make(id, "v" + std::to_string(id), x, y, 1.0, 0, layout.layers[layer], nullptr, nullptr, 0);
}

inline void add_via(Layout& layout, int net, double x, double y, int top, int bottom, double radius) {
  Mesh2DPlat::EM2DVertex* const start = add_vertex(layout, x, y, top);
  layout.vias.make("V" + std::to_string(layout.vias.size()), layout.nets[net], start, add_vertex(layout, x, y, bottom),
                   radius);
}

struct Meshed {
  CorvaneMesher::BoardMesh board;
  CorvaneMesher::MeshReport report;
};

inline Meshed mesh(const Layout& layout, const CorvaneMesher::MeshLimits& limits = {}) {
  Meshed result;
  CorvaneMesher::Phases phases;
  result.board = CorvaneMesher::mesh_layout(layout, {.limits = limits}, result.report, phases);
  return result;
}

}  // namespace MesherTests
