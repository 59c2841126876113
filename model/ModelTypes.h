// The names of a program's own object types, without their members.
//
// The database is declared with pointers to these types only. A program with types of its own puts a header of this
// name, with forward declarations or aliases, before this one.
#pragma once

namespace Mesh2DPlat {

class EM2DLayer;
class EM2DNet;
class EM2DSignal;
class EM2DVertex;
class EM2DTrace;
class EM2DVia;
class EM2DPolyVia;
class EM2DShape;
class EM2DCircuit;

class SImeshConfig;
class SImesh2D;
class SImeshVia;
class MeshReadInterface;

}  // namespace Mesh2DPlat
