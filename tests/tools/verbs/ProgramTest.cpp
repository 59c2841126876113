// The program around the verbs: what it says, where, and with which status.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "facade/DBZydata.h"
#include "model/SImesh2D.h"
#include "mpsys/FileConnection.h"
#include "tests/support/ProgramRun.h"
#include "tools/corvane/layout/IdTable.h"
#include "tools/corvane/layout/Origin.h"
#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/PendingFolder.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"

using namespace CorvaneTool;
using namespace std::string_literals;
using nlohmann::json;
using TestSupport::read_file;
using TestSupport::write_file;
namespace fs = std::filesystem;

namespace {

const std::string kOwnBoard = CORVANE_EXAMPLE_BOARDS "/sensor-node.kicad_pcb";

class Program : public testing::Test {
 protected:
  std::string put(const char* name, const std::string& bytes) {
    write_file(folder.path(name), bytes);
    return folder.path(name);
  }

  const TestSupport::TempDir folder;
  const std::string golden = read_file(CORVANE_TEST_DATA "/full.zydat");
};

TEST_F(Program, SaysInOneLineWhatIsWrong) {
  const std::string db = folder.path("db"), board = "import " + kOwnBoard + " ", see = " (see corvane --help)";
  const std::string cut = put("cut.kicad_pcb", "(kicad_pcb (version 4)");
  std::string bytes = read_file(CORVANE_TEST_DATA "/db.zydat");
  const std::string svg = " " + folder.path("o.svg"), sound = put("sound.zydat", bytes);
  bytes.replace(12 + 98 * 8 + 40, 2, "\xff\xff");  // where the second node's name begins
  const std::string damaged = put("damaged.zydat", bytes);
  const std::vector<std::tuple<int, std::string, std::string>> table = {
      {1, "import " + cut + " " + db, cut + ":1:23: the file ends inside the list \"(kicad_pcb\" that begins at 1:1"},
      {1, "import " + db + " " + db, db + ": cannot be read: No such file or directory"},
      {1, board + cut, cut + ": not a directory"},
      {1, board + folder.path("no/where"),
       folder.path("no/where") + ": cannot be written to: No such file or directory"},
      {1, "info " + damaged, "file '" + damaged + "': schema node 1 names a text at byte 65535 of a pool of 900 bytes"},
      {2, board + db + " --panel 0x3", "--panel 0x3: wants two counts from 1 to 1000, such as 6x4"},
      {2, board + db + " --panel 3", "--panel 3: wants two counts from 1 to 1000, such as 6x4"},
      {2, "import " + kOwnBoard, "DIR is required" + see},
      {2, "", "A subcommand is required" + see},
      {2, "ifno x", "\"ifno\" is no verb, the nearest one is \"info\"" + see},
      {2, "chekc", "\"chekc\" is no verb, the nearest one is \"check\"" + see},
      {2, "mesh " + db + " --max-edge 0", "--max-edge: \"0\" is no length in mm above 0 and up to a kilometre" + see},
      {2, "render " + sound + svg + " --width 199", "--width: Value 199 not in range 200 to 20000" + see},
      {2, "render " + sound + " " + folder.path("./sound.zydat"),
       folder.path("./sound.zydat") + ": is the file that is to be drawn"},
      {2, "render " + sound + " o.png", "o.png: pictures are SVG, and their names end in .svg (- is standard output)"},
      {2, "render " + sound + " /dev/null", "/dev/null: not a file that can be replaced"},
      {2, "render " + sound + " " + folder.path(), folder.path() + ": not a file that can be replaced"}};
  for (const auto& [status, arguments, message] : table) {
    const ProgramRun failed = run(folder, arguments);
    EXPECT_EQ(failed.status, status) << arguments;
    EXPECT_EQ(failed.out, "") << arguments;
    EXPECT_EQ(failed.err, "corvane: " + message + "\n") << arguments;
    if (arguments.empty()) continue;
    const ProgramRun as_json = run(folder, arguments + " --json");
    EXPECT_EQ(json::parse(as_json.out), json({{"error", message}})) << arguments;
  }
  EXPECT_EQ(read_file(sound), read_file(CORVANE_TEST_DATA "/db.zydat"));
  EXPECT_FALSE(fs::exists(db));
}

TEST_F(Program, ImportsUnderTheBoardsName) {
  const ProgramRun text = run(folder, "import " + kOwnBoard + " " + folder.path("db"));
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.err, "") << "no progress in a file";
  EXPECT_TRUE(text.out.starts_with(folder.path("db/sensor-node.zydat: "))) << text.out;
  const ProgramRun other =
      run(folder, "import " + kOwnBoard + " " + folder.path("db") + " --name o --panel 2x2 --json");
  EXPECT_EQ(json::parse(other.out)["rows"]["em2dtrace"], 4 * 13);
  const ProgramRun drawn = run(folder, "render --json " + folder.path("db/o.zydat") + " " + folder.path("o.svg"));
  EXPECT_EQ(json::parse(drawn.out)["contents"]["traces"], 4 * 13);
  const ProgramRun piped = run(folder, "render " + folder.path("db/o.zydat") + " -");
  EXPECT_EQ(piped.out, read_file(folder.path("o.svg")));
  EXPECT_NE(piped.err.find(" 52 traces, "), std::string::npos);
}

