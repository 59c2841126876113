// The whole way of a mesh into its file, and the programs around it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "facade/DBZydata.h"
#include "tests/support/TestSupport.h"
#include "tests/tools/mesher/MesherTexts.h"
#include "tools/corvane/layout/DatabaseRoundTrip.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/layout/Origin.h"

using namespace MesherTests;
using CorvaneMesher::mesh_board;
using CorvaneMesher::MeshReport;
using TestSupport::read_file;
using TestSupport::TempDir;
using TestSupport::write_file;
namespace fs = std::filesystem;

namespace {

void import_own_board(const std::string& directory, const std::string& name) {
  CorvaneTool::import_board({CORVANE_EXAMPLE_BOARDS "/sensor-node.kicad_pcb", directory, name, 1, 1},
                            [](const std::string&) {});
}

void save(const Layout& layout, const std::string& directory) {
  Mesh2DPlat::DBZydata database(directory);
  database.openem(false, "board");
  CorvaneTool::write_layout(database, layout);
  database.save("board");
}

MeshReport mesh_directory(const std::string& directory, double max_edge = 0) {
  return mesh_board({directory, "", max_edge, true}, {});
}

long files_in(const std::string& directory) {
  return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

std::string failure(const std::string& directory, double max_edge = 0) {
  try {
    mesh_directory(directory, max_edge);
  } catch (const std::exception& error) {
    return error.what();
  }
  return "<nothing thrown>";
}

TEST(MeshBoard, GivesTheSameFileEveryTime) {
  const TempDir folder;
  import_own_board(folder.path("a"), "board");
  import_own_board(folder.path("b"), "board");
  const MeshReport report = mesh_directory(folder.path("a"));
  mesh_directory(folder.path("b"));
  const std::string file = read_file(folder.path("a/corvane2d.zydat"));
  EXPECT_EQ(file.size(), report.bytes);
  EXPECT_TRUE(file == read_file(folder.path("b/corvane2d.zydat")));
  EXPECT_EQ(files_in(folder.path("a")), 4) << "both, and what they were made from";
  EXPECT_GT(report.smallest_angle, 5);
  for (const auto& layer : report.layers) EXPECT_LE(layer.relative_difference(), CorvaneMesher::kMostDifference);
}

TEST(MeshBoard, SaysWhatItIsMadeFromAndHowFarItIs) {
  const TempDir folder;
  Layout layout = empty_layout();
  for (const int layer : {0, 2}) add_shape(layout, layer, 1, EM2DShape::Type::Fill, rectangle(0, 0, 10, 10));
  save(layout, folder.path());
  std::string phases;
  int percent = 0;
  mesh_board({folder.path()}, [&](const std::string& phase, int now) {
    EXPECT_LE(percent, now) << phase;
    percent = now;
    phases += std::to_string(now) + " " + phase + ", ";
  });
  EXPECT_TRUE(phases.starts_with("0 open, ")) << phases;
  EXPECT_NE(phases.find("layer BOTTOM (2 of 2): triangulate, "), std::string::npos) << phases;
  EXPECT_TRUE(phases.ends_with("95 read and compare with holes, ")) << phases;
  const auto source = [&] { return CorvaneTool::source_of_mesh(folder.path("corvane2d.zydat")); };
  ASSERT_TRUE(source());
  EXPECT_EQ(source()->database, "board.zydat");
  EXPECT_EQ(source()->state, CorvaneTool::MeshSource::State::Current);
  layout.config.setMaxEdgeLen(2);
  save(layout, folder.path());
  EXPECT_EQ(source()->state, CorvaneTool::MeshSource::State::Changed);
}

TEST(MeshBoard, LeavesNothingWhenItIsStopped) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const TempDir folder;
    Layout layout = empty_layout();
    add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(0, 0, 1, 1));
    save(layout, folder.path());
    const auto stop_it = [&](const std::string& phase, int) {
      if (phase == "read and compare with holes") std::raise(signal);
    };
    EXPECT_EXIT(mesh_board({folder.path()}, stop_it), testing::KilledBySignal(signal), "");
    EXPECT_EQ(files_in(folder.path()), 1) << signal;
  }
}

TEST(MeshBoard, TakesSizesFromTheRequestTheSettingsOrTheExtent) {
  const TempDir folder;
  Layout layout = empty_layout();
  add_shape(layout, 0, 1, EM2DShape::Type::Fill, rectangle(0, 0, 100, 10));
  save(layout, folder.path());
  const MeshReport by_settings = mesh_directory(folder.path());
  EXPECT_EQ(std::pair(by_settings.max_edge, by_settings.min_edge), std::pair(1.0, 0.05));
  const MeshReport by_request = mesh_directory(folder.path(), 0.4);
  EXPECT_EQ(std::pair(by_request.max_edge, by_request.min_edge), std::pair(0.4, 0.04));
  EXPECT_GT(by_request.layers[0].triangles, 3 * by_settings.layers[0].triangles);
  layout.config.setMaxEdgeLen(0);
  layout.config.setMinEdgeLen(-1);
  save(layout, folder.path());
  const MeshReport by_extent = mesh_directory(folder.path());
  EXPECT_EQ(std::pair(by_extent.max_edge, by_extent.min_edge), std::pair(2.0, 0.05));
  EXPECT_TRUE(by_extent.sizes_from_extent && !by_settings.sizes_from_extent);
  EXPECT_NE(failure(folder.path(), 1e-5).find("would make tens of millions of triangles"), std::string::npos);
}

