// The settings of a mesh generator: 13 numbers, 3 integers and 5 texts, each with a getter and a setter of its own.
//
// The object owns its texts. Lengths have the unit of the layout objects, angles that of the mesh generator. A new
// object holds zeros and empty texts. A database copies all values and interprets none: what `mode`, `mesheps`, `ppid`
// and the others stand for is an agreement between the programs that write and read them, and the comments below say
// only what their names promise.
#pragma once

#include <string>
#include <utility>

#include "model/ModelTypes.h"

namespace Mesh2DPlat {

class SImeshConfig {
 public:
  // --- lengths, angles and tolerances ---
  /// The smallest angle that a triangle should have.
  double thetamin() const { return d_thetamin; }
  void setThetamin(double value) { d_thetamin = value; }
  double simplifyAngle() const { return d_simplify_angle; }
  void setSimplifyAngle(double value) { d_simplify_angle = value; }
  double maxEdgeLen() const { return d_max_edge_len; }
  void setMaxEdgeLen(double value) { d_max_edge_len = value; }
  double minEdgeLen() const { return d_min_edge_len; }
  void setMinEdgeLen(double value) { d_min_edge_len = value; }
  double smallHoleThreshold() const { return d_small_hole_threshold; }
  void setSmallHoleThreshold(double value) { d_small_hole_threshold = value; }
  double alignAbsorb() const { return d_align_absorb; }
  void setAlignAbsorb(double value) { d_align_absorb = value; }
  double calcPrecision() const { return d_calc_precision; }
  void setCalcPrecision(double value) { d_calc_precision = value; }
  double compPrecision() const { return d_comp_precision; }
  void setCompPrecision(double value) { d_comp_precision = value; }
  double calcPrecision2() const { return d_calc_precision2; }
  void setCalcPrecision2(double value) { d_calc_precision2 = value; }
  double geomPrecision() const { return d_geom_precision; }
  void setGeomPrecision(double value) { d_geom_precision = value; }
  /// The length below which points of the mesh count as one.
  double mesheps() const { return d_mesheps; }
  void setMesheps(double value) { d_mesheps = value; }
  double calcPrecisionFor1AndT() const { return d_calc_precision_for1_and_t; }
  void setCalcPrecisionFor1AndT(double value) { d_calc_precision_for1_and_t = value; }
  double refdistance() const { return d_refdistance; }
  void setRefdistance(double value) { d_refdistance = value; }

  // --- how the generator runs ---
  /// Processors to use.
  int customCpuNum() const { return d_custom_cpu_num; }
  void setCustomCpuNum(int value) { d_custom_cpu_num = value; }
  /// The way of working that the generator was started in: a number of its own; any value is stored, also below 0.
  int mode() const { return d_mode; }
  void setMode(int value) { d_mode = value; }
  /// The process that started the generator.
  int ppid() const { return d_ppid; }
  void setPpid(int value) { d_ppid = value; }

  // --- texts; those that name files come from a file, too: look at them before they are opened ---
  const std::string& option() const { return d_option; }
  void setOption(std::string value) { d_option = std::move(value); }
  const std::string& resourceFile() const { return d_resource_file; }
  void setResourceFile(std::string value) { d_resource_file = std::move(value); }
  const std::string& runTimeErrorFile() const { return d_run_time_error_file; }
  void setRunTimeErrorFile(std::string value) { d_run_time_error_file = std::move(value); }
  const std::string& winContentFile() const { return d_win_content_file; }
  void setWinContentFile(std::string value) { d_win_content_file = std::move(value); }
  const std::string& casefile() const { return d_casefile; }
  void setCasefile(std::string value) { d_casefile = std::move(value); }

  bool operator==(const SImeshConfig&) const = default;

 private:
  double d_thetamin = 0;
  double d_simplify_angle = 0;
  double d_max_edge_len = 0;
  double d_min_edge_len = 0;
  double d_small_hole_threshold = 0;
  double d_align_absorb = 0;
  double d_calc_precision = 0;
  double d_comp_precision = 0;
  double d_calc_precision2 = 0;
  double d_geom_precision = 0;
  double d_mesheps = 0;
  double d_calc_precision_for1_and_t = 0;
  double d_refdistance = 0;
  int d_custom_cpu_num = 0;
  int d_mode = 0;
  int d_ppid = 0;
  std::string d_option;
  std::string d_resource_file;
  std::string d_run_time_error_file;
  std::string d_win_content_file;
  std::string d_casefile;
};

}  // namespace Mesh2DPlat
