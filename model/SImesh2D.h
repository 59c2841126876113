// A two-dimensional mesh of the layers of a board: plain lists of elements that refer to one another by integer ids.
//
// The mesh owns its elements and its vias. Each kind counts its ids from 0, so an id that an `add` function has given
// is the element's position in its list; -1 names nothing. Lists filled by hand may carry any ids: nothing here looks
// them up. Coordinates and lengths have the unit of the layout objects. `layer` as a number is the id of a layout
// layer, `meshLayer` that of a mesh layer; nets and planes go by name. Nodes and edges of faces and polygons stand in
// order around the outline.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "model/ModelTypes.h"

namespace Mesh2DPlat {

/// A via as the mesh sees it: where it goes through one plane.
class SImeshVia {
 public:
  SImeshVia(int id, std::string name, int planeId, double x, double y, int layer, double ratio, double radius)
      : d_id(id),
        d_plane_id(planeId),
        d_layer(layer),
        d_name(std::move(name)),
        d_x(x),
        d_y(y),
        d_ratio(ratio),
        d_radius(radius) {}

  int id() const { return d_id; }
  const std::string& name() const { return d_name; }
  int planeId() const { return d_plane_id; }
  double x() const { return d_x; }
  double y() const { return d_y; }
  int layer() const { return d_layer; }
  /// The generator's own number for how much of the via counts in this plane; stored, never interpreted.
  double ratio() const { return d_ratio; }
  double radius() const { return d_radius; }

  bool operator==(const SImeshVia&) const = default;

 private:
  int d_id;
  int d_plane_id;
  int d_layer;
  std::string d_name;
  double d_x;
  double d_y;
  double d_ratio;
  double d_radius;
};

/// Movable, not copyable: pointers to its vias stay valid until the mesh is cleared, assigned to or destroyed.
class SImesh2D {
 public:
  struct Layer {
    int id = -1;
    std::string layer;  // name of the layout layer
    bool operator==(const Layer&) const = default;
  };

  struct Metal {
    int id = -1;
    int layer = -1;
    std::string name;
    std::vector<int> polygons;
    bool operator==(const Metal&) const = default;
  };

  struct Medium {
    int id = -1;
    int layer = -1;
    int upMetal = -1;
    int lowMetal = -1;
    std::vector<int> meshNodes;
    bool operator==(const Medium&) const = default;
  };

  struct MAShape {
    int id = -1;
    int type = 0;
    int metal = -1;
    double width = 0;
    double length = 0;
    std::vector<int> upNodes;
    std::vector<int> lowNodes;
    bool operator==(const MAShape&) const = default;
  };

  struct SpecialVoid {
    int id = -1;
    int layerId = -1;  // mesh layer
    int layer = -1;    // layout layer
    std::string net;
    std::vector<double> vertices;  // outline, x0 y0 x1 y1 ..., not closed
    bool operator==(const SpecialVoid&) const = default;
  };

  struct EMVertex {
    int id = -1;
    std::string name;
    double x = 0;
    double y = 0;
    int nodeLayer = -1;
    int connLayer = -1;
    std::string plane;
    std::string upPlane;   // empty: none
    std::string lowPlane;  // empty: none
    bool operator==(const EMVertex&) const = default;
  };

  struct Node {
    int id = -1;
    double x = 0;
    double y = 0;
    int layer = -1;
    std::vector<int> metalFaces;
    std::vector<int> mediumFaces;
    bool operator==(const Node&) const = default;
  };

  struct Edge {
    int id = -1;
    int meshLayer = -1;
    int layer = -1;
    int startNode = -1;
    int endNode = -1;
    int leftFace = -1;
    int rightFace = -1;
    std::vector<int> coEdges;  // edges of other layers or planes that lie on this one
    bool operator==(const Edge&) const = default;
  };

  struct Face {
    int id = -1;
    int meshLayer = -1;
    int layer = -1;
    int mediumPolygon = -1;
    std::vector<int> nodes;
    std::vector<int> edges;
    bool operator==(const Face&) const = default;
  };

