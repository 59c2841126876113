// What a ModelAccess.h is written with, ours or that of a program with object types of its own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "facade/LayoutProxies.h"
#include "facade/MeshProxies.h"
#include "util/Error.h"

namespace Mesh2DPlat::ModelAccess {

/// Names the elements of a mesh that are stored in rows P.
template <class P>
struct Elements {};

/// Names the list of settings.
struct Settings {};

/// A text as a template argument.
template <std::size_t size>
struct SettingName {
  consteval SettingName(const char (&characters)[size]) { std::copy_n(characters, size, text); }
  constexpr std::string_view view() const { return {text, size - 1}; }

  char text[size]{};
};

/// How one setting is read from a settings object and stored into it.
template <SettingName name, class Getter, class Setter>
struct Setting {
  static constexpr const auto& kName = name;
  Getter get;
  Setter set;
};

/// `get` takes a const settings object, `set` one and the value; members and lambdas will do.
template <SettingName name, class Getter, class Setter>
constexpr Setting<name, Getter, Setter> setting(Getter get, Setter set) {
  return {get, set};
}

/// A reference that every object of its kind has. Throws Util::Error, which names `owner`, for null; the write that has
/// called adds table and row.
template <class Object>
const Object& present(const Object* object, const char* what, std::string_view owner) {
  constexpr std::size_t kShown = 200;
  if (object != nullptr) return *object;
  throw Util::Error("\"%.*s\" has no %s", static_cast<int>(std::min(owner.size(), kShown)), owner.data(), what);
}

}  // namespace Mesh2DPlat::ModelAccess

/// All settings: M(type, name), in the order of the record's fields. Texts are read as what std::string_view takes and
/// set as std::string.
#define CORVANE_FOR_EACH_SETTING(M) \
  M(double, thetamin)               \
  M(double, simplifyAngle)          \
  M(double, maxEdgeLen)             \
  M(double, minEdgeLen)             \
  M(double, smallHoleThreshold)     \
  M(double, alignAbsorb)            \
  M(double, calcPrecision)          \
  M(double, compPrecision)          \
  M(double, calcPrecision2)         \
  M(double, geomPrecision)          \
  M(double, mesheps)                \
  M(double, calcPrecisionFor1AndT)  \
  M(double, refdistance)            \
  M(int, customCpuNum)              \
  M(int, mode)                      \
  M(int, ppid)                      \
  M(std::string, option)            \
  M(std::string, resourceFile)      \
  M(std::string, runTimeErrorFile)  \
  M(std::string, winContentFile)    \
  M(std::string, casefile)
