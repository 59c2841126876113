// Memory that runs out while the library registers its types: the next attempt finds them whole.
#include <new>

#include "facade/DBZydata.h"
#include "tests/facade/Layout.h"
#include "tests/support/Allocations.h"
#include "tests/support/Child.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

// There are some 2000 requests, and each takes a process: every few of them, fewer where processes are slow to fork.
constexpr std::uint64_t kStride = TestSupport::kAddressSanitizer ? 67 : 5;

/// Constructs a database while the `n`-th request, or that one and all behind it, are refused: whether one was.
bool construct(std::uint64_t n, bool and_all_behind) {
  TestSupport::AllocationWatch watch(n, and_all_behind);
  try {
    DBZydata db(".");
  } catch (const std::bad_alloc&) {
  }
  return watch.refused();
}

// Types are registered once in a process, so that each attempt has one of its own.
TEST(FirstUse, WithoutMemoryIsMadeUpForByTheNext) {
  const TestSupport::TempDir folder;
  const std::string good = TestSupport::read_file(CORVANE_TEST_DATA "/full.zydat");
  TestSupport::Layout layout;
  fill(layout);
  for (const bool and_all_behind : {false, true}) {
    std::string answer;
    int attempts = 0;
    for (std::uint64_t n = and_all_behind ? 3 : 1; answer != "done"; n += kStride, ++attempts) {
      answer = TestSupport::in_child([&]() -> std::string {
        const bool refused = construct(n, and_all_behind);
        DBZydata db(folder.path());
        db.openem(false, "full");
        layout.write(db);
        db.save("full");
        if (TestSupport::read_file(folder.path("full.zydat")) != good) return "another file";
        return refused ? "refused" : "done";
      });
      ASSERT_TRUE(answer == "refused" || answer == "done") << "request " << n << ": " << answer;
    }
    EXPECT_GT(attempts, 20);
    RecordProperty(and_all_behind ? "from then on" : "once", attempts - 1);
  }
}

}  // namespace
}  // namespace Mesh2DPlat
