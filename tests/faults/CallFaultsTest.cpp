// Every call of the platform fails, on every whole way through the library: once, and from then on.
#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/faults/WholePaths.h"
#include "tests/support/FaultyPlatform.h"

namespace TestSupport {
namespace {

/// Calls that only ask for what is better known than not, or take away what is mostly not there.
bool may_fail_unnoticed(Operation operation, const WholePath& path) {
  const bool writes = !path.written.empty() || !path.replaced.empty();
  return operation == Operation::controlBlockingMode || operation == Operation::bytesToEnd ||
         operation == Operation::remove || (operation == Operation::close && !writes);
}

/// The error says what is wrong; only looking at a folder and creating it have an exception of their own.
void expect_told(const std::exception_ptr& error, Operation operation) {
  try {
    std::rethrow_exception(error);
  } catch (const Util::Error& fault) {
    EXPECT_STRNE(fault.what(), "");
    EXPECT_NE(std::string(fault.what()).find("Input/output error"), std::string::npos) << fault.what();
  } catch (const std::filesystem::filesystem_error& fault) {
    EXPECT_TRUE(operation == Operation::exists || operation == Operation::createDirectory) << fault.what();
    EXPECT_EQ(fault.code().value(), EIO);
    EXPECT_FALSE(fault.path1().empty());
  } catch (const std::exception& fault) {
    ADD_FAILURE() << fault.what();
  }
}

class CallFaults : public WholePaths, public testing::WithParamInterface<std::size_t> {
 public:
  using WholePaths::kPaths;

 protected:
  ~CallFaults() override { d_platform.reset(); }

  /// The number of calls on the path.
  int fail_each_call(const WholePath& path, bool and_all_behind) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      start();
      d_platform.reset();
      d_platform.failAny(n, EIO, and_all_behind);
      const Outcome outcome = run(path);
      const bool struck = d_platform.faults() > 0;
      const Operation first = d_platform.firstFault();
      const bool removed = !and_all_behind && first != Operation::remove;
      d_platform.reset();
      if (!struck) return n - 1;
      if (outcome.error != nullptr) {
        expect_told(outcome.error, first);
      } else {
        EXPECT_TRUE(may_fail_unnoticed(first, path)) << static_cast<int>(first);
      }
      expect_kept(path, outcome, removed);
      expect_completes(path, outcome);
      if (HasFailure()) return n;
    }
  }

  FaultyPlatform& d_platform = FaultyPlatform::instance();
};

TEST_P(CallFaults, AreToldAndLeaveEverythingAsItWas) {
  const WholePath path = this->path(GetParam());
  SCOPED_TRACE(path.name);
  learn(path);
  const int calls = fail_each_call(path, false);
  EXPECT_GE(calls, 6);
  EXPECT_EQ(fail_each_call(path, true), calls);
  RecordProperty(path.name, calls);
}

INSTANTIATE_TEST_SUITE_P(OnWholePaths, CallFaults, testing::Range(std::size_t{0}, CallFaults::kPaths));

}  // namespace
}  // namespace TestSupport
