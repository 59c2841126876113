// Schemas in a message, types that a reader does not know, and the look at a file before it is loaded.
#include <pthread.h>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "mpsys/FileConnection.h"
#include "tests/format/Load.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "zydata/arrays/Array.h"
#include "zydata/message/FileProbe.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

using TestSupport::file;

/// Holds a tree, which keeps itself alive as long as it is linked.
template <class T>
class Tree : public std::shared_ptr<T> {
 public:
  Tree(std::shared_ptr<T> root) : std::shared_ptr<T>(std::move(root)) {}
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree() { this->get()->clear_hierarchy(); }
};

MPSys::FileConnection connection(MPSys::FileMode mode) {
  return MPSys::FileConnection((std::string(TestSupport::kMemory) + "/tree.zydat").c_str(), mode);
}

void send(const std::shared_ptr<DataObj>& object) {
  auto writer = connection(MPSys::FileMode::writing);
  EXPECT_TRUE(sendDataObject(writer, object));
}

Tree<DataObj> receive() {
  auto reader = connection(MPSys::FileMode::reading);
  std::shared_ptr<DataObj> object;
  std::int32_t sender = 5;
  EXPECT_TRUE(receiveDataObject(reader, object, &sender, -1));
  EXPECT_EQ(sender, 0);
  return object;
}

TEST(Message, KeepsEverythingOfASchemaThatHasNoMeaningHere) {
  const Tree record(make_record("r"));
  const auto field = make_schema<int>("f", 0x1 | 0x2000 | 0x200000);  // "initial_sized", "global_id"
  field->set_second_text("second");
  field->set_further_word(0x1fe);
  record->add_field("f", field);
  record->get<Array<int>>("f")->push_back(3);
  send(record);
  const std::string saved = file("tree");
  const auto loaded = receive();
  const Schema& read = *loaded->schema()->fields()[0];
  EXPECT_EQ(read.kind(), 0x202001u);
  EXPECT_EQ(read.second_text(), "second");
  EXPECT_EQ(read.further_word(), 0xfeu);
  EXPECT_EQ(read.type_identity(), TypeIdentity::of("int"));
  EXPECT_EQ(loaded->find_path("f/.."), loaded);
  send(loaded);
  EXPECT_TRUE(file("tree") == saved);
}

TEST(Message, OfAnEmptySchemaHasThreeFramesAndItsOwnStorage) {
  const std::string text = std::string("r\0\0", 3) + element_type_name<UntypedClass>() + '\0';
  const auto frames = TestObjects::stored(make_record("r"));
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0].size(), 40u);
  EXPECT_EQ(frames[2], text);
}

TEST(Message, NormalisesTruthValues) {
  const Tree record(make_record("r"));
  for (const std::uint32_t kind : {0u, kKindArray})
    record->add_field(std::to_string(kind), make_schema<bool>(std::to_string(kind), kind));
  record->get<Array<bool>>("1")->push_back(true);
  auto frames = TestObjects::stored(record);
  frames[3] = "\x02", frames[4] = "\xff";
  const auto normalised = TestObjects::stored(TestObjects::loaded(frames));
  EXPECT_EQ(normalised[3] + normalised[4], "\x01\x01");
}

TEST(Message, WithFramesOfOtherSizesOrOfAnotherNumberIsRefused) {
  const Tree record(make_record("r"));
  record->add_field("value", make_schema<int>("value", 0));
  record->add_field("array", make_schema<int>("array", kKindArray));
  const auto good = TestObjects::stored(record);
  const auto answer = [](const std::vector<std::string>& frames) {
    Util::ByteWriter writer;
    for (const std::size_t word : {frames.size(), std::size_t{0}, std::size_t{1}})
      writer.put(static_cast<std::uint32_t>(word));
    for (const auto& frame : frames) writer.put(std::uint64_t{frame.size()});
    for (const auto& frame : frames) writer.put_bytes(frame);
    file("tree") = writer.take();
    return TestSupport::error_text([] { receive(); });
  };
  for (const auto& [frame, size] : {std::pair(0, 0), {0, 3}, {0, 5}, {1, 5}}) {
    auto frames = good;
    frames[3 + static_cast<std::size_t>(frame)].resize(static_cast<std::size_t>(size));
    EXPECT_EQ(answer(frames), "message receive failed: can't resize frame " + std::to_string(frame) +
                                  " \"int\" to requested byte size (" + std::to_string(size) + ")");
  }
  for (const std::size_t count : {0U, 1U, 3U}) {
    auto frames = good;
    frames.resize(3 + count);
    EXPECT_EQ(answer(frames),
              "message receive failed: the data object has 2 storage frames, the message has " + std::to_string(count));
  }
}

/// A program's own object, which answers as it is told when a message's bytes are to come into it.
class Guarded final : public DataObj {
 public:
  enum Answer { kDefault, kNo, kShorter, kOutOfMemory, kTooLong };
  static inline Answer answer = kDefault;

