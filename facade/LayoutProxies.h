// The row structures of the layout tables: what is stored of each kind of layout object.
//
// Members stand in the order of the columns. Rows own nothing: texts and lists are views of the caller's objects while
// rows are written, of the columns while they are read. Enumerations are the caller's own; their integers are copied
// and never interpreted.
#pragma once

#include <memory>
#include <string_view>
#include <tuple>

#include "facade/RowFields.h"
#include "util/USpan.h"

namespace Mesh2DPlat {

/// One pin name; circuits refer to it by its row.
struct EM2DPin {
  std::string_view name;

  static constexpr const char* kTable = "em2dpin";
  static constexpr auto fields() { return std::make_tuple(row_field("name", &EM2DPin::name)); }
  static std::shared_ptr<ZyData::ClassSchema<EM2DPin>> class_schema() { return declare_rows<EM2DPin>(); }
};

struct EM2DCircuitProxy {
  std::string_view name;
  Util::USpan<int> pin;    // rows of the pin table, one per pin entry
  Util::USpan<int> emver;  // vertex ids, one per pin entry
  int option = 0;

  static constexpr const char* kTable = "em2dcircuit";
  static constexpr auto fields() {
    return std::make_tuple(row_field("name", &EM2DCircuitProxy::name), row_field("pin", &EM2DCircuitProxy::pin),
                           row_field("emver", &EM2DCircuitProxy::emver),
                           row_field("option", &EM2DCircuitProxy::option));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DCircuitProxy>> class_schema() {
    return declare_rows<EM2DCircuitProxy>();
  }
};

struct EM2DLayerProxy {
  int id = 0;
  std::string_view name;
  double z = 0;

  static constexpr const char* kTable = "em2dlayer";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &EM2DLayerProxy::id), row_field("name", &EM2DLayerProxy::name),
                           row_field("z", &EM2DLayerProxy::z));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DLayerProxy>> class_schema() { return declare_rows<EM2DLayerProxy>(); }
};

struct EM2DNetProxy {
  enum eType : int {};

  int id = 0;
  eType type = eType();
  std::string_view name;

  static constexpr const char* kTable = "emnet";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &EM2DNetProxy::id), row_field("type", &EM2DNetProxy::type),
                           row_field("name", &EM2DNetProxy::name));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DNetProxy>> class_schema() { return declare_rows<EM2DNetProxy>(); }
};

struct EM2DSignalProxy {
  int id = 0;
  std::string_view name;
  double z = 0;
  int patch = 0;  // layer id; -1: none

  static constexpr const char* kTable = "em2dsignal";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &EM2DSignalProxy::id), row_field("name", &EM2DSignalProxy::name),
                           row_field("z", &EM2DSignalProxy::z), row_field("patch", &EM2DSignalProxy::patch));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DSignalProxy>> class_schema() {
    return declare_rows<EM2DSignalProxy>();
  }
};

struct EM2DTraceProxy {
  std::string_view name;
  int net = 0;
  int startver = 0;
  int endver = 0;
  int option = 0;

  static constexpr const char* kTable = "em2dtrace";
  // Deliberate: column "option" is bound to the end vertex. A trace's own option word is not stored, and a trace that
  // is read back has its end vertex id as its option word.
  static constexpr auto fields() {
    return std::make_tuple(row_field("name", &EM2DTraceProxy::name), row_field("net", &EM2DTraceProxy::net),
                           row_field("startver", &EM2DTraceProxy::startver),
                           row_field("endver", &EM2DTraceProxy::endver),
                           row_field("option", &EM2DTraceProxy::endver, &EM2DTraceProxy::option));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DTraceProxy>> class_schema() { return declare_rows<EM2DTraceProxy>(); }
};

struct EM2DVertexProxy {
  int id = 0;
  std::string_view name;
  double x = 0;
  double y = 0;
  double z = 0;
  int type = 0;
  std::string_view layer;  // layer names; empty: none
  std::string_view uplayer;
  std::string_view lowlayer;
  int options = 0;

  static constexpr const char* kTable = "em2dvertex";
  static constexpr auto fields() {
    return std::make_tuple(row_field("id", &EM2DVertexProxy::id), row_field("name", &EM2DVertexProxy::name),
                           row_field("x", &EM2DVertexProxy::x), row_field("y", &EM2DVertexProxy::y),
                           row_field("z", &EM2DVertexProxy::z), row_field("type", &EM2DVertexProxy::type),
                           row_field("layer", &EM2DVertexProxy::layer), row_field("uplayer", &EM2DVertexProxy::uplayer),
                           row_field("lowlayer", &EM2DVertexProxy::lowlayer),
                           row_field("options", &EM2DVertexProxy::options));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DVertexProxy>> class_schema() {
    return declare_rows<EM2DVertexProxy>();
  }
};

struct EM2DViaProxy {
  std::string_view name;
  int net = 0;
  int startver = 0;
  int endver = 0;
  double r = 0;

  static constexpr const char* kTable = "em2dvia";
  static constexpr auto fields() {
    return std::make_tuple(row_field("name", &EM2DViaProxy::name), row_field("net", &EM2DViaProxy::net),
                           row_field("startver", &EM2DViaProxy::startver), row_field("endver", &EM2DViaProxy::endver),
                           row_field("r", &EM2DViaProxy::r));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DViaProxy>> class_schema() { return declare_rows<EM2DViaProxy>(); }
};

struct EM2DPolyViaProxy {
  enum ePolyType : int {};

  std::string_view name;
  int net = 0;
  int startver = 0;
  int endver = 0;
  ePolyType polytype = ePolyType();
  Util::USpan<double> coord;  // x0 y0 x1 y1 ...

  static constexpr const char* kTable = "em2dpolyvia";
  static constexpr auto fields() {
    return std::make_tuple(
        row_field("name", &EM2DPolyViaProxy::name), row_field("net", &EM2DPolyViaProxy::net),
        row_field("startver", &EM2DPolyViaProxy::startver), row_field("endver", &EM2DPolyViaProxy::endver),
        row_field("polytype", &EM2DPolyViaProxy::polytype), row_field("coord", &EM2DPolyViaProxy::coord));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DPolyViaProxy>> class_schema() {
    return declare_rows<EM2DPolyViaProxy>();
  }
};

struct EM2DShapeProxy {
  enum eType : int {};

  std::string_view name;
  int layer = 0;
  int net = 0;
  eType type = eType();
  int option = 0;
  Util::USpan<double> vertexs;  // x0 y0 x1 y1 ...

  static constexpr const char* kTable = "em2dshape";
  static constexpr auto fields() {
    return std::make_tuple(row_field("name", &EM2DShapeProxy::name), row_field("layer", &EM2DShapeProxy::layer),
                           row_field("net", &EM2DShapeProxy::net), row_field("type", &EM2DShapeProxy::type),
                           row_field("option", &EM2DShapeProxy::option),
                           row_field("vertexs", &EM2DShapeProxy::vertexs));
  }
  static std::shared_ptr<ZyData::ClassSchema<EM2DShapeProxy>> class_schema() { return declare_rows<EM2DShapeProxy>(); }
};

/// Enters the row structures of the layout tables and their enumerations in the type registries. Again is no error.
void register_layout_types();

}  // namespace Mesh2DPlat
