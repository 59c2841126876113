// What a tree is, by its tables, and which of them it lacks.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <tuple>

#include "facade/ConfigTable.h"
#include "facade/LayoutProxies.h"
#include "facade/MeshProxies.h"
#include "facade/MeshRecord.h"
#include "facade/Probe.h"
#include "zydata/object/data.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeName.h"

namespace Mesh2DPlat {
namespace {

/// Row structures of tables, in the order of a file.
template <class... P>
struct Rows {};

using DatabaseRows = Rows<EM2DNetProxy, EM2DVertexProxy, EM2DLayerProxy, EM2DSignalProxy, EM2DShapeProxy, EM2DViaProxy,
                          EM2DPolyViaProxy, EM2DTraceProxy, EM2DPin, EM2DCircuitProxy>;
using MeshRows =
    Rows<MeshLayerProxy, MeshMetalProxy, MeshMediumProxy, MAShapeProxy, SpecialVoidProxy, ViaMeshProxy, MeshViaProxy,
         EMMeshVertexProxy, EM2DShapeProxy, MeshNodeProxy, MeshEdgeProxy, MeshFaceProxy, MeshPolygonProxy>;

template <class P>
bool is_table_of(const ZyData::Schema& field) {
  return field.name() == P::kTable || field.type_name() == ZyData::element_type_name<P>();
}

template <class... P>
std::size_t count_tables(const ZyData::Schema& top, Rows<P...>) {
  const auto& fields = top.fields();
  return static_cast<std::size_t>(
      std::count_if(fields.begin(), fields.end(), [](const auto& field) { return (is_table_of<P>(*field) || ...); }));
}

FileKind kind_of(const ZyData::Schema& top) {
  constexpr std::size_t kEnough = 2;
  const std::size_t database = count_tables(top, DatabaseRows()) + (ConfigTable::is_defined_in(top) ? 1 : 0);
  const std::size_t mesh = count_tables(top, MeshRows());
  if (std::max(database, mesh) < kEnough) return FileKind::other;
  return database >= mesh ? FileKind::database : FileKind::mesh;
}

template <class M>
void find_column_gap(ZyData::DataObj& frame, const char* table, const char* name, std::vector<ContentGap>& gaps) {
  const auto column = frame.find_path_or_null(name);
  if (dynamic_cast<const typename ColumnOf<M>::type*>(column.get()) != nullptr) return;
  gaps.push_back({table, name, column != nullptr});
}

template <class P>
void find_gaps(ZyData::DataObj& tree, std::vector<ContentGap>& gaps, const char* table = P::kTable) {
  const auto frame = tree.find_path_or_null(table);
  if (dynamic_cast<const ZyData::Frame<P>*>(frame.get()) == nullptr) {
    gaps.push_back({table, "", frame != nullptr});
    return;
  }
  std::apply(
      [&]<class... M>(const RowField<P, M>&... field) { (find_column_gap<M>(*frame, table, field.name, gaps), ...); },
      P::fields());
}

template <class... P>
void find_table_gaps(ZyData::DataObj& tree, Rows<P...>, std::vector<ContentGap>& gaps) {
  (find_gaps<P>(tree, gaps), ...);
}

std::string describe(const ContentGap& gap) {
  std::string text = "table \"" + gap.table + "\"";
  if (!gap.column.empty()) text = "column \"" + gap.column + "\" of " + text;
  return text + (gap.isOfOtherType ? " is of another type" : " is missing");
}

}  // namespace

std::string FileContent::text() const {
  std::string text;
  for (const ContentGap& gap : gaps) text += (text.empty() ? "" : ", ") + describe(gap);
  if (!text.empty()) text = (kind == FileKind::mesh ? "a mesh of which " : "a database of which ") + text;
  return text;
}

FileContent probeContent(ZyData::DataObj& tree) {
  FileContent content;
  if (tree.schema() == nullptr) return content;
  content.kind = kind_of(*tree.schema());
  if (content.kind == FileKind::database) {
    ConfigTable::find_gaps(tree, content.gaps);
    find_table_gaps(tree, DatabaseRows(), content.gaps);
  } else if (content.kind == FileKind::mesh) {
    find_table_gaps(tree, MeshRows(), content.gaps);
    if (tree.find_path_or_null(kNegativePolygons) != nullptr) {
      find_gaps<MeshPolygonProxy>(tree, content.gaps, kNegativePolygons);
    }
  }
  return content;
}

}  // namespace Mesh2DPlat
