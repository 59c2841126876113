// A layout as a program holds it: what the tests of the database write, read back and compare.
#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "facade/DBZydata.h"
#include "facade/ModelAccess.h"
#include "model/EM2D.h"
#include "model/SImeshConfig.h"

namespace TestSupport {

using namespace Mesh2DPlat;

/// Objects that go with the list.
template <class T>
class Owned : public std::vector<T*> {
 public:
  Owned() = default;
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() {
    for (T* object : *this) delete object;
  }

  template <class... Arguments>
  T* add(Arguments&&... arguments) {
    this->push_back(new T(std::forward<Arguments>(arguments)...));
    return this->back();
  }
  /// The objects by what `key` says of them.
  template <class Key>
  auto by(Key key) const {
    std::unordered_map<std::remove_cvref_t<decltype((this->front()->*key)())>, T*> table;
    for (T* object : *this) table.emplace((object->*key)(), object);
    return table;
  }
};

struct Layout {
  Owned<EM2DLayer> layers;
  Owned<EM2DNet> nets;
  Owned<EM2DSignal> signals;
  Owned<EM2DVertex> vertices;
  Owned<EM2DTrace> traces;
  Owned<EM2DVia> vias;          // after a read the polygon vias, too
  Owned<EM2DPolyVia> polyVias;  // to be written
  Owned<EM2DShape> shapes;
  Owned<EM2DCircuit> circuits;
  SImeshConfig config;

  void write(DBInterface& db) {
    db.write(&config);
    db.write(layers);
    db.write(nets);
    db.write(signals);
    db.write(vertices);
    db.write(traces);
    db.write(vias);
    db.write(polyVias);
    db.write(shapes, "unused");
    db.write(circuits);
  }

  /// Reads each kind through the tables of those before it; true when every read says so.
  bool read(DBInterface& db) {
    bool result = db.read(&config) && db.read(layers) && db.read(nets);
    const auto layer = layers.by(&EM2DLayer::id);
    const auto net = nets.by(&EM2DNet::id);
    result = result && db.read(signals, layer) && db.read(vertices, {}, layers.by(&EM2DLayer::name));
    const auto vertex = vertices.by(&EM2DVertex::id);
    return result && db.read(traces, net, vertex) && db.read(vias, net, vertex) &&
           db.read(shapes, layer, net, "unused") && db.read(circuits, vertex);
  }
};

template <class Visit>
void visit_settings(Visit visit) {
  std::apply([&](const auto&... setting) { (visit(setting), ...); }, ModelAccess::settings(ModelAccess::Settings()));
}

/// Sets each setting to the next value of its type.
template <class Double, class Int, class Text>
void set_settings(SImeshConfig& config, Double next_number, Int next_integer, Text next_text) {
  visit_settings([&](const auto& setting) {
    using Value = std::remove_cvref_t<decltype(std::invoke(setting.get, config))>;
    if constexpr (std::is_same_v<Value, double>) std::invoke(setting.set, config, next_number());
    if constexpr (std::is_same_v<Value, int>) std::invoke(setting.set, config, next_integer());
    if constexpr (std::is_same_v<Value, std::string>) std::invoke(setting.set, config, next_text());
  });
}

/// Every bit of a number.
inline std::string bits(double value) { return std::to_string(std::bit_cast<std::uint64_t>(value)); }

inline std::string bits(const std::vector<double>& values) {
  std::string text = "(";
  for (const double value : values) text += bits(value) + " ";
  return text + ")";
}

template <class Object>
std::string reference(const Object* object) {
  return object == nullptr ? "none" : std::to_string(object->id());
}

/// One line per object and setting with everything that a database keeps of it; the option word of a trace, which it
/// does not keep, is left out.
inline std::vector<std::string> describe(const Layout& layout) {
  std::vector<std::string> lines;
  const auto line = [&](const auto&... parts) {
    std::string text;
    ((text += std::string(parts) + "|"), ...);
    lines.push_back(text);
  };
  const auto number = [](auto value) { return std::to_string(static_cast<int>(value)); };
  visit_settings([&](const auto& setting) {
    const auto value = std::invoke(setting.get, layout.config);
    if constexpr (std::is_same_v<decltype(value), const std::string>) line("setting", value);
    if constexpr (std::is_same_v<decltype(value), const int>) line("setting", number(value));
    if constexpr (std::is_same_v<decltype(value), const double>) line("setting", bits(value));
  });
  for (const auto* o : layout.layers) line("layer", number(o->id()), o->name(), bits(o->z()));
  for (const auto* o : layout.nets) line("net", number(o->id()), number(o->type()), o->name());
  for (const auto* o : layout.signals) {
    line("signal", number(o->id()), o->name(), bits(o->z()), reference(o->patchLayer()));
  }
  for (const auto* o : layout.vertices) {
    line("vertex", number(o->id()), o->name(), bits(o->x()), bits(o->y()), bits(o->z()), number(o->type()),
         reference(o->layer()), reference(o->upLayer()), reference(o->lowLayer()), number(o->options()));
  }
  for (const auto* o : layout.traces) {
    line("trace", o->name(), reference(o->net()), reference(o->startVertex()), reference(o->endVertex()));
  }
  const auto via = [&](const EM2DVia* o) {
    const auto* poly = dynamic_cast<const EM2DPolyVia*>(o);
    line("via", o->name(), reference(o->net()), reference(o->startVertex()), reference(o->endVertex()),
         bits(o->radius()), poly == nullptr ? "plain" : number(poly->polyType()) + bits(poly->coordinates()));
  };
  for (const auto* o : layout.vias) via(o);
  for (const auto* o : layout.polyVias) via(o);
  for (const auto* o : layout.shapes) {
    line("shape", o->name(), reference(o->layer()), reference(o->net()), number(o->type()), number(o->option()),
         bits(o->coordinates()));
  }
  for (const auto* o : layout.circuits) {
    std::string pins;
    for (const auto& [name, vertex] : o->pins()) pins += name + ":" + reference(vertex) + " ";
    line("circuit", o->name(), pins, number(o->option()));
  }
  return lines;
}

/// Fills an empty layout with objects of every kind and values that are easily lost: the content of full.zydat.
inline void fill(Layout& layout) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kTiny = std::numeric_limits<double>::denorm_min();
  const auto kNan = std::bit_cast<double>(std::uint64_t{0x7ff8000000c0ffee});
  constexpr int kMin = std::numeric_limits<int>::min();
  std::string longName;
  for (int i = 0; i < 75; ++i) longName += "long";

