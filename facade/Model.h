// The caller's object types as the library uses them: ModelAccess.h, and a sentence for each thing that one lacks.
//
// A gap in a program's own ModelAccess.h is named here, before the compiler meets it where it is used.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "facade/ModelAccess.h"
#include "facade/ModelBinding.h"

namespace Mesh2DPlat::ModelAccess {

// Names are looked up where the arguments are known, so that a function that is not there makes a check false.
#define CORVANE_MODEL_OFFERS(function, Result, ...)                              \
  template <class... Arguments>                                                  \
  concept Offers_##function = requires(Arguments && ... arguments) {             \
    { function(std::forward<Arguments>(arguments)...) } -> std::same_as<Result>; \
  };                                                                             \
  static_assert(Offers_##function<__VA_ARGS__>, "ModelAccess.h must offer: " #Result " " #function "(" #__VA_ARGS__ ")")

#define CORVANE_MODEL_ACCEPTS(function, ...)                          \
  template <class... Arguments>                                       \
  concept Accepts_##function = requires(Arguments && ... arguments) { \
    function(std::forward<Arguments>(arguments)...);                  \
  };                                                                  \
  static_assert(Accepts_##function<__VA_ARGS__>, "ModelAccess.h must offer: " #function "(" #__VA_ARGS__ ")")

template <class Object, class Row>
concept Stored = requires(const Object& object) {
  { row_of(object) } -> std::same_as<Row>;
};
#define CORVANE_MODEL_STORES(Object, Row) \
  static_assert(Stored<Object, Row>, "ModelAccess.h must offer: " #Row " row_of(const " #Object "&)")

// --- layout objects ---
static_assert(std::is_convertible_v<EM2DPolyVia*, EM2DVia*>,
              "EM2DPolyVia must be derived from EM2DVia: a read of vias hands out both");
CORVANE_MODEL_STORES(EM2DLayer, EM2DLayerProxy);
CORVANE_MODEL_STORES(EM2DNet, EM2DNetProxy);
CORVANE_MODEL_STORES(EM2DSignal, EM2DSignalProxy);
CORVANE_MODEL_STORES(EM2DVertex, EM2DVertexProxy);
CORVANE_MODEL_STORES(EM2DTrace, EM2DTraceProxy);
CORVANE_MODEL_STORES(EM2DVia, EM2DViaProxy);
CORVANE_MODEL_STORES(EM2DPolyVia, EM2DPolyViaProxy);
CORVANE_MODEL_STORES(EM2DShape, EM2DShapeProxy);
CORVANE_MODEL_STORES(EM2DCircuit, EM2DCircuitProxy);
CORVANE_MODEL_OFFERS(make_layer, std::unique_ptr<EM2DLayer>, const EM2DLayerProxy&);
CORVANE_MODEL_OFFERS(make_net, std::unique_ptr<EM2DNet>, const EM2DNetProxy&);
CORVANE_MODEL_OFFERS(make_signal, std::unique_ptr<EM2DSignal>, const EM2DSignalProxy&, EM2DLayer*);
CORVANE_MODEL_OFFERS(make_vertex, std::unique_ptr<EM2DVertex>, const EM2DVertexProxy&, EM2DLayer*, EM2DLayer*,
                     EM2DLayer*);
CORVANE_MODEL_OFFERS(make_trace, std::unique_ptr<EM2DTrace>, const EM2DTraceProxy&, EM2DNet*, EM2DVertex*, EM2DVertex*);
CORVANE_MODEL_OFFERS(make_via, std::unique_ptr<EM2DVia>, const EM2DViaProxy&, EM2DNet*, EM2DVertex*, EM2DVertex*);
CORVANE_MODEL_OFFERS(make_poly_via, std::unique_ptr<EM2DPolyVia>, const EM2DPolyViaProxy&, EM2DNet*, EM2DVertex*,
                     EM2DVertex*);
CORVANE_MODEL_OFFERS(make_shape, std::unique_ptr<EM2DShape>, const EM2DShapeProxy&, EM2DLayer*, EM2DNet*);
CORVANE_MODEL_OFFERS(make_circuit, std::unique_ptr<EM2DCircuit>, std::string_view);
CORVANE_MODEL_OFFERS(pin_count, std::size_t, const EM2DCircuit&);
CORVANE_MODEL_ACCEPTS(visit_pins, const EM2DCircuit&, void (&)(std::string_view, int));
CORVANE_MODEL_ACCEPTS(add_pin, EM2DCircuit&, std::string_view, EM2DVertex*);
CORVANE_MODEL_ACCEPTS(set_option, EM2DCircuit&, int);

// --- meshes ---
static_assert(std::is_default_constructible_v<SImesh2D> && std::is_move_assignable_v<SImesh2D> &&
                  std::is_move_constructible_v<SImesh2D>,
              "SImesh2D must be default constructible and movable: a mesh is built beside the caller's and then moved "
              "into it");
template <class P, class Mesh = SImesh2D>
concept Elementary = requires(Mesh& mesh, const Mesh& stored, const P& row, std::size_t count) {
  list(mesh, Elements<P>()).reserve(count);
  list(mesh, Elements<P>()).push_back(element_of(row));
  { list(stored, Elements<P>()).size() } -> std::convertible_to<std::size_t>;
  { row_of(*list(stored, Elements<P>()).begin()) } -> std::same_as<P>;
};
#define CORVANE_MODEL_LISTS(Row)                                                                                     \
  static_assert(Elementary<Row>, "ModelAccess.h must offer, for a mesh's elements in rows of " #Row                  \
                                 ": list(mesh, Elements<" #Row ">) like a vector, for a mesh and a const one, " #Row \
                                 " row_of(const Element&) and Element element_of(const " #Row "&)")
CORVANE_MODEL_LISTS(MeshLayerProxy);
CORVANE_MODEL_LISTS(MeshMetalProxy);
CORVANE_MODEL_LISTS(MeshMediumProxy);
CORVANE_MODEL_LISTS(MAShapeProxy);
CORVANE_MODEL_LISTS(SpecialVoidProxy);
CORVANE_MODEL_LISTS(ViaMeshProxy);
CORVANE_MODEL_LISTS(EMMeshVertexProxy);
CORVANE_MODEL_LISTS(MeshNodeProxy);
CORVANE_MODEL_LISTS(MeshEdgeProxy);
CORVANE_MODEL_LISTS(MeshFaceProxy);
CORVANE_MODEL_LISTS(MeshPolygonProxy);

template <class Mesh>
concept WithNegativePolygons = requires(Mesh& mesh, const Mesh& stored, const MeshPolygonProxy& row) {
  negative_polygons(mesh).push_back(element_of(row));
  { row_of(*negative_polygons(stored).begin()) } -> std::same_as<MeshPolygonProxy>;
  { negative_polygons(stored).empty() } -> std::convertible_to<bool>;
};
static_assert(WithNegativePolygons<SImesh2D>,
              "ModelAccess.h must offer: negative_polygons(mesh) like a vector, for a mesh and a const one");
template <class Mesh>
concept WithVias = requires(const Mesh& mesh) {
  { row_of(**vias(mesh).begin()) } -> std::same_as<MeshViaProxy>;
  { vias(mesh).size() } -> std::convertible_to<std::size_t>;
};
static_assert(
    WithVias<SImesh2D>,
    "ModelAccess.h must offer: vias(const SImesh2D&), a list of pointers, and MeshViaProxy row_of(const SImeshVia&)");
CORVANE_MODEL_OFFERS(add_via, SImeshVia*, SImesh2D&, const MeshViaProxy&);
template <class Via>
concept Named = requires(const Via& via) {
  { name_of(via) } -> std::convertible_to<std::string_view>;
};
static_assert(Named<EM2DVia>, "ModelAccess.h must offer: std::string_view name_of(const EM2DVia&)");
CORVANE_MODEL_OFFERS(layer_of, EM2DLayer*, MeshReadInterface&, int);
CORVANE_MODEL_OFFERS(net_of, EM2DNet*, MeshReadInterface&, int);
CORVANE_MODEL_OFFERS(wants_shapes, bool, const MeshReadInterface&);
CORVANE_MODEL_ACCEPTS(shape_read, MeshReadInterface&, std::unique_ptr<EM2DShape>);
CORVANE_MODEL_ACCEPTS(neg_polygon_read, MeshReadInterface&, SImesh2D&, std::size_t);

// --- settings ---
template <class Tag>
concept WithSettings = requires(Tag tag) {
  settings(tag);
};
static_assert(
    WithSettings<Settings>,
    "ModelAccess.h must offer: constexpr auto settings(Settings), a tuple of one setting<name>(getter, setter) each");

/// The place of a setting in the tuple that settings() makes; its size when it is not there.
template <SettingName name, class Tuple>
struct SettingPlace;
template <SettingName name, class... S>
struct SettingPlace<name, std::tuple<S...>> {
  static constexpr std::size_t find() {
    std::size_t place = 0;
    static_cast<void>(((S::kName.view() == name.view() || (++place, false)) || ...));
    return place;
  }
};

/// True for a setting that yields a T and takes one; of texts, what makes one.
template <class S, class T, class Object>
consteval bool keeps() {
  using Getter = const decltype(S::get)&;
  using Setter = const decltype(S::set)&;
  if constexpr (std::is_invocable_v<Getter, const Object&> && std::is_invocable_v<Setter, Object&, T>) {
    using Value = std::invoke_result_t<Getter, const Object&>;
    if constexpr (std::is_same_v<T, std::string>) return std::is_convertible_v<Value, std::string_view>;
    return std::is_same_v<std::remove_cvref_t<Value>, T>;
  }
  return false;
}

template <SettingName name, class T, class Tag = Settings>
consteval bool has_setting() {
  if constexpr (WithSettings<Tag>) {
    using Tuple = decltype(settings(Tag()));
    constexpr std::size_t place = SettingPlace<name, Tuple>::find();
    if constexpr (place < std::tuple_size_v<Tuple>) return keeps<std::tuple_element_t<place, Tuple>, T, SImeshConfig>();
  }
  return false;
}

#define CORVANE_MODEL_SETS(T, name)                                                                \
  static_assert(has_setting<#name, T>(), "ModelAccess.h: settings() must have the setting '" #name \
                                         "', which yields and takes exactly one " #T);
CORVANE_FOR_EACH_SETTING(CORVANE_MODEL_SETS)

template <class Tag>
consteval std::size_t setting_count() {
  if constexpr (WithSettings<Tag>) return std::tuple_size_v<decltype(settings(Tag()))>;
  return 21;
}
static_assert(setting_count<Settings>() <= 21, "ModelAccess.h: settings() has a setting that no database keeps");

/// How the settings object keeps the setting of this name.
template <SettingName name>
constexpr auto setting_of() {
  constexpr auto all = settings(Settings());
  return std::get<SettingPlace<name, std::remove_const_t<decltype(all)>>::find()>(all);
}

#undef CORVANE_MODEL_OFFERS
#undef CORVANE_MODEL_ACCEPTS
#undef CORVANE_MODEL_STORES
#undef CORVANE_MODEL_LISTS
#undef CORVANE_MODEL_SETS

}  // namespace Mesh2DPlat::ModelAccess
