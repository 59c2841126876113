#include "tools/corvane/verbs/RenderCommand.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "tools/corvane/layout/Origin.h"
#include "tools/corvane/picture/FileDrawing.h"
#include "tools/corvane/picture/SvgWriter.h"
#include "tools/corvane/support/JsonOutput.h"
#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/PendingFolder.h"
#include "tools/corvane/support/UsageError.h"

namespace CorvaneTool {
namespace {

namespace fs = std::filesystem;

struct RenderOptions {
  std::string file;
  std::string picture;
  std::optional<std::string> layer;
  std::optional<std::string> net;
  int width = 1600;
  bool json = false;
};

// The position of a name among those of the file.
int find_name(const std::vector<std::string>& names, const std::string& name, const char* option) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return static_cast<int>(found - names.begin());
  constexpr std::size_t kShown = 8;
  std::string known;
  std::size_t shown = 0, named = 0;
  for (const std::string& other : names) {
    if (other.empty() || ++named > kShown) continue;
    known += (shown++ == 0 ? "" : ", ") + shortened(other, kNameCharacters);
  }
  if (named > shown) known += " and " + std::to_string(named - shown) + " more";
  throw std::runtime_error(std::string(option) + " " + name + ": the file has " + (known.empty() ? "none" : known));
}

bool is_standard_output(const std::string& picture) { return picture == "-"; }

void check_picture(const RenderOptions& options) {
  if (is_standard_output(options.picture)) {
    if (options.json) throw UsageError("--json and a picture on standard output exclude each other");
    return;
  }
  const fs::path path = options.picture;
  std::error_code error;
  if (fs::equivalent(path, options.file, error))
    throw UsageError(options.picture + ": is the file that is to be drawn");
  const fs::file_type type = fs::symlink_status(path, error).type();
  if (type != fs::file_type::not_found && type != fs::file_type::regular)
    throw UsageError(options.picture + ": not a file that can be replaced");
  if (path.extension() != ".svg")
    throw UsageError(options.picture + ": pictures are SVG, and their names end in .svg (- is standard output)");
}

[[noreturn]] void fail_to_write(const std::string& path, int error) {
  throw std::runtime_error(path + ": cannot be written: " + std::generic_category().message(error));
}

void write_picture(const std::string& path, const std::string& svg) {
  if (is_standard_output(path)) {
    std::cout << svg;
    return;
  }
  const fs::path target = path;
  const fs::path directory = target.has_parent_path() ? target.parent_path() : ".";
  if (!fs::is_directory(directory)) fail_to_write(path, ENOENT);
  PendingFolder pending(directory.string());
  std::ofstream stream(pending.file("picture"), std::ios::binary);
  stream << svg;
  stream.close();
  if (!stream) fail_to_write(path, errno);
  pending.commit("picture", target.filename().string());
}

// A mesh is called after what it was made from, as far as that is known.
std::string title_of(const RenderOptions& options, const std::optional<MeshSource>& source) {
  std::string title = fs::path(options.file).filename().string();
  if (source) {
    title = fs::path(source->database).stem().string() + " · " +
            (source->state == MeshSource::State::Changed ? "stale mesh" : "mesh");
  }
  if (options.layer) title += " · " + *options.layer;
  if (options.net) title += " · " + *options.net;
  return title;
}

void print_summary(const RenderOptions& options, const Picture& picture, const Drawing& drawing,
                   const std::optional<MeshSource>& source) {
  const std::string contents = contents_of(drawing);
  std::ostream& stream = is_standard_output(options.picture) ? std::cerr : std::cout;
  stream << printable(options.picture) << ": " << picture.width << " x " << picture.height << " px, "
         << (contents.empty() ? "nothing to draw" : contents) << '\n';
  if (source) stream << in_words(*source) << '\n';
}

nlohmann::ordered_json summary_json(const RenderOptions& options, const Picture& picture, const Drawing& drawing,
                                    const std::optional<MeshSource>& source) {
  nlohmann::ordered_json contents = nlohmann::ordered_json::object();
  for (const Count& count : counts_of(drawing)) contents[count.many] = count.count;
  nlohmann::ordered_json json = {{"file", options.file},
                                 {"picture", options.picture},
                                 {"width", picture.width},
                                 {"height", picture.height},
                                 {"contents", std::move(contents)}};
  if (source) json["source"] = to_json(*source);
  return json;
}

void render(const RenderOptions& options) {
  check_picture(options);
  Drawing drawing = draw_file(options.file);
  const std::optional<MeshSource> source = source_of_mesh(options.file);
  PictureRequest request{title_of(options, source), options.width, -1};
  if (options.net) request.highlighted_net = find_name(drawing.nets, *options.net, "--net");
  // Pictures of single layers show the same part of the board.
  const Box frame = bounds_of(drawing).value_or(Box{{0, 0}, {50'000'000, 20'000'000}});
  if (options.layer) keep_layer(drawing, find_name(drawing.layers, *options.layer, "--layer"));
  const Picture picture = write_svg(drawing, frame, request);
  write_picture(options.picture, picture.svg);
  if (options.json) {
    print_json(summary_json(options, picture, drawing, source));
  } else {
    print_summary(options, picture, drawing, source);
  }
}

}  // namespace

void addRenderCommand(CLI::App& app, int& exitStatus) {
  const auto options = std::make_shared<RenderOptions>();
  CLI::App* verb = app.add_subcommand("render", "Draw the layout or mesh of a file as an SVG picture");
  verb->add_option("FILE", options->file, "A .zydat file")->required();
  verb->add_option("OUT", options->picture, "The picture, *.svg; - is standard output")->required();
  verb->add_option("--layer", options->layer, "Draw this layer only, coloured by net");
  verb->add_option("--net", options->net, "Show this net in full colour, all others grey");
  verb->add_option("--width", options->width, "Pixels from left to right")->check(CLI::Range(200, 20000));
  verb->add_flag("--json", options->json, "Print what was drawn as one JSON object");
  verb->callback([options, &exitStatus] {
    render(*options);
    exitStatus = 0;
  });
}

}  // namespace CorvaneTool
