// What the version number of a board file decides.
#pragma once

namespace CorvaneTool {

struct BoardFormat {
  int version = 0;  // 3, 4, then dates: 20171130 and later

  /// Copper layers are those named "*.Cu"; before, those with a low ordinal, whatever their name.
  bool copper_by_name() const { return version >= 20200922; }

  /// Ordinals of copper layers before they went by name, and which end of the board has ordinal 0.
  int last_copper_ordinal() const { return version <= 3 ? 15 : 31; }
  bool bottom_first() const { return version <= 3; }

  /// Nets are not declared, and every reference is a name even if it looks like a number.
  bool nets_by_name() const { return version >= 20251028; }

  /// A footprint's reference is a property and no longer a text.
  bool reference_is_property() const { return version >= 20230620; }

  /// Unless the zone says otherwise, a filled polygon is the centre line of a pen as wide as the zone's least
  /// thickness.
  bool fills_are_centre_lines() const { return version < 20220211; }
};

}  // namespace CorvaneTool
