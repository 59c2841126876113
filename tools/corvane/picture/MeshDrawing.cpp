#include "tools/corvane/picture/MeshDrawing.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/corvane/picture/MeshColumns.h"
#include "tools/corvane/picture/MeshNets.h"

namespace CorvaneTool {
namespace {

class MeshDrawing {
 public:
  explicit MeshDrawing(ZyData::DataObj& record)
      : d_record(record),
        d_layer_table(record, "meshlayer"),
        d_node_table(record, "meshnode"),
        d_face_table(record, "meshface"),
        d_layers(d_layer_table),
        d_nodes(d_node_table),
        d_faces(d_face_table) {}

  Drawing draw() {
    list_layers();
    place_nodes();
    MeshNets nets(d_places, d_face_table.rows());
    draw_polygons(nets);
    draw_edges(nets);
    draw_faces(nets);
    if (d_record.find_path_or_null("negpolymesh") != nullptr) draw_holes();
    draw_voids();
    draw_vias();
    draw_vertices();
    d_drawing.a_mark_is = "EM vertex";
    d_drawing.marks_are = "EM vertices";
    return std::move(d_drawing);
  }

 private:
  void list_layers() {
    const auto names = d_layer_table.texts("layer");
    for (std::size_t i = 0; i < d_layer_table.rows(); ++i) d_drawing.layers.emplace_back(names->view(i));
  }

  void place_nodes() {
    const auto x = d_node_table.numbers("x"), y = d_node_table.numbers("y");
    for (std::size_t i = 0; i < x.size(); ++i) d_places.push_back(drawn_point(x[i], y[i], d_node_table.row_name(i)));
  }

  // --- references ---

  // Rows of the mesh's layers; remembers what layout layers they stand for.
  std::vector<int> layers_of(const MeshTable& table) {
    const auto mesh_layers = table.integers("meshlayer"), layout_layers = table.integers("layer");
    std::vector<int> layers;
    layers.reserve(table.rows());
    for (std::size_t i = 0; i < table.rows(); ++i) {
      layers.push_back(d_layers.find_or_none(mesh_layers[i], table, "meshlayer", i));
      if (layers.back() >= 0) d_layer_of_layout.try_emplace(layout_layers[i], layers.back());
    }
    return layers;
  }

  int layer_of_layout(int id) const {
    const auto entry = d_layer_of_layout.find(id);
    return entry == d_layer_of_layout.end() ? -1 : entry->second;
  }

  int layer_named(std::string_view name) const {
    const auto entry = std::find(d_drawing.layers.begin(), d_drawing.layers.end(), name);
    return entry == d_drawing.layers.end() ? -1 : static_cast<int>(entry - d_drawing.layers.begin());
  }

  int net_named(std::string_view name) {
    if (name.empty()) return -1;
    const auto [entry, is_new] = d_nets.try_emplace(std::string(name), static_cast<int>(d_drawing.nets.size()));
    if (is_new) d_drawing.nets.emplace_back(name);
    return entry->second;
  }

  // Rows of the nodes that a row of another table lists.
  void find_nodes(const MeshTable& table, const ZyData::VarArray<int>& lists, std::size_t row,
                  std::vector<int>& nodes) {
    nodes.clear();
    for (const int id : lists.run(row)) nodes.push_back(d_nodes.find(id, table, "node", row));
  }

  Outline outline_of(const std::vector<int>& nodes) const {
    Outline outline;
    outline.reserve(nodes.size());
    for (const int node : nodes) outline.push_back(d_places[static_cast<std::size_t>(node)]);
    return outline;
  }

  // --- elements ---

  void draw_ring(int layer, int net, LineKind kind, Outline ring) {
    if (ring.size() < kFewestCorners) {
      ++d_drawing.not_drawn.polygons;
    } else {
      d_drawing.lines.push_back({layer, net, kind, std::move(ring)});
    }
  }

  void draw_polygons(MeshNets& nets) {
    const MeshTable table(d_record, "meshpolygon");
    const std::vector<int> layers = layers_of(table);
    const auto orientations = table.integers("orientation");
    const auto names = table.texts("net");
    const auto lists = table.integer_lists("node");
    std::vector<int> nodes;
    for (std::size_t i = 0; i < table.rows(); ++i) {
      find_nodes(table, *lists, i, nodes);
      const bool is_hole = orientations[i] < 0;
      const int net = net_named(names->view(i));
      nets.add_polygon(nodes, net, is_hole);
      draw_ring(layers[i], net, is_hole ? LineKind::Void : LineKind::Rim, outline_of(nodes));
    }
  }

