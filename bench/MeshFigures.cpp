#include "bench/MeshFigures.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "bench/Figure.h"
#include "bench/FileRivals.h"
#include "bench/HandMesh.h"
#include "bench/OwnProcess.h"
#include "bench/Report.h"
#include "facade/DBZydata.h"
#include "facade/MeshRecord.h"
#include "zydata/message/serialize.h"

namespace CorvaneBench {
namespace {

using Mesh2DPlat::make_mesh_record;
using Mesh2DPlat::MeshTables;
using Mesh2DPlat::OwnedTree;
using Mesh2DPlat::SImesh2D;

constexpr const char* kName = "corvane2d";

void nothing() {}

/// A rectangle of `side` x `side` cells, each cut into two triangles. Nodes know the faces around them.
class Grid {
 public:
  explicit Grid(int side) : d_side(side) {}

  SImesh2D mesh() {
    SImesh2D mesh;
    for (int row = 0; row <= d_side; ++row) {
      for (int column = 0; column <= d_side; ++column) mesh.addNode({-1, 0.1 * column, 0.1 * row, 3, {}, {}});
    }
    for (int row = 0; row < d_side; ++row) {
      for (int column = 0; column < d_side; ++column) add_cell(mesh, row, column);
    }
    return mesh;
  }

 private:
  int node(int row, int column) const { return row * (d_side + 1) + column; }
  /// The edge at the lower side, the left side or the diagonal of a cell.
  int edge(int row, int column, int which) const { return 3 * (row * d_side + column) + which; }

  void add_cell(SImesh2D& mesh, int row, int column) const {
    const int corner = node(row, column), right = node(row, column + 1);
    const int above = node(row + 1, column), across = node(row + 1, column + 1);
    const int lower = edge(row, column, 0), left = edge(row, column, 1), diagonal = edge(row, column, 2);
    const int face = static_cast<int>(mesh.faces.size());
    mesh.addEdge({-1, 0, 3, corner, right, face, row > 0 ? face - 2 * d_side + 1 : -1, {}});
    mesh.addEdge({-1, 0, 3, above, corner, face + 1, column > 0 ? face - 2 : -1, {}});
    mesh.addEdge({-1, 0, 3, across, corner, face, face + 1, {}});
    const int beside = column + 1 < d_side ? edge(row, column + 1, 1) : -1;
    const int top = row + 1 < d_side ? edge(row + 1, column, 0) : -1;
    add_face(mesh, {-1, 0, 3, 0, {corner, right, across}, {lower, beside, diagonal}});
    add_face(mesh, {-1, 0, 3, 0, {corner, across, above}, {diagonal, top, left}});
  }
  static void add_face(SImesh2D& mesh, SImesh2D::Face face) {
    const auto id = static_cast<int>(mesh.faces.size());
    for (const int at : face.nodes) mesh.nodes[static_cast<std::size_t>(at)].metalFaces.push_back(id);
    mesh.addFace(std::move(face));
  }

  int d_side;
};

/// The memory of the three large tables, in the order of HandMesh::blocks().
ZyData::FrameList column_frames(const OwnedTree& record) {
  ZyData::FrameList all;
  for (const char* name : {"meshnode", "meshedge", "meshface"}) {
    const auto table = record.get()->find_path(name);
    ZyData::FrameList frames;
    table->vectorize(frames, table);
    all.insert(all.end(), frames.begin() + 1, frames.end());  // the first is the row count
  }
  return all;
}

class MeshStage {
 public:
  MeshStage(const std::string& folder, std::size_t nodes)
      : d_folder(folder), d_mesh(Grid(static_cast<int>(std::sqrt(static_cast<double>(nodes)))).mesh()) {
    write_by_hand(d_mesh, d_columns);
    OwnedTree record = make_mesh_record(d_mesh);
    check_columns(record);
    Mesh2DPlat::write_file(path(kName), ZyData::data_message(record.get()));
    check_elements(record);
    for (const Block* block : d_columns.blocks()) d_fresh_bytes += 3 * block->size_bytes();
  }

  std::function<Sample()> write() {
    const auto record = std::make_shared<std::optional<OwnedTree>>();
    const Side ours{nothing, [this, record] { record->emplace(make_mesh_record(d_mesh)); },
                    [record] { record->reset(); }};
    const auto columns = std::make_shared<std::unique_ptr<HandMesh>>();
    const Side rival{nothing,
                     [this, columns] {
                       *columns = std::make_unique<HandMesh>();
                       const auto blocks = (*columns)->blocks();
                       const auto samples = d_columns.blocks();
                       for (std::size_t i = 0; i < blocks.size(); ++i) blocks[i]->reserve_like(*samples[i]);
                       write_by_hand(d_mesh, **columns);
                     },
                     [columns] { columns->reset(); }};
    return [=, this] { return race(ours, rival, d_fresh_bytes); };
  }

