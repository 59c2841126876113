#include "tools/corvane/layout/DatabaseRoundTrip.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

namespace CorvaneTool {
namespace {

using namespace Mesh2DPlat;

template <class T>
Table<int, T> table_by_id(const OwnedList<T>& list) {
  Table<int, T> table;
  table.reserve(list.size());
  for (T* item : list) table.emplace(item->id(), item);
  return table;
}

Table<std::string, EM2DLayer> table_by_name(const OwnedList<EM2DLayer>& layers) {
  Table<std::string, EM2DLayer> table;
  for (EM2DLayer* layer : layers) table.emplace(layer->name(), layer);
  return table;
}

// Databases append polygon vias to the plain ones that they read.
void split_off_polygon_vias(Layout& layout) {
  std::vector<EM2DVia*>& vias = layout.vias.handed_over();
  const auto is_polygon_via = [](const EM2DVia* via) { return dynamic_cast<const EM2DPolyVia*>(via) != nullptr; };
  const auto first = std::find_if(vias.begin(), vias.end(), is_polygon_via);
  if (!std::all_of(first, vias.end(), is_polygon_via))
    throw std::runtime_error("a plain via was read after polygon vias");
  std::vector<EM2DPolyVia*>& polygon_vias = layout.poly_vias.handed_over();
  polygon_vias.reserve(static_cast<std::size_t>(vias.end() - first));  // from here on nothing throws: one owner each
  std::transform(first, vias.end(), std::back_inserter(polygon_vias),
                 [](EM2DVia* via) { return static_cast<EM2DPolyVia*>(via); });
  vias.erase(first, vias.end());
}

}  // namespace

void write_layout(DBZydata& database, const Layout& layout) {
  SImeshConfig config = layout.config;
  database.write(&config);
  database.write(layout.layers.items());
  database.write(layout.nets.items());
  database.write(layout.signals.items());
  database.write(layout.vertices.items());
  database.write(layout.traces.items());
  database.write(layout.vias.items());
  database.write(layout.poly_vias.items());
  database.write(layout.shapes.items(), "");
  database.write(layout.circuits.items());
}

Layout read_layout(DBZydata& database) {
  Layout layout;
  database.read(&layout.config);
  database.read(layout.layers.handed_over());
  database.read(layout.nets.handed_over());
  const Table<int, EM2DLayer> layers = table_by_id(layout.layers);
  const Table<int, EM2DNet> nets = table_by_id(layout.nets);
  database.read(layout.signals.handed_over(), layers);
  database.read(layout.vertices.handed_over(), layers, table_by_name(layout.layers));
  const Table<int, EM2DVertex> vertices = table_by_id(layout.vertices);
  database.read(layout.traces.handed_over(), nets, vertices);
  database.read(layout.vias.handed_over(), nets, vertices);
  split_off_polygon_vias(layout);
  database.read(layout.shapes.handed_over(), layers, nets, "");
  database.read(layout.circuits.handed_over(), vertices);
  return layout;
}

}  // namespace CorvaneTool
