// Mesh <-> rows, for the mesh of model/SImesh2D.h. A program with layout objects of its own may keep this mesh: its
// ModelAccess.h then includes this header.
#pragma once

#include <memory>
#include <string>

#include "facade/ModelBinding.h"
#include "model/SImesh2D.h"

namespace Mesh2DPlat::ModelAccess {

/// The elements of one kind, in order. row_of() takes each; element_of() makes one of a row.
inline auto& list(auto& mesh, Elements<MeshLayerProxy>) { return mesh.layers; }
inline auto& list(auto& mesh, Elements<MeshMetalProxy>) { return mesh.metals; }
inline auto& list(auto& mesh, Elements<MeshMediumProxy>) { return mesh.mediums; }
inline auto& list(auto& mesh, Elements<MAShapeProxy>) { return mesh.maShapes; }
inline auto& list(auto& mesh, Elements<SpecialVoidProxy>) { return mesh.specialVoids; }
inline auto& list(auto& mesh, Elements<ViaMeshProxy>) { return mesh.viaMeshes; }
inline auto& list(auto& mesh, Elements<EMMeshVertexProxy>) { return mesh.emVertices; }
inline auto& list(auto& mesh, Elements<MeshNodeProxy>) { return mesh.nodes; }
inline auto& list(auto& mesh, Elements<MeshEdgeProxy>) { return mesh.edges; }
inline auto& list(auto& mesh, Elements<MeshFaceProxy>) { return mesh.faces; }
inline auto& list(auto& mesh, Elements<MeshPolygonProxy>) { return mesh.polygons; }
inline auto& negative_polygons(auto& mesh) { return mesh.negPolygons; }
inline const auto& vias(const SImesh2D& mesh) { return mesh.vias(); }

inline MeshLayerProxy row_of(const SImesh2D::Layer& layer) { return {layer.id, layer.layer}; }
inline SImesh2D::Layer element_of(const MeshLayerProxy& row) { return {row.id, std::string(row.layer)}; }

inline MeshMetalProxy row_of(const SImesh2D::Metal& metal) {
  return {metal.id, metal.layer, metal.name, metal.polygons};
}
inline SImesh2D::Metal element_of(const MeshMetalProxy& row) {
  return {row.id, row.layer, std::string(row.name), row.polygon.to_vector()};
}

inline MeshMediumProxy row_of(const SImesh2D::Medium& medium) {
  return {medium.id, medium.layer, medium.upMetal, medium.lowMetal, medium.meshNodes};
}
inline SImesh2D::Medium element_of(const MeshMediumProxy& row) {
  return {row.id, row.layer, row.upmetal, row.lowmetal, row.meshnode.to_vector()};
}

inline MAShapeProxy row_of(const SImesh2D::MAShape& shape) {
  return {shape.id, shape.type, shape.metal, shape.width, shape.length, shape.upNodes, shape.lowNodes};
}
inline SImesh2D::MAShape element_of(const MAShapeProxy& row) {
  return {row.id, row.type, row.metal, row.width, row.length, row.upnode.to_vector(), row.lownode.to_vector()};
}

inline SpecialVoidProxy row_of(const SImesh2D::SpecialVoid& area) {
  return {area.id, area.layerId, area.layer, area.net, area.vertices};
}
inline SImesh2D::SpecialVoid element_of(const SpecialVoidProxy& row) {
  return {row.id, row.layerid, row.layer, std::string(row.net), row.vertex.to_vector()};
}

inline ViaMeshProxy row_of(const SImesh2D::ViaMesh& numbers) { return {numbers.via, numbers.meshIds}; }
inline SImesh2D::ViaMesh element_of(const ViaMeshProxy& row) { return {std::string(row.via), row.meshid.to_vector()}; }

inline MeshViaProxy row_of(const SImeshVia& via) {
  return {via.id(), via.name(), via.planeId(), via.x(), via.y(), via.layer(), via.ratio(), via.radius()};
}
/// Appends a via, which belongs to the mesh.
inline SImeshVia* add_via(SImesh2D& mesh, const MeshViaProxy& row) {
  return mesh.adoptVia(std::make_unique<SImeshVia>(row.id, std::string(row.name), row.planeid, row.x, row.y, row.layer,
                                                   row.ratio, row.radius));
}

inline EMMeshVertexProxy row_of(const SImesh2D::EMVertex& vertex) {
  return {vertex.id,        vertex.name,  vertex.x,       vertex.y,       vertex.nodeLayer,
          vertex.connLayer, vertex.plane, vertex.upPlane, vertex.lowPlane};
}
inline SImesh2D::EMVertex element_of(const EMMeshVertexProxy& row) {
  return {row.id,
          std::string(row.name),
          row.x,
          row.y,
          row.nodelayer,
          row.connlayer,
          std::string(row.plane),
          std::string(row.upplane),
          std::string(row.lowplane)};
}

inline MeshNodeProxy row_of(const SImesh2D::Node& node) {
  return {node.id, node.x, node.y, node.layer, node.metalFaces, node.mediumFaces};
}
inline SImesh2D::Node element_of(const MeshNodeProxy& row) {
  return {row.id, row.x, row.y, row.layer, row.metalface.to_vector(), row.mediumface.to_vector()};
}

inline MeshEdgeProxy row_of(const SImesh2D::Edge& edge) {
  return {edge.id,      edge.meshLayer, edge.layer,     edge.startNode,
          edge.endNode, edge.leftFace,  edge.rightFace, edge.coEdges};
}
inline SImesh2D::Edge element_of(const MeshEdgeProxy& row) {
  return {row.id,      row.meshlayer, row.layer,     row.startnode,
          row.endnode, row.leftface,  row.rightface, row.coedge.to_vector()};
}

inline MeshFaceProxy row_of(const SImesh2D::Face& face) {
  return {face.id, face.meshLayer, face.layer, face.mediumPolygon, face.nodes, face.edges};
}
inline SImesh2D::Face element_of(const MeshFaceProxy& row) {
  return {row.id, row.meshlayer, row.layer, row.mediumpoly, row.node.to_vector(), row.edge.to_vector()};
}

inline MeshPolygonProxy row_of(const SImesh2D::Polygon& polygon) {
  return {polygon.id,    polygon.orientation, polygon.leftPolygon, polygon.rightPolygon, polygon.meshLayer,
          polygon.layer, polygon.net,         polygon.nodes,       polygon.edges};
}
inline SImesh2D::Polygon element_of(const MeshPolygonProxy& row) {
  return {row.id,    row.orientation,      row.leftpoly,         row.rightpoly,       row.meshlayer,
          row.layer, std::string(row.net), row.node.to_vector(), row.edge.to_vector()};
}

}  // namespace Mesh2DPlat::ModelAccess
