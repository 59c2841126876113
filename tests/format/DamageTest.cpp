// Damaged files: each is answered with a documented error and leaves what was open before. Whatever memory a load asks
// for stays within what the file could fill.
#include <cstdint>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "mpsys/Message.h"
#include "tests/format/Load.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"

namespace {

using Mesh2DPlat::currentRoot;
using Mesh2DPlat::DBZydata;
using TestSupport::file;
using TestSupport::is_tried;
using TestSupport::kMemory;
using TestSupport::Layout;
using TestSupport::read_everything;
using TestSupport::save_twice;
using TestSupport::Stopped;

// Where parts of the golden files begin.
constexpr std::size_t kNodes = 12 + 8 * 98;
constexpr std::size_t kTexts = kNodes + 3200 + 924;
constexpr std::size_t kStorage = kTexts + 900;

/// True for the bytes of a node that no reader interprets.
bool is_kept_as_it_is(std::size_t offset) {
  return offset >= kNodes && offset < kNodes + 3200 && (offset - kNodes) % 40 >= 20;
}

/// What loading has answered, "" for a tree.
std::string load(DBZydata& db, std::uint64_t* requested = nullptr) {
  const TestSupport::AllocationWatch watch;
  std::string answer;
  try {
    db.openem(true, "damaged");
    if (currentRoot->tree == nullptr) answer = "nothing";
  } catch (const Util::Error& error) {
    answer = std::string("error: ") + error.what();
  } catch (const MPSys::NonDataMessageException&) {
    answer = "no data object";
  } catch (const Stopped& stopped) {
    answer = "stopped: " + stopped.expression;
  }
  if (requested != nullptr) *requested = watch.requested();
  return answer;
}

/// Rows of each table, in the order of the file.
std::vector<std::uint64_t> table_sizes(const ZyData::DataObj& tree) {
  std::vector<std::uint64_t> sizes;
  for (const auto& table : tree.field_data()) sizes.push_back(table->size());
  return sizes;
}

std::string golden(const std::string& name) { return TestSupport::read_file(CORVANE_TEST_DATA "/" + name + ".zydat"); }

class Damage : public testing::Test {
 protected:
  Damage() {
    file("good") = golden("full");
    d_db.openem(true, "good");
    d_good = currentRoot->tree;
  }
  ~Damage() override {
    Layout out;
    EXPECT_TRUE(out.read(d_db));
    EXPECT_EQ(out.circuits.size(), 3u);
  }

  /// Loads the damaged file. A tree is read and, now and then, saved; after anything else the good one is still open.
  std::string try_damaged() {
    std::uint64_t requested = 0;
    const std::string answer = load(d_db, &requested);
    EXPECT_LT(requested, kMemoryPerLoad + 4 * file("damaged").size()) << answer;
    if (answer.empty()) {
      d_sizes = table_sizes(*currentRoot->tree);
      read_everything(d_db);
      if (d_trees++ % kTreesPerSave == 0) save_twice(d_db);
    }
    if (answer.empty() || answer == "nothing") {
      currentRoot->take(Mesh2DPlat::OwnedTree(d_good));
    } else {
      EXPECT_EQ(currentRoot->tree, d_good) << answer;
      EXPECT_TRUE(answer.starts_with("error: ") || answer == "no data object" || answer == "stopped: i < siz")
          << answer;
    }
    return answer;
  }
  std::string answer_to(const std::string& bytes) {
    file("damaged") = bytes;
    return try_damaged();
  }
  /// Makes a golden file the one that try_patched() damages.
  void take_whole(const std::string& name) {
    EXPECT_EQ(answer_to(golden(name)), "");
    d_whole_sizes = d_sizes;
  }
  /// Puts `bytes` in the place of those at `offset`, tries the file and puts the old ones back. A file that
  /// loads must have as many rows as before.
  void try_patched(std::size_t offset, const std::string& bytes) {
    std::string& damaged = file("damaged");
    const std::string old = damaged.substr(offset, bytes.size());
    if (old.size() < bytes.size() || old == bytes) return;
    damaged.replace(offset, bytes.size(), bytes);
    const bool failed_before = HasFailure();
    const bool loads = try_damaged().empty();
    EXPECT_TRUE(!loads || d_sizes == d_whole_sizes);
    if (HasFailure() && !failed_before) ADD_FAILURE() << "first failure: byte " << offset;
    damaged.replace(offset, bytes.size(), old);
  }

  static constexpr std::uint64_t kMemoryPerLoad = 200 * 1024;  // what the schema of a whole file takes is less

  static constexpr int kTreesPerSave = 8;

