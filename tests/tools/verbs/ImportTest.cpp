// The whole way of an import: what is written, what is refused, and what is left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/tools/board/BoardTexts.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/layout/Origin.h"
#include "tools/corvane/verbs/ImportReport.h"

using namespace CorvaneTool;
using nlohmann::json;
using TestSupport::read_file;
using TestSupport::write_file;
namespace fs = std::filesystem;

namespace {

const std::string kOwnBoard = CORVANE_EXAMPLE_BOARDS "/sensor-node.kicad_pcb";

class Import : public testing::Test {
 protected:
  static ImportReport import(const ImportRequest& request) {
    return import_board(request, [](const std::string&) {});
  }

  static std::string refusal_of(const ImportRequest& request) {
    try {
      import(request);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "<nothing thrown>";
  }

  static std::vector<std::string> files_in(const std::string& directory) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  const TestSupport::TempDir folder;
};

TEST_F(Import, WritesWhatItReadsBackTheSameEveryTime) {
  std::vector<std::string> progress;
  const ImportReport report =
      import_board({kOwnBoard, folder.path("new"), "board"}, [&](const auto& text) { progress.push_back(text); });
  EXPECT_EQ(report.database, folder.path("new/board.zydat"));
  EXPECT_EQ(report.bytes, fs::file_size(report.database));
  EXPECT_EQ(files_in(folder.path("new")), (std::vector<std::string>{"board.board.json", "board.zydat"}));
  const json whole = report_json(report);
  EXPECT_EQ(whole["rows"], json::parse(R"({"em2dlayer": 4, "emnet": 5, "em2dsignal": 2, "em2dvertex": 34,
    "em2dtrace": 13, "em2dvia": 8, "em2dpolyvia": 2, "em2dshape": 32, "em2dpin": 4, "em2dcircuit": 4,
    "simeshconfig": 1})"));
  EXPECT_EQ(whole["values"], json::parse(R"({"em2dshape.vertexs": 1006, "em2dcircuit.pin": 12,
    "em2dpolyvia.coord": 72})"));
  EXPECT_EQ(whole["skipped"], json::parse(R"({"pad": {"unplated hole": 1}, "text": {"on copper": 1},
    "zone outline": {"only its fill is copper": 3}})"));
  EXPECT_EQ(whole["seconds"].size(), 5u);
  const std::string text = report_text(report);
  EXPECT_NE(text.find(" bytes, read back equal\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nem2dvertex      34\n"), std::string::npos) << text;
  EXPECT_EQ(progress.size(), 6u + 9 + 8);
  EXPECT_EQ(progress[9], "29 %, write em2dshape");

  import({kOwnBoard, folder.path(), "board"});
  EXPECT_EQ(read_file(folder.path("board.zydat")), read_file(report.database));
  const json rows = report_json(import({kOwnBoard, folder.path(), "panel", 3, 2}))["rows"];
  EXPECT_EQ(rows["em2dvertex"], 6 * 34);
  EXPECT_EQ(rows["em2dpolyvia"], 6 * 2);
  EXPECT_EQ(rows["em2dpin"], 4);
}

TEST_F(Import, RefusesInOneSentenceAndLeavesWhatWasThere) {
  const std::string cut = folder.path("cut.kicad_pcb"), db = folder.path("db"), other = folder.path("b.kicad_pcb");
  write_file(cut, read_file(kOwnBoard).substr(0, 5000));
  write_file(folder.path("file"), "");
  fs::copy_file(kOwnBoard, other);
  import({kOwnBoard, db, "board"});
  import({kOwnBoard, db, "changed"});
  fs::resize_file(db + "/changed.zydat", 18'000);
  fs::create_directory(db + "/taken.zydat");
  const std::vector<std::string> before = files_in(db);
  const std::string earlier = read_file(db + "/board.zydat"), large(250, 'x'),
                    no_name = " cannot be the name of a database: ";
  const std::vector<std::pair<ImportRequest, std::string>> table = {
      {{cut, db, "board", 1, 1, 0, true}, cut + ":236:10: the file ends inside this quoted text"},
      {{cut, folder.path("new"), "board"}, cut + ":236:10: the file ends inside this quoted text"},
      {{kOwnBoard, folder.path("new"), large}, folder.path("new/" + large) + ".zydat: not written: "},
      {{kOwnBoard, folder.path("file"), "b"}, folder.path("file") + ": not a directory"},
      {{kOwnBoard, folder.path("no/where"), "b"}, folder.path("no/where") + ": cannot be written to: No such file"},
      {{kOwnBoard, db, "taken"}, db + "/taken.zydat: is a directory"},
      {{kOwnBoard, db, "a/b"}, "\"a/b\"" + no_name + "it must be a file name"},
      {{kOwnBoard, db, ""}, "\"\"" + no_name + "it must be a file name"},
      {{kOwnBoard, db, "corvane2d"}, "\"corvane2d\"" + no_name + "it is the mesh's"},
      {{other, db, "board"}, db + "/board.zydat: is there already, made from " + kOwnBoard + "; --force replaces it"},
      {{kOwnBoard, db, "changed"}, db + "/changed.zydat: is there already, from elsewhere or changed since its import"},
      {{kOwnBoard, db, "p", 1000, 1000}, kOwnBoard + ": a panel of 1000000 copies would become about 1"},
      {{kOwnBoard, db, "p", 1, 1, 4096}, kOwnBoard + ": would become more than 0 MiB (see --limit)"}};
  for (const auto& [request, message] : table) {
    const std::string refusal = refusal_of(request);
    EXPECT_EQ(refusal.substr(0, message.size()), message);
    EXPECT_EQ(files_in(db), before) << message;
    EXPECT_FALSE(fs::exists(folder.path("new"))) << message;
  }
  EXPECT_EQ(read_file(db + "/board.zydat"), earlier);
  import({kOwnBoard, db, "board"});
  import({other, db, "board", 1, 1, 0, true});
  EXPECT_EQ(read_origin(db + "/board.zydat")->source, fs::canonical(other));
}

// Each of these boards has some ten kilobytes, and would become a hundred times as many.
TEST_F(Import, SmallBoardsStaySmall) {
  const auto repeated = [](int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
  };
  const std::string arc = "(arc (start -900 0) (mid 0 900) (end 900 0)) ", name(9'000, 'n'),
                    pad = "(pad 1 smd custom (at 0 0) (size 1 1) (layers *.Cu))";
  for (const std::string& items :
       {"(gr_poly (pts " + repeated(200, arc) + ") (layers *.Cu))",
        "(zone (layer F.Cu) (filled_polygon (pts " + repeated(200, arc) + ")))",
        "(footprint x (property Reference " + name + ") (at 0 0) " + repeated(100, pad) + ")"}) {
    write_file(folder.path("b.kicad_pcb"), BoardTexts::two_layer_text(20241229, items));
    EXPECT_EQ(refusal_of({folder.path("b.kicad_pcb"), folder.path(), "b", 1, 1, 1 << 20}),
              folder.path("b.kicad_pcb") + ": would become more than 1 MiB (see --limit)");
  }
  EXPECT_EQ(default_limit(1'000'000, 1), (64U << 20U) + 16'000'000U);
  EXPECT_EQ(default_limit(1'000'000, 100), 1U << 30U);
}

TEST_F(Import, OriginsOfOtherBytesOrVersionsTellNothing) {
  const std::string mesh = folder.path("corvane2d.zydat"), origin = folder.path("corvane2d.json");
  write_file(mesh, "mesh");
  write_origin(mesh, {"a.zydat", "0"});
  EXPECT_EQ(in_words(source_of_mesh(mesh).value()), "made from a.zydat, which is not there any more");
  const std::string good = read_file(origin), second = "{\"version\": 2," + good.substr(good.find(',') + 1);
  for (const std::string& text : {std::string(), std::string("[1]"), good.substr(0, good.size() / 2), second}) {
    write_file(origin, text);
    EXPECT_FALSE(source_of_mesh(mesh)) << text;
  }
  write_file(origin, good);
  write_file(mesh, "hsem");
  EXPECT_FALSE(source_of_mesh(mesh)) << "another mesh";
}

}  // namespace
