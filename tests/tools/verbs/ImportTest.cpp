// The whole way of an import, and the program around it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/ProgramRun.h"
#include "tests/support/TestSupport.h"
#include "tests/tools/board/BoardTexts.h"
#include "tools/corvane/layout/Import.h"
#include "tools/corvane/verbs/ImportReport.h"

using namespace CorvaneTool;
using TestSupport::read_file;
using TestSupport::TempDir;
using TestSupport::write_file;
namespace fs = std::filesystem;

namespace {

const std::string kOwnBoard = CORVANE_EXAMPLE_BOARDS "/sensor-node.kicad_pcb";

ImportReport import(const std::string& board, const std::string& directory, const std::string& name, int columns = 1,
                    int rows = 1) {
  return import_board({board, directory, name, columns, rows}, [](const std::string&) {});
}

std::vector<std::string> files_in(const std::string& directory) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory))
    names.push_back(entry.path().filename().string());
  return names;
}

TEST(Import, WritesWhatItReadsBack) {
  const TempDir folder;
  const ImportReport report = import(kOwnBoard, folder.path("new"), "board");
  EXPECT_EQ(report.database, folder.path("new/board.zydat"));
  EXPECT_EQ(report.bytes, fs::file_size(report.database));
  EXPECT_EQ(files_in(folder.path("new")), std::vector<std::string>{"board.zydat"});
  const nlohmann::json json = nlohmann::json::parse(report_json(report));
  EXPECT_EQ(json["verified"], true);
  EXPECT_EQ(json["database"], report.database);
  EXPECT_EQ(json["bytes"], report.bytes);
  EXPECT_EQ(json["rows"],
            nlohmann::json::parse(
                R"({"em2dlayer": 4, "emnet": 5, "em2dsignal": 2, "em2dvertex": 34, "em2dtrace": 13, "em2dvia": 8,
    "em2dpolyvia": 2, "em2dshape": 32, "em2dpin": 4, "em2dcircuit": 4, "simeshconfig": 1})"));
  EXPECT_EQ(json["values"],
            nlohmann::json::parse(R"({"em2dshape.vertexs": 1006, "em2dcircuit.pin": 12, "em2dpolyvia.coord": 72})"));
  EXPECT_EQ(json["skipped"], nlohmann::json::parse(R"({"pad": {"unplated hole": 1}, "text": {"on copper": 1},
    "zone outline": {"only its fill is copper": 3}})"));
  EXPECT_EQ(json["seconds"].size(), 5u);
  const std::string text = report_text(report);
  EXPECT_NE(text.find("board.zydat: " + std::to_string(report.bytes) + " bytes, read back equal\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\nem2dvertex      34\n"), std::string::npos) << text;
}

TEST(Import, GivesTheSameFileEveryTime) {
  const TempDir folder;
  import(kOwnBoard, folder.path(), "a");
  import(kOwnBoard, folder.path("b"), "a");
  EXPECT_EQ(read_file(folder.path("a.zydat")), read_file(folder.path("b/a.zydat")));
}

TEST(Import, PanelsHoldAllCopies) {
  const TempDir folder;
  const ImportReport report = import(kOwnBoard, folder.path(), "panel", 3, 2);
  const nlohmann::json rows = nlohmann::json::parse(report_json(report))["rows"];
  EXPECT_EQ(rows["em2dvertex"], 6 * 34);
  EXPECT_EQ(rows["em2dpolyvia"], 6 * 2);
  EXPECT_EQ(rows["em2dpin"], 4);
}

TEST(Import, AFailureLeavesAnEarlierDatabaseAndNothingElse) {
  const TempDir folder;
  import(kOwnBoard, folder.path("db"), "board");
  const std::string earlier = read_file(folder.path("db/board.zydat"));
  write_file(folder.path("cut.kicad_pcb"), read_file(kOwnBoard).substr(0, 5000));
  EXPECT_THROW(import(folder.path("cut.kicad_pcb"), folder.path("db"), "board"), BoardError);
  EXPECT_THROW(import(folder.path("cut.kicad_pcb"), folder.path("other"), "board"), BoardError);
  EXPECT_EQ(read_file(folder.path("db/board.zydat")), earlier);
  EXPECT_EQ(files_in(folder.path("db")).size(), 1u);
  EXPECT_FALSE(fs::exists(folder.path("other")));
}