  std::function<Sample()> save() {
    const auto record = std::make_shared<OwnedTree>(make_mesh_record(d_mesh));
    const auto message = std::make_shared<const MPSys::Message>(ZyData::data_message(record->get()));
    const auto gathered = std::make_shared<const GatheredFile>(*message);
    const auto remover = [](const std::string& file) { return [file] { std::filesystem::remove(file); }; };
    const Side ours{remover(path("saved")),
                    [this, record] { Mesh2DPlat::write_file(path("saved"), ZyData::data_message(record->get())); },
                    remover(path("saved"))};
    const Side rival{remover(path("gathered")), [this, message, gathered] { gathered->write(path("gathered")); },
                     remover(path("gathered"))};
    return [=, this] { return race(ours, rival, d_fresh_bytes); };
  }

  std::function<Sample()> load() {
    return [this] {
      const Duration ours = time_in_own_process(Operation::load, d_folder, kName);
      return sample_of(ours, time_in_own_process(Operation::read, d_folder, kName));
    };
  }

  std::function<Sample()> read() {
    const auto record = std::make_shared<OwnedTree>(Mesh2DPlat::read_file(path(kName)));
    const auto columns = std::make_shared<HandMesh>();
    const ZyData::FrameList frames = column_frames(*record);
    const std::vector<Block*> blocks = columns->blocks();
    for (std::size_t i = 0; i < blocks.size(); ++i) blocks[i]->borrow(frames[i]->data(), frames[i]->size_bytes());
    const auto mesh = std::make_shared<SImesh2D>();
    const auto clean = [mesh] { mesh->clear(); };
    const Side ours{nothing,
                    [record, mesh] {
                      Mesh2DPlat::ViaTable vias;
                      MeshTables(**record).restore(*mesh, vias);
                    },
                    clean};
    const Side rival{nothing, [columns, mesh] { read_by_hand(*columns, *mesh); }, clean};
    return [=, this] { return race(ours, rival, d_fresh_bytes); };
  }

 private:
  std::string path(const std::string& name) const { return d_folder + "/" + name + ".zydat"; }

  void check_columns(const OwnedTree& record) {
    const ZyData::FrameList frames = column_frames(record);
    const std::vector<Block*> blocks = d_columns.blocks();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      const std::size_t size = blocks[i]->size_bytes();
      if (size != frames[i]->size_bytes() ||
          (size > 0 && std::memcmp(blocks[i]->bytes(), frames[i]->data(), size) != 0)) {
        throw std::runtime_error("hand-written mesh column differs: " + std::to_string(i));
      }
    }
  }

  void check_elements(const OwnedTree& record) {
    SImesh2D restored, by_hand;
    Mesh2DPlat::ViaTable vias;
    MeshTables(*record).restore(restored, vias);
    read_by_hand(d_columns, by_hand);
    if (!(restored == d_mesh) || !(by_hand == d_mesh)) throw std::runtime_error("a mesh came back changed");
  }

  const std::string d_folder;
  const Mesh2DPlat::DBZydata d_database{d_folder};  // registers the rows' types
  const SImesh2D d_mesh;
  HandMesh d_columns;
  std::size_t d_fresh_bytes = 1;  // touched before each timed run
};

}  // namespace

void register_mesh_figures(const std::string& folder, std::size_t nodes, std::size_t pairs) {
  const auto stage = std::make_shared<std::unique_ptr<MeshStage>>();  // made when its first figure runs
  const auto add = [&](const char* figure, Bound kind, double bound, auto measured) {
    const auto start = [stage, folder, nodes, measured] {
      if (*stage == nullptr) *stage = std::make_unique<MeshStage>(folder, nodes);
      return (stage->get()->*measured)();
    };
    register_figure({std::string("mesh/") + figure, kind, bound, true, start}, pairs);
  };
  add("write", Bound::at_most, 1.30, &MeshStage::write);
  add("save", Bound::at_least, 0.90, &MeshStage::save);
  add("load", Bound::at_least, 0.90, &MeshStage::load);
  add("read", Bound::at_most, 1.20, &MeshStage::read);
}

}  // namespace CorvaneBench
