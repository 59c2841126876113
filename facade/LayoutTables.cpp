#include "facade/LayoutTables.h"

#include <memory>
#include <utility>

#include "facade/Lookup.h"
#include "facade/Model.h"

namespace Mesh2DPlat {
namespace {

/// Resolves what traces, vias and polygon vias refer to.
class EndLookup {
 public:
  EndLookup(const Table<int, EM2DNet>& nets, const Table<int, EM2DVertex>& vertices, std::uint64_t rows)
      : d_nets(nets, rows), d_vertices(vertices, 2 * rows) {}

  /// Calls make(row, net, start vertex, end vertex).
  template <class P, class Make>
  auto operator()(const P& row, Make&& make) const {
    EM2DNet* net = d_nets[row.net];
    EM2DVertex* start = d_vertices[row.startver];
    EM2DVertex* end = d_vertices[row.endver];
    return make(row, net, start, end);
  }

 private:
  IdLookup<EM2DNet> d_nets;
  IdLookup<EM2DVertex> d_vertices;
};

template <class P>
std::uint64_t row_count(ZyData::DataObj& tree) {
  return tree.get<ZyData::Frame<P>>(P::kTable)->size();
}

template <class P, class Object>
void write_plainly(ZyData::DataObj& tree, const std::vector<Object*>& objects) {
  write_rows<P>(tree, objects, [](const Object& object) { return ModelAccess::row_of(object); });
}

}  // namespace

void NetTable::write(ZyData::DataObj& tree, const std::vector<EM2DNet*>& nets) {
  write_plainly<EM2DNetProxy>(tree, nets);
}

void NetTable::read(ZyData::DataObj& tree, std::vector<EM2DNet*>& nets) {
  read_rows<EM2DNetProxy>(tree, nets, [](const EM2DNetProxy& row) { return ModelAccess::make_net(row); });
}

void VertexTable::write(ZyData::DataObj& tree, const std::vector<EM2DVertex*>& vertices) {
  write_plainly<EM2DVertexProxy>(tree, vertices);
}

void VertexTable::read(ZyData::DataObj& tree, std::vector<EM2DVertex*>& vertices,
                       const Table<std::string, EM2DLayer>& layers) {
  NameLookup<EM2DLayer> layer(layers);
  NameLookup<EM2DLayer> upper(layers);
  NameLookup<EM2DLayer> lower(layers);
  read_rows<EM2DVertexProxy>(tree, vertices, [&](const EM2DVertexProxy& row) {
    EM2DLayer* at = layer[row.layer];
    EM2DLayer* above = upper[row.uplayer];
    return ModelAccess::make_vertex(row, at, above, lower[row.lowlayer]);
  });
}

void LayerTable::write(ZyData::DataObj& tree, const std::vector<EM2DLayer*>& layers) {
  write_plainly<EM2DLayerProxy>(tree, layers);
}

void LayerTable::read(ZyData::DataObj& tree, std::vector<EM2DLayer*>& layers) {
  read_rows<EM2DLayerProxy>(tree, layers, [](const EM2DLayerProxy& row) { return ModelAccess::make_layer(row); });
}

void SignalTable::write(ZyData::DataObj& tree, const std::vector<EM2DSignal*>& signals) {
  write_plainly<EM2DSignalProxy>(tree, signals);
}

void SignalTable::read(ZyData::DataObj& tree, std::vector<EM2DSignal*>& signals, const Table<int, EM2DLayer>& layers) {
  read_rows<EM2DSignalProxy>(tree, signals, [&](const EM2DSignalProxy& row) {
    // Only -1 stands for no layer; any other number, negative or not, must be in the table.
    return ModelAccess::make_signal(row, row.patch == -1 ? nullptr : look_up(layers, row.patch));
  });
}

void ShapeTable::write(ZyData::DataObj& tree, const std::vector<EM2DShape*>& shapes) {
  write_plainly<EM2DShapeProxy>(tree, shapes);
}

void ShapeTable::read(ZyData::DataObj& tree, std::vector<EM2DShape*>& shapes, const Table<int, EM2DLayer>& layers,
                      const Table<int, EM2DNet>& nets) {
  const std::uint64_t rows = row_count<EM2DShapeProxy>(tree);
  const IdLookup<EM2DLayer> layer(layers, rows);
  const IdLookup<EM2DNet> net(nets, rows);
  read_rows<EM2DShapeProxy>(tree, shapes, [&](const EM2DShapeProxy& row) {
    EM2DLayer* at = layer[row.layer];
    return ModelAccess::make_shape(row, at, net[row.net]);
  });
}

void ViaTableEntity::write(ZyData::DataObj& tree, const std::vector<EM2DVia*>& vias) {
  write_plainly<EM2DViaProxy>(tree, vias);
}

void ViaTableEntity::read(ZyData::DataObj& tree, std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
                          const Table<int, EM2DVertex>& vertices) {
  const EndLookup ends(nets, vertices, row_count<EM2DViaProxy>(tree));
  read_rows<EM2DViaProxy>(tree, vias, [&](const EM2DViaProxy& row) { return ends(row, ModelAccess::make_via); });
}

void PolyViaTable::write(ZyData::DataObj& tree, const std::vector<EM2DPolyVia*>& vias) {
  write_plainly<EM2DPolyViaProxy>(tree, vias);
}

void PolyViaTable::read(ZyData::DataObj& tree, std::vector<EM2DVia*>& vias, const Table<int, EM2DNet>& nets,
                        const Table<int, EM2DVertex>& vertices) {
  const RowReader<EM2DPolyViaProxy> rows(tree);
  const EndLookup ends(nets, vertices, rows.size());
  std::vector<std::unique_ptr<EM2DPolyVia>> made;  // as what they are: nothing is deleted through a base class here
  made.reserve(rows.size());
  for (std::uint64_t i = 0; i < rows.size(); ++i) {
    made.push_back(at_row(EM2DPolyViaProxy::kTable, i, [&] { return ends(rows[i], ModelAccess::make_poly_via); }));
  }
  vias.reserve(vias.size() + made.size());
  for (auto& via : made) vias.push_back(via.release());
}

void TraceTable::write(ZyData::DataObj& tree, const std::vector<EM2DTrace*>& traces) {
  write_plainly<EM2DTraceProxy>(tree, traces);
}

void TraceTable::read(ZyData::DataObj& tree, std::vector<EM2DTrace*>& traces, const Table<int, EM2DNet>& nets,
                      const Table<int, EM2DVertex>& vertices) {
  const EndLookup ends(nets, vertices, row_count<EM2DTraceProxy>(tree));
  read_rows<EM2DTraceProxy>(tree, traces,
                            [&](const EM2DTraceProxy& row) { return ends(row, ModelAccess::make_trace); });
}

}  // namespace Mesh2DPlat
