// Object <-> row: the one place that names members of the caller's object types.
//
// row_of() copies what is stored of an object into a row that views the object's texts and lists. make_*() builds a new
// object from a row and the objects that it refers to. A program with object types of its own replaces this header
// together with model/ModelTypes.h (build option CORVANE_MODEL_DIR); the functions here and in MeshAccess.h are all
// that the library uses, and one that is missing is named when the library is compiled (Model.h). examples/own_model is
// a program that does so.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "facade/MeshAccess.h"
#include "facade/ModelBinding.h"
#include "model/EM2D.h"
#include "model/MeshReadInterface.h"
#include "model/SImeshConfig.h"

namespace Mesh2DPlat::ModelAccess {

// --- objects with an id or a name ---
inline EM2DLayerProxy row_of(const EM2DLayer& layer) { return {layer.id(), layer.name(), layer.z()}; }
inline std::unique_ptr<EM2DLayer> make_layer(const EM2DLayerProxy& row) {
  return std::make_unique<EM2DLayer>(row.id, std::string(row.name), row.z);
}

inline EM2DNetProxy row_of(const EM2DNet& net) {
  return {net.id(), static_cast<EM2DNetProxy::eType>(net.type()), net.name()};
}
inline std::unique_ptr<EM2DNet> make_net(const EM2DNetProxy& row) {
  return std::make_unique<EM2DNet>(row.id, static_cast<EM2DNet::Type>(row.type), std::string(row.name));
}

inline EM2DSignalProxy row_of(const EM2DSignal& signal) {
  const EM2DLayer* patch = signal.patchLayer();
  return {signal.id(), signal.name(), signal.z(), patch == nullptr ? -1 : patch->id()};
}
inline std::unique_ptr<EM2DSignal> make_signal(const EM2DSignalProxy& row, EM2DLayer* patch) {
  return std::make_unique<EM2DSignal>(row.id, std::string(row.name), row.z, patch);
}

inline std::string_view name_of(const EM2DLayer* layer) {
  return layer == nullptr ? std::string_view() : std::string_view(layer->name());
}
inline EM2DVertexProxy row_of(const EM2DVertex& vertex) {
  return {vertex.id(),
          vertex.name(),
          vertex.x(),
          vertex.y(),
          vertex.z(),
          vertex.type(),
          name_of(vertex.layer()),
          name_of(vertex.upLayer()),
          name_of(vertex.lowLayer()),
          vertex.options()};
}
inline std::unique_ptr<EM2DVertex> make_vertex(const EM2DVertexProxy& row, EM2DLayer* layer, EM2DLayer* upper,
                                               EM2DLayer* lower) {
  return std::make_unique<EM2DVertex>(row.id, std::string(row.name), row.x, row.y, row.z, row.type, layer, upper, lower,
                                      row.options);
}

// --- objects between two vertices ---
inline EM2DTraceProxy row_of(const EM2DTrace& trace) {
  return {trace.name(), present(trace.net(), "net", trace.name()).id(),
          present(trace.startVertex(), "start vertex", trace.name()).id(),
          present(trace.endVertex(), "end vertex", trace.name()).id(), trace.option()};
}
inline std::unique_ptr<EM2DTrace> make_trace(const EM2DTraceProxy& row, EM2DNet* net, EM2DVertex* start,
                                             EM2DVertex* end) {
  return std::make_unique<EM2DTrace>(std::string(row.name), net, start, end, row.option);
}

inline EM2DViaProxy row_of(const EM2DVia& via) {
  return {via.name(), present(via.net(), "net", via.name()).id(),
          present(via.startVertex(), "start vertex", via.name()).id(),
          present(via.endVertex(), "end vertex", via.name()).id(), via.radius()};
}
inline std::unique_ptr<EM2DVia> make_via(const EM2DViaProxy& row, EM2DNet* net, EM2DVertex* start, EM2DVertex* end) {
  return std::make_unique<EM2DVia>(std::string(row.name), net, start, end, row.r);
}

inline EM2DPolyViaProxy row_of(const EM2DPolyVia& via) {
  return {via.name(),
          present(via.net(), "net", via.name()).id(),
          present(via.startVertex(), "start vertex", via.name()).id(),
          present(via.endVertex(), "end vertex", via.name()).id(),
          static_cast<EM2DPolyViaProxy::ePolyType>(via.polyType()),
          via.coordinates()};
}
inline std::unique_ptr<EM2DPolyVia> make_poly_via(const EM2DPolyViaProxy& row, EM2DNet* net, EM2DVertex* start,
                                                  EM2DVertex* end) {
  return std::make_unique<EM2DPolyVia>(std::string(row.name), net, start, end,
                                       static_cast<EM2DPolyVia::PolyType>(row.polytype), row.coord.to_vector());
}

// --- areas and parts ---
inline EM2DShapeProxy row_of(const EM2DShape& shape) {
  return {shape.name(),
          present(shape.layer(), "layer", shape.name()).id(),
          present(shape.net(), "net", shape.name()).id(),
          static_cast<EM2DShapeProxy::eType>(shape.type()),
          shape.option(),
          shape.coordinates()};
}
inline std::unique_ptr<EM2DShape> make_shape(const EM2DShapeProxy& row, EM2DLayer* layer, EM2DNet* net) {
  return std::make_unique<EM2DShape>(std::string(row.name), layer, net, static_cast<EM2DShape::Type>(row.type),
                                     row.option, row.vertexs.to_vector());
}

/// The lists of a circuit's row are not filled here: they belong to the pin table.
inline EM2DCircuitProxy row_of(const EM2DCircuit& circuit) { return {circuit.name(), {}, {}, circuit.option()}; }
inline std::unique_ptr<EM2DCircuit> make_circuit(std::string_view name) {
  return std::make_unique<EM2DCircuit>(std::string(name));
}
inline std::size_t pin_count(const EM2DCircuit& circuit) { return circuit.pins().size(); }
/// Calls visit(name, vertex id) for every pin entry in order.
template <class Visitor>
void visit_pins(const EM2DCircuit& circuit, Visitor&& visit) {
  for (const auto& [name, vertex] : circuit.pins()) {
    visit(std::string_view(name), present(vertex, "vertex at one of its pins", circuit.name()).id());
  }
}
inline void add_pin(EM2DCircuit& circuit, std::string_view name, EM2DVertex* vertex) {
  circuit.addPin(std::string(name), vertex);
}
inline void set_option(EM2DCircuit& circuit, int option) { circuit.setOption(option); }

/// By which the numbers of vias are stored.
inline std::string_view name_of(const EM2DVia& via) { return via.name(); }

// --- what a program says and hears while a mesh is read ---
inline EM2DLayer* layer_of(MeshReadInterface& reader, int id) { return reader.layer(id); }
inline EM2DNet* net_of(MeshReadInterface& reader, int id) { return reader.net(id); }
inline bool wants_shapes(const MeshReadInterface& reader) { return reader.wantsShapes(); }
inline void shape_read(MeshReadInterface& reader, std::unique_ptr<EM2DShape> shape) {
  reader.shapeRead(std::move(shape));
}
inline void neg_polygon_read(MeshReadInterface& reader, SImesh2D& mesh, std::size_t position) {
  reader.negPolygonRead(mesh, position);
}

// --- settings ---
/// One setting<"name">(getter, setter) for each, in any order.
constexpr auto settings(Settings) {
  using C = SImeshConfig;
  return std::make_tuple(setting<"thetamin">(&C::thetamin, &C::setThetamin),
                         setting<"simplifyAngle">(&C::simplifyAngle, &C::setSimplifyAngle),
                         setting<"maxEdgeLen">(&C::maxEdgeLen, &C::setMaxEdgeLen),
                         setting<"minEdgeLen">(&C::minEdgeLen, &C::setMinEdgeLen),
                         setting<"smallHoleThreshold">(&C::smallHoleThreshold, &C::setSmallHoleThreshold),
                         setting<"alignAbsorb">(&C::alignAbsorb, &C::setAlignAbsorb),
                         setting<"calcPrecision">(&C::calcPrecision, &C::setCalcPrecision),
                         setting<"compPrecision">(&C::compPrecision, &C::setCompPrecision),
                         setting<"calcPrecision2">(&C::calcPrecision2, &C::setCalcPrecision2),
                         setting<"geomPrecision">(&C::geomPrecision, &C::setGeomPrecision),
                         setting<"mesheps">(&C::mesheps, &C::setMesheps),
                         setting<"calcPrecisionFor1AndT">(&C::calcPrecisionFor1AndT, &C::setCalcPrecisionFor1AndT),
                         setting<"refdistance">(&C::refdistance, &C::setRefdistance),
                         setting<"customCpuNum">(&C::customCpuNum, &C::setCustomCpuNum),
                         setting<"mode">(&C::mode, &C::setMode), setting<"ppid">(&C::ppid, &C::setPpid),
                         setting<"option">(&C::option, &C::setOption),
                         setting<"resourceFile">(&C::resourceFile, &C::setResourceFile),
                         setting<"runTimeErrorFile">(&C::runTimeErrorFile, &C::setRunTimeErrorFile),
                         setting<"winContentFile">(&C::winContentFile, &C::setWinContentFile),
                         setting<"casefile">(&C::casefile, &C::setCasefile));
}

}  // namespace Mesh2DPlat::ModelAccess
