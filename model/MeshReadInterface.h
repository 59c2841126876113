// What a program may say and hear while a mesh with negative polygons is read.
//
// A reader answers for the ids of layout layers and nets, and is told of each negative polygon and, if it wants them,
// of each layout shape in the mesh file. Every operation has a default that does nothing, so a program overrides what
// it needs. The reader must live through the read; pointers that it returns stay the program's.
#pragma once

#include <cstddef>
#include <memory>

#include "model/EM2D.h"
#include "model/ModelTypes.h"

namespace Mesh2DPlat {

class MeshReadInterface {
 public:
  virtual ~MeshReadInterface() = default;

  /// The program's layer or net with this id; null is taken over as it is.
  virtual EM2DLayer* layer(int /*id*/) { return nullptr; }
  virtual EM2DNet* net(int /*id*/) { return nullptr; }

  /// Asked once. While it is false, the file's shapes are not built.
  virtual bool wantsShapes() const { return false; }

  /// Takes over one shape, in file order. The default lets it go.
  virtual void shapeRead(std::unique_ptr<EM2DShape> /*shape*/) {}

  /// `mesh.negPolygons[position]` has just been filled; later ones have not.
  virtual void negPolygonRead(SImesh2D& /*mesh*/, std::size_t /*position*/) {}
};

}  // namespace Mesh2DPlat
