// What is no file, or not always one: loads and saves end, with the documented outcome, and take little memory.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "facade/DBRoot.h"
#include "facade/DBZydata.h"
#include "mpsys/Message.h"
#include "tests/facade/Layout.h"
#include "tests/support/Child.h"
#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"

TEST_SUPPORT_MALLOC_MAY_FAIL

namespace Mesh2DPlat {
namespace {

namespace fs = std::filesystem;
using namespace TestSupport;
using TestSupport::read_file;

class SpecialFiles : public testing::Test {
 protected:
  SpecialFiles() {
    TestSupport::Layout layout;
    fill(layout);
    d_db.openem(false, "board");
    layout.write(d_db);
    d_db.save("board");
    d_bytes = read_file(path("board"));
    d_tree = currentRoot->tree;
  }
  ~SpecialFiles() override {
    TestSupport::FaultyPlatform::instance().reset();
    EXPECT_EQ(TestSupport::open_descriptors(), d_descriptors);
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    if (!TestSupport::kAddressSanitizer) {
      EXPECT_LT(usage.ru_maxrss, 256 * 1024);  // KiB
    }
  }

  std::string path(const std::string& name) const { return d_dir.path(name + ".zydat"); }
  /// What a load of `name` answers or throws; what was open must then be open still.
  std::string load(const std::string& name) {
    std::string answer;
    const std::string text = error_text([&] { answer = d_db.openem(true, name) ? "true" : "false"; });
    if (answer != "true") {
      EXPECT_EQ(currentRoot->tree, d_tree);
    }
    return answer.empty() ? text : answer;
  }
  /// The same for a FIFO into which somebody writes `bytes`.
  std::string load_from_writer(const std::string& bytes) {
    const std::string fifo = path("fifo");
    EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&] {
      const int fd = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
      EXPECT_EQ(::write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
      ::close(fd);
    });
    const std::string answer = load("fifo");
    writer.join();
    fs::remove(fifo);
    return answer;
  }
  std::string reading(const std::string& name, const char* reason) const {
    return "can't open file '" + path(name) + "' for reading\n    " + reason;
  }

