// Corvane, through its public interface.
#include <sys/prctl.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "bench/peers/System.h"
#include "facade/DBZydata.h"

namespace CorvaneBench::Peers {
namespace {

/// A database that is made late. Compilers warn of an optional of the database itself, whose destructor is not virtual.
struct Opened {
  explicit Opened(const std::string& folder) : database(folder) {}

  Mesh2DPlat::DBZydata database;
};

class Corvane : public System {
 public:
  explicit Corvane(const std::filesystem::path& file) : d_folder(file.parent_path()), d_name(file.stem()) {}

  void build(const Layout& board) override {
    Mesh2DPlat::DBZydata& database = d_opened.emplace(d_folder).database;
    database.openem(false, d_name);
    database.write(board.layers.items());
    database.write(board.nets.items());
    database.write(board.vertices.items());
    database.write(board.traces.items());
    database.write(board.vias.items());
    database.write(board.shapes.items(), "");
    database.write(board.circuits.items());
  }

  void save() override { d_opened->database.save(d_name); }

  void load() override {
    Mesh2DPlat::DBZydata& database = d_opened.emplace(d_folder).database;
    database.openem(true, d_name);
  }

  void rebuild(Objects& objects) override {
    Mesh2DPlat::DBZydata& database = d_opened->database;
    Layout& board = objects.layout;
    database.read(board.layers.handed_over());
    for (auto* layer : board.layers) objects.add(layer);
    database.read(board.nets.handed_over());
    objects.nets.reserve(board.nets.size());
    for (auto* net : board.nets) objects.add(net);
    database.read(board.vertices.handed_over(), objects.layers, objects.layers_by_name);
    objects.vertices.reserve(board.vertices.size());
    for (auto* vertex : board.vertices) objects.add(vertex);
    database.read(board.traces.handed_over(), objects.nets, objects.vertices);
    database.read(board.vias.handed_over(), objects.nets, objects.vertices);
    database.read(board.shapes.handed_over(), objects.layers, objects.nets, "");
    database.read(board.circuits.handed_over(), objects.vertices);
  }

 private:
  std::string d_folder;
  std::string d_name;
  std::optional<Opened> d_opened;
};

/// The same in a process that gets no huge pages.
class CorvaneOnSmallPages final : public Corvane {
 public:
  explicit CorvaneOnSmallPages(const std::filesystem::path& file) : Corvane(file) {
    if (::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0) != 0) throw std::system_error(errno, std::generic_category(), "prctl");
  }
};

}  // namespace

Peer corvane_peer() {
  return {"Corvane", CORVANE_VERSION,
          "openem, write, save, read; what is loaded is checked; the time includes the library's start",
          make_system<Corvane>};
}

Peer corvane_on_small_pages_peer() {
  return {"Corvane without huge pages", CORVANE_VERSION, "the same in a process that gets none",
          make_system<CorvaneOnSmallPages>};
}

}  // namespace CorvaneBench::Peers
