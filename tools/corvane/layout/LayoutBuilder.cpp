#include "tools/corvane/layout/LayoutBuilder.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "tools/corvane/layout/PadOutlines.h"
#include "tools/corvane/layout/VertexTable.h"

namespace CorvaneTool {
namespace {

using namespace Mesh2DPlat;

constexpr int kIslandBit = 1;
constexpr int kCentreLineBit = 2;
constexpr int kBottomBit = 1;

double millimetres(std::int64_t nanometres) { return static_cast<double>(nanometres) / 1e6; }

std::vector<double> flattened(const Outline& outline) {
  std::vector<double> coordinates;
  coordinates.reserve(outline.size() * 2);
  for (const Point point : outline) {
    coordinates.push_back(millimetres(point.x));
    coordinates.push_back(millimetres(point.y));
  }
  return coordinates;
}

int option_of_width(std::int64_t width) {
  return static_cast<int>(std::clamp<std::int64_t>(width, 0, std::numeric_limits<int>::max()));
}

// "T17", "T17 w150000"
std::string numbered_name(char letter, std::size_t number) { return letter + std::to_string(number); }
std::string numbered_name(char letter, std::size_t number, std::int64_t width) {
  return numbered_name(letter, number) + " w" + std::to_string(width);
}

std::string pad_name(const Footprint& footprint, const Pad& pad) { return footprint.reference + "." + pad.number; }

struct Ends {
  int start, end;  // vertex ids
};

class LayoutBuilder {
 public:
  LayoutBuilder(const Board& board, SkippedItems& skipped, Allowance& allowance)
      : d_board(board), d_skipped(skipped), d_allowance(allowance) {}

  Layout build(const std::string& case_name) {
    find_vertices();
    make_layers();
    make_nets();
    make_vertices();
    make_traces();
    make_vias();
    make_areas(d_board.fills, EM2DShape::Type::Fill, 'F');
    make_pads();
    make_areas(d_board.graphics, EM2DShape::Type::Graphic, 'G');
    make_signals();
    set_config(case_name);
    return std::move(d_layout);
  }

 private:
  // --- vertices: all are found before any object is made, since later items still add roles ---

  void find_vertices() {
    d_vertices.reserve(d_board.tracks.size() + 2 * d_board.vias.size());
    for (const Track& track : d_board.tracks) find_track_vertices(track);
    for (const Via& via : d_board.vias) {
      d_via_ends.push_back({d_vertices.at(via.net, via.first_layer, via.position, kViaEnd),
                            d_vertices.at(via.net, via.last_layer, via.position, kViaEnd)});
    }
    for (const Footprint& footprint : d_board.footprints) {
      for (const Pad& pad : footprint.pads) d_pad_ends.push_back(find_pad_vertices(footprint, pad));
    }
  }

  void find_track_vertices(const Track& track) {
    const int start = d_vertices.at(track.net, track.layer, track.start, kTrackEnd);
    if (!track.middle) {
      d_trace_ends.push_back({start, d_vertices.at(track.net, track.layer, track.end, kTrackEnd)});
      return;
    }
    const int middle = d_vertices.at(track.net, track.layer, *track.middle, kTrackEnd);
    d_trace_ends.push_back({start, middle});
    d_trace_ends.push_back({middle, d_vertices.at(track.net, track.layer, track.end, kTrackEnd)});
  }

  // A pad without copper has none: -1.
  Ends find_pad_vertices(const Footprint& footprint, const Pad& pad) {
    if (!is_mapped(pad)) return {-1, -1};
    const auto [top, bottom] = std::minmax_element(pad.layers.begin(), pad.layers.end());
    const bool has_hole = is_plated_hole(pad);
    const int roles = has_hole ? kPadCentre | kViaEnd : kPadCentre;
    const int start = find_pad_vertex(footprint, pad, has_hole ? *top : pad.layers.front(), roles);
    return {start, has_hole ? find_pad_vertex(footprint, pad, *bottom, roles) : start};
  }

  int find_pad_vertex(const Footprint& footprint, const Pad& pad, int layer, int roles) {
    const int id = d_vertices.at(pad.net, layer, pad.position, roles);
    if (d_vertices[id].pad_name.empty()) {
      d_vertices[id].pad_name = pad_name(footprint, pad);
      d_allowance.take(d_vertices[id].pad_name.size());
    }
    return id;
  }

