#include "tools/mesher/MeshStore.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "facade/DBZydata.h"
#include "model/MeshReadInterface.h"
#include "tools/corvane/support/PendingFolder.h"

namespace CorvaneMesher {
namespace {

using namespace Mesh2DPlat;
namespace fs = std::filesystem;

constexpr const char* kMeshFile = "corvane2d.zydat";

void expect(bool is_equal, const std::string& what) {
  if (!is_equal) throw std::runtime_error("what was read back differs: " + what);
}

/// One row per via that a map names, in the order of names.
std::vector<SImesh2D::ViaMesh> rows_of(const ViaMaps& maps) {
  std::map<std::string, std::vector<int>> rows;
  for (std::size_t layer = 0; layer < maps.size(); ++layer) {
    for (const auto& [via, number] : maps[layer])
      rows.try_emplace(via->name(), maps.size(), -1).first->second[layer] = number;
  }
  std::vector<SImesh2D::ViaMesh> result;
  for (auto& [name, numbers] : rows) result.push_back({name, std::move(numbers)});
  return result;
}

bool same_shape(const EM2DShape& left, const EM2DShape& right) {
  const auto members = [](const EM2DShape& shape) {
    return std::tuple(shape.name(), shape.layer(), shape.net(), shape.type(), shape.option());
  };
  return members(left) == members(right) && left.coordinates() == right.coordinates();
}

/// The lists of a mesh one by one, to name the one that differs.
void compare_meshes(const SImesh2D& written, const SImesh2D& read) {
  expect(written.layers == read.layers, "mesh layers");
  expect(written.metals == read.metals, "metals");
  expect(written.mediums == read.mediums, "mediums");
  expect(written.emVertices == read.emVertices, "EM vertices");
  expect(written.nodes == read.nodes, "nodes");
  expect(written.edges == read.edges, "edges");
  expect(written.faces == read.faces, "faces");
  expect(written.polygons == read.polygons, "polygons");
  expect(written.negPolygons == read.negPolygons, "negative polygons");
  expect(written.viaMeshes == read.viaMeshes, "numbers of vias");
  expect(written == read, "the mesh");
}

void compare_via_table(const SImesh2D& mesh, const ViaTable& table) {
  std::size_t count = 0;
  for (const auto& [plane, vias] : table) count += vias.size();
  expect(count == mesh.vias().size(), "the table of mesh vias");
  for (const auto& via : mesh.vias()) {
    const auto plane = table.find(via->planeId());
    expect(plane != table.end(), "the planes of mesh vias");
    const auto entry = plane->second.find(via->name());
    expect(entry != plane->second.end() && entry->second == via.get(), "mesh via " + via->name());
  }
}

template <class T>
Table<int, T> by_id(const CorvaneTool::OwnedList<T>& list) {
  Table<int, T> table;
  for (T* item : list) table.emplace(item->id(), item);
  return table;
}

Table<std::string, EM2DVia> vias_by_name(const CorvaneTool::Layout& layout) {
  Table<std::string, EM2DVia> table;
  for (EM2DVia* via : layout.vias) table.emplace(via->name(), via);
  for (EM2DVia* via : layout.poly_vias) table.emplace(via->name(), via);
  return table;
}

void check_plain_mesh(const std::string& directory, const BoardMesh& board, const CorvaneTool::Layout& layout) {
  SImesh2D read;
  ViaTable vias;
  CorvaneTool::OwnedList<EM2DShape> shapes;
  ViaMaps maps;
  if (!DBZydata(directory).read(&read, vias, by_id(layout.layers), by_id(layout.nets), vias_by_name(layout),
                                &shapes.handed_over(), &maps)) {
    throw std::runtime_error("the mesh file is gone after writing");
  }
  compare_via_table(read, vias);
  expect(read.negPolygons.empty(), "negative polygons where none were written");
  read.negPolygons = board.mesh.negPolygons;
  compare_meshes(board.mesh, read);
  const bool has_vias = !board.mesh.viaMeshes.empty();  // without any, a file does not tell how many maps there were
  expect(has_vias ? maps == board.via_maps : maps.empty(), "the maps of vias");
  expect(std::equal(shapes.begin(), shapes.end(), layout.shapes.begin(), layout.shapes.end(),
                    [](const EM2DShape* left, const EM2DShape* right) { return same_shape(*left, *right); }),
         "shapes");
}

void check_whole_mesh(const std::string& directory, const BoardMesh& board) {
  struct Counter : MeshReadInterface {
    void negPolygonRead(SImesh2D&, std::size_t position) override { expect(position == count++, "order of holes"); }
    std::size_t count = 0;
  } counter;
  SImesh2D read;
  if (!DBZydata(directory).readNegPolyMesh(&read, &counter))
    throw std::runtime_error("the mesh file is gone after writing");
  expect(counter.count == board.mesh.negPolygons.size(), "the number of negative polygons");
  compare_meshes(board.mesh, read);
}

}  // namespace

StoredMesh store_mesh(const std::string& directory, BoardMesh& board, const CorvaneTool::Layout& layout,
                      const CorvaneTool::Origin& origin, Phases& phases) {
  CorvaneTool::PendingFolder folder(directory);
  const std::string file = folder.file(kMeshFile);
  board.mesh.viaMeshes = rows_of(board.via_maps);
  phases.run("write", [&] { DBZydata(folder.path()).write(&board.mesh, board.via_maps, layout.shapes.items()); });
  phases.run("read and compare", [&] { check_plain_mesh(folder.path(), board, layout); });
  phases.run("write with holes", [&] { DBZydata(folder.path()).writeNegPolyMesh(&board.mesh); });
  phases.run("read and compare with holes", [&] { check_whole_mesh(folder.path(), board); });
  StoredMesh stored{directory + "/" + kMeshFile, fs::file_size(file)};
  folder.commit(kMeshFile, kMeshFile);
  write_origin(stored.path, origin);
  return stored;
}

}  // namespace CorvaneMesher
