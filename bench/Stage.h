// One workload with everything that its figures need: objects, the database file, hand-written columns, look-up tables.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/Figure.h"
#include "bench/HandTables.h"
#include "facade/DBZydata.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneBench {

/// A folder of its own, removed with all that is in it.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::string& parent);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string path() const { return d_path; }

 private:
  std::filesystem::path d_path;
};

class Stage {
 public:
  /// Writes the database file and checks that the library and the hand-written loops do the same: equal columns, equal
  /// objects. Throws std::runtime_error when they don't.
  Stage(CorvaneTool::Layout layout, std::size_t layout_bytes, const std::string& folder);
  ~Stage();

  // Each sets up and returns what takes one sample.
  std::function<Sample()> write();
  std::function<Sample()> save();
  std::function<Sample()> load();
  std::function<Sample()> read();
  std::function<Sample()> load_memory();
  std::function<Sample()> save_memory();
  std::function<Sample()> file_size();

 private:
  std::string path(const std::string& name) const { return d_folder + "/" + name + ".zydat"; }
  double file_bytes() const { return static_cast<double>(std::filesystem::file_size(path(kFile))); }
  void open_file();
  void close();
  void read_all(CorvaneTool::Layout& to);
  void check_columns();
  void check_objects();

  static constexpr const char* kFile = "stage";

  const CorvaneTool::Layout d_layout;
  const std::string d_folder;
  const Tables d_tables;
  Mesh2DPlat::DBZydata d_database;
  HandTables d_columns;       // of the whole layout
  std::size_t d_fresh_bytes;  // touched before each timed run: at least what it takes
};

}  // namespace CorvaneBench
