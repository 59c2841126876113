// Saving in the place of an older file: whatever fails and whenever the process ends, one whole file is there.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "facade/DBZydata.h"
#include "tests/facade/Layout.h"
#include "tests/support/Child.h"
#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

namespace fs = std::filesystem;
using namespace TestSupport;

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

TEST_F(SafeSave, ReplacesTheFileAndKeepsWhoMayDoWhat) {
  for (const int mode : {0640, 0604, 0646, 0444, 0677}) {
    TestSupport::write_file(board(), d_old);
    fs::permissions(board(), fs::perms(mode));
    EXPECT_TRUE(d_db.saveSafely("board"));
    EXPECT_TRUE(is_new());
    EXPECT_EQ(fs::status(board()).permissions(), fs::perms(mode));
    EXPECT_EQ(names(), std::vector<std::string>{"board.zydat"});
    fs::permissions(board(), fs::perms(0644));
  }
  EXPECT_TRUE(d_db.saveSafely("another"));
  EXPECT_TRUE(read_file(d_folder.path("another.zydat")) == d_new);
}

#define SKIP_UNLESS_ROOT() \
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make files of several owners"

TEST_F(SafeSave, NobodyMayDoMoreThanBefore) {
  SKIP_UNLESS_ROOT();
  fs::permissions(d_folder.path(), fs::perms(0777));
  struct Case {
    bool as_root;  // who saves; else nobody
    int old_owner, old_mode;
    const char* access;
  };
  const std::vector<Case> cases = {
      {true, 1000, 04660, "1000:1000 660"},     {true, 1000, 02751, "1000:1000 751"},
      {false, 0, 0640, "65534:65534 600"},      {false, 0, 0604, "65534:65534 600"},
      {false, 0, 06664, "65534:65534 644"},     {false, 0, 0246, "65534:65534 200"},
      {false, 65534, 04640, "65534:65534 640"},
  };
  for (const Case& test : cases) {
    TestSupport::write_file(board(), d_old);
    const auto owner = static_cast<uid_t>(test.old_owner);
    ASSERT_EQ(::chown(board().c_str(), owner, owner), 0);
    ASSERT_EQ(::chmod(board().c_str(), static_cast<mode_t>(test.old_mode)), 0);
    EXPECT_EQ(TestSupport::in_child([&] {
                return test.as_root || TestSupport::become_nobody()
                           ? TestSupport::error_text([&] { d_db.saveSafely("board"); })
                           : "still root";
              }),
              "<nothing thrown>");
    struct stat status {};
    ASSERT_EQ(::stat(board().c_str(), &status), 0);
    std::ostringstream access;
    access << status.st_uid << ':' << status.st_gid << ' ' << std::oct << (status.st_mode & 07777U);
    EXPECT_EQ(access.str(), test.access);
    EXPECT_TRUE(is_new());
  }
}

TEST_F(SafeSave, LinksThatOthersMayHaveLaidAreNotFollowed) {
  SKIP_UNLESS_ROOT();
  constexpr uid_t kRoot = 0, kOther = 1000;
  struct Case {
    int folder_mode;
    uid_t folder_owner, link_owner, file_owner;
    bool followed;
  };
  const std::vector<Case> cases = {
      {01777, kRoot, kOther, kRoot, false}, {0777, kRoot, kOther, kRoot, false}, {0775, kRoot, kOther, kRoot, false},
      {0755, kRoot, kOther, kRoot, true},   {0777, kRoot, kRoot, kRoot, true},   {0777, kRoot, kOther, kOther, true},
      {0777, kOther, kOther, kRoot, true},
  };
  for (const Case& test : cases) {
    const std::string link = d_folder.path("shared/board.zydat"), file = d_folder.path("real");
    fs::create_directory(d_folder.path("shared"));
    fs::create_symlink("../real", link);
    DBZydata db(d_folder.path("shared"));
    db.openem(false, "board");
    for (const bool is_there : {true, false}) {
      if (is_there) TestSupport::write_file(file, d_old);
      ASSERT_EQ(::chmod(d_folder.path("shared").c_str(), static_cast<mode_t>(test.folder_mode)), 0);
      ASSERT_EQ(::chown(d_folder.path("shared").c_str(), test.folder_owner, 0) +
                    ::lchown(link.c_str(), test.link_owner, 0) +
                    (is_there ? ::chown(file.c_str(), test.file_owner, 0) : 0),
                0);
      const bool followed = test.followed && (is_there || test.file_owner != kOther);
      EXPECT_ERROR(db.saveSafely("board"),
                   followed ? "<nothing thrown>"
                            : "can't save '" + link + "': failed to follow its link\n    Permission denied");
      EXPECT_EQ(fs::exists(file), is_there || followed);
      EXPECT_TRUE(fs::is_symlink(link));
      fs::remove(file);
    }
    fs::remove_all(d_folder.path("shared"));
  }
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

TEST_F(SafeSave, LinksStayLinksAndTheirTargetsFolderIsWrittenToTheDisk) {
  fs::create_directory(d_folder.path("folder"));
  fs::rename(board(), d_folder.path("folder/real"));
  fs::create_symlink("folder/real", board());
  d_db.saveSafely("board");
  EXPECT_TRUE(fs::is_symlink(board()));
  EXPECT_TRUE(read_file(d_folder.path("folder/real")) == d_new);
  EXPECT_EQ(d_platform.synced(), (std::vector<std::string>{d_folder.path("folder/real.tmp"), d_folder.path("folder")}));
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

// That nothing is left behind, and no file is in pieces, is what CallFaultsTest shows of each call.
TEST_F(SafeSave, EveryFailureSaysItsStep) {
  const std::string none;
  struct Step {
    Operation operation;
    int nth;
    std::string text;  // empty: the message could not be sent
    bool done = false;
  };
  for (const Step& step : std::vector<Step>{{Operation::permissions, 1, "look at the old file"},
                                            {Operation::openLocked, 1, "create its new file"},
                                            {Operation::copyAccess, 1, "keep its mode"},
                                            {Operation::write, 1, none},
                                            {Operation::writeGathered, 1, none},
                                            {Operation::sync, 1, "write it to the disk"},
                                            {Operation::link, 1, "keep the previous version"},
                                            {Operation::remove, 1, "remove an old link"},
                                            {Operation::rename, 1, "keep the previous version"},
                                            {Operation::rename, 2, "put the new file in its place"},
                                            {Operation::close, 1, none, true},
                                            {Operation::syncFolder, 1, "write its folder to the disk", true}}) {
    SCOPED_TRACE(static_cast<int>(step.operation));
    TestSupport::write_file(board(), d_old);
    d_platform.reset();
    d_platform.fail(step.operation, step.nth, EIO);
    const std::string start =
        step.text.empty() ? "message send failed: " : "can't save '" + board() + "': failed to " + step.text + "\n    ";
    EXPECT_ERROR(d_db.saveSafely("board", true), start + "Input/output error");
    EXPECT_EQ(is_new(), step.done);
    fs::remove(board() + ".bak");
    EXPECT_EQ(names(), std::vector<std::string>{"board.zydat"});
  }
  for (const Operation operation : {Operation::write, Operation::writeGathered}) {
    TestSupport::write_file(board(), d_old);
    d_platform.reset();
    d_platform.shorten(operation, 1, 5);
    EXPECT_THROW(d_db.saveSafely("board"), Util::Error);
    EXPECT_FALSE(is_new());
  }
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
}

}  // namespace
}  // namespace Mesh2DPlat
