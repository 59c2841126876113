// Every request for memory is refused, on every whole way through the library: once, and from then on.
#include <cerrno>
#include <cstdint>
#include <new>
#include <string>

#include "tests/faults/WholePaths.h"
#include "tests/support/Allocations.h"

namespace TestSupport {
namespace {

// Instrumented programs are slow: there, every few requests, but others on each path.
constexpr std::uint64_t kStride = kAddressSanitizer ? 9 : 1;

/// Running out of memory has its own exception, and some of the library's texts.
bool is_lack_of_memory(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (const Util::Error& fault) {
    return *fault.what() != '\0' && fault.error_number() == ENOMEM;
  } catch (const std::exception& fault) {
    ADD_FAILURE() << fault.what();
    return false;
  }
}

class MemoryFaults : public WholePaths, public testing::WithParamInterface<std::size_t> {
 public:
  using WholePaths::kPaths;

 protected:
  /// The number of failures.
  int refuse_requests(const WholePath& path, std::uint64_t first, bool and_all_behind) {
    int failures = 0;
    for (std::uint64_t n = first;; n += kStride) {
      SCOPED_TRACE("request " + std::to_string(n));
      start();
      Outcome outcome;
      bool refused = false;
      {
        const AllocationWatch watch(n, and_all_behind);
        outcome = run(path);
        refused = watch.refused();
      }
      if (outcome.error != nullptr) {
        ++failures;
        EXPECT_TRUE(is_lack_of_memory(outcome.error));
      }
      expect_kept(path, outcome, true);
      expect_completes(path, outcome);
      if (!refused || HasFailure()) return failures;
    }
  }
};

TEST_P(MemoryFaults, LeaveEverythingAsItWas) {
  const WholePath path = this->path(GetParam());
  SCOPED_TRACE(path.name);
  learn(path);
  const std::uint64_t first = GetParam() % kStride + 1;
  const int once = refuse_requests(path, first, false);
  const int from_then_on = refuse_requests(path, first, true);
  EXPECT_GE(once, 10);
  EXPECT_GE(from_then_on, once);
  RecordProperty(path.name, std::to_string(once) + " " + std::to_string(from_then_on));
}

INSTANTIATE_TEST_SUITE_P(OnWholePaths, MemoryFaults, testing::Range(std::size_t{0}, MemoryFaults::kPaths));

}  // namespace
}  // namespace TestSupport
