// Sound files with changed contents: the framing is made anew after every change, so that the file reaches the checks
// behind it. The files are used like those of load_fuzz.
//
// Input: one byte that chooses a file, then changes of eight bytes: what is done, to which frame, where
// (two bytes) and a number (four bytes).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "facade/LayoutProxies.h"
#include "facade/MeshProxies.h"
#include "tests/fuzz/UseFile.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "zydata/message/serialize.h"
#include "zydata/tables/Record.h"

namespace {

constexpr std::size_t kChange = 8;
constexpr std::size_t kMostChanges = 64;
constexpr std::size_t kMostFrameBytes = 1 << 14;

using Frames = std::vector<std::string>;

Frames frames_of(const std::shared_ptr<ZyData::DataObj>& tree) {
  Frames frames;
  for (const auto& frame : ZyData::data_message(tree).frames) {
    const std::size_t size = frame->size_bytes();
    frames.emplace_back(size > 0 ? static_cast<const char*>(frame->data()) : "", size);
  }
  return frames;
}

/// The golden files: those whose tables belong together whole, and each table and object in a file of its own, which is
/// much faster.
struct Files {
  std::vector<Frames> whole;
  std::vector<Frames> parts;

  const Frames& file(std::uint8_t number) const {
    const bool is_whole = number % 16 == 0;
    return is_whole ? whole[number / 16 % whole.size()] : parts[number % parts.size()];
  }
};

Files all_files() {
  Mesh2DPlat::register_layout_types();
  Mesh2DPlat::register_mesh_types();
  Files files;
  for (const std::string name : {"db", "full", "corvane2d", "kinds"}) {
    TestSupport::file(name) = TestSupport::read_file(CORVANE_TEST_DATA "/" + name + ".zydat");
    const auto whole = TestSupport::load_tree(std::string(TestSupport::kMemory) + "/" + name + ".zydat");
    if (name != "kinds") files.whole.push_back(frames_of(whole));
    for (const auto& field : whole->field_data()) {
      const auto part = ZyData::make_record(name);
      part->add_field(field->schema()->name(), field);
      files.parts.push_back(frames_of(part));
      part->clear_hierarchy();
    }
  }
  return files;
}

std::string file_of(const Frames& frames) {
  Util::ByteWriter writer;
  for (const std::uint32_t word : {static_cast<std::uint32_t>(frames.size()), 0u, 1u}) writer.put(word);
  for (const std::string& frame : frames) writer.put(std::uint64_t{frame.size()});
  for (const std::string& frame : frames) writer.put_bytes(frame);
  return writer.bytes();
}

struct Change {
  std::uint8_t what;
  std::uint8_t frame;
  std::uint16_t where;
  std::uint32_t number;
};

Change change_at(const std::uint8_t* data) {
  const auto* bytes = reinterpret_cast<const char*>(data);
  const auto where = static_cast<std::uint16_t>(Util::load<std::uint32_t>(bytes) >> 16);
  return {data[0], data[1], where, Util::load<std::uint32_t>(bytes + 4)};
}

template <class Number>
void put(std::string& frame, std::size_t element, Number number) {
  if (frame.size() < sizeof number) return;
  const std::size_t offset = element % (frame.size() / sizeof number) * sizeof number;
  Util::ByteWriter writer;
  writer.put(number);
  frame.replace(offset, sizeof number, writer.bytes());
}

void add(std::string& frame, std::size_t word, std::uint32_t number) {
  if (frame.size() < 4) return;
  const std::size_t offset = word % (frame.size() / 4) * 4;
  put(frame, word, Util::load<std::uint32_t>(frame.data() + offset) + number);
}

/// Copies a run of `count` words to another place of the frame: names, kinds and whole nodes of others.
void copy_words(std::string& frame, std::size_t to, std::size_t from, std::size_t count) {
  const std::size_t words = frame.size() / 4;
  if (words == 0) return;
  const std::string run = frame.substr(from % words * 4, count * 4);
  frame.replace(to % words * 4, run.size(), run);
}

/// Inserts or takes out whole words.
void resize(std::string& frame, std::size_t at, std::int8_t words) {
  at %= frame.size() + 1;
  const auto bytes = static_cast<std::size_t>(words < 0 ? -words : words) * 4;
  if (words < 0) {
    frame.erase(at, bytes);
  } else if (frame.size() + bytes <= kMostFrameBytes) {
    frame.insert(at, bytes, '\0');
  }
}

void make_change(const Change& change, Frames& frames) {
  if (frames.empty()) return;
  std::string& frame = frames[change.frame % frames.size()];
  switch (change.what % 9) {
    case 0:
      return put(frame, change.where, static_cast<std::uint8_t>(change.number));
    case 1:
      return put(frame, change.where, change.number);
    case 2:
      return put(frame, change.where, std::uint64_t{change.number} << (change.what / 9));
    case 3:
      return add(frame, change.where, change.number);
    case 4:
      return copy_words(frame, change.where, change.number % 0x10000, 1);
    case 5:
      return copy_words(frame, change.where / 10 * 10, change.number % 0x10000 / 10 * 10, 10);
    case 6:
      return resize(frame, change.where, static_cast<std::int8_t>(change.number));
    case 7:
      return frame.swap(frames[change.number % frames.size()]);
    default:
      frame = frames[change.number % frames.size()];
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Files files = all_files();
  if (size == 0) return 0;
  Frames frames = files.file(data[0]);
  const std::size_t changes = std::min((size - 1) / kChange, kMostChanges);
  for (std::size_t i = 0; i < changes; ++i) make_change(change_at(data + 1 + i * kChange), frames);
  TestSupport::use_file(file_of(frames));
  return 0;
}