TEST_F(Program, ChecksFilesAndNamesThePlaceOfDamage) {
  std::string damaged = golden;
  damaged.replace(6285 + 4, 4, "\xff\xff\xff\x7f");  // an offset of the net names
  std::string renamed = golden;
  for (std::size_t at = 0; (at = renamed.find("em2dvia", at)) != std::string::npos; ++at) renamed[at + 6] = 'o';
  const std::string good = put("good", golden), cut = put("cut", golden.substr(0, 7000)), bad = put("bad", damaged),
                    text = put("text", "no database, but long enough"), none = folder.path("none"),
                    longer = put("longer", golden + "tail"), other = put("other", renamed);
  const std::string sound = ": sound, 7682 bytes\n";
  const std::vector<std::tuple<int, std::string, std::string>> table = {
      {0, good, good + sound},
      {1, cut, cut + ": cut short: 7000 of 7682 bytes, it ends inside frame 47\n"},
      {1, good + " " + bad,
       good + sound + bad +
           ": damaged: the stored offsets of \"name\" do not describe its 6 values (table emnet, column name, byte "
           "6285)\n"},
      {2, none + " " + text,
       none + ": missing: there is no such file\n" + text +
           ": not ours: it does not begin like a file of this library (byte 0)\n"},
      {2, folder.path() + " " + cut,
       folder.path() + ": unreadable: it is no readable file\n" + cut +
           ": cut short: 7000 of 7682 bytes, it ends inside frame 47\n"},
      {0, longer, longer + ": sound, 7686 bytes, 4 of them behind the message\n"},
      {1, "--strict " + longer, longer + ": sound, 7686 bytes, 4 of them behind the message\n"}};
  for (const auto& [status, arguments, said] : table) {
    const ProgramRun checked = run(folder, "check " + arguments);
    EXPECT_EQ(checked.status, status) << arguments;
    EXPECT_EQ(checked.out + checked.err, said);
  }
  const json entries = json::parse(run(folder, "check --json " + cut + " " + none + " " + longer + " " + other).out);
  EXPECT_EQ(entries[0], json({{"file", cut},
                              {"state", "cut short"},
                              {"bytes", 7000},
                              {"expected_bytes", 7682},
                              {"offset", 6779},
                              {"text", "it ends inside frame 47"}}));
  EXPECT_FALSE(entries[1].contains("offset"));
  EXPECT_EQ(entries[2]["trailing_bytes"], 4);
  EXPECT_EQ(entries[3]["state"], "damaged") << "no table of vias";
  EXPECT_EQ(run(folder, "render " + other + " " + folder.path("o.svg")).err,
            "corvane: " + other + ": " + entries[3]["text"].get<std::string>() + "\n");
}

TEST_F(Program, InfoShowsValuesAndWhatIsNotRead) {
  const std::string file = put("f.zydat", golden + "tail");
  const std::string text = run(folder, "info " + file).out;
  EXPECT_NE(text.find("\n4 bytes follow the message and are not read\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\n  thetamin "), std::string::npos);
  const json whole = json::parse(run(folder, "info --json " + file).out);
  EXPECT_EQ(whole["trailing_bytes"], 4);
  EXPECT_EQ(whole["holds"], "database");
  std::vector<std::string> shown;
  std::string longs;
  while (longs.size() < 200) longs += "long";
  for (const json& table : whole["tables"]) {
    for (const json& column : table["columns"]) {
      if (column["name"] == "name" || column["name"] == "thetamin" || column["name"] == "vertexs")
        shown.push_back(column.value("value", column.value("first", "")));
    }
  }
  EXPECT_EQ(shown, (std::vector<std::string>{
                       "0.25", "\"GND\" \"\" \"A\0B\""s, "\"v0\" \"\"", "\"TOP\" \"" + longs.substr(0, 173) + "…",
                       "\"S1\" \"S2\"", "\"outline\" \"\" \"dot\"", "[0 0 10 ...] [] [nan 4.94065645841e-324]",
                       "\"via\" \"\"", "\"slot\" \"none\"", "\"t\" \"\"", "\"1\" \"2\" \"\"", "\"U1\" \"\" \"U3\""}));
}

