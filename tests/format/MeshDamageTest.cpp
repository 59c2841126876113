// Damaged mesh files: each is read as some mesh or answered with a documented error, which leaves the caller's mesh as
// it was and asks for no more memory than the file could fill.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "model/SImesh2D.h"
#include "mpsys/Message.h"
#include "tests/facade/SampleMesh.h"
#include "tests/format/Load.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestSupport.h"

namespace {

using Mesh2DPlat::DBZydata;
using Mesh2DPlat::SImesh2D;
using TestSupport::file;
using TestSupport::kMemory;

class MeshDamage : public testing::Test {
 protected:
  MeshDamage() { d_mesh.addLayer({-1, "kept"}); }

  /// False for a documented error.
  bool reads() {
    try {
      return d_db.readNegPolyMesh(&d_mesh, nullptr);
    } catch (const Util::Error&) {
    } catch (const MPSys::NonDataMessageException&) {
    } catch (const TestSupport::Stopped& stopped) {
      EXPECT_EQ(stopped.expression, "i < siz");
    }
    return false;
  }
  void try_file() {
    const TestSupport::AllocationWatch watch;
    if (reads()) {
      ++d_read;
      d_mesh.clear();
      d_mesh.addLayer({-1, "kept"});
    }
    EXPECT_LT(watch.requested(), kMemoryPerRead);
    ASSERT_EQ(d_mesh.layers.size(), 1u);
    EXPECT_EQ(d_mesh.layers[0].layer, "kept");
    EXPECT_TRUE(d_mesh.nodes.empty());
  }

  static constexpr std::uint64_t kMemoryPerRead = 400 * 1024;  // what the schema of a whole file takes is less

  const TestSupport::AssertionsThrow d_assertions;
  DBZydata d_db{kMemory};
  SImesh2D d_mesh;
  std::string d_good = TestSupport::read_file(CORVANE_TEST_DATA "/corvane2d.zydat");
  int d_read = 0;
};

TEST_F(MeshDamage, NeverReachesTheMeshAndACutFileIsNone) {
  TestSupport::sweep_damage(d_good, [&](const std::string& bytes, bool is_cut) {
    const int read_before = d_read;
    file("corvane2d") = bytes;
    try_file();
    EXPECT_TRUE(!is_cut || d_read == read_before);
  });
  EXPECT_GT(d_read, 1000);  // numbers that mean nothing to a reader
}

}  // namespace
