#include "tools/corvane/verbs/MeshCommand.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "tools/corvane/support/LengthOption.h"

namespace CorvaneTool {
namespace {

constexpr const char* kProgram = "corvane-mesh";

/// Comes back only when the program cannot be started; `errno` then says why.
void become(const std::string& program, const std::vector<std::string>& arguments) {
  std::vector<std::string> texts = arguments;
  texts.insert(texts.begin(), kProgram);
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  ::execvp(program.c_str(), pointers.data());  // looks through PATH for a name without a slash
}

[[noreturn]] void run_mesher(const std::vector<std::string>& arguments) {
  std::error_code ignored;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", ignored);
  if (!own.empty()) become((own.parent_path() / kProgram).string(), arguments);
  if (own.empty() || errno == ENOENT) become(kProgram, arguments);
  if (errno != ENOENT) throw std::runtime_error(std::string(kProgram) + " cannot be started: " + std::strerror(errno));
  throw std::runtime_error(
      "corvane-mesh is not installed: it is built where CGAL is found (Debian package libcgal-dev)");
}

struct MeshOptions {
  std::string directory, name, max_edge;
  bool json = false;

  std::vector<std::string> arguments() const {
    std::vector<std::string> result;
    if (!name.empty()) result.push_back("--name=" + name);
    if (!max_edge.empty()) result.push_back("--max-edge=" + max_edge);
    if (json) result.emplace_back("--json");
    result.emplace_back("--");  // a directory may begin with a dash
    result.push_back(directory);
    return result;
  }
};

}  // namespace

void addMeshCommand(CLI::App& app) {
  const auto options = std::make_shared<MeshOptions>();
  CLI::App* verb = app.add_subcommand("mesh", "Triangulate the copper of a database's layout and store the mesh");
  verb->add_option("DIR", options->directory, "Directory of the database")->required();
  verb->add_option("--name", options->name, "Name of the database, when DIR has several");
  verb->add_option("--max-edge", options->max_edge, "Longest edge in mm, instead of the settings' maxEdgeLen")
      ->check(positive_length);
  verb->add_flag("--json", options->json, "Print the report as one JSON object");
  verb->callback([options] { run_mesher(options->arguments()); });
}

}  // namespace CorvaneTool
