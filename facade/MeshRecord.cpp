#include "facade/MeshRecord.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "facade/EntityTable.h"
#include "facade/Lookup.h"
#include "facade/Model.h"
#include "util/Error.h"

namespace Mesh2DPlat {
namespace {

// The order in which the tables stand in a file.
void define_plane_tables(ZyData::Schema& top) {
  define_frame<MeshLayerProxy>(top);
  define_frame<MeshMetalProxy>(top);
  define_frame<MeshMediumProxy>(top);
  define_frame<MAShapeProxy>(top);
  define_frame<SpecialVoidProxy>(top);
  define_frame<ViaMeshProxy>(top);
  define_frame<MeshViaProxy>(top);
  define_frame<EMMeshVertexProxy>(top);
  define_frame<EM2DShapeProxy>(top);
}

void define_element_tables(ZyData::Schema& top) {
  define_frame<MeshNodeProxy>(top);
  define_frame<MeshEdgeProxy>(top);
  define_frame<MeshFaceProxy>(top);
  define_frame<MeshPolygonProxy>(top);
}

OwnedTree make_empty_record() {
  const auto schema = ZyData::make_record_schema("mesh2d");
  define_plane_tables(*schema);
  define_element_tables(*schema);
  return make_tree(schema);
}

template <class P>
void write_elements(ZyData::DataObj& record, const SImesh2D& mesh) {
  write_list<P>(record, ModelAccess::list(mesh, ModelAccess::Elements<P>()),
                [](const auto& element) { return ModelAccess::row_of(element); });
}

template <class P>
void restore_elements(SImesh2D& mesh, const RowReader<P>& rows) {
  auto& list = ModelAccess::list(mesh, ModelAccess::Elements<P>());
  list.reserve(rows.size());
  for (std::uint64_t i = 0; i < rows.size(); ++i) list.push_back(ModelAccess::element_of(rows[i]));
}

template <class... P>
std::tuple<RowReader<P>...> readers_of(ZyData::DataObj& record, std::type_identity<std::tuple<RowReader<P>...>>) {
  return {RowReader<P>(record)...};
}

}  // namespace

std::vector<ViaNumbers> via_numbers(const std::vector<std::map<EM2DVia*, int>>& maps) {
  std::unordered_map<const EM2DVia*, std::size_t> position;
  std::vector<ViaNumbers> result;
  for (std::size_t i = 0; i < maps.size(); ++i) {
    for (const auto& [via, number] : maps[i]) {
      if (via == nullptr) throw Util::Error("map %zu of the via numbers has a null pointer instead of a via", i);
      const auto [entry, is_new] = position.try_emplace(via, result.size());
      if (is_new) result.push_back({std::string(ModelAccess::name_of(*via)), std::vector<int>(maps.size(), -1)});
      result[entry->second].mesh_ids[i] = number;
    }
  }
  std::sort(result.begin(), result.end(),
            [](const ViaNumbers& left, const ViaNumbers& right) { return left.via < right.via; });
  const auto twin = std::adjacent_find(result.begin(), result.end(),
                                       [](const auto& left, const auto& right) { return left.via == right.via; });
  if (twin == result.end()) return result;
  throw Util::Error("via \"%.200s\" and via \"%.200s\" of the via numbers are two objects: a read tells vias by name",
                    twin->via.c_str(), std::next(twin)->via.c_str());
}

OwnedTree make_mesh_record(const SImesh2D& mesh) {
  OwnedTree record = make_empty_record();
  write_elements<MeshLayerProxy>(*record, mesh);
  write_elements<MeshMetalProxy>(*record, mesh);
  write_elements<MeshMediumProxy>(*record, mesh);
  write_elements<MAShapeProxy>(*record, mesh);
  write_elements<SpecialVoidProxy>(*record, mesh);
  write_list<MeshViaProxy>(*record, ModelAccess::vias(mesh), [](const auto& via) { return ModelAccess::row_of(*via); });
  write_elements<EMMeshVertexProxy>(*record, mesh);
  write_elements<MeshNodeProxy>(*record, mesh);
  write_elements<MeshEdgeProxy>(*record, mesh);
  write_elements<MeshFaceProxy>(*record, mesh);
  write_elements<MeshPolygonProxy>(*record, mesh);
  return record;
}

void write_via_numbers(ZyData::DataObj& record, const std::vector<ViaNumbers>& numbers) {
  write_list<ViaMeshProxy>(record, numbers, [](const ViaNumbers& entry) {
    return ViaMeshProxy{entry.via, entry.mesh_ids};
  });
}

void write_via_numbers(ZyData::DataObj& record, const SImesh2D& mesh) { write_elements<ViaMeshProxy>(record, mesh); }

void write_negative_polygons(ZyData::DataObj& record, const SImesh2D& mesh) {
  const auto& polygons = ModelAccess::negative_polygons(mesh);
  if (polygons.empty()) return;
  record.add_field(kNegativePolygons,
                   ZyData::find_class_schema(ZyData::element_type_name<MeshPolygonProxy>()).clone(nullptr));
  write_list<MeshPolygonProxy>(
      record, polygons, [](const auto& polygon) { return ModelAccess::row_of(polygon); }, kNegativePolygons);
}

MeshTables::MeshTables(ZyData::DataObj& record)
    : d_elements(readers_of(record, std::type_identity<decltype(d_elements)>())), d_vias(record), d_shapes(record) {
  if (record.find_path_or_null(kNegativePolygons) != nullptr) d_negative_polygons.emplace(record, kNegativePolygons);
}

void MeshTables::restore(SImesh2D& mesh, ViaTable& vias) const {
  std::apply([&](const auto&... rows) { (restore_elements(mesh, rows), ...); }, d_elements);
  for (std::uint64_t i = 0; i < d_vias.size(); ++i) {
    const MeshViaProxy row = d_vias[i];
    vias[row.planeid][std::string(row.name)] = ModelAccess::add_via(mesh, row);
  }
}

std::vector<std::map<EM2DVia*, int>> MeshTables::via_maps(const Table<std::string, EM2DVia>& vias) const {
  const auto& rows = std::get<RowReader<ViaMeshProxy>>(d_elements);
  std::vector<std::map<EM2DVia*, int>> maps;
  for (std::uint64_t i = 0; i < rows.size(); ++i) {
    const ViaMeshProxy row = rows[i];
    if (row.meshid.size() > maps.size()) maps.resize(row.meshid.size());
    for (std::size_t m = 0; m < row.meshid.size(); ++m) {
      if (row.meshid[m] == -1) continue;
      EM2DVia* via = at_row(ViaMeshProxy::kTable, i, [&] { return look_up(vias, std::string(row.via)); });
      maps[m][via] = row.meshid[m];
    }
  }
  return maps;
}

}  // namespace Mesh2DPlat
