// A whole layout into an open database and out of it again.
#pragma once

#include <functional>

#include "facade/DBZydata.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

/// Calls visit(table, objects) for each table, in the order in which readers need them.
template <class Visitor>
void for_each_table(const Layout& layout, Visitor&& visit) {
  visit("em2dlayer", layout.layers);
  visit("emnet", layout.nets);
  visit("em2dsignal", layout.signals);
  visit("em2dvertex", layout.vertices);
  visit("em2dtrace", layout.traces);
  visit("em2dvia", layout.vias);
  visit("em2dpolyvia", layout.poly_vias);
  visit("em2dshape", layout.shapes);
  visit("em2dcircuit", layout.circuits);
}

/// Is told which table comes next.
using AtTable = std::function<void(const char* table)>;

/// Writes every table and the settings.
void write_layout(
    Mesh2DPlat::DBZydata& database, const Layout& layout, const AtTable& at_table = [](const char*) {});

/// Reads every table and the settings as new objects, references resolved through tables of what was read before.
/// Throws std::runtime_error, with table and row, for a reference that leads nowhere and for a coordinate or a radius
/// that is no number of millimetres up to a kilometre.
Layout read_layout(
    Mesh2DPlat::DBZydata& database, const AtTable& at_table = [](const char*) {});

}  // namespace CorvaneTool
