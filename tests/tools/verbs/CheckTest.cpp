// `corvane check`: what it says of files and how it exits.
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/ProgramRun.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::TempDir;

std::string golden() { return TestSupport::read_file(CORVANE_TEST_DATA "/full.zydat"); }

TEST(Check, NamesStateAndPlaceOfEachFile) {
  const TempDir folder;
  std::string damaged = golden();
  damaged.replace(6285 + 4, 4, "\xff\xff\xff\x7f");  // an offset of the net names
  TestSupport::write_file(folder.path("good"), golden());
  TestSupport::write_file(folder.path("cut"), golden().substr(0, 7000));
  TestSupport::write_file(folder.path("bad"), damaged);
  TestSupport::write_file(folder.path("text"), "no database, but long enough");
  const auto file = [&](const char* name) { return folder.path(name); };

  const ProgramRun sound = run(folder, "check " + file("good"));
  EXPECT_EQ(sound.status, 0);
  EXPECT_EQ(sound.out, file("good") + ": sound, 7682 bytes\n");

  const ProgramRun mixed = run(folder, "check " + file("good") + " " + file("cut") + " " + file("bad"));
  EXPECT_EQ(mixed.status, 1);
  EXPECT_EQ(mixed.out, file("good") + ": sound, 7682 bytes\n" + file("cut") +
                           ": cut short: 7000 of 7682 bytes, it ends inside frame 47\n" + file("bad") +
                           ": damaged: the stored offsets of \"name\" do not describe its 6 values (table emnet, "
                           "column name, byte 6285)\n");
  EXPECT_EQ(mixed.err, "");

  const ProgramRun missing = run(folder, "check " + file("none") + " " + file("text"));
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.out, file("none") + ": missing: there is no such file\n" + file("text") +
                             ": not ours: it does not begin like a file of this library (byte 0)\n");
}

TEST(Check, PrintsJson) {
  const TempDir folder;
  TestSupport::write_file(folder.path("cut"), golden().substr(0, 7000));
  const ProgramRun both = run(folder, "check --json " + folder.path("cut") + " " + folder.path("none"));
  EXPECT_EQ(both.status, 2);
  const auto entries = nlohmann::json::parse(both.out);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0]["state"], "cut short");
  EXPECT_EQ(entries[0]["bytes"], 7000);
  EXPECT_EQ(entries[0]["expected_bytes"], 7682);
  EXPECT_EQ(entries[1]["state"], "missing");
  EXPECT_FALSE(entries[1].contains("offset"));
}

}  // namespace
