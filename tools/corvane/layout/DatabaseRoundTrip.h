// A whole layout into an open database and out of it again.
#pragma once

#include "facade/DBZydata.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

/// Writes every table and the settings.
void write_layout(Mesh2DPlat::DBZydata& database, const Layout& layout);

/// Reads every table and the settings as new objects, references resolved through tables of what was read before.
Layout read_layout(Mesh2DPlat::DBZydata& database);

}  // namespace CorvaneTool
