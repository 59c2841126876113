// A way of keeping a board, and the list of all that are compared.
//
// Each does the same four things: takes the board's objects into its own form in memory, saves that form to one file,
// loads the file, and makes the objects again. Saving ends when the system's file is closed; nobody waits for the disk.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/peers/Objects.h"

namespace CorvaneBench::Peers {

class System {
 public:
  virtual ~System() = default;

  // In this order, in one process, ...
  virtual void build(const Layout& board) = 0;
  virtual void save() = 0;
  // ... and in this order in another.
  virtual void load() = 0;
  virtual void rebuild(Objects& objects) = 0;
};

struct Peer {
  std::string name;
  std::string version;  // empty for what is written by hand
  std::string options;  // how it is used, and what it leaves out
  /// `file` has the suffix .zydat, for the one system that insists on it.
  std::unique_ptr<System> (*make)(const std::string& file);
};

template <class T>
std::unique_ptr<System> make_system(const std::string& file) {
  return std::make_unique<T>(file);
}

Peer floor_peer();
Peer hand_tuned_peer();
Peer corvane_peer();
Peer corvane_on_small_pages_peer();
Peer hdf5_columns_peer();
Peer hdf5_compound_peer();
Peer sqlite_peer();
Peer capn_proto_peer();
Peer flat_buffers_peer();
Peer protobuf_peer();

/// All of them, the floor first.
std::vector<Peer> all_peers();

}  // namespace CorvaneBench::Peers
