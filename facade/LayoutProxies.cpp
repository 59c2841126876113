#include "facade/LayoutProxies.h"

namespace Mesh2DPlat {

void register_layout_types() {
  ZyData::register_type<EM2DNetProxy::eType>();
  ZyData::register_type<EM2DPolyViaProxy::ePolyType>();
  ZyData::register_type<EM2DShapeProxy::eType>();
  ZyData::register_class_type<EM2DPin>();
  ZyData::register_class_type<EM2DCircuitProxy>();
  ZyData::register_class_type<EM2DLayerProxy>();
  ZyData::register_class_type<EM2DNetProxy>();
  ZyData::register_class_type<EM2DSignalProxy>();
  ZyData::register_class_type<EM2DTraceProxy>();
  ZyData::register_class_type<EM2DVertexProxy>();
  ZyData::register_class_type<EM2DViaProxy>();
  ZyData::register_class_type<EM2DPolyViaProxy>();
  ZyData::register_class_type<EM2DShapeProxy>();
}

}  // namespace Mesh2DPlat
