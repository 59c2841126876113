// The record "mesh2d": a mesh in tables, apart from the open database, in a file of its own.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "facade/DBInterface.h"
#include "facade/DatabaseFile.h"
#include "facade/LayoutProxies.h"
#include "facade/MeshProxies.h"
#include "facade/RowFields.h"

namespace Mesh2DPlat {

/// The table that a mesh file has only when the mesh has negative polygons.
inline constexpr const char* kNegativePolygons = "negpolymesh";

/// The numbers of one via in a row of meshes.
struct ViaNumbers {
  std::string via;
  std::vector<int> mesh_ids;  // -1: the via is not in that mesh
};

/// One entry per via that any map names, with its number in map 0, 1, ... They are sorted by name, because maps are in
/// the order of addresses: equal data make equal files. Throws Util::Error for a null via and for two of one name.
std::vector<ViaNumbers> via_numbers(const std::vector<std::map<EM2DVia*, int>>& maps);

/// A new record with all tables of a mesh but that of via numbers, which stays empty.
OwnedTree make_mesh_record(const SImesh2D& mesh);
void write_via_numbers(ZyData::DataObj& record, const std::vector<ViaNumbers>& numbers);
void write_via_numbers(ZyData::DataObj& record, const SImesh2D& mesh);
/// Adds the table of negative polygons unless the mesh has none.
void write_negative_polygons(ZyData::DataObj& record, const SImesh2D& mesh);

/// The tables of a mesh record, checked as a whole. Borrows the record.
class MeshTables {
 public:
  /// Throws Util::Error when a table or a column is missing or of another type.
  explicit MeshTables(ZyData::DataObj& record);

  /// Appends all elements, but negative polygons, to an empty mesh, and enters its vias by plane and name.
  void restore(SImesh2D& mesh, ViaTable& vias) const;
  /// One map per mesh. Throws std::out_of_range for a via that `vias` lacks.
  std::vector<std::map<EM2DVia*, int>> via_maps(const Table<std::string, EM2DVia>& vias) const;
  const RowReader<EM2DShapeProxy>& shapes() const { return d_shapes; }
  const std::optional<RowReader<MeshPolygonProxy>>& negative_polygons() const { return d_negative_polygons; }

 private:
  template <class... P>
  using Readers = std::tuple<RowReader<P>...>;

  /// Kinds whose elements are plain values.
  Readers<MeshLayerProxy, MeshMetalProxy, MeshMediumProxy, MAShapeProxy, SpecialVoidProxy, ViaMeshProxy,
          EMMeshVertexProxy, MeshNodeProxy, MeshEdgeProxy, MeshFaceProxy, MeshPolygonProxy>
      d_elements;
  RowReader<MeshViaProxy> d_vias;
  RowReader<EM2DShapeProxy> d_shapes;
  std::optional<RowReader<MeshPolygonProxy>> d_negative_polygons;  // most meshes have none
};

}  // namespace Mesh2DPlat