TEST_F(Program, AMeshNamesItsDatabase) {
  run(folder, "import " + kOwnBoard + " " + folder.path());
  Mesh2DPlat::SImesh2D mesh;
  Mesh2DPlat::DBZydata(folder.path()).writeNegPolyMesh(&mesh);
  const std::string database = folder.path("sensor-node.zydat"), file = folder.path("corvane2d.zydat");
  const auto said = [&](const std::string& source) {
    const ProgramRun info = run(folder, "info " + file),
                     drawn = run(folder, "render " + file + " " + folder.path("o.svg"));
    EXPECT_EQ(info.out.find("\nmade from " + source + "\n") != std::string::npos, !source.empty()) << info.out;
    EXPECT_EQ(drawn.out.find("\nmade from " + source + "\n") != std::string::npos, !source.empty()) << drawn.out;
    const std::string svg = read_file(folder.path("o.svg"));
    const std::size_t title = svg.find("<title>") + 7;
    return svg.substr(title, svg.find('<', title) - title);
  };
  EXPECT_EQ(said(""), "corvane2d.zydat");
  write_origin(file, {"sensor-node.zydat", digest_of_file(database)});
  EXPECT_EQ(said("sensor-node.zydat"), "sensor-node · mesh");
  EXPECT_EQ(json::parse(run(folder, "info --json " + file).out)["source"],
            json({{"database", "sensor-node.zydat"}, {"state", "current"}}));
  write_file(database, read_file(database) + "x");
  EXPECT_EQ(said("sensor-node.zydat, which has changed since: the mesh is stale"), "sensor-node · stale mesh");
}

// --- what is in the making ---

TEST_F(Program, SignalsTakeAwayWhatIsInTheMaking) {
  const auto end_of = [&](int signal, bool is_ignored) {
    const pid_t child = ::fork();
    if (child == 0) {
      if (is_ignored) std::signal(signal, SIG_IGN);
      PendingFolder pending(folder.path("new"));
      write_file(pending.file("x"), "half of it");
      ::raise(signal);
      pending.commit("x", "whole");
      ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? WTERMSIG(status) : -WEXITSTATUS(status);
  };
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EQ(end_of(signal, false), signal);
    EXPECT_FALSE(fs::exists(folder.path("new"))) << signal;
  }
  EXPECT_EQ(end_of(SIGINT, true), 0) << "as nohup starts programs";
  EXPECT_EQ(read_file(folder.path("new/whole")), "half of it");
}

TEST_F(Program, WhatAKilledOneLeftIsTakenAwayByTheNext) {
  const std::string stale = folder.path(".corvane-pending-1"), used = folder.path(".corvane-pending-2");
  for (const std::string& left : {stale, used}) {
    fs::create_directory(left);
    write_file(left + "/half.zydat", golden);
  }
  const int lock = ::open(used.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  {
    PendingFolder pending(folder.path());
    write_file(pending.file("a"), "1");
    EXPECT_THROW(pending.commit("b", "c"), std::runtime_error);
    pending.commit("a", "b");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 3) << "two folders and a file";
  }
  ::close(lock);
  EXPECT_EQ(read_file(folder.path("b")), "1");
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::exists(used + "/half.zydat"));
}

// --- small files that ask for much ---

TEST_F(Program, InfoOfLongNestedNamesIsShort) {
  auto schema = ZyData::make_record_schema(std::string(60'000, 'n'));
  for (int level = 0; level < 200; ++level) {
    const auto outer = ZyData::make_record_schema(schema->name());
    outer->add_field(schema);
    schema = outer;
  }
  const std::string file = folder.path("nested.zydat");
  MPSys::FileConnection connection(file.c_str(), MPSys::FileMode::writing);
  ZyData::sendDataObject(connection, schema->factory()->create(schema));
  connection.close();
  ASSERT_LT(fs::file_size(file), 80'000u);
  for (const char* form : {"info ", "info --json "}) {
    const ProgramRun info = run(folder, form + file);
    EXPECT_EQ(info.status, 0) << info.err;
    EXPECT_LT(info.out.size(), 400'000u);
  }
}

TEST(SmallFiles, IdsOfOneBucketAreFoundAsFastAsOthers) {
  constexpr int kCount = 30'000;
  OwnedList<Mesh2DPlat::EM2DNet> nets;
  Mesh2DPlat::Table<int, Mesh2DPlat::EM2DNet> plain;
  plain.reserve(kCount);
  const int step = static_cast<int>(plain.bucket_count());  // all in bucket 0 of a table of that many
  for (int i = 0; i < kCount; ++i) nets.make(i * step, Mesh2DPlat::EM2DNet::Type::None, "");
  const auto table = table_by_id(nets);
  ASSERT_EQ(table.size(), nets.size());
  for (std::size_t bucket = 0; bucket < table.bucket_count(); ++bucket) ASSERT_LE(table.bucket_size(bucket), 32u);
}

TEST(LineText, EscapesWhatATerminalObeysAndCutsBetweenCharacters) {
  const std::vector<std::array<std::string, 2>> table = {{"plain ü €", "plain ü €"},
                                                         {"a\x1b[2Jb\n", "a\\x1b[2Jb\\x0a"},
                                                         {"\x7f\xc2\x9b", "\\x7f\\xc2\\x9b"},
                                                         {"\xe2\x80\xae", "\\xe2\\x80\\xae"},
                                                         {"\xff\xc0\xaf\xe2\x82", "\\xff\\xc0\\xaf\\xe2\\x82"}};
  for (const auto& [text, shown] : table) EXPECT_EQ(printable(text), shown);
  EXPECT_EQ(shortened("üüü", 3), "üüü");
  EXPECT_EQ(shortened("üüüü", 3), "üü…");
  EXPECT_EQ(printable("\xff\xff\xff", 2), "\\xff…");
  EXPECT_EQ(one_line("a\n  b\n"), "a: b");
}

}  // namespace
