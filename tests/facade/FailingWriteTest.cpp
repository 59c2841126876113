// What a write of many rows leaves behind when memory runs out half-way.
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "tests/facade/Layout.h"
#include "tests/faults/WholePaths.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestSupport.h"

namespace Mesh2DPlat {
namespace {

using TestSupport::AllocationWatch;
using TestSupport::Layout;

/// Runs `action` from the same start with one refused memory request after another until none is refused any more.
/// Every failure must leave what was open. Returns how often it failed.
int refuse_each_request(const std::function<void()>& start, const std::function<void()>& action) {
  int failures = 0;
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE("request " + std::to_string(n));
    start();
    const std::string before = TestSupport::open_content();
    bool failed = false;
    const AllocationWatch watch(n);
    try {
      action();
    } catch (const std::bad_alloc&) {
      failed = true;
    } catch (const Util::Error&) {
      failed = true;
    }
    EXPECT_TRUE(!failed || TestSupport::open_content() == before);
    failures += failed;
    if (!watch.refused()) return failed ? -1 : failures;
  }
}

class OutOfMemory : public testing::Test {
 protected:
  OutOfMemory() {
    fill(d_few);
    for (int i = 0; i < 700; ++i) {
      auto* vertex = d_many.vertices.add(i, "vertex " + std::to_string(i), i, i, i, i, d_few.layers[0], nullptr,
                                         d_few.layers[1], i);
      d_many.shapes.add("shape", d_few.layers[0], d_few.nets[0], EM2DShape::Type::Pad, i,
                        std::vector<double>(static_cast<std::size_t>(i % 5), 0.5));
      d_many.traces.add("trace", d_few.nets[0], vertex, vertex, i);
      auto* circuit = d_many.circuits.add("circuit");
      for (int k = 0; k < i % 4; ++k) circuit->addPin("pin " + std::to_string(i * k), vertex);
    }
    d_db.openem(false, "db");
    d_few.write(d_db);
    d_db.save("few");
  }

  TestSupport::TempDir d_dir;
  DBZydata d_db{d_dir.path()};
  Layout d_few;
  Layout d_many;
};

TEST_F(OutOfMemory, AWriteChangesNothing) {
  const std::vector<std::function<void()>> writes{
      [&] { d_db.write(d_many.vertices); }, [&] { d_db.write(d_many.shapes, ""); }, [&] { d_db.write(d_many.traces); },
      [&] { d_db.write(d_many.circuits); }};
  for (const auto& write : writes) {
    EXPECT_GE(refuse_each_request([&] { d_db.openem(true, "few"); }, write), 5);
    Layout out;
    out.layers.swap(d_few.layers);
    d_db.read(out.signals, out.layers.by(&EM2DLayer::id));
    EXPECT_EQ(out.signals.size(), 2u);
    out.layers.swap(d_few.layers);
  }
}

}  // namespace
}  // namespace Mesh2DPlat