  const double numbers[] = {0.25, -0.0, kInfinity, -kInfinity, kTiny, std::numeric_limits<double>::max(), 1e-6, 1e-9,
                            0.1,  -1.5, 2,         3,          4};
  const int integers[] = {8, -1, kMin};
  const std::string texts[] = {"fast", "", std::string("a\0b", 3), longName, "case.txt"};
  set_settings(
      layout.config, [next = numbers]() mutable { return *next++; }, [next = integers]() mutable { return *next++; },
      [next = texts]() mutable { return *next++; });

  EM2DLayer* top = layout.layers.add(0, "TOP", 0.0);
  EM2DLayer* low = layout.layers.add(-5, longName, -0.035);
  layout.layers.add(std::numeric_limits<int>::max(), "", -0.0);

  EM2DNet* ground = layout.nets.add(1, EM2DNet::Type::Power, "GND");
  EM2DNet* unnamed = layout.nets.add(2, EM2DNet::Type{77}, "");
  EM2DNet* odd = layout.nets.add(-7, EM2DNet::Type{-3}, std::string("A\0B", 3));

  layout.signals.add(1, "S1", 0.5, low);
  layout.signals.add(2, "S2", -0.0, nullptr);

  EM2DVertex* v0 = layout.vertices.add(10, "v0", -0.0, 1.5, 0.0, 0, top, nullptr, low, 5);
  EM2DVertex* v1 = layout.vertices.add(11, "", kInfinity, -kInfinity, kNan, -1, nullptr, top, nullptr, kMin);

  layout.shapes.add("outline", top, ground, EM2DShape::Type::Fill, 3, std::vector<double>{0, 0, 10, 0, 10, -0.0});
  layout.shapes.add("", low, odd, EM2DShape::Type{99}, -1, std::vector<double>());
  layout.shapes.add("dot", top, unnamed, EM2DShape::Type::None, 0, std::vector<double>{kNan, kTiny});

  layout.vias.add("via", ground, v0, v1, 0.3);
  layout.vias.add("", odd, v1, v0, -0.0);
  layout.polyVias.add("slot", unnamed, v1, v0, EM2DPolyVia::PolyType::Slot, std::vector<double>{1, 2, 3, 4});
  layout.polyVias.add("none", ground, v0, v0, EM2DPolyVia::PolyType{-9}, std::vector<double>());
  layout.traces.add("t", ground, v0, v1, 99);
  layout.traces.add("", unnamed, v1, v0, -99);

  EM2DCircuit* first = layout.circuits.add("U1");
  first->addPin("1", v0);
  first->addPin("2", v1);
  first->addPin("1", v1);
  first->setOption(4);
  EM2DCircuit* second = layout.circuits.add("");
  second->addPin("2", v0);
  second->addPin("", v0);
  layout.circuits.add("U3")->setOption(-4);
}

}  // namespace TestSupport
