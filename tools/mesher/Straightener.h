// Outlines without corners that hardly turn.
#pragma once

#include "tools/mesher/RegionOutlines.h"

namespace CorvaneMesher {

/// Drops corners between two edges that lie within `tolerance` (nm) of the straight line that replaces them; corners
/// where more edges meet stay. Regions keep their neighbours as long as the tolerance is below a third of the outlines'
/// least distances.
void straighten(RegionOutlines& outlines, double tolerance);

}  // namespace CorvaneMesher
