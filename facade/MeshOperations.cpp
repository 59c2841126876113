// The mesh operations of the database. They work on a file of their own and leave the open database alone.
#include <memory>
#include <utility>

#include "facade/DBZydata.h"
#include "facade/DatabaseFile.h"
#include "facade/EntityTable.h"
#include "facade/Lookup.h"
#include "facade/MeshRecord.h"
#include "facade/Model.h"
#include "util/Error.h"
#include "zydata/message/serialize.h"

namespace Mesh2DPlat {
namespace {

using Shapes = std::vector<std::unique_ptr<EM2DShape>>;

std::string mesh_file(const std::string& directory) { return directory + "/corvane2d.zydat"; }

/// Nothing when there is no such file.
OwnedTree load_mesh_record(const std::string& path) {
  if (!exists(path)) return {};
  OwnedTree record = read_file(path);
  if (!record) throw Util::Error("mesh file '%s' is empty", path.c_str());
  return record;
}

void save_mesh_record(const std::string& directory, const OwnedTree& record) {
  const MPSys::Message message = ZyData::data_message(record.get());
  create_directory_if_absent(directory);
  write_file(mesh_file(directory), message);
}

/// Makes a shape of each row; `layer` and `net` find what an id stands for.
template <class LayerOf, class NetOf>
Shapes make_shapes(const RowReader<EM2DShapeProxy>& rows, LayerOf&& layer, NetOf&& net) {
  Shapes shapes;
  shapes.reserve(rows.size());
  for (std::uint64_t i = 0; i < rows.size(); ++i) {
    shapes.push_back(at_row(EM2DShapeProxy::kTable, i, [&] {
      const EM2DShapeProxy row = rows[i];
      EM2DLayer* at = layer(row.layer);
      return ModelAccess::make_shape(row, at, net(row.net));
    }));
  }
  return shapes;
}

Shapes make_shapes(const RowReader<EM2DShapeProxy>& rows, const Table<int, EM2DLayer>& layers,
                   const Table<int, EM2DNet>& nets) {
  return make_shapes(
      rows, [&](int id) { return look_up(layers, id); }, [&](int id) { return look_up(nets, id); });
}

Shapes make_shapes(const RowReader<EM2DShapeProxy>& rows, MeshReadInterface& reader) {
  return make_shapes(
      rows, [&](int id) { return ModelAccess::layer_of(reader, id); },
      [&](int id) { return ModelAccess::net_of(reader, id); });
}

/// Appends negative polygons and hands shapes over, and tells the reader of each.
void hand_over(SImesh2D& mesh, const MeshTables& tables, Shapes& shapes, MeshReadInterface* reader) {
  auto& polygons = ModelAccess::negative_polygons(mesh);
  const std::uint64_t count = tables.negative_polygons() ? tables.negative_polygons()->size() : 0;
  polygons.reserve(count);
  for (std::uint64_t i = 0; i < count; ++i) {
    polygons.push_back(ModelAccess::element_of((*tables.negative_polygons())[i]));
    if (reader != nullptr) ModelAccess::neg_polygon_read(*reader, mesh, i);
  }
  for (auto& shape : shapes) ModelAccess::shape_read(*reader, std::move(shape));
}

}  // namespace

bool DBZydata::write(SImesh2D* mesh, const std::vector<std::map<EM2DVia*, int>>& viaMeshIds,
                     const std::vector<EM2DShape*>& shapes) {
  const OwnedTree record = make_mesh_record(given(mesh, "mesh"));
  write_via_numbers(*record, via_numbers(viaMeshIds));
  write_rows<EM2DShapeProxy>(*record, shapes, [](const EM2DShape& shape) { return ModelAccess::row_of(shape); });
  save_mesh_record(directory, record);
  return true;
}

bool DBZydata::writeNegPolyMesh(SImesh2D* mesh) {
  const OwnedTree record = make_mesh_record(given(mesh, "mesh"));
  write_via_numbers(*record, *mesh);
  write_negative_polygons(*record, *mesh);
  save_mesh_record(directory, record);
  return true;
}

// Everything that can throw comes before anything of the caller's changes.
bool DBZydata::read(SImesh2D* mesh, ViaTable& vias, const Table<int, EM2DLayer>& layers,
                    const Table<int, EM2DNet>& nets, const Table<std::string, EM2DVia>& viasByName,
                    std::vector<EM2DShape*>* shapes, std::vector<std::map<EM2DVia*, int>>* viaMeshIds) {
  SImesh2D& target = given(mesh, "mesh");
  const OwnedTree record = load_mesh_record(mesh_file(directory));
  if (!record) return false;
  const MeshTables tables(*record);
  std::vector<std::map<EM2DVia*, int>> maps;
  if (viaMeshIds != nullptr) maps = tables.via_maps(viasByName);
  Shapes made;
  if (shapes != nullptr) {
    made = make_shapes(tables.shapes(), layers, nets);
    shapes->reserve(shapes->size() + made.size());
  }
  SImesh2D restored;
  ViaTable restored_vias;
  tables.restore(restored, restored_vias);

  target = std::move(restored);
  vias.swap(restored_vias);
  if (viaMeshIds != nullptr) viaMeshIds->swap(maps);
  for (auto& shape : made) shapes->push_back(shape.release());
  return true;
}

bool DBZydata::readNegPolyMesh(SImesh2D* mesh, MeshReadInterface* reader) {
  SImesh2D& target = given(mesh, "mesh");
  const OwnedTree record = load_mesh_record(mesh_file(directory));
  if (!record) return false;
  const MeshTables tables(*record);
  Shapes shapes;
  if (reader != nullptr && ModelAccess::wants_shapes(*reader)) shapes = make_shapes(tables.shapes(), *reader);
  SImesh2D restored;
  ViaTable vias;
  tables.restore(restored, vias);

  std::swap(target, restored);
  try {
    hand_over(target, tables, shapes, reader);
  } catch (...) {
    target = std::move(restored);
    throw;
  }
  return true;
}

}  // namespace Mesh2DPlat