  static bool is_mapped(const Pad& pad) { return pad.kind != PadKind::UnplatedHole && !pad.layers.empty(); }
  static bool is_plated_hole(const Pad& pad) {
    return pad.kind == PadKind::PlatedHole && pad.hole.x > 0 && pad.hole.y > 0;
  }

  // --- objects ---

  void make_layers() {
    int id = 0;
    for (const CopperLayer& layer : d_board.layers) d_layout.layers.make(id++, layer.name, layer.height);
  }

  void make_nets() {
    std::vector<bool> is_filled(d_board.nets.size());
    for (const Area& fill : d_board.fills) is_filled[static_cast<std::size_t>(fill.net)] = true;
    for (std::size_t i = 0; i < d_board.nets.size(); ++i) {
      const NetTable::Net& net = d_board.nets[i];
      const auto type = net.id == 0 ? EM2DNet::Type::None : is_filled[i] ? EM2DNet::Type::Power : EM2DNet::Type::Signal;
      d_layout.nets.make(net.id, type, net.name);
    }
  }

  void make_vertices() {
    for (const VertexRecord& vertex : d_vertices.records()) make_vertex(vertex);
  }

  void make_vertex(const VertexRecord& vertex) {
    const std::size_t id = d_layout.vertices.size();
    const int type = vertex.roles & kPadCentre ? 2 : vertex.roles & kViaEnd ? 1 : 0;
    EM2DLayer* const layer = d_layout.layers[vertex.layer];
    EM2DLayer* const above = vertex.layer > 0 ? d_layout.layers[vertex.layer - 1] : nullptr;
    EM2DLayer* const below =
        vertex.layer + 1 < static_cast<int>(d_layout.layers.size()) ? d_layout.layers[vertex.layer + 1] : nullptr;
    d_allowance.take(2 * Allowance::kRow);
    for (const EM2DLayer* named : {layer, above, below}) d_allowance.take(named ? named->name().size() : 0);
    d_layout.vertices.make(static_cast<int>(id), vertex.pad_name.empty() ? numbered_name('N', id) : vertex.pad_name,
                           millimetres(vertex.position.x), millimetres(vertex.position.y), layer->z(), type, layer,
                           above, below, vertex.roles);
  }

  void make_traces() {
    for (const Track& track : d_board.tracks) {
      for (int parts = track.middle ? 2 : 1; parts > 0; --parts) {
        const std::size_t position = d_layout.traces.size();
        const auto [start, end] = d_trace_ends[position];
        d_allowance.take(Allowance::kRow);
        d_layout.traces.make(numbered_name('T', position + 1, track.width), d_layout.nets[track.net],
                             d_layout.vertices[start], d_layout.vertices[end], option_of_width(track.width));
      }
    }
  }

  void make_vias() {
    for (std::size_t i = 0; i < d_board.vias.size(); ++i)
      make_via(d_board.vias[i].net, d_via_ends[i], d_board.vias[i].drill);
  }

  void make_via(int net, Ends ends, std::int64_t drill) {
    d_allowance.take(Allowance::kRow);
    d_layout.vias.make(next_via_name(), d_layout.nets[net], d_layout.vertices[ends.start], d_layout.vertices[ends.end],
                       static_cast<double>(drill) / 2e6);
  }

  std::string next_via_name() const { return numbered_name('V', d_layout.vias.size() + d_layout.poly_vias.size() + 1); }

  void make_areas(const std::vector<Area>& areas, EM2DShape::Type type, char letter) {
    std::size_t number = 0;
    for (const Area& area : areas) {
      ++number;
      const int option = (area.is_island ? kIslandBit : 0) | (area.pen_width > 0 ? kCentreLineBit : 0);
      const std::string name =
          area.pen_width > 0 ? numbered_name(letter, number, area.pen_width) : numbered_name(letter, number);
      make_shape(name, area.layer, area.net, type, option, area.outline);
    }
  }

