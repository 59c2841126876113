// A board as layout objects.
//
//  - layer: one per copper layer, top to bottom, ids from 0; z is its mid-plane above the lower face of the bottom
//  copper
//  - net: as declared, 0 is "no net"; type 0 for that, 2 for nets with a filled area, else 1
//  - vertex: one per net, layer and position at which a track, via or pad ends; type 2 with a pad, 1 with a via, else
//  0; the options
//    are the roles' bits 1 track, 2 via, 4 pad. Named after the pad ("U3.14") or running ("N17")
//  - trace: one per segment, two per arc. Its option is the width in nanometres; because databases do not keep that,
//  the name carries it
//    too: "T17 w150000"
//  - via: one per via and per round plated hole, polygon via: one per oval one. All have a name of their own ("V17")
//  - shape: type 1 filled polygons ("F17"; option bit 0 island, bit 1 the outline is the centre line of a pen, its
//  width in the name:
//    "F17 w250000"), type 2 the copper of pads ("U3.14"), once per layer, type 3 polygons drawn on copper ("G17")
//  - circuit: one per footprint with pins; option bit 0: on the bottom
//  - signal: one per layer with tracks, its patch the layer itself if something is filled there
#pragma once

#include <string>

#include "tools/corvane/board/Board.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

/// `case_name` becomes the settings' "casefile". What has no place in the layout is added to `skipped`. Every object
/// takes from `allowance`, which throws TooLarge.
Layout build_layout(const Board& board, const std::string& case_name, SkippedItems& skipped, Allowance& allowance);
inline Layout build_layout(const Board& board, const std::string& case_name, SkippedItems& skipped) {
  Allowance unlimited;
  return build_layout(board, case_name, skipped, unlimited);
}

}  // namespace CorvaneTool
