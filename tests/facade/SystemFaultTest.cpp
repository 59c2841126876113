// Failing system calls under a database: every one is reported, nothing stays open, and what was open remains.
#include <cerrno>
#include <exception>
#include <string>
#include <vector>

#include "tests/facade/Layout.h"
#include "tests/support/FaultyPlatform.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::FaultyPlatform;
using TestSupport::Layout;
using TestSupport::Operation;

class SystemFaults : public testing::Test {
 protected:
  SystemFaults() {
    fill(d_layout);
    d_db.openem(false, "db");
    d_layout.write(d_db);
    d_db.save("db");
  }
  ~SystemFaults() override { FaultyPlatform::instance().reset(); }

  /// What each failing call of this operation makes `action` throw, in order.
  template <class Action>
  std::vector<std::string> faults(Operation operation, int error, Action action) {
    std::vector<std::string> texts;
    for (int n = 1;; ++n) {
      const auto descriptors = TestSupport::open_descriptors();
      FaultyPlatform& platform = FaultyPlatform::instance();
      platform.reset();
      platform.fail(operation, n, error);
      try {
        action();
      } catch (const std::exception& fault) {
        texts.push_back(fault.what());
      }
      EXPECT_EQ(TestSupport::open_descriptors(), descriptors);
      const bool failed = platform.faults() > 0;
      platform.reset();
      if (!failed) return texts;
      Layout read;
      EXPECT_TRUE(read.read(d_db));
      EXPECT_EQ(describe(read), describe(d_layout));
    }
  }

  TestSupport::TempDir d_dir;
  DBZydata d_db{d_dir.path()};
  Layout d_layout;
};

TEST_F(SystemFaults, OfASaveAreReported) {
  const auto save = [&] { d_db.save("db"); };
  const std::string file = "can't open file '" + d_dir.path() + "/db.zydat' for writing\n    ";
  const std::string sent = "message send failed: No space left on device";
  using Texts = std::vector<std::string>;
  EXPECT_EQ(faults(Operation::openForWriting, EACCES, save), Texts{file + "Permission denied"});
  EXPECT_EQ(faults(Operation::close, ENOSPC, save), Texts{sent});
  EXPECT_EQ(faults(Operation::write, ENOSPC, save), (Texts{sent, "message send failed : No space left on device"}));
  EXPECT_EQ(faults(Operation::writeGathered, ENOSPC, save), Texts{sent});
  const Texts exists = faults(Operation::exists, EACCES, save);
  ASSERT_EQ(exists.size(), 1u);
  EXPECT_NE(exists[0].find("exists: Permission denied [" + d_dir.path() + "]"), std::string::npos) << exists[0];
  EXPECT_TRUE(d_db.save("db"));
  EXPECT_TRUE(d_db.openem(true, "db"));
}

TEST_F(SystemFaults, OfALoadAreReported) {
  const auto load = [&] { d_db.openem(true, "db"); };
  const std::string received = "message receive failed: Input/output error";
  using Texts = std::vector<std::string>;
  EXPECT_EQ(faults(Operation::openForReading, EMFILE, load),
            Texts{"can't open file '" + d_dir.path() + "/db.zydat' for reading\n    Too many open files"});
  EXPECT_EQ(faults(Operation::read, EIO, load), (Texts{received, received, received}));
  EXPECT_EQ(faults(Operation::readScattered, EIO, load), (Texts{received, received}));
}

}  // namespace
}  // namespace Mesh2DPlat