TEST(Import, RefusesPlacesThatCannotHoldADatabase) {
  const TempDir folder;
  write_file(folder.path("file"), "");
  fs::create_directory(folder.path("taken.zydat"));
  const auto message = [&](const std::string& directory, const std::string& name) {
    try {
      import(kOwnBoard, directory, name);
    } catch (const std::runtime_error& error) {
      return std::string(error.what());
    }
    return std::string("<nothing thrown>");
  };
  EXPECT_EQ(message(folder.path("file"), "b"), folder.path("file") + ": not a directory");
  EXPECT_EQ(message(folder.path(), "taken"), folder.path("taken.zydat") + ": is a directory");
  EXPECT_EQ(message(folder.path(), "a/b"), "\"a/b\" cannot be the name of a database: it must be a file name");
  EXPECT_EQ(message(folder.path(), ""), "\"\" cannot be the name of a database: it must be a file name");
  const std::string missing = message(folder.path("no/where"), "b");
  EXPECT_TRUE(missing.starts_with(folder.path("no/where/b.zydat") + ": not written: ")) << missing;
  EXPECT_EQ(files_in(folder.path()).size(), 2u);
}

// --- the program ---

TEST(Program, ImportsUnderTheBoardsName) {
  const TempDir folder;
  const ProgramRun text = run(folder, "import " + kOwnBoard + " " + folder.path("db"));
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.err, "") << "no progress in a file";
  EXPECT_TRUE(text.out.starts_with(folder.path("db/sensor-node.zydat: "))) << text.out;
  const ProgramRun json =
      run(folder, "import " + kOwnBoard + " " + folder.path("db") + " --name other --panel 2x2 --json");
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(nlohmann::json::parse(json.out)["rows"]["em2dtrace"], 4 * 13);
  EXPECT_TRUE(fs::exists(folder.path("db/other.zydat")));
}

TEST(Program, SaysInOneLineWhatIsWrong) {
  const TempDir folder;
  const std::string cut = folder.path("cut.kicad_pcb");
  write_file(cut, "(kicad_pcb (version 4)");
  const std::string db = folder.path("db");
  const std::string damaged = folder.path("damaged.zydat");
  std::string bytes = read_file(std::string(CORVANE_TEST_DATA) + "/db.zydat");
  bytes.replace(12 + 98 * 8 + 40, 2, "\xff\xff");  // where the second node's name begins
  write_file(damaged, bytes);
  const std::vector<std::pair<std::string, std::string>> table = {
      {"import " + cut + " " + db, cut + ":1:23: the file ends inside the list \"(kicad_pcb\" that begins at 1:1"},
      {"import " + folder.path("none.kicad_pcb") + " " + db,
       folder.path("none.kicad_pcb") + ": cannot be read: No such file or directory"},
      {"import " + kOwnBoard + " " + cut, cut + ": not a directory"},
      {"import " + kOwnBoard + " " + db + " --panel 0x3", "--panel 0x3: wants two counts from 1 to 1000, such as 6x4"},
      {"import " + kOwnBoard + " " + db + " --panel 3", "--panel 3: wants two counts from 1 to 1000, such as 6x4"},
      {"info " + damaged, "file '" + damaged + "': schema node 1 names a text at byte 65535 of a pool of 900 bytes"},
      {"import " + kOwnBoard, "DIR is required (see corvane --help)"},
      {"", "A subcommand is required (see corvane --help)"}};
  for (const auto& [arguments, message] : table) {
    const ProgramRun failed = run(folder, arguments);
    EXPECT_EQ(failed.status, 1) << arguments;
    EXPECT_EQ(failed.out, "") << arguments;
    EXPECT_EQ(failed.err, "corvane: " + message + "\n") << arguments;
  }
  EXPECT_FALSE(fs::exists(db));
  const ProgramRun missing = run(folder, "import " + kOwnBoard + " " + folder.path("no/where"));
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1) << missing.err;
}

}  // namespace
