#include "tools/corvane/layout/LayoutCompare.h"

#include <bit>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <type_traits>

namespace CorvaneTool {
namespace {

using namespace Mesh2DPlat;

std::string shown(double value) {
  char digits[32];
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
  return {digits, end};
}
std::string shown(int value) { return std::to_string(value); }
std::string shown(std::size_t value) { return std::to_string(value); }
std::string shown(const std::string& value) { return "\"" + value + "\""; }
template <class Enumeration>
requires std::is_enum_v<Enumeration> std::string shown(Enumeration value) {
  return std::to_string(static_cast<int>(value));
}

bool same(double left, double right) {
  return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}
template <class T>
requires(!std::floating_point<T>) bool same(const T& left, const T& right) { return left == right; }

// Remembers the first pair that differs.
class Comparison {
 public:
  bool is_equal() const { return !d_difference; }
  const std::optional<std::string>& difference() const { return d_difference; }

  void begin_row(const char* table, std::size_t row) {
    d_table = table;
    d_row = row;
  }

  template <class T>
  void check(const char* what, const T& written, const T& read) {
    if (!same(written, read)) report(std::string(what) + " is " + shown(read) + ", not " + shown(written));
  }

  void check(const char* what, const std::vector<double>& written, const std::vector<double>& read) {
    check((std::string(what) + " count").c_str(), written.size(), read.size());
    for (std::size_t i = 0; i < written.size() && is_equal(); ++i) {
      if (!same(written[i], read[i]))
        check((std::string(what) + "[" + std::to_string(i) + "]").c_str(), written[i], read[i]);
    }
  }

  // References agree when they name objects with the same id, or nothing both.
  template <class T>
  void check_reference(const char* what, const T* written, const T* read) {
    if (written && read) return check(what, written->id(), read->id());
    if (written || read) report(std::string(what) + (read ? " is there, not missing" : " is missing"));
  }

  void report(const std::string& text) {
    if (is_equal()) d_difference = std::string(d_table) + " row " + std::to_string(d_row) + ": " + text;
  }

  void report_count(const char* table, std::size_t written, std::size_t read) {
    if (is_equal())
      d_difference = std::string(table) + ": " + std::to_string(read) + " rows, not " + std::to_string(written);
  }

