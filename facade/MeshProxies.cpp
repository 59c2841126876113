#include "facade/MeshProxies.h"

namespace Mesh2DPlat {

void register_mesh_types() {
  ZyData::register_class_type<MeshNodeProxy>();
  ZyData::register_class_type<MeshEdgeProxy>();
  ZyData::register_class_type<MeshFaceProxy>();
  ZyData::register_class_type<MeshPolygonProxy>();
  ZyData::register_class_type<MeshLayerProxy>();
  ZyData::register_class_type<MeshMediumProxy>();
  ZyData::register_class_type<MeshMetalProxy>();
  ZyData::register_class_type<MeshViaProxy>();
  ZyData::register_class_type<ViaMeshProxy>();
  ZyData::register_class_type<SpecialVoidProxy>();
  ZyData::register_class_type<MAShapeProxy>();
  ZyData::register_class_type<EMMeshVertexProxy>();
}

}  // namespace Mesh2DPlat
