// The whole ways through the library, from the first call of a save or a load to its last one, and what must be as it
// was when something on the way has failed. Two test programs make it fail: by the platform's calls and by memory.
#pragma once

#include <map>

#include "facade/DBRoot.h"
#include "facade/DBZydata.h"
#include "facade/Probe.h"
#include "model/MeshReadInterface.h"
#include "model/SImesh2D.h"
#include "tests/facade/Layout.h"
#include "tests/facade/SampleMesh.h"
#include "tests/support/TestSupport.h"
#include "zydata/message/serialize.h"

namespace TestSupport {

using Files = std::map<std::string, std::string>;  // bytes by name

/// A step that throws leaves what is open as it was before that step.
struct WholePath {
  std::string name;
  std::vector<std::function<void()>> steps;
  std::vector<std::string> written = {};   // files that a failure may leave in part
  std::vector<std::string> replaced = {};  // files that are always whole, the old ones or the new ones
  std::vector<std::string> left = {};      // files that stay only when they could not be removed
};

/// How far a path came.
struct Outcome {
  std::size_t step = 0;  // the one that threw; the number of steps: none did
  std::exception_ptr error;
};

/// From step `first` on. Asks for no memory of its own.
inline Outcome run(const WholePath& path, std::size_t first = 0) {
  Outcome outcome{first, nullptr};
  try {
    for (; outcome.step < path.steps.size(); ++outcome.step) path.steps[outcome.step]();
  } catch (...) {
    outcome.error = std::current_exception();
  }
  return outcome;
}

/// Every byte of what is open, as a file would have it.
inline std::string open_content() {
  std::string bytes;
  for (const auto& frame : ZyData::data_message(currentRoot->tree).frames) {
    bytes.append(std::to_string(frame->size_bytes()) + ":");
    bytes.append(static_cast<const char*>(frame->data()), frame->size_bytes());
  }
  return bytes;
}

class WholePaths : public testing::Test {
 protected:
  WholePaths() {
    fill(d_layout);
    d_lines = describe(d_layout);
    d_mesh = sample_mesh();
    d_maps = {{{d_layout.vias[0], 4}}, {{d_layout.vias[1], 0}, {d_layout.vias[0], -1}}};
    d_db.openem(false, "board");
    d_layout.write(d_db);
    d_db.save("full");
    d_db.openem(false, "board");
    d_db.write(d_layout.layers);
    d_db.save("board");
    d_holes.writeNegPolyMesh(&d_mesh);
    d_db.write(&d_mesh, d_maps, d_layout.shapes);
    d_files = files();
    EXPECT_EQ(paths().size(), kPaths);
  }

  static constexpr std::size_t kPaths = 14;

  WholePath path(std::size_t number) { return paths().at(number); }

 private:
  std::vector<WholePath> paths() {
    const auto open = [this] { d_db.openem(true, "full"); };
    const auto close = [this] { d_db.openem(false, "x"); };
    return {
        {"write and save", write_and_save(), {"board.zydat"}},
        {"save in a new folder", {[this] { d_elsewhere.save("x"); }}, {"new folder/x.zydat"}},
        {"dump", {[this] { d_db.write(d_dir.path()); }}, {"final_mesh.dat"}},
        {"load and read", {close, open, [this] { read_layout(); }}},
        {"safe save", {[this] { d_db.saveSafely("board"); }}, {}, {"board.zydat"}, {"board.zydat.tmp"}},
        {"safe save that keeps",
         {[this] { d_db.saveSafely("board", true); }},
         {},
         {"board.zydat", "board.zydat.bak"},
         {"board.zydat.tmp", "board.zydat.bak.tmp"}},
        {"safe save of a new file",
         {[this] { d_db.saveSafely("new", true); }},
         {},
         {"new.zydat", "new.zydat.bak"},
         {"new.zydat.tmp"}},
        {"mesh write", {[this] { d_db.write(&d_mesh, d_maps, d_layout.shapes); }}, {"corvane2d.zydat"}},
        {"mesh read", {[this] { read_mesh(); }}},
        {"readNegPolyMesh", {[this] { d_db.readNegPolyMesh(&d_read_mesh, &d_reader); }}},
        {"readNegPolyMesh of holes", {[this] { d_holes.readNegPolyMesh(&d_read_mesh, &d_reader); }}},
        {"writeNegPolyMesh", {[this] { d_db.writeNegPolyMesh(&d_mesh); }}, {"corvane2d.zydat"}},
        {"probe", {[this] { expect_sound(d_dir.path("full.zydat")); }}},
        {"probe of a mesh", {[this] { expect_sound(d_dir.path("corvane2d.zydat")); }}},
    };
  }

