// Media that are really full: what a save says, what it leaves, and that no mapped array ends the program.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "facade/DBZydata.h"
#include "tests/facade/Layout.h"
#include "tests/support/Child.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Factories.h"

namespace Mesh2DPlat {
namespace {

namespace fs = std::filesystem;
using namespace TestSupport;

class FullMedia : public testing::Test {
 protected:
  FullMedia() {
    fill(d_layout);
    start(d_db);
    d_db.save("board");
    d_bytes = read_file(path("board.zydat"));
  }

  void start(DBZydata& db) {
    db.openem(false, "board");
    d_layout.write(db);
  }
  std::string path(const std::string& name) const { return d_dir.path(name); }
  static int file_count(const std::string& folder) {
    return static_cast<int>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
  }
  void expect_data_unharmed() {
    Layout read;
    EXPECT_TRUE(read.read(d_db));
    EXPECT_EQ(describe(read), describe(d_layout));
  }

  TestSupport::TempDir d_dir;
  DBZydata d_db{d_dir.path()};
  Layout d_layout;
  std::string d_bytes;  // of the whole file
};

TEST_F(FullMedia, ADeviceThatTakesNothingIsReportedAndStays) {
  fs::create_symlink("/dev/full", path("x.zydat"));
  EXPECT_ERROR(d_db.save("x"), "message send failed: No space left on device");
  EXPECT_ERROR(d_db.saveSafely("x"), "can't save '/dev/full': it is no regular file");
  EXPECT_TRUE(fs::is_symlink(path("x.zydat")));
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  EXPECT_FALSE(fs::exists("/dev/full.tmp"));
  EXPECT_EQ(file_count(d_dir.path()), 2);
  expect_data_unharmed();
}

/// The error of `save` in a process that may write files of `limit` bytes.
template <class Save>
std::string save_with_limit(rlim_t limit, Save save) {
  return in_child([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limits{limit, limit};
    return ::setrlimit(RLIMIT_FSIZE, &limits) == 0 ? error_text(save) : "no limit";
  });
}

TEST_F(FullMedia, AFileThatMayNotGrowFailsAtWhateverPartReachesTheLimit) {
  const std::uint64_t frames = 8 * std::uint64_t{static_cast<unsigned char>(d_bytes[0])};
  const std::uint64_t rest = d_bytes.size() - 12 - frames;
  struct Case {
    rlim_t limit;
    std::string text;
  };
  for (const Case& example :
       {Case{0, "message send failed: File too large"}, Case{11, "message send failed: short write"},
        Case{12, "message send failed : File too large"}, Case{12 + frames - 1, "message send failed : short write"},
        Case{12 + frames, "message send failed: File too large"},
        Case{d_bytes.size() - 1, "message send failed: could only send " + std::to_string(rest - 1) + " of " +
                                     std::to_string(rest) + " bytes"},
        Case{d_bytes.size(), "<nothing thrown>"}}) {
    SCOPED_TRACE(example.limit);
    TestSupport::write_file(path("board.zydat"), "old");
    EXPECT_EQ(save_with_limit(example.limit, [&] { d_db.saveSafely("board"); }), example.text);
    const bool saved = example.limit == d_bytes.size();
    EXPECT_EQ(read_file(path("board.zydat")), saved ? d_bytes : "old");
    EXPECT_EQ(file_count(d_dir.path()), 1);
    EXPECT_EQ(save_with_limit(example.limit, [&] { d_db.save("board"); }), example.text);
    EXPECT_EQ(read_file(path("board.zydat")), d_bytes.substr(0, example.limit));
  }
  expect_data_unharmed();
}

constexpr int kSmall = 64 * 1024;

bool write_line(const char* path, const std::string& line) {
  return (std::ofstream(path) << line << std::flush).good();
}

/// A name space of its own for mounts, which a user other than root gets with one for users, where the user is the
/// same.
bool leave_mounts() {
  if (::geteuid() == 0) return ::unshare(CLONE_NEWNS) == 0;
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write_line("/proc/self/setgroups", "deny") &&
         write_line("/proc/self/uid_map", user + " " + user + " 1") &&
         write_line("/proc/self/gid_map", group + " " + group + " 1");
}

/// Mounts a small file system of this many bytes on an empty folder, for this process only. Empty, or why that failed.
std::string mount_small(const std::string& folder, int bytes) {
  if (!leave_mounts() || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return std::strerror(errno);
  }
  const std::string options = "size=" + std::to_string(bytes);
  return ::mount("tmpfs", folder.c_str(), "tmpfs", 0, options.c_str()) == 0 ? "" : std::strerror(errno);
}

/// Compares what `action` answers in a folder on such a disk, which is the current one there.
#define EXPECT_ON_SMALL_DISK(folder, action, wanted)                                                           \
  const std::string answer = in_child([&]() -> std::string {                                                   \
    const std::string refused = mount_small(folder, kSmall);                                                   \
    if (!refused.empty()) return "skip: " + refused;                                                           \
    fs::current_path(folder);                                                                                  \
    return action();                                                                                           \
  });                                                                                                          \
  if (answer.starts_with("skip: ")) GTEST_SKIP() << "no small disk can be mounted here: " << answer.substr(6); \
  EXPECT_EQ(answer, wanted)

TEST_F(FullMedia, ASmallDiskKeepsTheOldFileOfASafeSave) {
  const std::string folder = path("small"), file = path("small/board.zydat");
  fs::create_directory(folder);
  DBZydata small(folder);
  start(small);
  const auto save = [&] {
    small.save("board");
    // A page of 4096 bytes is left: less than the file needs.
    write_file("filler", std::string(kSmall - 3 * 4096, 'x'));
    std::string result = error_text([&] { small.saveSafely("board"); });
    result += read_file(file) == d_bytes ? ", old file, " : ", no old file, ";
    result += std::to_string(file_count(folder)) + " files; ";
    result += error_text([&] { small.save("another"); }) + "; ";
    fs::remove("filler");
    small.save("another");
    small.saveSafely("board");
    return result + (read_file(file) == d_bytes ? "whole" : "damaged");
  };
  const auto start = 12 + 8 * std::uint64_t{static_cast<unsigned char>(d_bytes[0])};  // bytes before the frames
  const std::string full = "message send failed: could only send " + std::to_string(4096 - start) + " of " +
                           std::to_string(d_bytes.size() - start) + " bytes";
  EXPECT_ON_SMALL_DISK(folder, save, full + ", old file, 2 files; " + full + "; whole");
}

TEST_F(FullMedia, AMappedArrayOnASmallDiskStopsGrowingWithAnErrorAndNoBusError) {
  fs::create_directory(path("small"));
  const auto grow = [] {
    ZyData::MMapArray<int> array(ZyData::make_schema<int>("a", 0x1021), 0, "a");
    const auto append = [&] { array.push_back(static_cast<int>(array.size())); };
    std::string text;
    while (text.empty() || text == "<nothing thrown>") text = error_text(append);
    for (int i = 0; i < static_cast<int>(array.size()); ++i) array.set(i, i);
    array.close();
    return text + "; " + std::to_string(fs::file_size("a")) + " bytes";
  };
  EXPECT_ON_SMALL_DISK(path("small"), grow,
                       "failed to resize mmap file \"a\" to requested size (131072)\n    No space left on device; "
                       "65536 bytes");
}

}  // namespace
}  // namespace Mesh2DPlat
