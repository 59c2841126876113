// What errors of a load say beyond their text: the file, the table, the column and the byte where it went wrong.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/format/Load.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "zydata/schema/DataFactory.h"

namespace {

using Mesh2DPlat::DBZydata;
using TestSupport::file;
using TestSupport::kMemory;

constexpr std::size_t kSizes = 12;
constexpr std::size_t kNodes = kSizes + 8 * 98;

std::uint64_t frame_size(const std::string& bytes, std::size_t frame) {
  return Util::load<std::uint64_t>(bytes.data() + kSizes + 8 * frame);
}

std::uint64_t frame_start(const std::string& bytes, std::size_t frame) {
  std::uint64_t start = kNodes;
  for (std::size_t i = 0; i < frame; ++i) start += frame_size(bytes, i);
  return start;
}

void put(std::string& bytes, std::size_t at, const std::string& value) { bytes.replace(at, value.size(), value); }

// Storage frames of a database, by their numbers in the message.
constexpr std::size_t kThetamin = 3;
constexpr std::size_t kNetNames = 27;    // offsets
constexpr std::size_t kVertexRows = 29;  // how many
constexpr std::size_t kLast = 97;        // options of circuits

struct Case {
  const char* name;
  std::function<void(std::string& bytes)> damage;
  std::string table;
  std::string column;
  std::function<std::uint64_t(const std::string& good)> offset;
};

const std::vector<Case>& cases() {
  const auto frame = [](std::size_t number) {
    return [number](const std::string& good) { return frame_start(good, number); };
  };
  const auto byte = [](std::uint64_t offset) { return [offset](const std::string&) { return offset; }; };
  static const std::vector<Case> all{
      {"two frames", [](std::string& b) { put(b, 0, std::string("\2\0\0\0", 4)); }, "", "", byte(0)},
      {"cut size table", [](std::string& b) { b.resize(kNodes - 1); }, "", "", byte(kSizes)},
      {"cut schema", [](std::string& b) { b.resize(kNodes + 5); }, "", "", byte(kNodes)},
      {"text outside the pool", [](std::string& b) { put(b, kNodes + 2 * 40, "\xff\xff\xff\x7f"); }, "simeshconfig", "",
       byte(kNodes + 2 * 40)},
      {"unknown type", [](std::string& b) { put(b, kNodes + 25 * 40 + 12, std::string("\x80\0\0\0", 4)); }, "emnet",
       "type", byte(kNodes + 25 * 40)},
      {"field below a value", [](std::string& b) { put(b, kNodes + 2 * 40 + 16, "\1"); }, "simeshconfig", "thetamin",
       byte(kNodes + 2 * 40)},
      {"another number of frames", [](std::string& b) { put(b, kNodes + 25 * 40 + 12, std::string("\5\0\0\0", 4)); },
       "emnet", "type", byte(kNodes + 25 * 40)},
      {"setting of nine bytes",
       [](std::string& b) {
         put(b, kSizes + 8 * kThetamin, "\x9");
         put(b, kSizes + 8 * (kThetamin + 1), "\x7");
       },
       "simeshconfig", "thetamin", frame(kThetamin)},
      {"offsets that fall", [](std::string& b) { put(b, frame_start(b, kNetNames) + 4, "\xff\xff\xff\x7f"); }, "emnet",
       "name", frame(kNetNames)},
      {"another row count", [](std::string& b) { put(b, frame_start(b, kVertexRows), "\3"); }, "em2dvertex", "",
       frame(kVertexRows)},
      {"cut last column", [](std::string& b) { b.pop_back(); }, "em2dcircuit", "option", frame(kLast)},
  };
  return all;
}

std::optional<Util::Error> error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const Util::Error& error) {
    return error;  // a copy keeps the place
  }
  return std::nullopt;
}

TEST(ErrorPlace, IsWhereTheLoadWentWrong) {
  DBZydata db(kMemory);
  const std::string good = TestSupport::read_file(CORVANE_TEST_DATA "/full.zydat");
  const std::string path = std::string(kMemory) + "/bad.zydat";
  for (const Case& example : cases()) {
    SCOPED_TRACE(example.name);
    file("bad") = good;
    example.damage(file("bad"));
    const std::uint64_t offset = example.offset(good);
    const auto alone = error_of([&] { db.openem(true, "bad"); });
    file("bad") = good + file("bad");
    MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
    MPSys::Message message;
    EXPECT_TRUE(connection.receive(message, nullptr, -1));
    const auto behind_another = error_of([&] { connection.receive(message, nullptr, -1); });
    for (const auto& [caught, start] : {std::pair(alone, std::size_t{0}), std::pair(behind_another, good.size())}) {
      ASSERT_TRUE(caught.has_value());
      EXPECT_EQ(caught->file(), path);
      EXPECT_EQ(caught->table(), example.table);
      EXPECT_EQ(caught->column(), example.column);
      EXPECT_EQ(caught->offset(), start + offset) << caught->what();
    }
  }
}

// Behind an object of each kind: what it has of storage frames decides where the damaged column lies.
using ErrorPlaceInFolder = TestSupport::InFolder;

TEST_F(ErrorPlaceInFolder, CountsTheFramesOfEveryKind) {
  using namespace ZyData;
  const std::string number = "int", text = "const char*", untyped = "ZyData::UntypedClass";
  const std::vector<std::pair<std::string, std::uint32_t>> kinds = {
      {number, 0},     {number, 0x1}, {number, 0x3}, {number, 0x4},  {number, 0x5},  {number, 0x21}, {number, 0x40},
      {number, 0x200}, {text, 0x400}, {text, 0x401}, {text, 0x4401}, {untyped, 0x8}, {untyped, 0x10}};
  const auto runs = make_schema<int>("runs", 0x5);
  for (const auto& [type, kind] : kinds) {
    const auto inner = make_frame_schema("inner"), root = make_record_schema("root");
    inner->add_field(runs);
    root->add_field(make_schema("before", type, kind));
    root->add_field(inner);
    auto frames = TestObjects::stored(root->factory()->create(root));
    const std::size_t damaged = frames.size() - 2;  // the offsets
    frames[damaged] = std::string(3, '\1') + std::string(5, '\0');
    const auto caught = error_of([&] { TestObjects::loaded(frames); });
    ASSERT_TRUE(caught.has_value()) << kind;
    EXPECT_EQ(caught->frame() + 3, damaged) << kind;
    EXPECT_EQ(caught->table() + "." + caught->column(), "inner.runs");
  }
}

}  // namespace
