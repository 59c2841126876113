#include "tools/corvane/verbs/RenderCommand.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "facade/DBZydata.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/picture/LayoutDrawing.h"
#include "tools/corvane/picture/MeshDrawing.h"
#include "tools/corvane/picture/SvgWriter.h"
#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/PendingFile.h"
#include "tools/corvane/support/TableFile.h"
#include "zydata/schema/Schema.h"

namespace CorvaneTool {
namespace {

namespace fs = std::filesystem;

struct RenderOptions {
  std::string file;
  std::string picture;
  std::optional<std::string> layer;
  std::optional<std::string> net;
  int width = 1600;
};

Drawing draw_database(const fs::path& path) {
  if (path.extension() != ".zydat") throw std::runtime_error("the names of layout databases end in .zydat");
  const std::string directory = path.parent_path().string();
  Mesh2DPlat::DBZydata database(directory.empty() ? "." : directory);
  if (!database.openem(true, path.stem().string())) throw std::runtime_error("the file is gone");
  try {
    return draw_layout(read_layout(database));
  } catch (const std::out_of_range&) {
    throw std::runtime_error("a row names an object that the file lacks");
  }
}

// Meshes go by any file name: what a file holds decides.
Drawing draw_file(const std::string& path) {
  const TableFile file(path);
  const auto has_table = [&](const char* name) { return file.root().find_path_or_null(name) != nullptr; };
  try {
    if (has_table("meshnode")) return draw_mesh(file.root());
    if (has_table("em2dvertex")) return draw_database(path);
    throw std::runtime_error("neither a layout nor a mesh");
  } catch (const std::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

// The position of a name among those of the file.
int find_name(const std::vector<std::string>& names, const std::string& name, const char* option) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return static_cast<int>(found - names.begin());
  constexpr std::size_t kShown = 8;
  std::string known;
  std::size_t shown = 0, named = 0;
  for (const std::string& other : names) {
    if (other.empty() || ++named > kShown) continue;
    known += (shown++ == 0 ? "" : ", ") + other;
  }
  if (named > shown) known += " and " + std::to_string(named - shown) + " more";
  throw std::runtime_error(std::string(option) + " " + name + ": the file has " + (known.empty() ? "none" : known));
}

void write_picture(const std::string& path, const std::string& svg) {
  std::error_code error;
  const fs::file_type type = fs::symlink_status(path, error).type();
  if (type != fs::file_type::not_found && type != fs::file_type::regular)
    throw std::runtime_error(path + ": not a file that can be replaced");
  PendingFile file(path, path + ".writing-" + std::to_string(std::random_device()()));
  std::ofstream stream(file.temporary_path(), std::ios::binary);
  stream << svg;
  stream.close();
  if (!stream) throw std::runtime_error(path + ": cannot be written: " + std::generic_category().message(errno));
  file.commit();
}

std::string title_of(const RenderOptions& options) {
  std::string title = fs::path(options.file).filename().string();
  if (options.layer) title += " · " + *options.layer;
  if (options.net) title += " · " + *options.net;
  return title;
}

void print_summary(const std::string& path, const Picture& picture, const Drawing& drawing) {
  const std::string contents = contents_of(drawing);
  std::cout << printable(path) << ": " << picture.width << " x " << picture.height << " px, "
            << (contents.empty() ? "nothing to draw" : contents) << '\n';
}

void render(const RenderOptions& options) {
  Drawing drawing = draw_file(options.file);
  PictureRequest request{title_of(options), options.width, -1};
  if (options.net) request.highlighted_net = find_name(drawing.nets, *options.net, "--net");
  // Pictures of single layers show the same part of the board.
  const Box frame = bounds_of(drawing).value_or(Box{{0, 0}, {50'000'000, 20'000'000}});
  if (options.layer) keep_layer(drawing, find_name(drawing.layers, *options.layer, "--layer"));
  const Picture picture = write_svg(drawing, frame, request);
  write_picture(options.picture, picture.svg);
  print_summary(options.picture, picture, drawing);
}

}  // namespace

void addRenderCommand(CLI::App& app, int& exitStatus) {
  const auto options = std::make_shared<RenderOptions>();
  CLI::App* verb = app.add_subcommand("render", "Draw the layout or mesh of a file as an SVG picture");
  verb->add_option("FILE", options->file, "A .zydat file")->required();
  verb->add_option("OUT", options->picture, "The picture, *.svg")->required();
  verb->add_option("--layer", options->layer, "Draw this layer only, coloured by net");
  verb->add_option("--net", options->net, "Show this net in full colour, all others grey");
  verb->add_option("--width", options->width, "Pixels from left to right")->check(CLI::Range(200, 20000));
  verb->callback([options, &exitStatus] {
    render(*options);
    exitStatus = 0;
  });
}

}  // namespace CorvaneTool