  struct Polygon {
    int id = -1;
    int orientation = 0;  // the generator's sign for the way round; stored as it is
    int leftPolygon = -1;
    int rightPolygon = -1;
    int meshLayer = -1;
    int layer = -1;
    std::string net;
    std::vector<int> nodes;
    std::vector<int> edges;
    bool operator==(const Polygon&) const = default;
  };

  /// The numbers of one via in a row of meshes; it has no id.
  struct ViaMesh {
    std::string via;           // name
    std::vector<int> meshIds;  // -1: the via is not in that mesh
    bool operator==(const ViaMesh&) const = default;
  };

  std::vector<Layer> layers;
  std::vector<Metal> metals;
  std::vector<Medium> mediums;
  std::vector<MAShape> maShapes;
  std::vector<SpecialVoid> specialVoids;
  std::vector<EMVertex> emVertices;
  std::vector<Node> nodes;
  std::vector<Edge> edges;
  std::vector<Face> faces;
  std::vector<Polygon> polygons;
  std::vector<Polygon> negPolygons;  // holes, with ids of their own
  std::vector<ViaMesh> viaMeshes;

  /// Each appends one element, sets its id to its position and returns that.
  int addLayer(Layer layer) { return add(layers, std::move(layer)); }
  int addMetal(Metal metal) { return add(metals, std::move(metal)); }
  int addMedium(Medium medium) { return add(mediums, std::move(medium)); }
  int addMAShape(MAShape shape) { return add(maShapes, std::move(shape)); }
  int addSpecialVoid(SpecialVoid specialVoid) { return add(specialVoids, std::move(specialVoid)); }
  int addEMVertex(EMVertex vertex) { return add(emVertices, std::move(vertex)); }
  int addNode(Node node) { return add(nodes, std::move(node)); }
  int addEdge(Edge edge) { return add(edges, std::move(edge)); }
  int addFace(Face face) { return add(faces, std::move(face)); }
  int addPolygon(Polygon polygon) { return add(polygons, std::move(polygon)); }
  int addNegPolygon(Polygon polygon) { return add(negPolygons, std::move(polygon)); }
  void addViaMesh(ViaMesh viaMesh) { viaMeshes.push_back(std::move(viaMesh)); }

  /// Appends a via whose id is its position. The result belongs to the mesh.
  SImeshVia* addVia(std::string name, int planeId, double x, double y, int layer, double ratio, double radius) {
    const int id = static_cast<int>(d_vias.size());
    return adoptVia(std::make_unique<SImeshVia>(id, std::move(name), planeId, x, y, layer, ratio, radius));
  }

  /// Appends a via with the id that it already has.
  SImeshVia* adoptVia(std::unique_ptr<SImeshVia> via) { return d_vias.emplace_back(std::move(via)).get(); }

  const std::vector<std::unique_ptr<SImeshVia>>& vias() const { return d_vias; }
  void reserveVias(std::size_t count) { d_vias.reserve(count); }

  /// Destroys all elements and vias.
  void clear() { *this = SImesh2D(); }

  /// Element by element, id by id, in list order; vias by content.
  bool operator==(const SImesh2D& other) const {
    return layers == other.layers && metals == other.metals && mediums == other.mediums && maShapes == other.maShapes &&
           specialVoids == other.specialVoids && emVertices == other.emVertices && nodes == other.nodes &&
           edges == other.edges && faces == other.faces && polygons == other.polygons &&
           negPolygons == other.negPolygons && viaMeshes == other.viaMeshes && same_vias(other);
  }

 private:
  template <class Element>
  static int add(std::vector<Element>& list, Element element) {
    element.id = static_cast<int>(list.size());
    list.push_back(std::move(element));
    return list.back().id;
  }

  bool same_vias(const SImesh2D& other) const {
    return std::equal(d_vias.begin(), d_vias.end(), other.d_vias.begin(), other.d_vias.end(),
                      [](const auto& left, const auto& right) { return *left == *right; });
  }

  std::vector<std::unique_ptr<SImeshVia>> d_vias;  // never null
};

}  // namespace Mesh2DPlat
