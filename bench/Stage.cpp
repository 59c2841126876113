#include "bench/Stage.h"

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>
#include <utility>

#include "bench/FileRivals.h"
#include "bench/OwnProcess.h"
#include "facade/DBRoot.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/layout/LayoutCompare.h"
#include "zydata/message/serialize.h"

namespace CorvaneBench {
namespace {

using CorvaneTool::Layout;
using ZyData::FrameList;

void nothing() {}

/// Every column's memory of the open database, in the order of HandTables::blocks().
std::vector<std::shared_ptr<ZyData::DataObj>> column_frames() {
  FrameList all;
  const auto& tree = Mesh2DPlat::currentRoot->tree;
  for (const auto& table : tree->field_data()) {
    if (table->schema()->name() == "simeshconfig") continue;
    FrameList frames;
    table->vectorize(frames, table);
    all.insert(all.end(), frames.begin() + 1, frames.end());  // the first is the row count
  }
  return all;
}

bool same_bytes(const Block& column, ZyData::DataObj& frame) {
  const std::size_t size = column.size_bytes();
  return size == frame.size_bytes() && (size == 0 || std::memcmp(column.bytes(), frame.data(), size) == 0);
}

void check_equal_files(const std::string& left, const std::string& right) {
  std::ifstream a(left, std::ios::binary), b(right, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  if (!std::equal(Bytes(a), Bytes(), Bytes(b), Bytes())) throw std::runtime_error(left + " and " + right + " differ");
}

void require_equal(const Layout& written, const Layout& read, const char* who) {
  const std::optional<std::string> difference = CorvaneTool::first_difference(written, read);
  if (difference) throw std::runtime_error(std::string(who) + ": " + *difference);
}

}  // namespace

ScratchFolder::ScratchFolder(const std::string& parent)
    : d_path(std::filesystem::path(parent) / ("corvane-bench-" + std::to_string(::getpid()))) {
  std::filesystem::create_directory(d_path);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(d_path, ignored);
}

Stage::Stage(Layout layout, std::size_t layout_bytes, const std::string& folder)
    : d_layout(std::move(layout)), d_folder(folder), d_tables(d_layout), d_database(folder) {
  d_database.openem(false, kFile);
  CorvaneTool::write_layout(d_database, d_layout);
  write_by_hand(d_layout, d_columns);
  check_columns();
  d_database.save(kFile);
  check_objects();
  close();
  d_fresh_bytes = layout_bytes + 2 * d_columns.payload_bytes();
}

Stage::~Stage() { close(); }

void Stage::open_file() { d_database.openem(true, kFile); }

// A database always holds a tree; an empty one takes next to nothing.
void Stage::close() { d_database.openem(false, kFile); }

void Stage::check_columns() {
  const FrameList frames = column_frames();
  const std::vector<Block*> blocks = d_columns.blocks();
  if (frames.size() != blocks.size()) throw std::runtime_error("the hand-written tables have other columns");
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (!same_bytes(*blocks[i], *frames[i]))
      throw std::runtime_error("hand-written column differs: " + std::to_string(i));
  }
}

void Stage::check_objects() {
  open_file();
  require_equal(d_layout, CorvaneTool::read_layout(d_database), "read by the library");
  Layout by_hand;
  by_hand.config = d_layout.config;
  read_by_hand(d_columns, d_tables, by_hand);
  require_equal(d_layout, by_hand, "read by hand");
}

std::function<Sample()> Stage::write() {
  const Side ours{[this] { close(); }, [this] { CorvaneTool::write_layout(d_database, d_layout); },
                  [this] { close(); }};
  const auto columns = std::make_shared<std::unique_ptr<HandTables>>();
  const Side rival{nothing,
                   [this, columns] {
                     *columns = std::make_unique<HandTables>();
                     reserve_like(**columns, d_columns);
                     write_by_hand(d_layout, **columns);
                   },
                   [columns] { columns->reset(); }};
  return [=, this] { return race(ours, rival, d_fresh_bytes); };
}

std::function<Sample()> Stage::save() {
  open_file();
  const auto message =
      std::make_shared<const MPSys::Message>(ZyData::data_message(Mesh2DPlat::currentRoot->open_tree()));
  const auto gathered = std::make_shared<const GatheredFile>(*message);
  const auto remover = [](const std::string& file) { return [file] { std::filesystem::remove(file); }; };
  d_database.save("saved");
  gathered->write(path("gathered"));
  check_equal_files(path("saved"), path("gathered"));
  const Side ours{remover(path("saved")), [this] { d_database.save("saved"); }, remover(path("saved"))};
  const Side rival{remover(path("gathered")), [this, message, gathered] { gathered->write(path("gathered")); },
                   remover(path("gathered"))};
  return [=, this] { return race(ours, rival, d_fresh_bytes); };
}

std::function<Sample()> Stage::load() {
  close();
  return [this] {
    const Duration ours = time_in_own_process(Operation::load, d_folder, kFile);
    return sample_of(ours, time_in_own_process(Operation::read, d_folder, kFile));
  };
}

void Stage::read_all(Layout& to) {
  d_database.read(to.layers.handed_over());
  d_database.read(to.nets.handed_over());
  d_database.read(to.signals.handed_over(), d_tables.layers);
  d_database.read(to.vertices.handed_over(), d_tables.layers, d_tables.layers_by_name);
  d_database.read(to.traces.handed_over(), d_tables.nets, d_tables.vertices);
  d_database.read(to.vias.handed_over(), d_tables.nets, d_tables.vertices);
  d_database.read(to.shapes.handed_over(), d_tables.layers, d_tables.nets, "");
  d_database.read(to.circuits.handed_over(), d_tables.vertices);
}

std::function<Sample()> Stage::read() {
  open_file();
  const auto columns = std::make_shared<HandTables>();
  const FrameList frames = column_frames();
  const std::vector<Block*> blocks = columns->blocks();
  for (std::size_t i = 0; i < blocks.size(); ++i) blocks[i]->borrow(frames[i]->data(), frames[i]->size_bytes());
  const auto objects = std::make_shared<Layout>();
  const auto clean = [objects] { *objects = Layout(); };
  const Side ours{nothing, [this, objects] { read_all(*objects); }, clean};
  const Side rival{nothing, [this, columns, objects] { read_by_hand(*columns, d_tables, *objects); }, clean};
  return [=, this] { return race(ours, rival, d_fresh_bytes); };
}

std::function<Sample()> Stage::load_memory() {
  close();
  return [this] { return Sample{bytes_in_own_process(Operation::load_memory, d_folder, kFile), file_bytes(), 0, 0}; };
}

std::function<Sample()> Stage::save_memory() {
  close();
  return [this] { return Sample{bytes_in_own_process(Operation::save_memory, d_folder, kFile), file_bytes(), 0, 0}; };
}

std::function<Sample()> Stage::file_size() {
  return [this] { return Sample{file_bytes(), static_cast<double>(d_columns.payload_bytes()), 0, 0}; };
}

}  // namespace CorvaneBench