TEST(MeshBoard, AFailureLeavesAnEarlierMeshAndNothingElse) {
  const TempDir folder;
  write_file(folder.path("corvane2d.zydat"), "earlier");
  EXPECT_EQ(failure(folder.path()), folder.path() + ": no database (*.zydat)");
  save(empty_layout(), folder.path());
  EXPECT_EQ(failure(folder.path()), folder.path("board.zydat") + ": no copper to mesh");
  write_file(folder.path("board.zydat"), "damaged, and long enough for a header");
  EXPECT_NE(failure(folder.path()), "<nothing thrown>");
  save(empty_layout(), folder.path());
  fs::copy(folder.path("board.zydat"), folder.path("other.zydat"));
  EXPECT_EQ(failure(folder.path()), folder.path() + ": several databases, choose one with --name: board, other");
  EXPECT_EQ(failure(folder.path("none")), folder.path("none") + ": not a directory");
  EXPECT_EQ(read_file(folder.path("corvane2d.zydat")), "earlier");
  EXPECT_EQ(files_in(folder.path()), 3);
}

// --- the programs ---

struct ProgramRun {
  int status;
  std::string out, err;
};

ProgramRun run(const TempDir& folder, const std::string& program, const std::string& arguments) {
  const std::string out = folder.path("out.txt"), err = folder.path("err.txt");
  const std::string gap = arguments.starts_with("-mesh") ? "" : " ";  // corvane-mesh lies beside corvane
  const int status = std::system((program + gap + arguments + " >" + out + " 2>" + err).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(out), read_file(err)};
}

TEST(MeshProgram, TheVerbStartsItAndPassesEverythingOn) {
  const TempDir folder;
  import_own_board(folder.path("db"), "board");
  const ProgramRun text = run(folder, CORVANE_PROGRAM, "mesh " + folder.path("db"));
  EXPECT_EQ(text.status, 0) << text.err;
  EXPECT_EQ(text.err, "");
  EXPECT_TRUE(text.out.starts_with(folder.path("db/corvane2d.zydat: "))) << text.out;
  const ProgramRun run_json =
      run(folder, CORVANE_PROGRAM, "mesh " + folder.path("db") + " --name board --max-edge 0.5 --json");
  EXPECT_EQ(run_json.status, 0) << run_json.err;
  const nlohmann::json json = nlohmann::json::parse(run_json.out);
  EXPECT_EQ(json["database"], folder.path("db/board.zydat"));
  EXPECT_EQ(json["mesh"], folder.path("db/corvane2d.zydat"));
  EXPECT_EQ(json["bytes"], fs::file_size(folder.path("db/corvane2d.zydat")));
  EXPECT_EQ(json["verified"], true);
  EXPECT_EQ(json["sizes"], nlohmann::json::parse(R"({"max_edge": 0.5, "min_edge": 0.05})"));
  EXPECT_EQ(json["elements"].size(), 14u);
  EXPECT_EQ(json["elements"]["meshlayer"], 4);
  EXPECT_EQ(json["elements"]["emmeshvertex"], 12);
  ASSERT_EQ(json["layers"].size(), 4u);
  std::size_t triangles = 0;
  for (const auto& layer : json["layers"]) triangles += layer["triangles"].get<std::size_t>();
  EXPECT_EQ(json["elements"]["meshface"], triangles);
  import_own_board(folder.path("full"), "board");
  fs::create_directory(folder.path("full/corvane2d.zydat"));
  for (const auto& [command, status, err] : std::vector<std::tuple<std::string, int, std::string>>{
           {"mesh " + folder.path("db") + " --name none", 1, "corvane-mesh: " + folder.path("db") + ": no database"},
           {"mesh " + folder.path("full"), 1, "corvane-mesh: "},
           {"mesh " + folder.path("db") + " --max-edge -2", 2, "corvane: --max-edge: "},
           {"-mesh " + folder.path("db") + " --max-edge nan", 2, "corvane-mesh: --max-edge: "},
           {"-mesh --no-such --json", 2, "corvane-mesh: "}}) {
    const ProgramRun failed = run(folder, CORVANE_PROGRAM, command);
    EXPECT_EQ(failed.status, status) << command;
    EXPECT_TRUE(failed.err.starts_with(err)) << failed.err;
    EXPECT_EQ(std::count(failed.err.begin(), failed.err.end(), '\n'), 1) << failed.err;
    const bool is_json = command.ends_with("--json");
    EXPECT_EQ(failed.out.empty(), !is_json) << failed.out;
    if (is_json) {
      EXPECT_EQ("corvane-mesh: " + nlohmann::json::parse(failed.out)["error"].get<std::string>() + "\n", failed.err);
    }
  }
}

TEST(MeshProgram, TheVerbSaysWhenItIsMissing) {
  const TempDir folder;
  fs::create_directory(folder.path("bin"));
  fs::copy(CORVANE_PROGRAM, folder.path("bin/corvane"));
  const fs::path libraries = fs::path(CORVANE_PROGRAM).parent_path().parent_path() / "lib";
  const ProgramRun missing =
      run(folder, "LD_LIBRARY_PATH=" + libraries.string() + " PATH=/nowhere " + folder.path("bin/corvane"),
          "mesh " + folder.path());
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err,
            "corvane: corvane-mesh is not installed: it is built where CGAL is found (Debian package libcgal-dev)\n");
  fs::create_directory(folder.path("path"));
  write_file(folder.path("path/corvane-mesh"), "#!/bin/sh\necho \"$@\"\nexit 7\n");
  fs::permissions(folder.path("path/corvane-mesh"), fs::perms::owner_all);
  const ProgramRun found = run(
      folder,
      "LD_LIBRARY_PATH=" + libraries.string() + " PATH=" + folder.path("path") + ":/bin " + folder.path("bin/corvane"),
      "mesh --json -- -odd");
  EXPECT_EQ(found.status, 7);
  EXPECT_EQ(found.out, "--json -- -odd\n");
}

}  // namespace