  const TestSupport::AssertionsThrow d_assertions;
  DBZydata d_db{kMemory};
  std::shared_ptr<ZyData::DataObj> d_good;
  std::vector<std::uint64_t> d_sizes;        // rows per table of the file that was loaded last
  std::vector<std::uint64_t> d_whole_sizes;  // the same of the whole file
  int d_trees = 0;
};

TEST_F(Damage, CutsAreReportedWithTheirNumbers) {
  for (const char* name : {"db", "full"}) {
    const std::string whole = golden(name);
    const std::size_t table_end = kNodes;
    std::uint64_t schema_bytes = 0;
    for (std::size_t i = 0; i < 3; ++i) schema_bytes += Util::load<std::uint64_t>(whole.data() + 12 + 8 * i);
    const std::uint64_t storage_bytes = whole.size() - table_end - schema_bytes;
    for (const bool lengths_known : {true, false}) {
      TestSupport::MemoryPlatform::instance().lengthsKnown = lengths_known;
      for (std::size_t n = 0; n < whole.size(); n += n < kNodes || lengths_known ? 1 : 7) {
        const std::uint64_t left = n < table_end ? 0 : n - table_end;
        const bool in_schema = left < schema_bytes;
        const std::string truncated = "error: message truncated: received only " +
                                      std::to_string(in_schema ? left : left - schema_bytes) + " of " +
                                      std::to_string(in_schema ? schema_bytes : storage_bytes) + " bytes";
        const std::string expected = n < 12          ? "nothing"
                                     : n < table_end ? "error: message receive failed: unexpected end of file"
                                                     : truncated;
        ASSERT_EQ(answer_to(whole.substr(0, n)), expected) << name << " cut to " << n << " bytes";
      }
    }
    TestSupport::MemoryPlatform::instance().lengthsKnown = true;
  }
}

// The schema parts of both files are alike: of the second one, the rest is enough.
TEST_F(Damage, FlippedBytesDoNoHarm) {
  for (const auto& [name, first] : {std::pair("db", std::size_t{0}), std::pair("full", kStorage)}) {
    take_whole(name);
    for (std::size_t at = first; at < file("damaged").size() && !HasFailure(); ++at) {
      const char byte = file("damaged")[at];
      if (is_tried(at, 0)) try_patched(at, std::string(1, static_cast<char>(byte ^ 0xff)));
      if (is_tried(at, 1) && !is_kept_as_it_is(at)) try_patched(at, std::string(1, static_cast<char>(byte ^ 0x01)));
      if (is_tried(at, 2) && at >= kTexts) try_patched(at, std::string(1, '\0'));
    }
  }
}

TEST_F(Damage, HugeClaimsTakeNoMemory) {
  for (const auto& [name, first] : {std::pair("db", std::size_t{0}), std::pair("full", kStorage)}) {
    take_whole(name);
    for (std::size_t at = first; at + 4 <= file("damaged").size(); at += 4) {
      if (is_tried(at / 4, 0)) try_patched(at, "\xff\xff\xff\xff");
      if (is_tried(at / 4, 1)) try_patched(at, "\xff\xff\xff\x7f");
    }
  }
  take_whole("full");
  for (std::size_t at = 12; at < kNodes; at += 8) {
    for (const std::uint64_t claim : {std::uint64_t{1} << 31, std::uint64_t{1} << 40, std::uint64_t{1} << 63,
                                      std::numeric_limits<std::uint64_t>::max()}) {
      Util::ByteWriter bytes;
      bytes.put(claim);
      try_patched(at, bytes.bytes());
    }
  }
}

TEST_F(Damage, OfTheHeaderIsNamed) {
  const std::string whole = golden("db");
  const auto with = [&](std::size_t offset, const std::string& bytes) {
    return answer_to(std::string(whole).replace(offset, bytes.size(), bytes));
  };
  EXPECT_EQ(with(0, std::string(1, '\0')), "no data object");
  EXPECT_EQ(with(0, std::string(1, '\2')),
            "error: message receive failed: a data object needs at least 3 frames, the message has 2");
  EXPECT_EQ(with(0, "\xff\xff\xff\xff"), "error: message receive failed: unexpected end of file");
  EXPECT_EQ(with(8, std::string(1, '\0')), "no data object");
  EXPECT_EQ(with(4, "\xff\xff\xff\xff"), "") << "a tag is read and ignored";
  EXPECT_EQ(with(8, "\xff\xff\xff\xff"), "") << "other flags are ignored";
  EXPECT_EQ(answer_to(whole + "more"), "") << "what follows a message is ignored";
}

TEST(DamageDeathTest, OfTheNodeTableEndsTheProgram) {
  DBZydata db(kMemory);
  file("damaged") = golden("db");
  file("damaged")[kNodes + 16] = 12;
  EXPECT_DEATH(db.openem(true, "damaged"), "assertion failed: \"i < siz\", file .*SchemaTable.cpp, line [0-9]+");
}

/// Messages with an object of each kind, which are no databases; damage may name other files than their own.
TEST(DamagedKinds, AreDocumentedErrorsOrOtherTrees) {
  ZyData::register_class_type<TestObjects::Point>();
  for (const char* name : {"kinds.mapped", "kinds.defaults", "kinds.offsets", "kinds.values", "kinds.column"})
    TestSupport::MemoryPlatform::instance().files[name] =
        TestSupport::read_file(CORVANE_TEST_DATA "/" + std::string(name));
  int loaded = 0;
  const auto use = [&](const std::string& bytes, bool) {
    if (!TestSupport::has_sound_node_table(bytes)) return;
    file("damaged") = bytes;
    loaded += TestSupport::use_tree(std::string(kMemory) + "/damaged.zydat") ? 1 : 0;
  };
  for (const char* name : {"kinds", "structures"}) TestSupport::sweep_damage(golden(name), use);
  EXPECT_GT(loaded, 1000);
}

}  // namespace
