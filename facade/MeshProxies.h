// The row structures of the mesh tables: what is stored of each kind of mesh element.
//
// Members stand in the order of the columns. Elements refer to one another by integer ids, -1 for none. Rows own
// nothing: texts and lists are views of the caller's mesh while rows are written, of the columns while they are read.
#pragma once

#include <memory>
#include <string_view>
#include <tuple>

#include "facade/RowFields.h"
#include "util/USpan.h"

namespace Mesh2DPlat {

struct MeshNodeProxy {
  int id = 0;
  double x = 0;
  double y = 0;
  int layer = 0;
  Util::USpan<int> metalface;
  Util::USpan<int> mediumface;

  static constexpr const char* kTable = "meshnode";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MeshNodeProxy::id), row_field("x", &MeshNodeProxy::x),
                           row_field("y", &MeshNodeProxy::y), row_field("layer", &MeshNodeProxy::layer),
                           row_field("metalface", &MeshNodeProxy::metalface),
                           row_field("mediumface", &MeshNodeProxy::mediumface));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshNodeProxy>> class_schema() { return declare_rows<MeshNodeProxy>(); }
};

struct MeshEdgeProxy {
  int id = 0;
  int meshlayer = 0;
  int layer = 0;
  int startnode = 0;
  int endnode = 0;
  int leftface = 0;
  int rightface = 0;
  Util::USpan<int> coedge;

  static constexpr const char* kTable = "meshedge";
  static constexpr auto fields() {
    return std::make_tuple(
        row_field("id", &MeshEdgeProxy::id), row_field("meshlayer", &MeshEdgeProxy::meshlayer),
        row_field("layer", &MeshEdgeProxy::layer), row_field("startnode", &MeshEdgeProxy::startnode),
        row_field("endnode", &MeshEdgeProxy::endnode), row_field("leftface", &MeshEdgeProxy::leftface),
        row_field("rightface", &MeshEdgeProxy::rightface), row_field("coedge", &MeshEdgeProxy::coedge));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshEdgeProxy>> class_schema() { return declare_rows<MeshEdgeProxy>(); }
};

struct MeshFaceProxy {
  int id = 0;
  int meshlayer = 0;
  int layer = 0;
  int mediumpoly = 0;
  Util::USpan<int> node;
  Util::USpan<int> edge;

  static constexpr const char* kTable = "meshface";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MeshFaceProxy::id), row_field("meshlayer", &MeshFaceProxy::meshlayer),
                           row_field("layer", &MeshFaceProxy::layer),
                           row_field("mediumpoly", &MeshFaceProxy::mediumpoly), row_field("node", &MeshFaceProxy::node),
                           row_field("edge", &MeshFaceProxy::edge));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshFaceProxy>> class_schema() { return declare_rows<MeshFaceProxy>(); }
};

struct MeshPolygonProxy {
  int id = 0;
  int orientation = 0;
  int leftpoly = 0;
  int rightpoly = 0;
  int meshlayer = 0;
  int layer = 0;
  std::string_view net;
  Util::USpan<int> node;
  Util::USpan<int> edge;

  static constexpr const char* kTable = "meshpolygon";
  static constexpr auto fields() {
    return std::make_tuple(
        row_field("id", &MeshPolygonProxy::id), row_field("orientation", &MeshPolygonProxy::orientation),
        row_field("leftpoly", &MeshPolygonProxy::leftpoly), row_field("rightpoly", &MeshPolygonProxy::rightpoly),
        row_field("meshlayer", &MeshPolygonProxy::meshlayer), row_field("layer", &MeshPolygonProxy::layer),
        row_field("net", &MeshPolygonProxy::net), row_field("node", &MeshPolygonProxy::node),
        row_field("edge", &MeshPolygonProxy::edge));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshPolygonProxy>> class_schema() {
    return declare_rows<MeshPolygonProxy>();
  }
};

struct MeshLayerProxy {
  int id = 0;
  std::string_view layer;

  static constexpr const char* kTable = "meshlayer";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MeshLayerProxy::id), row_field("layer", &MeshLayerProxy::layer));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshLayerProxy>> class_schema() { return declare_rows<MeshLayerProxy>(); }
};

struct MeshMediumProxy {
  int id = 0;
  int layer = 0;
  int upmetal = 0;
  int lowmetal = 0;
  Util::USpan<int> meshnode;

  static constexpr const char* kTable = "meshmedium";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MeshMediumProxy::id), row_field("layer", &MeshMediumProxy::layer),
                           row_field("upmetal", &MeshMediumProxy::upmetal),
                           row_field("lowmetal", &MeshMediumProxy::lowmetal),
                           row_field("meshnode", &MeshMediumProxy::meshnode));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshMediumProxy>> class_schema() {
    return declare_rows<MeshMediumProxy>();
  }
};

