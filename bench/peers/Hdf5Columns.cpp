// HDF5 as a store of hand-made columns: one contiguous dataset for each.
#include <string>
#include <vector>

#include "bench/peers/Columns.h"
#include "bench/peers/Hdf5.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

class Hdf5Columns final : public System {
 public:
  explicit Hdf5Columns(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override { fill(board, d_columns); }

  void save() override {
    const Hdf5File file = Hdf5File::created(d_file);
    for_each_column(d_columns, [&]<class T>(const char* name, const std::vector<T>& column) {
      file.write(name, type_of(T()), column);
    });
  }

  void load() override {
    const Hdf5File file = Hdf5File::opened(d_file);
    for_each_column(d_columns,
                    [&]<class T>(const char* name, std::vector<T>& column) { file.read(name, type_of(T()), column); });
  }

  void rebuild(Objects& objects) override { make_all(d_columns, ById{objects}, objects); }

 private:
  std::string d_file;
  Columns<PlainColumn> d_columns;
};

}  // namespace

Peer hdf5_columns_peer() {
  return {"HDF5 columns", hdf5_version(),
          "the floor's columns, a contiguous dataset for each, newest format; building and rebuilding are the floor's",
          make_system<Hdf5Columns>};
}

}  // namespace CorvaneBench::Peers
