// The mesher's settings: one record of typed fields, found by name.
#pragma once

#include "facade/DBInterface.h"
#include "facade/EntityTable.h"
#include "facade/Probe.h"

namespace Mesh2DPlat {

class ConfigTable final : public EntityTable {
 public:
  static constexpr const char* kTable = "simeshconfig";

  void define(ZyData::Schema& top) const override;
  /// Stores every setting. Throws Util::Error, and stores none, when a field is missing or of another type.
  void write(ZyData::DataObj& tree, const SImeshConfig& config);
  static bool is_defined_in(const ZyData::Schema& top);
  /// Appends a gap for the record or, when it is there, for each setting that is missing or of another type.
  static void find_gaps(ZyData::DataObj& tree, std::vector<ContentGap>& gaps);
  /// Fetches every setting, or throws and sets none; then calls the object's own setter of each.
  void read(ZyData::DataObj& tree, SImeshConfig& config);
};

}  // namespace Mesh2DPlat
