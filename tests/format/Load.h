// Files of a database in memory, and everything that can be done with one that was loaded.
#pragma once

#include <stdexcept>
#include <string>

#include "facade/DBRoot.h"
#include "facade/DBZydata.h"
#include "tests/facade/Layout.h"
#include "tests/format/Tree.h"
#include "tests/support/MemoryPlatform.h"
#include "util/Assert.h"
#include "util/Error.h"

namespace TestSupport {

/// The folder of every database in memory.
inline constexpr const char* kMemory = "memory";

/// The bytes of a database file.
inline std::string& file(const std::string& name) {
  return MemoryPlatform::instance().files[std::string(kMemory) + "/" + name + ".zydat"];
}

/// Thrown in place of the program's end.
struct Stopped {
  std::string expression;
};

/// While one lives, failed assertions throw Stopped, and what they write is taken.
class AssertionsThrow {
 public:
  AssertionsThrow() {
    Util::set_assertion_handler([](const char* expression, const char*, int) { throw Stopped{expression}; });
    testing::internal::CaptureStderr();
  }
  ~AssertionsThrow() {
    testing::internal::GetCapturedStderr();
    Util::set_assertion_handler(nullptr);
  }
  AssertionsThrow(const AssertionsThrow&) = delete;
  AssertionsThrow& operator=(const AssertionsThrow&) = delete;
};

/// Runs a read, which may find that a file contradicts itself or names what is not there.
template <class Read>
void tolerate(Read read) {
  try {
    read();
  } catch (const Util::Error&) {
  } catch (const std::out_of_range& error) {
    if (error.what() != std::string("invalid unordered_map<K, T> key")) throw;
  }
}

/// Reads each kind of what is open, as far as there is a table of it, and prints everything.
inline void read_everything(Mesh2DPlat::DBZydata& db) {
  const ZyData::DataObj& tree = *Mesh2DPlat::currentRoot->tree;
  const bool is_record = (tree.schema()->kind() & ZyData::kKindRecord) != 0;
  const auto read = [&](const char* table, auto action) {
    if (is_record && tree.schema()->field_index(table) >= 0) tolerate(action);
  };
  Layout out;
  read("simeshconfig", [&] { db.read(&out.config); });
  read("em2dlayer", [&] { db.read(out.layers); });
  read("emnet", [&] { db.read(out.nets); });
  const auto layer = out.layers.by(&EM2DLayer::id);
  const auto net = out.nets.by(&EM2DNet::id);
  read("em2dsignal", [&] { db.read(out.signals, layer); });
  read("em2dvertex", [&] { db.read(out.vertices, {}, out.layers.by(&EM2DLayer::name)); });
  const auto vertex = out.vertices.by(&EM2DVertex::id);
  read("em2dtrace", [&] { db.read(out.traces, net, vertex); });
  read("em2dvia", [&] { db.read(out.vias, net, vertex); });
  read("em2dshape", [&] { db.read(out.shapes, layer, net, ""); });
  read("em2dcircuit", [&] { db.read(out.circuits, vertex); });
  const NoOutput quiet;
  Mesh2DPlat::currentRoot->tree->print(0);
}

/// Saves what is open, opens that and saves it again. Throws when anything fails or when equal data give other bytes.
inline void save_twice(Mesh2DPlat::DBZydata& db) {
  db.save("saved");
  db.openem(true, "saved");
  db.save("saved again");
  if (file("saved") != file("saved again")) throw std::logic_error("equal data were saved differently");
}

}  // namespace TestSupport