 private:
  std::optional<std::string> d_difference;
  const char* d_table = "";
  std::size_t d_row = 0;
};

// --- one object ---

void compare(const EM2DLayer& written, const EM2DLayer& read, Comparison& to) {
  to.check("id", written.id(), read.id());
  to.check("name", written.name(), read.name());
  to.check("z", written.z(), read.z());
}

void compare(const EM2DNet& written, const EM2DNet& read, Comparison& to) {
  to.check("id", written.id(), read.id());
  to.check("type", written.type(), read.type());
  to.check("name", written.name(), read.name());
}

void compare(const EM2DSignal& written, const EM2DSignal& read, Comparison& to) {
  to.check("id", written.id(), read.id());
  to.check("name", written.name(), read.name());
  to.check("z", written.z(), read.z());
  to.check_reference("patch", written.patchLayer(), read.patchLayer());
}

void compare(const EM2DVertex& written, const EM2DVertex& read, Comparison& to) {
  to.check("id", written.id(), read.id());
  to.check("name", written.name(), read.name());
  to.check("x", written.x(), read.x());
  to.check("y", written.y(), read.y());
  to.check("z", written.z(), read.z());
  to.check("type", written.type(), read.type());
  to.check_reference("layer", written.layer(), read.layer());
  to.check_reference("uplayer", written.upLayer(), read.upLayer());
  to.check_reference("lowlayer", written.lowLayer(), read.lowLayer());
  to.check("options", written.options(), read.options());
}

void compare(const EM2DTrace& written, const EM2DTrace& read, Comparison& to) {
  to.check("name", written.name(), read.name());
  to.check_reference("net", written.net(), read.net());
  to.check_reference("startver", written.startVertex(), read.startVertex());
  to.check_reference("endver", written.endVertex(), read.endVertex());
  // Deliberate: the option column carries the end vertex.
  to.check("option", written.endVertex()->id(), read.option());
}

void compare_ends(const EM2DVia& written, const EM2DVia& read, Comparison& to) {
  to.check("name", written.name(), read.name());
  to.check_reference("net", written.net(), read.net());
  to.check_reference("startver", written.startVertex(), read.startVertex());
  to.check_reference("endver", written.endVertex(), read.endVertex());
}

void compare(const EM2DVia& written, const EM2DVia& read, Comparison& to) {
  compare_ends(written, read, to);
  to.check("r", written.radius(), read.radius());
}

void compare(const EM2DPolyVia& written, const EM2DPolyVia& read, Comparison& to) {
  compare_ends(written, read, to);
  to.check("polytype", written.polyType(), read.polyType());
  to.check("coord", written.coordinates(), read.coordinates());
}

void compare(const EM2DShape& written, const EM2DShape& read, Comparison& to) {
  to.check("name", written.name(), read.name());
  to.check_reference("layer", written.layer(), read.layer());
  to.check_reference("net", written.net(), read.net());
  to.check("type", written.type(), read.type());
  to.check("option", written.option(), read.option());
  to.check("vertexs", written.coordinates(), read.coordinates());
}

void compare(const EM2DCircuit& written, const EM2DCircuit& read, Comparison& to) {
  to.check("name", written.name(), read.name());
  to.check("option", written.option(), read.option());
  to.check("pin count", written.pins().size(), read.pins().size());
  for (std::size_t i = 0; i < written.pins().size() && to.is_equal(); ++i) {
    to.check("pin", written.pins()[i].first, read.pins()[i].first);
    to.check_reference("emver", written.pins()[i].second, read.pins()[i].second);
  }
}

// --- tables ---

template <class T>
void compare_table(const char* table, const OwnedList<T>& written, const OwnedList<T>& read, Comparison& to) {
  if (written.size() != read.size()) return to.report_count(table, written.size(), read.size());
  for (std::size_t row = 0; row < written.size() && to.is_equal(); ++row) {
    to.begin_row(table, row);
    compare(*written[row], *read[row], to);
  }
}

void compare_numbers(const SImeshConfig& written, const SImeshConfig& read, Comparison& to) {
  to.check("thetamin", written.thetamin(), read.thetamin());
  to.check("simplifyAngle", written.simplifyAngle(), read.simplifyAngle());
  to.check("maxEdgeLen", written.maxEdgeLen(), read.maxEdgeLen());
  to.check("minEdgeLen", written.minEdgeLen(), read.minEdgeLen());
  to.check("smallHoleThreshold", written.smallHoleThreshold(), read.smallHoleThreshold());
  to.check("alignAbsorb", written.alignAbsorb(), read.alignAbsorb());
  to.check("calcPrecision", written.calcPrecision(), read.calcPrecision());
  to.check("compPrecision", written.compPrecision(), read.compPrecision());
  to.check("calcPrecision2", written.calcPrecision2(), read.calcPrecision2());
  to.check("geomPrecision", written.geomPrecision(), read.geomPrecision());
  to.check("mesheps", written.mesheps(), read.mesheps());
  to.check("calcPrecisionFor1AndT", written.calcPrecisionFor1AndT(), read.calcPrecisionFor1AndT());
  to.check("refdistance", written.refdistance(), read.refdistance());
}

void compare_config(const SImeshConfig& written, const SImeshConfig& read, Comparison& to) {
  to.begin_row("simeshconfig", 0);
  compare_numbers(written, read, to);
  to.check("customCpuNum", written.customCpuNum(), read.customCpuNum());
  to.check("mode", written.mode(), read.mode());
  to.check("ppid", written.ppid(), read.ppid());
  to.check("option", written.option(), read.option());
  to.check("resourceFile", written.resourceFile(), read.resourceFile());
  to.check("runTimeErrorFile", written.runTimeErrorFile(), read.runTimeErrorFile());
  to.check("winContentFile", written.winContentFile(), read.winContentFile());
  to.check("casefile", written.casefile(), read.casefile());
}

}  // namespace

std::optional<std::string> first_difference(const Layout& written, const Layout& read) {
  Comparison comparison;
  compare_table("em2dlayer", written.layers, read.layers, comparison);
  compare_table("emnet", written.nets, read.nets, comparison);
  compare_table("em2dsignal", written.signals, read.signals, comparison);
  compare_table("em2dvertex", written.vertices, read.vertices, comparison);
  compare_table("em2dtrace", written.traces, read.traces, comparison);
  compare_table("em2dvia", written.vias, read.vias, comparison);
  compare_table("em2dpolyvia", written.poly_vias, read.poly_vias, comparison);
  compare_table("em2dshape", written.shapes, read.shapes, comparison);
  compare_table("em2dcircuit", written.circuits, read.circuits, comparison);
  compare_config(written.config, read.config, comparison);
  return comparison.difference();
}

}  // namespace CorvaneTool