  const std::ptrdiff_t d_descriptors = TestSupport::open_descriptors();
  TestSupport::TempDir d_dir;
  DBZydata d_db{d_dir.path()};
  std::string d_bytes;
  std::shared_ptr<ZyData::DataObj> d_tree;
};

TEST_F(SpecialFiles, OfOtherKindsAreNotLoaded) {
  fs::create_directory(path("folder"));
  EXPECT_EQ(load("folder"), "message receive failed: Is a directory");
  fs::create_symlink("nowhere", path("dangling"));
  EXPECT_EQ(load("dangling"), "false");
  fs::create_symlink("/dev/zero", path("zero"));
  EXPECT_THROW(d_db.openem(true, "zero"), MPSys::NonDataMessageException);
  EXPECT_EQ(currentRoot->tree, d_tree);
  fs::create_symlink("/dev/null", path("null"));
  EXPECT_EQ(load("null"), "true");
  EXPECT_EQ(currentRoot->tree, nullptr);
}

TEST_F(SpecialFiles, PipesAreLoadedAsFarAsTheyGo) {
  const std::uint64_t frames = static_cast<unsigned char>(d_bytes[0]);
  EXPECT_EQ(load_from_writer(d_bytes.substr(0, 12 + 8 * frames - 1)), "message receive failed: unexpected end of file");
  const std::string cut = load_from_writer(d_bytes.substr(0, d_bytes.size() - 1));
  EXPECT_TRUE(cut.starts_with("message truncated: received only ")) << cut;
  std::string claim = d_bytes;
  claim.replace(12, 8, std::string("\0\0\0\0\0\0\0\x40", 8));
  const std::string huge = load_from_writer(claim);
  EXPECT_TRUE(huge.starts_with("message receive failed: can't resize frame 0 ")) << huge;
  claim.replace(0, 4, "\xff\xff\xff\x0f");  // a table of 2 GiB
  EXPECT_EQ(load_from_writer(claim), "message receive failed: unexpected end of file");
  EXPECT_EQ(load_from_writer(d_bytes), "true");
  d_db.save("copy");
  EXPECT_TRUE(read_file(path("copy")) == d_bytes);
  EXPECT_EQ(load_from_writer(""), "true");
  EXPECT_EQ(currentRoot->tree, nullptr);
}

TEST_F(SpecialFiles, ThatVanishOrAreNotForThisUserCannotBeOpened) {
  auto& platform = TestSupport::FaultyPlatform::instance();
  platform.reset();
  platform.before = [&](int call) {
    if (call == 2) fs::remove(path("board"));  // behind the look whether it is there
  };
  EXPECT_EQ(load("board"), reading("board", "No such file or directory"));
  platform.reset();
  EXPECT_EQ(load("board"), "false");
  TestSupport::write_file(path("secret"), d_bytes);
  fs::permissions(path("secret"), fs::perms::none);
  const std::string answer = in_child([&] { return TestSupport::become_nobody() ? load("secret") : "still root"; });
  EXPECT_EQ(answer, reading("secret", "Permission denied"));
}

TEST_F(SpecialFiles, AreNotReplacedBySafeSaves) {
  fs::create_directory(path("folder"));
  EXPECT_ERROR(d_db.save("folder"), "can't open file '" + path("folder") + "' for writing\n    Is a directory");
  EXPECT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
  fs::create_symlink("/dev/null", path("null"));
  EXPECT_TRUE(d_db.save("null"));
  fs::create_symlink("fifo.zydat", path("link"));
  fs::create_symlink(path("loop"), path("loop"));
  const auto refused = [](const std::string& file) { return "can't save '" + file + "': it is no regular file"; };
  EXPECT_ERROR(d_db.saveSafely("folder"), refused(path("folder")));
  EXPECT_ERROR(d_db.saveSafely("fifo"), refused(path("fifo")));
  EXPECT_ERROR(d_db.saveSafely("link"), refused(path("fifo")));
  EXPECT_ERROR(d_db.saveSafely("null"), refused("/dev/null"));
  EXPECT_ERROR(d_db.saveSafely("loop"), "can't save '" + path("loop") +
                                            "': failed to look at the old file\n    Too many levels of symbolic links");
  EXPECT_TRUE(fs::is_fifo(path("fifo")));
  EXPECT_EQ(std::distance(fs::directory_iterator(d_dir.path()), fs::directory_iterator()), 6);
}

TEST_F(SpecialFiles, ThatLinksNameAreMadeByBothSaves) {
  for (const bool safely : {false, true}) {
    const std::string name = safely ? "safe" : "plain";
    fs::create_symlink(name + " target", path(name + " second"));
    fs::create_symlink(path(name + " second"), path(name));
    EXPECT_TRUE(safely ? d_db.saveSafely(name) : d_db.save(name));
    EXPECT_TRUE(fs::is_symlink(path(name)) && fs::is_symlink(path(name + " second")));
    EXPECT_TRUE(read_file(d_dir.path(name + " target")) == d_bytes);
  }
}

TEST_F(SpecialFiles, InAFolderThatTakesNoneAreNotSaved) {
  const auto in_closed_folder = [&](auto save) {
    return in_child([&] { return TestSupport::become_nobody() ? error_text(save) : "still root"; });
  };
  fs::permissions(d_dir.path(), fs::perms(0555));
  EXPECT_EQ(in_closed_folder([&] { d_db.save("new"); }),
            "can't open file '" + path("new") + "' for writing\n    Permission denied");
  EXPECT_EQ(in_closed_folder([&] { d_db.saveSafely("board"); }),
            "can't save '" + path("board") + "': failed to create its new file\n    Permission denied");
  fs::permissions(d_dir.path(), fs::perms(0755));
  EXPECT_TRUE(read_file(path("board")) == d_bytes);
  EXPECT_EQ(std::distance(fs::directory_iterator(d_dir.path()), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace Mesh2DPlat
