// corvane_bench: how fast the library is, against what a program would write by hand. docs/performance.md says what the
// figures mean. Timings never fail this program unless --check asks for it.
#include <benchmark/benchmark.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "bench/Memory.h"
#include "bench/MeshFigures.h"
#include "bench/OwnProcess.h"
#include "bench/Report.h"
#include "bench/Stage.h"
#include "bench/StorageFigures.h"
#include "bench/Workload.h"

namespace CorvaneBench {
namespace {

struct Options {
  std::size_t rows = 1000000;
  std::size_t pairs = 15;
  std::string boards = "/usr/share/kicad/demos";  // a folder, or one file
  int copies = 6;
  std::string folder = std::filesystem::temp_directory_path();
  bool check = false;
};

/// The workload whose figures run now. Only one is in memory at a time.
class CurrentStage {
 public:
  /// Files are written to `folder`, which must outlive this.
  explicit CurrentStage(std::string folder) : d_folder(std::move(folder)) {}

  template <class MakeLayout>
  Stage& get(const std::string& name, const MakeLayout& make_layout) {
    if (d_stage != nullptr && name == d_name) return *d_stage;
    d_stage.reset();
    const std::size_t before = resident_bytes();
    CorvaneTool::Layout layout = make_layout();
    const std::size_t after = resident_bytes();
    d_stage = std::make_unique<Stage>(std::move(layout), after > before ? after - before : 0, d_folder);
    d_name = name;
    return *d_stage;
  }

 private:
  std::string d_folder;
  std::unique_ptr<Stage> d_stage;
  std::string d_name;
};

template <class MakeLayout>
void register_workload(CurrentStage& current, const std::string& name, std::size_t pairs, MakeLayout make_layout) {
  const auto add = [&](const char* figure, Bound kind, double bound, bool is_time, std::size_t times, auto measured) {
    const auto start = [&current, name, make_layout, measured] { return (current.get(name, make_layout).*measured)(); };
    register_figure({name + "/" + figure, kind, bound, is_time, start}, times);
  };
  add("write", Bound::at_most, 1.20, true, pairs, &Stage::write);
  add("save", Bound::at_least, 0.95, true, pairs, &Stage::save);
  add("load", Bound::at_most, huge_pages_granted() ? 0.50 : 1.00, true, pairs, &Stage::load);
  add("read", Bound::at_most, 1.20, true, pairs, &Stage::read);
  add("memory of a load : file", Bound::at_most, 1.10, false, 3, &Stage::load_memory);
  add("memory of a save : file", Bound::at_most, 0.05, false, 3, &Stage::save_memory);
  add("file : payload", Bound::at_most, 1.02, false, 1, &Stage::file_size);
}

void register_all(CurrentStage& current, const Options& options) {
  for (const bool shuffled : {false, true}) {
    register_workload(current, shuffled ? "shuffled" : "in order", options.pairs,
                      [rows = options.rows, shuffled] { return made_up_layout(rows, shuffled); });
  }
  const bool is_folder = std::filesystem::is_directory(options.boards);
  const std::string board = is_folder ? largest_board(options.boards) : options.boards;
  if (!std::filesystem::is_regular_file(board)) {
    std::cout << "skipped: the panel of a real board, because there is none at " << options.boards << "\n";
    return;
  }
  register_workload(current, "panel", options.pairs,
                    [board, copies = options.copies] { return board_panel(board, copies); });
}

void add_options(CLI::App& app, Options& options) {
  app.add_option("--rows", options.rows, "Vertices, and traces, of the made-up workloads; nodes of the mesh")
      ->check(CLI::Range(1, 20000000))
      ->capture_default_str();
  app.add_option("--pairs", options.pairs, "Measurements of each figure")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--boards", options.boards, "A board file, or a folder whose largest board is taken")
      ->capture_default_str();
  app.add_option("--copies", options.copies, "The panel has this many boards each way")
      ->check(CLI::Range(1, 40))
      ->capture_default_str();
  app.add_option("--directory", options.folder, "Where files are written, and on which file system")
      ->capture_default_str();
  app.add_flag("--check", options.check, "Exit with status 1 when a figure misses its bound");
}

int run(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);  // takes the options that begin with --benchmark_
  CLI::App app("Ratios of the library's speed and memory to hand-written loops", "corvane_bench");
  Options options;
  add_options(app, options);
  CLI11_PARSE(app, count, arguments);
  use_fresh_blocks();
  const ScratchFolder scratch(options.folder);
  CurrentStage current(scratch.path());
  register_all(current, options);
  register_storage_figures(scratch.path(), options.rows, options.pairs);
  register_mesh_figures(scratch.path(), options.rows, options.pairs);
  Table table;
  benchmark::RunSpecifiedBenchmarks(&table);
  return options.check && table.missed() > 0 ? 1 : 0;
}

}  // namespace
}  // namespace CorvaneBench

int main(int count, char** arguments) {
  try {
    if (count == 5 && arguments[1] == std::string(CorvaneBench::kMeasureOption)) {
      CorvaneBench::measure(arguments[2], arguments[3], arguments[4]);
      return 0;
    }
    return CorvaneBench::run(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << "corvane_bench: " << error.what() << '\n';
    return 1;
  }
}
