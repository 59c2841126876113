// The regions of a layer's rings.
#pragma once

#include <vector>

#include "tools/mesher/Copper.h"
#include "tools/mesher/MeshLimits.h"
#include "tools/mesher/RegionOutlines.h"

namespace CorvaneMesher {

/// Which copper lies where, and how much each ring has inside.
///
/// Rings that cross each other much more often than they have corners, such as traces that leave one point, are first
/// united net by net, halves before the whole: what covers one place many times then costs no more than its outline.
/// The areas inside those that are no fills are then 0. Throws PlaceError when this passes the limits.
RegionOutlines regions_of_rings(const std::vector<Ring>& rings, const MeshLimits& limits);

}  // namespace CorvaneMesher
