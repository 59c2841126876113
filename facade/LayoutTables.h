// The tables of the layout objects.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "facade/DBInterface.h"
#include "facade/EntityTable.h"
#include "facade/LayoutProxies.h"

namespace Mesh2DPlat {

class NetTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DNetProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DNet*>& nets);
  void read(ZyData::DataObj& tree, std::vector<EM2DNet*>& nets);
};

class VertexTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DVertexProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DVertex*>& vertices);
  void read(ZyData::DataObj& tree, std::vector<EM2DVertex*>& vertices, const Table<std::string, EM2DLayer>& layers);
};

class LayerTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DLayerProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DLayer*>& layers);
  void read(ZyData::DataObj& tree, std::vector<EM2DLayer*>& layers);
};

class SignalTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DSignalProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DSignal*>& signals);
  void read(ZyData::DataObj& tree, std::vector<EM2DSignal*>& signals, const Table<int, EM2DLayer>& layers);
};

class ShapeTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DShapeProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DShape*>& shapes);
  void read(ZyData::DataObj& tree, std::vector<EM2DShape*>& shapes, const Table<int, EM2DLayer>& layers,
            const Table<int, EM2DNet>& nets);
};

class ViaTableEntity final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DViaProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DVia*>& vias);
  void read(ZyData::DataObj& tree, std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
            const Table<int, EM2DVertex>& vertices);
};

class PolyViaTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DPolyViaProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DPolyVia*>& vias);
  /// Appends all polygon vias or, when one throws, none.
  void read(ZyData::DataObj& tree, std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
            const Table<int, EM2DVertex>& vertices);
};

class TraceTable final : public EntityTable {
 public:
  void define(ZyData::Schema& top) const override { define_frame<EM2DTraceProxy>(top); }
  void write(ZyData::DataObj& tree, const std::vector<EM2DTrace*>& traces);
  void read(ZyData::DataObj& tree, std::vector<EM2DTrace*>& traces, const Table<int, EM2DNet>& nets,
            const Table<int, EM2DVertex>& vertices);
};

class PinIndex;

/// Pins and circuits: a circuit's row refers to the rows of its pin names, which are distinct over all circuits.
class PinTable final : public EntityTable {
 public:
  PinTable();
  ~PinTable() override;

  /// Of all that is read from now on, in every database; 0: 64 times what the database takes in a file and 256 MiB.
  static void limit_circuits(std::uint64_t bytes);
  /// Gives back what is kept between two writes.
  void forget_names();

  void define(ZyData::Schema& top) const override {
    define_frame<EM2DPin>(top);
    define_frame<EM2DCircuitProxy>(top);
  }
  /// Throws Util::Error unless both tables are there and all circuits name pins that exist.
  static void check(ZyData::DataObj& tree);
  void write(ZyData::DataObj& tree, const std::vector<EM2DCircuit*>& circuits);
  /// Throws Util::Error, and reads none, when all circuits would take more memory than the limit.
  void read(ZyData::DataObj& tree, std::vector<EM2DCircuit*>& circuits, const Table<int, EM2DVertex>& vertices);

 private:
  std::unique_ptr<PinIndex> d_index;  // null until the first write
};

}  // namespace Mesh2DPlat