 protected:
  /// Where every path begins.
  void start() {
    std::filesystem::remove_all(d_dir.path("new folder"));
    const Files found = files();
    for (const auto& [name, bytes] : found) {
      if (!d_files.contains(name)) std::filesystem::remove(d_dir.path(name));
    }
    for (const auto& [name, bytes] : d_files) {
      if (!has(found, name, bytes)) write_file(d_dir.path(name), bytes);
    }
    d_db.openem(true, "full");
    d_read.reset();
    d_read_mesh.clear();
    d_read_mesh.addLayer({-1, "the program's own"});
    d_read_vias.clear();
    d_read_maps.assign(7, {});
    d_read_shapes = std::make_unique<Owned<EM2DShape>>();
    d_descriptors = open_descriptors();
  }

  /// Runs a path without a fault and notes what it makes of its start.
  void learn(const WholePath& path) {
    start();
    d_contents.clear();
    for (std::size_t i = 0; i < path.steps.size(); ++i) {
      d_contents.push_back(open_content());
      path.steps[i]();
    }
    d_contents.push_back(open_content());
    d_final_files = files();
    d_expected_extras = d_read_mesh.negPolygons.size() + d_read_shapes->size();
    expect_complete();
  }

  /// What a failed path must have left alone.
  void expect_kept(const WholePath& path, const Outcome& outcome, bool removed) {
    EXPECT_EQ(open_descriptors(), d_descriptors);
    EXPECT_TRUE(open_content() == d_contents[outcome.step]);
    EXPECT_EQ(describe(d_layout), d_lines);
    EXPECT_TRUE(d_mesh == sample_mesh());
    expect_files(path, removed);
    if (outcome.step == path.steps.size()) return;
    EXPECT_EQ(d_read_mesh.layers.size(), 1u);
    EXPECT_TRUE(d_read_mesh.nodes.empty() && d_read_vias.empty() && d_read_shapes->empty() && d_read_maps.size() == 7);
    if (d_read == nullptr) return;
    // Objects that were read before stay, each of them whole.
    EXPECT_TRUE(d_read->config == SImeshConfig() || d_read->config == d_layout.config);
    d_read->config = d_layout.config;
    for (const std::string& line : describe(*d_read)) {
      EXPECT_NE(std::find(d_lines.begin(), d_lines.end(), line), d_lines.end()) << line;
    }
  }

  /// The rest of the path after what made it fail is gone.
  void expect_completes(const WholePath& path, const Outcome& outcome) {
    EXPECT_EQ(run(path, outcome.step).error, nullptr);
    EXPECT_EQ(open_descriptors(), d_descriptors);
    EXPECT_TRUE(open_content() == d_contents.back());
    expect_final_files(path);
    expect_complete();
  }

  TempDir d_dir;
  DBZydata d_elsewhere{d_dir.path("new folder")};
  DBZydata d_holes{d_dir.path("holes")};
  DBZydata d_db{d_dir.path()};

 private:
  using ViaMaps = std::vector<std::map<EM2DVia*, int>>;

  struct Reader final : MeshReadInterface {
    bool wantsShapes() const override { return true; }
  };

  static SImesh2D sample_mesh() {
    SImesh2D mesh = make_mesh();
    add_holes(mesh);
    return mesh;
  }

  std::vector<std::function<void()>> write_and_save() {
    return {[this] { d_db.openem(false, "board"); },   [this] { d_db.write(&d_layout.config); },
            [this] { d_db.write(d_layout.layers); },   [this] { d_db.write(d_layout.nets); },
            [this] { d_db.write(d_layout.signals); },  [this] { d_db.write(d_layout.vertices); },
            [this] { d_db.write(d_layout.traces); },   [this] { d_db.write(d_layout.vias); },
            [this] { d_db.write(d_layout.polyVias); }, [this] { d_db.write(d_layout.shapes, ""); },
            [this] { d_db.write(d_layout.circuits); }, [this] { d_db.save("board"); }};
  }

