#include "tools/corvane/picture/FileDrawing.h"

#include <filesystem>
#include <stdexcept>

#include "facade/DBZydata.h"
#include "facade/Probe.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/picture/LayoutDrawing.h"
#include "tools/corvane/picture/MeshDrawing.h"
#include "tools/corvane/support/TableFile.h"

namespace CorvaneTool {
namespace {

// Meshes go by any file name; layouts by one that a database can be opened by.
Drawing draw_database(const std::filesystem::path& path) {
  if (path.extension() != ".zydat") throw std::runtime_error("the names of layout databases end in .zydat");
  const std::string directory = path.parent_path().string();
  Mesh2DPlat::DBZydata database(directory.empty() ? "." : directory);
  if (!database.openem(true, path.stem().string())) throw std::runtime_error("the file is gone");
  return draw_layout(read_layout(database));
}

}  // namespace

Drawing draw_file(const std::string& path) {
  const TableFile file(path);
  const Mesh2DPlat::FileContent content = Mesh2DPlat::probeContent(file.root());
  try {
    if (content.kind == Mesh2DPlat::FileKind::other) throw std::runtime_error("neither a layout nor a mesh");
    if (!content.gaps.empty()) throw std::runtime_error(content.text());
    return content.kind == Mesh2DPlat::FileKind::mesh ? draw_mesh(file.root()) : draw_database(path);
  } catch (const std::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

}  // namespace CorvaneTool
