// This program's objects <-> rows, in place of the library's header of the same name.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include "facade/MeshAccess.h"
#include "facade/ModelBinding.h"
#include "model/Board.h"
#include "model/ModelTypes.h"

namespace Mesh2DPlat::ModelAccess {

// --- objects with an id or a name ---
inline EM2DLayerProxy row_of(const Board::Layer& layer) { return {layer.id, layer.name, layer.height}; }
inline std::unique_ptr<Board::Layer> make_layer(const EM2DLayerProxy& row) {
  return std::unique_ptr<Board::Layer>(new Board::Layer{row.id, std::string(row.name), row.z});
}

inline EM2DNetProxy row_of(const Board::Net& net) { return {net.id, EM2DNetProxy::eType{net.type}, net.name}; }
inline std::unique_ptr<Board::Net> make_net(const EM2DNetProxy& row) {
  return std::unique_ptr<Board::Net>(new Board::Net{row.id, row.type, std::string(row.name)});
}

inline EM2DSignalProxy row_of(const Board::Signal& signal) {
  return {signal.id, signal.name, signal.height, signal.patch == nullptr ? -1 : signal.patch->id};
}
inline std::unique_ptr<Board::Signal> make_signal(const EM2DSignalProxy& row, Board::Layer* patch) {
  return std::unique_ptr<Board::Signal>(new Board::Signal{row.id, std::string(row.name), row.z, patch});
}

inline std::string_view name_of(const Board::Layer* layer) {
  return layer == nullptr ? std::string_view() : std::string_view(layer->name);
}
inline EM2DVertexProxy row_of(const Board::Point& point) {
  return {point.id,
          point.name,
          point.x,
          point.y,
          point.z,
          point.type,
          name_of(point.layer),
          name_of(point.above),
          name_of(point.below),
          point.options};
}
inline std::unique_ptr<Board::Point> make_vertex(const EM2DVertexProxy& row, Board::Layer* layer, Board::Layer* above,
                                                 Board::Layer* below) {
  return std::unique_ptr<Board::Point>(
      new Board::Point{row.id, std::string(row.name), row.x, row.y, row.z, row.type, layer, above, below, row.options});
}

// --- objects between two points; present() names the object that lacks one ---
inline EM2DTraceProxy row_of(const Board::Track& track) {
  return {track.name, present(track.net, "net", track.name).id, present(track.from, "start", track.name).id,
          present(track.to, "end", track.name).id};
}
inline std::unique_ptr<Board::Track> make_trace(const EM2DTraceProxy& row, Board::Net* net, Board::Point* from,
                                                Board::Point* to) {
  return std::unique_ptr<Board::Track>(new Board::Track{std::string(row.name), net, from, to});
}

inline EM2DViaProxy row_of(const Board::Hole& hole) {
  return {hole.name, present(hole.net, "net", hole.name).id, present(hole.from, "start", hole.name).id,
          present(hole.to, "end", hole.name).id, hole.radius};
}
inline std::unique_ptr<Board::Hole> make_via(const EM2DViaProxy& row, Board::Net* net, Board::Point* from,
                                             Board::Point* to) {
  return std::unique_ptr<Board::Hole>(new Board::Hole{std::string(row.name), net, from, to, row.r});
}

inline EM2DPolyViaProxy row_of(const Board::Slot& slot) {
  return {slot.name,
          present(slot.net, "net", slot.name).id,
          present(slot.from, "start", slot.name).id,
          present(slot.to, "end", slot.name).id,
          EM2DPolyViaProxy::ePolyType{slot.type},
          slot.outline};
}
inline std::unique_ptr<Board::Slot> make_poly_via(const EM2DPolyViaProxy& row, Board::Net* net, Board::Point* from,
                                                  Board::Point* to) {
  return std::unique_ptr<Board::Slot>(
      new Board::Slot{{std::string(row.name), net, from, to, 0, true}, row.polytype, row.coord.to_vector()});
}
inline std::string_view name_of(const Board::Hole& hole) { return hole.name; }

// --- areas and parts ---
inline EM2DShapeProxy row_of(const Board::Area& area) {
  return {area.name,
          present(area.layer, "layer", area.name).id,
          present(area.net, "net", area.name).id,
          EM2DShapeProxy::eType{area.type},
          area.option,
          area.outline};
}
inline std::unique_ptr<Board::Area> make_shape(const EM2DShapeProxy& row, Board::Layer* layer, Board::Net* net) {
  return std::unique_ptr<Board::Area>(
      new Board::Area{std::string(row.name), layer, net, row.type, row.option, row.vertexs.to_vector()});
}

inline EM2DCircuitProxy row_of(const Board::Part& part) { return {part.name, {}, {}, part.option}; }
inline std::unique_ptr<Board::Part> make_circuit(std::string_view name) {
  return std::unique_ptr<Board::Part>(new Board::Part{std::string(name), {}});
}
inline std::size_t pin_count(const Board::Part& part) { return part.pins.size(); }
template <class Visitor>
void visit_pins(const Board::Part& part, Visitor&& visit) {
  for (const auto& [name, point] : part.pins)
    visit(std::string_view(name), present(point, "point at a pin", part.name).id);
}
inline void add_pin(Board::Part& part, std::string_view name, Board::Point* point) {
  part.pins.emplace_back(name, point);
}
inline void set_option(Board::Part& part, int option) { part.option = option; }

// --- reading a mesh: layout layers, nets and shapes of its file are not wanted ---
inline Board::Layer* layer_of(Board::Listener&, int) { return nullptr; }
inline Board::Net* net_of(Board::Listener&, int) { return nullptr; }
inline bool wants_shapes(const Board::Listener&) { return false; }
inline void shape_read(Board::Listener&, std::unique_ptr<Board::Area>) {}
inline void neg_polygon_read(Board::Listener&, SImesh2D&, std::size_t) {}

// --- settings: members and lambdas ---
/// A setting that lies among the others.
template <SettingName name, class T>
constexpr auto other() {
  return setting<name>(
      [](const Board::Settings& settings) {
        const auto found = settings.others.find(std::string(name.view()));
        return found == settings.others.end() ? T() : std::get<T>(found->second);
      },
      [](Board::Settings& settings, T value) {
        settings.others[std::string(name.view())] = std::move(value);
        ++settings.changes;
      });
}

constexpr auto settings(Settings) {
  return std::make_tuple(
      setting<"thetamin">(&Board::Settings::smallestAngle, &Board::Settings::setSmallestAngle),
      other<"simplifyAngle", double>(), other<"maxEdgeLen", double>(), other<"minEdgeLen", double>(),
      other<"smallHoleThreshold", double>(), other<"alignAbsorb", double>(), other<"calcPrecision", double>(),
      other<"compPrecision", double>(), other<"calcPrecision2", double>(), other<"geomPrecision", double>(),
      other<"mesheps", double>(), other<"calcPrecisionFor1AndT", double>(), other<"refdistance", double>(),
      other<"customCpuNum", int>(), other<"mode", int>(), other<"ppid", int>(), other<"option", std::string>(),
      other<"resourceFile", std::string>(), other<"runTimeErrorFile", std::string>(),
      other<"winContentFile", std::string>(), other<"casefile", std::string>());
}

}  // namespace Mesh2DPlat::ModelAccess
