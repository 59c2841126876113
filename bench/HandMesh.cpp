#include "bench/HandMesh.h"

namespace CorvaneBench {
namespace {

using Mesh2DPlat::SImesh2D;

void write_nodes(const SImesh2D& mesh, NodeColumns& to) {
  to.metal_faces.start();
  to.medium_faces.start();
  for (const SImesh2D::Node& node : mesh.nodes) {
    to.id.push(node.id);
    to.x.push(node.x);
    to.y.push(node.y);
    to.layer.push(node.layer);
    to.metal_faces.push(node.metalFaces);
    to.medium_faces.push(node.mediumFaces);
  }
}

void write_edges(const SImesh2D& mesh, EdgeColumns& to) {
  to.co_edges.start();
  for (const SImesh2D::Edge& edge : mesh.edges) {
    to.id.push(edge.id);
    to.mesh_layer.push(edge.meshLayer);
    to.layer.push(edge.layer);
    to.start.push(edge.startNode);
    to.end.push(edge.endNode);
    to.left.push(edge.leftFace);
    to.right.push(edge.rightFace);
    to.co_edges.push(edge.coEdges);
  }
}

void write_faces(const SImesh2D& mesh, FaceColumns& to) {
  to.nodes.start();
  to.edges.start();
  for (const SImesh2D::Face& face : mesh.faces) {
    to.id.push(face.id);
    to.mesh_layer.push(face.meshLayer);
    to.layer.push(face.layer);
    to.medium_polygon.push(face.mediumPolygon);
    to.nodes.push(face.nodes);
    to.edges.push(face.edges);
  }
}

std::vector<int> list(const RunView<int>& runs, std::size_t row) { return {runs.begin(row), runs.end(row)}; }

void read_nodes(const NodeColumns& from, std::vector<SImesh2D::Node>& to) {
  const int *id = from.id.data(), *layer = from.layer.data();
  const double *x = from.x.data(), *y = from.y.data();
  const RunView<int> metal(from.metal_faces), medium(from.medium_faces);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i)
    to.push_back({id[i], x[i], y[i], layer[i], list(metal, i), list(medium, i)});
}

void read_edges(const EdgeColumns& from, std::vector<SImesh2D::Edge>& to) {
  const int *id = from.id.data(), *mesh_layer = from.mesh_layer.data(), *layer = from.layer.data();
  const int *start = from.start.data(), *end = from.end.data();
  const int *left = from.left.data(), *right = from.right.data();
  const RunView<int> co_edges(from.co_edges);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i)
    to.push_back({id[i], mesh_layer[i], layer[i], start[i], end[i], left[i], right[i], list(co_edges, i)});
}

void read_faces(const FaceColumns& from, std::vector<SImesh2D::Face>& to) {
  const int *id = from.id.data(), *mesh_layer = from.mesh_layer.data(), *layer = from.layer.data();
  const int* medium_polygon = from.medium_polygon.data();
  const RunView<int> nodes(from.nodes), edges(from.edges);
  to.reserve(from.id.size());
  for (std::size_t i = 0; i < from.id.size(); ++i)
    to.push_back({id[i], mesh_layer[i], layer[i], medium_polygon[i], list(nodes, i), list(edges, i)});
}

}  // namespace

std::vector<Block*> HandMesh::blocks() {
  std::vector<Block*> all{&nodes.id, &nodes.x, &nodes.y, &nodes.layer};
  const auto add_runs = [&](RunColumn<int>& runs) { all.insert(all.end(), {&runs.offsets, &runs.values}); };
  add_runs(nodes.metal_faces);
  add_runs(nodes.medium_faces);
  all.insert(all.end(),
             {&edges.id, &edges.mesh_layer, &edges.layer, &edges.start, &edges.end, &edges.left, &edges.right});
  add_runs(edges.co_edges);
  all.insert(all.end(), {&faces.id, &faces.mesh_layer, &faces.layer, &faces.medium_polygon});
  add_runs(faces.nodes);
  add_runs(faces.edges);
  return all;
}

void write_by_hand(const SImesh2D& mesh, HandMesh& columns) {
  write_nodes(mesh, columns.nodes);
  write_edges(mesh, columns.edges);
  write_faces(mesh, columns.faces);
}

void read_by_hand(const HandMesh& columns, SImesh2D& mesh) {
  read_nodes(columns.nodes, mesh.nodes);
  read_edges(columns.edges, mesh.edges);
  read_faces(columns.faces, mesh.faces);
}

}  // namespace CorvaneBench
