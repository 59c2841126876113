// The names of this program's object types, in place of the library's header of the same name.
#pragma once

namespace Board {

struct Layer;
struct Net;
struct Signal;
struct Point;
struct Track;
struct Hole;
struct Slot;
struct Area;
struct Part;
class Settings;
struct Listener;

}  // namespace Board

namespace Mesh2DPlat {

using EM2DLayer = Board::Layer;
using EM2DNet = Board::Net;
using EM2DSignal = Board::Signal;
using EM2DVertex = Board::Point;
using EM2DTrace = Board::Track;
using EM2DVia = Board::Hole;
using EM2DPolyVia = Board::Slot;
using EM2DShape = Board::Area;
using EM2DCircuit = Board::Part;
using SImeshConfig = Board::Settings;
using MeshReadInterface = Board::Listener;

// The mesh is the library's own (model/SImesh2D.h).
class SImesh2D;
class SImeshVia;

}  // namespace Mesh2DPlat