  void read_layout() {
    d_read = std::make_unique<Layout>();
    d_read->read(d_db);
  }

  void read_mesh() {
    d_db.read(&d_read_mesh, d_read_vias, d_layout.layers.by(&EM2DLayer::id), d_layout.nets.by(&EM2DNet::id),
              d_layout.vias.by(&EM2DVia::name), d_read_shapes.get(), &d_read_maps);
  }

  /// A file that can't be read is an answer of a probe, too; any other would be wrong.
  static void expect_sound(const std::string& path) {
    const ProbeResult result = probe(path);
    if (result.fault == ZyData::FileFault::unreadable) throw Util::Error(result.text);
    if (result.fault != ZyData::FileFault::none) throw std::logic_error("a sound file is called: " + result.text);
  }

  /// What was read is what was written.
  void expect_complete() {
    if (d_read != nullptr) {
      EXPECT_EQ(describe(*d_read), d_lines);
    }
    if (d_read_mesh.nodes.empty()) return;
    EXPECT_TRUE(d_read_mesh.layers == d_mesh.layers && d_read_mesh.nodes == d_mesh.nodes);
    EXPECT_EQ(d_read_mesh.negPolygons.size() + d_read_shapes->size(), d_expected_extras);
  }

  Files files() const {
    Files result;
    const std::filesystem::path root = d_dir.path();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (entry.is_directory()) continue;
      result[entry.path().lexically_relative(root).string()] = read_file(entry.path().string());
    }
    return result;
  }

  static bool is_in(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  }
  static bool has(const Files& all, const std::string& name, const std::string& bytes) {
    const auto found = all.find(name);
    return found != all.end() && found->second == bytes;
  }

  /// The previous version that a second attempt keeps may be what the first one has put in place.
  void expect_final_files(const WholePath& path) const {
    Files expected = d_final_files;
    Files found = files();
    for (std::size_t i = 1; i < path.replaced.size(); ++i) {
      const std::string& kept = path.replaced[i];
      if (!found.contains(kept) || found[kept] != expected[path.replaced[0]]) continue;
      found.erase(kept);
      expected.erase(kept);
    }
    for (const auto& [name, bytes] : found) EXPECT_TRUE(has(expected, name, bytes)) << name << " " << bytes.size();
    EXPECT_EQ(found.size(), expected.size());
  }

  void expect_files(const WholePath& path, bool removed) {
    const Files found = files();
    for (const auto& [name, bytes] : d_files) EXPECT_TRUE(found.contains(name)) << name;
    for (const auto& [name, bytes] : found) {
      if (has(d_files, name, bytes)) continue;
      if (is_in(path.replaced, name)) {
        EXPECT_TRUE(has(d_final_files, name, bytes)) << name;
      } else if (is_in(path.written, name)) {
        const bool whole = has(d_final_files, name, bytes);
        EXPECT_TRUE(whole || probe(d_dir.path(name)).fault != ZyData::FileFault::none) << name;
      } else {
        EXPECT_TRUE(!removed && is_in(path.left, name)) << name;
      }
    }
  }

  Layout d_layout;
  std::vector<std::string> d_lines;  // of the layout
  SImesh2D d_mesh;
  ViaMaps d_maps;
  Files d_files;                        // at the start
  Files d_final_files;                  // of the path that was learnt
  std::vector<std::string> d_contents;  // of what is open, before each of its steps and at its end
  std::size_t d_expected_extras = 0;    // shapes and negative polygons of a mesh that it reads
  std::ptrdiff_t d_descriptors = 0;

  // What the paths read into.
  std::unique_ptr<Layout> d_read;
  SImesh2D d_read_mesh;
  ViaTable d_read_vias;
  ViaMaps d_read_maps;
  std::unique_ptr<Owned<EM2DShape>> d_read_shapes;
  Reader d_reader;
};

}  // namespace TestSupport