  explicit Guarded(std::shared_ptr<Schema> schema) : DataObj(std::move(schema)) {}
  bool fits(std::uint64_t n) override {
    if (answer == kOutOfMemory) throw std::bad_alloc();
    if (answer == kTooLong) throw std::length_error("");
    if (answer == kShorter) bytes.resize(n - 1);
    return answer == kDefault ? DataObj::fits(n) : answer == kShorter;
  }
  void* data() override { return bytes.data(); }
  std::uint64_t size_bytes() const override { return bytes.size(); }

  std::string bytes = "as it is.";
};

class GuardedFactory final : public DataFactory {
 public:
  GuardedFactory() : DataFactory(0) {}
  std::shared_ptr<DataObj> create(std::shared_ptr<Schema> schema) const override {
    return std::make_shared<Guarded>(std::move(schema));
  }
  void write_parameters(Util::ByteWriter&) const override {}
  std::shared_ptr<DataFactory> read_parameters(Util::ByteReader&) const override { return copy(); }
  std::shared_ptr<DataFactory> copy() const override { return std::make_shared<GuardedFactory>(); }
};

TEST(OwnObject, DecidesWhichBytesItTakes) {
  register_factory("Own::Guarded", std::make_shared<GuardedFactory>());
  const Tree record(make_record("r"));
  for (const char* name : {"first", "second"}) record->add_field(name, make_schema(name, "Own::Guarded", 0));
  send(record);
  for (const auto answer : {Guarded::kNo, Guarded::kShorter, Guarded::kOutOfMemory, Guarded::kTooLong}) {
    Guarded::answer = answer;
    auto reader = connection(MPSys::FileMode::reading);
    std::shared_ptr<DataObj> object;
    EXPECT_ERROR(receiveDataObject(reader, object),
                 "message receive failed: can't resize frame 0 \"Own::Guarded\" to requested byte size (9)");
    EXPECT_EQ(object, nullptr);
  }
  Guarded::answer = Guarded::kDefault;
  file("tree")[12 + 8 * 3] = 2;  // the first one gets fewer bytes than it has, the second one those behind them
  file("tree").replace(file("tree").size() - 18, 11, "AB123456789");
  const auto loaded = receive();
  EXPECT_EQ(loaded->get<Guarded>("first")->bytes, "AB it is.");
  EXPECT_EQ(loaded->get<Guarded>("second")->bytes, "123456789");
}

/// A record with so many fields of this kind that the schema has as many nodes as it may have, each with texts of its
/// own.
std::shared_ptr<DataObj> make_widest_record(const std::string& type, std::uint32_t kind) {
  const auto wide = make_record_schema("r");
  for (std::size_t i = 1; i < kMaxNodes; ++i) {
    const auto field = std::make_shared<Schema>(std::to_string(i), type, kind, find_factory(type, kind));
    field->set_second_text("second " + std::to_string(i));
    wide->add_field(field);
  }
  return wide->factory()->create_from(wide);
}

TEST(WidestSchema, TakesNoMoreMemoryThanIsPromised) {
  using Kind = std::pair<const char*, std::uint32_t>;
  const std::string record = element_type_name<UntypedClass>();
  for (const auto& [type, kind] : {Kind("int", 0), Kind("int", 0x5), Kind("int", 0x200), Kind("const char*", 0x4401),
                                   Kind(record.c_str(), 0x10), Kind(record.c_str(), 0x8)}) {
    send(make_widest_record(type, kind));
    auto reader = connection(MPSys::FileMode::reading);
    std::shared_ptr<DataObj> loaded;
    const TestSupport::AllocationWatch watch;
    EXPECT_TRUE(receiveDataObject(reader, loaded));
    EXPECT_LT(watch.requested(), 4 * file("tree").size() + (32u << 20)) << type << " " << kind;
    loaded->clear_hierarchy();
  }
}

TEST(SchemaTexts, ThatOverlapEndAtALimit) {
  const std::string pool = std::string(kMaxNameSize, 'n') + '\0';
  Util::ByteWriter nodes;
  for (std::uint32_t i = 0; i < 70; ++i) {  // each with the end of the pool's one text as its name
    for (const std::uint32_t word : {i, 65535u, 65535u, 0u, 0u, 0u, 0u, 0u, 0u, 0u}) nodes.put(word);
  }
  SchemaTableReader reader(nodes.bytes(), "", pool);
  for (std::size_t i = 0; i < 65; ++i) EXPECT_EQ(reader.next().name.str().size(), kMaxNameSize - i);
  EXPECT_ERROR(reader.next(), "the texts of a schema overlap by more than 4194304 bytes");
  const std::string node = nodes.bytes().substr(0, kNodeSize), twice = node + node;
  SchemaTableReader same(twice, "", pool);
  EXPECT_EQ(same.next().name.c_str(), same.next().name.c_str());
}

