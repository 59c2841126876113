// Saving in the place of an older file: whatever fails and whenever the process ends, one whole file is there.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "facade/DBZydata.h"
#include "tests/facade/Layout.h"
#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

namespace fs = std::filesystem;
using TestSupport::FaultyPlatform;
using TestSupport::Layout;
using TestSupport::Operation;
using TestSupport::read_file;

class SafeSave : public testing::Test {
 protected:
  SafeSave() {
    d_platform.reset();
    d_db.openem(false, "board");
    write_layer(1);
    d_db.save("old");
    d_db.save("board");
    write_layer(2);
    d_db.save("new");
    d_old = read_file(d_folder.path("old.zydat"));
    d_new = read_file(d_folder.path("new.zydat"));
    for (const char* name : {"old.zydat", "new.zydat"}) fs::remove(d_folder.path(name));
    d_platform.reset();
  }
  ~SafeSave() override { d_platform.reset(); }

  void write_layer(int id) {
    Layout layout;
    layout.layers.add(id, std::string(3000, 'n'), 0.5);  // long enough for several buffers
    d_db.write(layout.layers);
  }
  std::string board() const { return d_folder.path("board.zydat"); }
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(d_folder.path()))
      result.push_back(entry.path().filename().string());
    std::sort(result.begin(), result.end());
    return result;
  }

  /// The bytes of the board, which must be one of the two.
  bool is_new() const {
    const std::string bytes = read_file(board());
    EXPECT_TRUE(bytes == d_old || bytes == d_new) << bytes.size() << " bytes";
    return bytes == d_new;
  }

  TestSupport::TempDir d_folder;
  FaultyPlatform& d_platform = FaultyPlatform::instance();
  DBZydata d_db{d_folder.path()};
  std::string d_old;
  std::string d_new;
};

TEST_F(SafeSave, ReplacesTheFileAndKeepsItsMode) {
  fs::permissions(board(), fs::perms(0640));
  EXPECT_TRUE(d_db.saveSafely("board"));
  EXPECT_TRUE(is_new());
  EXPECT_EQ(fs::status(board()).permissions(), fs::perms(0640));
  EXPECT_EQ(names(), std::vector<std::string>{"board.zydat"});
  EXPECT_TRUE(d_db.saveSafely("another"));
  EXPECT_TRUE(read_file(d_folder.path("another.zydat")) == d_new);
}

TEST_F(SafeSave, KeepsThePreviousVersionOnRequest) {
  d_db.saveSafely("board", true);
  EXPECT_TRUE(is_new());
  EXPECT_TRUE(read_file(board() + ".bak") == d_old);
  d_db.saveSafely("board", true);
  EXPECT_TRUE(read_file(board() + ".bak") == d_new);
  EXPECT_EQ(names(), (std::vector<std::string>{"board.zydat", "board.zydat.bak"}));
  fs::remove(board());
  d_db.saveSafely("board", true);  // nothing to keep
  EXPECT_TRUE(is_new());
}

TEST_F(SafeSave, LinksStayLinks) {
  fs::rename(board(), d_folder.path("real"));
  fs::create_symlink("real", board());
  d_db.saveSafely("board");
  EXPECT_TRUE(fs::is_symlink(board()));
  EXPECT_TRUE(read_file(d_folder.path("real")) == d_new);
}

TEST_F(SafeSave, MakesItsDirectoryLikeSave) {
  const std::string folder = d_folder.path("new folder");
  DBZydata db(folder);
  EXPECT_ERROR(db.saveSafely("board"), "no database is open");
  db.openem(false, "board");
  EXPECT_TRUE(db.saveSafely("board"));
  EXPECT_TRUE(fs::exists(folder + "/board.zydat"));
  EXPECT_THROW(DBZydata(folder + "/x/y").saveSafely("board"), std::exception);
}

TEST_F(SafeSave, WhatAKilledProcessLeftGoes) {
  TestSupport::write_file(board() + ".tmp", "half a file");
  TestSupport::write_file(board() + ".bak.tmp", "half a step");
  d_db.saveSafely("board", true);
  EXPECT_TRUE(is_new());
  EXPECT_EQ(names(), (std::vector<std::string>{"board.zydat", "board.zydat.bak"}));
}

TEST_F(SafeSave, StandsBackForAnotherSaveAndForWhatIsNoFile) {
  const std::string prefix = "can't save '" + board() + "': failed to create its new file\n    ";
  const std::string temporary = board() + ".tmp";
  const int other = Util::platform().open_locked(temporary.c_str(), 0600);
  ASSERT_GE(other, 0);
  EXPECT_ERROR(d_db.saveSafely("board"), prefix + "Device or resource busy");
  EXPECT_TRUE(fs::exists(temporary));
  Util::platform().close(other);
  fs::remove(temporary);
  fs::create_directory(temporary);
  EXPECT_ERROR(d_db.saveSafely("board"), prefix + "File exists");
  fs::remove(temporary);
  fs::create_symlink("elsewhere", temporary);
  EXPECT_ERROR(d_db.saveSafely("board"), prefix + "File exists");
  EXPECT_FALSE(is_new());
}