  void draw_edges(MeshNets& nets) {
    const MeshTable table(d_record, "meshedge");
    const std::vector<int> layers = layers_of(table);
    const auto starts = table.integers("startnode"), ends = table.integers("endnode");
    const auto lefts = table.integers("leftface"), rights = table.integers("rightface");
    for (std::size_t i = 0; i < table.rows(); ++i) {
      const int start = d_nodes.find(starts[i], table, "startnode", i);
      const int end = d_nodes.find(ends[i], table, "endnode", i);
      const int left = d_faces.find_or_none(lefts[i], table, "leftface", i);
      const int right = d_faces.find_or_none(rights[i], table, "rightface", i);
      nets.add_edge(start, end, left, right);
      if (left < 0 && right < 0) d_drawing.lines.push_back({layers[i], -1, LineKind::Edge, outline_of({start, end})});
    }
  }

  void draw_faces(MeshNets& nets) {
    const std::vector<int> layers = layers_of(d_face_table);
    const auto lists = d_face_table.integer_lists("node");
    std::vector<int> nodes;
    for (std::size_t i = 0; i < d_face_table.rows(); ++i) {
      find_nodes(d_face_table, *lists, i, nodes);
      nets.add_face(static_cast<int>(i), nodes);
    }
    std::map<std::pair<int, int>, DrawnFaces> sets;
    for (std::size_t i = 0; i < d_face_table.rows(); ++i) {
      find_nodes(d_face_table, *lists, i, nodes);
      if (nodes.size() < kFewestCorners) {
        ++d_drawing.not_drawn.faces;
        continue;
      }
      const int net = nets.net_of(static_cast<int>(i));
      DrawnFaces& faces = sets.try_emplace({layers[i], net}, DrawnFaces{layers[i], net, {}, {}}).first->second;
      for (const int node : nodes) faces.corners.push_back(d_places[static_cast<std::size_t>(node)]);
      faces.ends.push_back(faces.corners.size());
    }
    for (auto& [place, faces] : sets) d_drawing.faces.push_back(std::move(faces));
  }

  void draw_holes() {
    const MeshTable table(d_record, "negpolymesh");
    const std::vector<int> layers = layers_of(table);
    const auto names = table.texts("net");
    const auto lists = table.integer_lists("node");
    std::vector<int> nodes;
    for (std::size_t i = 0; i < table.rows(); ++i) {
      find_nodes(table, *lists, i, nodes);
      draw_ring(layers[i], net_named(names->view(i)), LineKind::Void, outline_of(nodes));
    }
  }

  void draw_voids() {
    const MeshTable table(d_record, "specialvoid");
    const auto layers = table.integers("layerid");
    const auto names = table.texts("net");
    const auto rings = table.number_lists("vertex");
    for (std::size_t i = 0; i < table.rows(); ++i) {
      const auto ring = rings->run(i);
      draw_ring(d_layers.find_or_none(layers[i], table, "layerid", i), net_named(names->view(i)), LineKind::Void,
                drawn_outline(ring.data(), ring.size(), table.row_name(i)));
    }
  }

  void draw_vias() {
    const MeshTable table(d_record, "meshvia");
    const auto layers = table.integers("layer");
    const auto x = table.numbers("x"), y = table.numbers("y"), radii = table.numbers("radius");
    const auto names = table.texts("name");
    for (std::size_t i = 0; i < table.rows(); ++i) {
      const int layer = layer_of_layout(layers[i]);
      const std::int64_t radius = std::max<std::int64_t>(drawn_length(radii[i], table.row_name(i)), 0);
      d_drawing.holes.push_back(
          {layer, layer, -1, drawn_point(x[i], y[i], table.row_name(i)), radius, {}, std::string(names->view(i))});
    }
  }

  void draw_vertices() {
    const MeshTable table(d_record, "emmeshvertex");
    const auto layers = table.integers("nodelayer");
    const auto planes = table.texts("plane"), names = table.texts("name");
    const auto x = table.numbers("x"), y = table.numbers("y");
    for (std::size_t i = 0; i < table.rows(); ++i) {
      const int plane = layer_named(planes->view(i));
      d_drawing.marks.push_back({plane >= 0 ? plane : layer_of_layout(layers[i]), -1,
                                 drawn_point(x[i], y[i], table.row_name(i)), std::string(names->view(i))});
    }
  }

  ZyData::DataObj& d_record;
  const MeshTable d_layer_table, d_node_table, d_face_table;
  const RowsById d_layers, d_nodes, d_faces;
  Outline d_places;  // of nodes, by row
  std::map<int, int> d_layer_of_layout;
  std::map<std::string, int> d_nets;  // positions in the drawing
  Drawing d_drawing;
};

}  // namespace

Drawing draw_mesh(ZyData::DataObj& record) { return MeshDrawing(record).draw(); }

}  // namespace CorvaneTool