/// Runs `action` on a stack of its own.
void on_small_stack(std::size_t bytes, std::function<void()> action) {
  pthread_attr_t attributes;
  ASSERT_EQ(::pthread_attr_init(&attributes), 0);
  ASSERT_EQ(::pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread;
  const auto run = [](void* task) -> void* {
    (*static_cast<std::function<void()>*>(task))();
    return nullptr;
  };
  ASSERT_EQ(::pthread_create(&thread, &attributes, run, &action), 0);
  ASSERT_EQ(::pthread_join(thread, nullptr), 0);
  ASSERT_EQ(::pthread_attr_destroy(&attributes), 0);
}

TEST(NestedRecords, AtTheLimitTakeLittleStack) {
  const Tree root(make_record("r"));
  std::shared_ptr<DataObj> at = root;
  for (int level = 0; level < 256; ++level) {
    at->add_field("r", make_record("r"));
    at = at->field_data()[0];
  }
  send(root);
  bool loads = false;
  on_small_stack((TestSupport::kAddressSanitizer ? 16 : 1) * 256 * 1024,
                 [&] { loads = TestSupport::use_tree(std::string(TestSupport::kMemory) + "/tree.zydat"); });
  EXPECT_TRUE(loads);
}

TEST(UnknownType, IsNamedWithWhatToCallAndLeavesWhatIsOpen) {
  Mesh2DPlat::DBZydata db(TestSupport::kMemory);
  file("unknown") = TestSupport::read_file(CORVANE_TEST_DATA "/db.zydat");
  db.openem(true, "unknown");
  const auto open = Mesh2DPlat::currentRoot->tree;
  const std::string good = file("unknown");
  const std::size_t thetamin = 12 + 8 * 98 + 2 * 40;
  const auto not_known = [](const std::string& type, const std::string& flags) {
    return "data type \"" + type + "\" is not registered with zydata (flags: " + flags +
           "):\n\t call \"ZyData::register_type<" + type + ">();\" before deserialization.";
  };
  const auto no_class = [](const std::string& type) {
    return "data type \"" + type + "\" is not registered with zydata:\n\t call \"ZyData::register_class_type<" + type +
           ">();\" during initialization.";
  };
  struct Change {
    std::size_t place;
    std::string bytes, text;
  };
  const std::vector<Change> changes = {
      {good.find("double"), "doubel", not_known("doubel", "")},
      {good.find("EM2DNetProxy::eType") + 18, "o", not_known("Mesh2DPlat::EM2DNetProxy::eTypo", "defaulted array")},
      {good.find("EM2DPin"), "EM2DPan", no_class("Mesh2DPlat::EM2DPan")},
      // of a kind word, the flags that were looked up
      {thetamin + 12, std::string("\x02\x25\xfb\x03", 4), not_known("double", "range string hier_name sparse")},
      {thetamin + 12, std::string("\x10\0\x04\0", 4), no_class("double")}};
  for (const auto& [place, bytes, text] : changes) {
    file("unknown") = std::string(good).replace(place, bytes.size(), bytes);
    EXPECT_ERROR(db.openem(true, "unknown"), text);
    EXPECT_EQ(Mesh2DPlat::currentRoot->tree, open);
  }
}

TEST(Probe, TellsWhatAFileHoldsOrWhatIsWrongWithItsNodes) {
  const std::string good = TestSupport::read_file(CORVANE_TEST_DATA "/db.zydat");
  const std::string path = std::string(TestSupport::kMemory) + "/probed.zydat";
  file("probed") = good;
  file("probed").replace(4, 8, std::string("\7\0\0\0\5\0\0\0", 8));
  const FileProbe found = probe_file(path);
  EXPECT_EQ(std::vector<std::uint64_t>({found.frame_count, found.tag, found.flags, found.node_count}),
            (std::vector<std::uint64_t>{98, 7, 5, 80}));
  const std::size_t root_fields = 12 + 8 * 98 + 16;
  struct Change {
    std::size_t place;
    std::string bytes, text;
  };
  const std::vector<Change> changes = {
      {0, "\xff\xff\xff\xff", "it ends inside the table of frame sizes"},
      {12, std::string(8, '\xff'), "it ends inside frame 0"},
      {12, std::string("\x29\0", 2), "the schema node table has 41 bytes, which is no multiple of 40"},
      {12, std::string("\0\0", 2), "the schema node table has 0 nodes, its field counts ask for 1"},
      {root_fields, "\x0c", "the schema node table has 80 nodes, its field counts ask for 81"},
      {root_fields, "\xff\xff\xff\xff", "the schema node table has 80 nodes, its field counts ask for 4294967364"},
      {root_fields, "\x0a", "the schema uses 75 of 80 stored nodes"}};
  for (const auto& [place, bytes, text] : changes) {
    file("probed") = std::string(good).replace(place, bytes.size(), bytes);
    EXPECT_ERROR(probe_file(path), "file '" + path + "': " + text);
  }
}

}  // namespace
}  // namespace ZyData