struct MeshMetalProxy {
  int id = 0;
  int layer = 0;
  std::string_view name;
  Util::USpan<int> polygon;

  static constexpr const char* kTable = "meshmetal";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MeshMetalProxy::id), row_field("layer", &MeshMetalProxy::layer),
                           row_field("name", &MeshMetalProxy::name), row_field("polygon", &MeshMetalProxy::polygon));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshMetalProxy>> class_schema() { return declare_rows<MeshMetalProxy>(); }
};

struct MeshViaProxy {
  int id = 0;
  std::string_view name;
  int planeid = 0;
  double x = 0;
  double y = 0;
  int layer = 0;
  double ratio = 0;
  double radius = 0;

  static constexpr const char* kTable = "meshvia";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MeshViaProxy::id), row_field("name", &MeshViaProxy::name),
                           row_field("planeid", &MeshViaProxy::planeid), row_field("x", &MeshViaProxy::x),
                           row_field("y", &MeshViaProxy::y), row_field("layer", &MeshViaProxy::layer),
                           row_field("ratio", &MeshViaProxy::ratio), row_field("radius", &MeshViaProxy::radius));
  }
  static std::shared_ptr<ZyData::ClassSchema<MeshViaProxy>> class_schema() { return declare_rows<MeshViaProxy>(); }
};

struct ViaMeshProxy {
  std::string_view via;
  Util::USpan<int> meshid;

  static constexpr const char* kTable = "viamesh";
  static constexpr auto fields() {
    return std::make_tuple(row_field("via", &ViaMeshProxy::via), row_field("meshid", &ViaMeshProxy::meshid));
  }
  static std::shared_ptr<ZyData::ClassSchema<ViaMeshProxy>> class_schema() { return declare_rows<ViaMeshProxy>(); }
};

struct SpecialVoidProxy {
  int id = 0;
  int layerid = 0;
  int layer = 0;
  std::string_view net;
  Util::USpan<double> vertex;

  static constexpr const char* kTable = "specialvoid";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &SpecialVoidProxy::id), row_field("layerid", &SpecialVoidProxy::layerid),
                           row_field("layer", &SpecialVoidProxy::layer), row_field("net", &SpecialVoidProxy::net),
                           row_field("vertex", &SpecialVoidProxy::vertex));
  }
  static std::shared_ptr<ZyData::ClassSchema<SpecialVoidProxy>> class_schema() {
    return declare_rows<SpecialVoidProxy>();
  }
};

struct MAShapeProxy {
  int id = 0;
  int type = 0;
  int metal = 0;
  double width = 0;
  double length = 0;
  Util::USpan<int> upnode;
  Util::USpan<int> lownode;

  static constexpr const char* kTable = "mashape";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &MAShapeProxy::id), row_field("type", &MAShapeProxy::type),
                           row_field("metal", &MAShapeProxy::metal), row_field("width", &MAShapeProxy::width),
                           row_field("length", &MAShapeProxy::length), row_field("upnode", &MAShapeProxy::upnode),
                           row_field("lownode", &MAShapeProxy::lownode));
  }
  static std::shared_ptr<ZyData::ClassSchema<MAShapeProxy>> class_schema() { return declare_rows<MAShapeProxy>(); }
};

struct EMMeshVertexProxy {
  int id = 0;
  std::string_view name;
  double x = 0;
  double y = 0;
  int nodelayer = 0;
  int connlayer = 0;
  std::string_view plane;
  std::string_view upplane;
  std::string_view lowplane;

  static constexpr const char* kTable = "emmeshvertex";
  static constexpr auto fields() {
    return std::make_tuple(
        row_field("id", &EMMeshVertexProxy::id), row_field("name", &EMMeshVertexProxy::name),
        row_field("x", &EMMeshVertexProxy::x), row_field("y", &EMMeshVertexProxy::y),
        row_field("nodelayer", &EMMeshVertexProxy::nodelayer), row_field("connlayer", &EMMeshVertexProxy::connlayer),
        row_field("plane", &EMMeshVertexProxy::plane), row_field("upplane", &EMMeshVertexProxy::upplane),
        row_field("lowplane", &EMMeshVertexProxy::lowplane));
  }
  static std::shared_ptr<ZyData::ClassSchema<EMMeshVertexProxy>> class_schema() {
    return declare_rows<EMMeshVertexProxy>();
  }
};

/// Enters the row structures of the mesh tables in the type registries. Again is no error.
void register_mesh_types();

}  // namespace Mesh2DPlat