TEST_F(SafeSave, EveryFailureLeavesTheOldFile) {
  struct Step {
    Operation operation;
    const char* text;
  };
  const std::vector<Step> steps{{Operation::permissions, "look at the old file"},
                                {Operation::openLocked, "create its new file"},
                                {Operation::setPermissions, "keep its mode"},
                                {Operation::write, nullptr},
                                {Operation::writeGathered, nullptr},
                                {Operation::sync, "write it to the disk"},
                                {Operation::link, "keep the previous version"},
                                {Operation::remove, "remove an old link"},
                                {Operation::rename, "keep the previous version"}};
  for (const Step& step : steps) {
    SCOPED_TRACE(static_cast<int>(step.operation));
    const std::ptrdiff_t descriptors = TestSupport::open_descriptors();
    d_platform.reset();
    d_platform.fail(step.operation, 1, EIO);
    const std::string text = TestSupport::error_text([&] { d_db.saveSafely("board", true); });
    const std::string start = "can't save '" + board() + "': failed to ";
    EXPECT_EQ(text, step.text == nullptr ? "message send failed: Input/output error"
                                         : start + step.text + "\n    Input/output error");
    EXPECT_FALSE(is_new());
    EXPECT_EQ(names(), std::vector<std::string>{"board.zydat"});
    EXPECT_EQ(TestSupport::open_descriptors(), descriptors);
  }
  d_platform.reset();
  d_platform.fail(Operation::rename, 2, EIO);  // the new file's, behind that of the kept one
  EXPECT_ERROR(d_db.saveSafely("board", true),
               "can't save '" + board() + "': failed to put the new file in its place\n    Input/output error");
  EXPECT_FALSE(is_new());
  EXPECT_EQ(names(), (std::vector<std::string>{"board.zydat", "board.zydat.bak"}));
}

TEST_F(SafeSave, FailuresBehindTheRenameAreReported) {
  d_platform.fail(Operation::syncFolder, 1, EIO);
  EXPECT_ERROR(d_db.saveSafely("board"),
               "can't save '" + board() + "': failed to write its folder to the disk\n    Input/output error");
  d_platform.reset();
  d_platform.fail(Operation::close, 1, EIO);
  EXPECT_ERROR(d_db.saveSafely("board"), "message send failed: Input/output error");
  EXPECT_TRUE(is_new());
  EXPECT_EQ(names(), std::vector<std::string>{"board.zydat"});
}

TEST_F(SafeSave, AFullDiskOrAShortWriteLeavesTheOldFile) {
  for (const Operation operation : {Operation::write, Operation::writeGathered}) {
    d_platform.reset();
    d_platform.shorten(operation, 1, 5);
    EXPECT_THROW(d_db.saveSafely("board"), Util::Error);
    EXPECT_FALSE(is_new());
    EXPECT_EQ(names(), std::vector<std::string>{"board.zydat"});
  }
  d_platform.reset();
  EXPECT_TRUE(d_db.saveSafely("board"));  // nothing of it has harmed what is in memory
  EXPECT_TRUE(is_new());
}

/// Runs a save in a process of its own that is killed before its `call`-th system call; false when it came to its end.
bool save_and_kill(DBZydata& db, int call) {
  const pid_t child = ::fork();
  if (child == 0) {
    FaultyPlatform::instance().reset();
    FaultyPlatform::instance().before = [call](int calls) {
      if (calls == call) ::raise(SIGKILL);
    };
    db.saveSafely("board", call % 2 == 0);
    ::_exit(0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

TEST_F(SafeSave, AKilledProcessLeavesOneWholeFile) {
  constexpr int kKills = 1000;
  int kills = 0;
  int news = 0;
  for (int call = 1; kills < kKills;) {
    TestSupport::write_file(board(), d_old);
    if (save_and_kill(d_db, call)) {
      ++kills;
      ++call;
      news += is_new();
    } else {
      EXPECT_GT(call, 10);
      EXPECT_TRUE(is_new());
      call = 1;
    }
  }
  EXPECT_GT(news, 0);  // some of the calls come behind the rename
  EXPECT_LT(news, kKills / 2);
  TestSupport::write_file(board(), d_old);
  EXPECT_TRUE(d_db.saveSafely("board"));
  EXPECT_TRUE(is_new());
}

}  // namespace
}  // namespace Mesh2DPlat
