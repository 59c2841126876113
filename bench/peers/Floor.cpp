// The floor: columns as anybody would write them at first, one gathered write, one scattered read.
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "bench/peers/Columns.h"
#include "bench/peers/Files.h"
#include "bench/peers/System.h"

namespace CorvaneBench::Peers {
namespace {

class Floor final : public System {
 public:
  explicit Floor(std::string file) : d_file(std::move(file)) {}

  void build(const Layout& board) override { fill(board, d_columns); }

  void save() override {
    for_each_column(d_columns, [this](const char*, auto& column) { d_counts.push_back(column.size()); });
    std::vector<iovec> parts{part(d_counts)};
    for_each_column(d_columns, [&](const char*, auto& column) { parts.push_back(part(column)); });
    File::created(d_file).write(parts);
  }

  void load() override {
    const File file = File::opened(d_file);
    std::size_t columns = 0;
    for_each_column(d_columns, [&](const char*, auto&) { ++columns; });
    d_counts.resize(columns);
    file.read({part(d_counts)});
    std::vector<iovec> parts;
    const std::uint64_t* count = d_counts.data();
    for_each_column(d_columns, [&](const char*, auto& column) {
      column.resize(*count++);
      parts.push_back(part(column));
    });
    file.read(parts);
  }

  void rebuild(Objects& objects) override { make_all(d_columns, ById{objects}, objects); }

 private:
  template <class T>
  static iovec part(std::vector<T>& column) {
    return {column.data(), column.size() * sizeof(T)};
  }

  std::string d_file;
  std::vector<std::uint64_t> d_counts;  // elements, column by column
  Columns<PlainColumn> d_columns;
};

}  // namespace

Peer floor_peer() {
  return {"floor", "", "std::vector per member, push_back; writev; resize and readv; nothing is checked",
          make_system<Floor>};
}

}  // namespace CorvaneBench::Peers