  void make_pads() {
    std::size_t position = 0;
    for (const Footprint& footprint : d_board.footprints) {
      auto circuit = std::make_unique<EM2DCircuit>(footprint.reference);
      circuit->setOption(footprint.is_on_bottom ? kBottomBit : 0);
      for (const Pad& pad : footprint.pads) make_pad(footprint, pad, d_pad_ends[position++], *circuit);
      if (circuit->pins().empty()) {
        d_skipped.add("footprint", "without pins");
      } else {
        d_layout.circuits.adopt(std::move(circuit));
      }
    }
  }

  void make_pad(const Footprint& footprint, const Pad& pad, Ends ends, EM2DCircuit& circuit) {
    if (pad.kind == PadKind::UnplatedHole) return d_skipped.add("pad", "unplated hole");
    if (pad.layers.empty()) return d_skipped.add("pad", "without copper");
    if (is_plated_hole(pad)) {
      make_hole(pad, ends);
    } else if (pad.kind == PadKind::PlatedHole) {
      d_skipped.add("pad hole", "without a size");
    }
    make_pad_shapes(pad_name(footprint, pad), pad);
    if (pad.number.empty()) {
      d_skipped.add("pin", "pad without a number");
    } else {
      circuit.addPin(pad.number, d_layout.vertices[ends.start]);
    }
  }

  void make_hole(const Pad& pad, Ends ends) {
    if (pad.hole.x == pad.hole.y) return make_via(pad.net, ends, pad.hole.x);
    d_layout.poly_vias.make(next_via_name(), d_layout.nets[pad.net], d_layout.vertices[ends.start],
                            d_layout.vertices[ends.end], EM2DPolyVia::PolyType::Slot, flattened(hole_outline(pad)));
  }

  void make_pad_shapes(const std::string& name, const Pad& pad) {
    if (pad.shape == PadShape::Other) d_skipped.add("pad", "of unknown shape");
    for (const Outline& outline : pad_outlines(pad)) {
      for (const int layer : pad.layers) {
        make_shape(name, layer, pad.net, EM2DShape::Type::Pad, 0, outline);
      }
    }
  }

  void make_shape(const std::string& name, int layer, int net, EM2DShape::Type type, int option,
                  const Outline& outline) {
    d_allowance.take(Allowance::kRow + name.size() + outline.size() * sizeof(Point));
    d_layout.shapes.make(name, d_layout.layers[layer], d_layout.nets[net], type, option, flattened(outline));
  }

  void make_signals() {
    std::vector<bool> has_tracks(d_board.layers.size()), has_fills(d_board.layers.size());
    for (const Track& track : d_board.tracks) has_tracks[static_cast<std::size_t>(track.layer)] = true;
    for (const Area& fill : d_board.fills) has_fills[static_cast<std::size_t>(fill.layer)] = true;
    for (std::size_t i = 0; i < has_tracks.size(); ++i) {
      if (!has_tracks[i]) continue;
      EM2DLayer* const layer = d_layout.layers[i];
      d_layout.signals.make(layer->id(), layer->name(), layer->z(), has_fills[i] ? layer : nullptr);
    }
  }

  // Settings that suit boards in millimetres.
  void set_config(const std::string& case_name) {
    SImeshConfig& config = d_layout.config;
    config.setThetamin(20);
    config.setSimplifyAngle(5);
    config.setMaxEdgeLen(2);
    config.setMinEdgeLen(0.05);
    config.setSmallHoleThreshold(0.1);
    config.setAlignAbsorb(1e-3);
    config.setCalcPrecision(1e-6);
    config.setCompPrecision(1e-6);
    config.setCalcPrecision2(1e-12);
    config.setGeomPrecision(1e-6);
    config.setMesheps(1e-9);
    config.setCalcPrecisionFor1AndT(1e-9);
    config.setRefdistance(1);
    config.setCasefile(case_name);
  }

  const Board& d_board;
  SkippedItems& d_skipped;
  Allowance& d_allowance;
  Layout d_layout;
  VertexTable d_vertices;
  std::vector<Ends> d_trace_ends;  // per trace
  std::vector<Ends> d_via_ends;    // per via of the board
  std::vector<Ends> d_pad_ends;    // per pad
};

}  // namespace

Layout build_layout(const Board& board, const std::string& case_name, SkippedItems& skipped, Allowance& allowance) {
  return LayoutBuilder(board, skipped, allowance).build(case_name);
}

}  // namespace CorvaneTool
