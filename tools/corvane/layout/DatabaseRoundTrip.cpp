#include "tools/corvane/layout/DatabaseRoundTrip.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "tools/corvane/layout/IdTable.h"
#include "tools/corvane/layout/LayoutCheck.h"

namespace CorvaneTool {
namespace {

using namespace Mesh2DPlat;

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

Layout read_tables(DBZydata& database, const AtTable& at_table) {
  Layout layout;
  database.read(&layout.config);
  const auto read = [&](const char* table, auto& objects, const auto&... more) {
    at_table(table);
    database.read(objects.handed_over(), more...);
  };
  read("em2dlayer", layout.layers);
  read("emnet", layout.nets);
  const Table<int, EM2DLayer> layers = table_by_id(layout.layers);
  const Table<int, EM2DNet> nets = table_by_id(layout.nets);
  read("em2dsignal", layout.signals, layers);
  read("em2dvertex", layout.vertices, layers, table_by_name(layout.layers));
  const Table<int, EM2DVertex> vertices = table_by_id(layout.vertices);
  read("em2dtrace", layout.traces, nets, vertices);
  read("em2dvia", layout.vias, nets, vertices);
  split_off_polygon_vias(layout);
  read("em2dshape", layout.shapes, layers, nets, "");
  read("em2dcircuit", layout.circuits, vertices);
  return layout;
}

}  // namespace

void write_layout(DBZydata& database, const Layout& layout, const AtTable& at_table) {
  SImeshConfig config = layout.config;
  database.write(&config);
  for_each_table(layout, [&](const char* table, const auto& objects) {
    at_table(table);
    if constexpr (std::is_same_v<decltype(objects), const OwnedList<EM2DShape>&>) {
      database.write(objects.items(), "");
    } else {
      database.write(objects.items());
    }
  });
}

Layout read_layout(DBZydata& database, const AtTable& at_table) {
  try {
    Layout layout = read_tables(database, at_table);
    check_lengths(layout);
    return layout;
  } catch (const DanglingReference& error) {
    throw std::runtime_error(error.table() + " row " + std::to_string(error.row()) + ": names " + error.id() +
                             ", which the file does not have");
  }
}

}  // namespace CorvaneTool
