// Schemas in a message, types that a reader does not know, and the look at a file before it is loaded.
#include <pthread.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mpsys/FileConnection.h"
#include "tests/format/Load.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/String.h"
#include "zydata/message/FileProbe.h"
#include "zydata/message/serialize.h"
#include "zydata/object/Value.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Frame.h"
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

std::vector<std::uint64_t> frame_sizes() {
  std::vector<std::uint64_t> sizes(Util::load<std::uint32_t>(file("tree").data()));
  for (std::size_t i = 0; i < sizes.size(); ++i) sizes[i] = Util::load<std::uint64_t>(file("tree").data() + 12 + 8 * i);
  return sizes;
}

TEST(Message, OfAnEmptySchemaHasThreeFramesAndItsOwnStorage) {
  send(make_record("r"));
  EXPECT_EQ(frame_sizes(), (std::vector<std::uint64_t>{40, 4, 2 + 1 + 21}));
  EXPECT_EQ(receive()->schema()->name(), "r");
  const auto schema = make_frame_schema("r");
  send(schema->factory()->create_from(schema));
  EXPECT_EQ(frame_sizes(), (std::vector<std::uint64_t>{40, 4, 24, 8}));
}

TEST(Message, HoldsEveryTextOnce) {
  const Tree record(make_record("int"));
  for (const char* name : {"int", "", "a"}) record->add_field(name, make_schema<int>(name, 0));
  send(record);
  const std::string pool = file("tree").substr(12 + 8 * 6 + 4 * 40 + 4 * 4, 4 + 1 + 21 + 2);
  EXPECT_EQ(pool, std::string("int\0\0ZyData::UntypedClass\0a\0", 28));
}

TEST(Message, EndsWithTheStream) {
  file("tree") = "";
  auto reader = connection(MPSys::FileMode::reading);
  std::shared_ptr<DataObj> object = make_record("kept");
  EXPECT_FALSE(receiveDataObject(reader, object));
  EXPECT_EQ(object->schema()->name(), "kept");
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

TEST(Message, CutsANameAtItsZeroByte) {
  const Tree record(make_record(std::string("a\0b", 3)));
  record->add_field(std::string("f\0g", 3), make_schema<int>(std::string("f\0g", 3), 0));
  send(record);
  EXPECT_EQ(receive()->schema()->name(), "a");
  EXPECT_EQ(receive()->schema()->fields()[0]->name(), "f");
}

TEST(Message, OfASliceHoldsTheShownRows) {
  const auto schema = make_frame_schema("t");
  const Tree frame(std::dynamic_pointer_cast<FrameBase>(schema->factory()->create_from(schema)));
  frame->add_field("id", make_schema<int>("id", 0));
  frame->add_field("name", make_schema<const char*>("name", kKindString));
  for (int i = 0; i < 6; ++i) {
    frame->get<Array<int>>("id")->push_back(i);
    frame->get<StringArray>("name")->append("n" + std::to_string(i));
  }
  frame->refresh();
  send(frame->slice(2, 3));
  const auto loaded = receive();
  EXPECT_EQ(loaded->size(), 3u);
  EXPECT_EQ(loaded->find_path("id")->to_id_vector(), (std::vector<int>{2, 3, 4}));
  EXPECT_EQ(loaded->get<StringArray>("name")->view(2), "n4");
  EXPECT_EQ(loaded->get<StringArray>("name")->offsets()[0], 0);
}

TEST(Message, NormalisesTruthValues) {
  const Tree record(make_record("r"));
  record->add_field("b", make_schema<bool>("b", 0));
  record->add_field("list", make_schema<bool>("list", kKindArray));
  record->get<Array<bool>>("list")->push_back(true);
  send(record);
  file("tree").replace(file("tree").size() - 2, 2, "\x02\xff");
  const auto loaded = receive();
  EXPECT_EQ(loaded->get<Value<bool>>("b")->get_value(), true);
  send(loaded);
  EXPECT_EQ(file("tree").substr(file("tree").size() - 2), "\x01\x01");
}

TEST(FlattenedSchema, IsMadeOnceUntilSomethingBelowChanges) {
  const Tree record(make_record("r"));
  const auto inner = make_record("inner");
  record->add_field("inner", inner);
  const auto first = record->schema()->flattened();
  EXPECT_EQ(record->schema()->flattened(), first);
  inner->add_field("x", make_schema<int>("x", 0));
  const auto second = record->schema()->flattened();
  EXPECT_NE(second, first);
  EXPECT_EQ(second->nodes.size(), first->nodes.size() + 40);
  EXPECT_EQ(record->schema()->flattened(), second);
  inner->schema()->fields()[0]->set_further_word(1);
  EXPECT_NE(record->schema()->flattened(), second);
}

TEST(FlattenedSchema, IsNotMadeForWhatNoReaderCouldTake) {
  const Tree record(make_record("r"));
  const auto unknown = std::make_shared<Schema>("s", "Own::Row", 0x40010, make_record_schema("")->factory());
  record->schema()->add_field(unknown);
  EXPECT_ERROR(record->schema()->flattened(),
               "data type \"Own::Row\" is not registered with zydata:\n\t call "
               "\"ZyData::register_class_type<Own::Row>();\" during initialization.");
  const auto raw = make_record_schema("r");
  raw->add_field(std::make_shared<Schema>("memory", "void", 0, nullptr));
  EXPECT_ERROR(raw->flattened(), "schema \"memory\" has no data factory and can't be stored");
  const auto deep = make_record_schema("r");
  auto at = deep;
  for (int level = 0; level < 257; ++level) {
    EXPECT_EQ(deep->flattened()->nodes.size(), static_cast<std::size_t>(level + 1) * 40);
    at->add_field(make_record_schema("r"));
    at = at->fields()[0];
  }
  EXPECT_ERROR(deep->flattened(), "schemas are nested deeper than 256 levels");
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

TEST(WidestSchema, HasTheGreatestNumberOfNodes) {
  const auto wide = make_widest_record("int", 0);
  EXPECT_EQ(wide->schema()->flattened()->nodes.size(), kMaxNodes * kNodeSize);
  wide->schema()->add_field(make_schema<int>("one more", 0));
  EXPECT_ERROR(wide->schema()->flattened(), "a schema has more than 20000 nodes");
  const std::string nodes((kMaxNodes + 1) * kNodeSize, '\0');
  EXPECT_ERROR(SchemaTableReader(nodes, "", ""), "a schema has more than 20000 nodes");
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

class UnknownType : public testing::Test {
 protected:
  UnknownType() {
    d_db.openem(false, "db");
    d_db.save("db");
  }
  /// What loading says when every `from` in the file is a `to`.
  std::string load_with(const std::string& from, const std::string& to) {
    std::string bytes = file("db");
    for (std::size_t at = bytes.find(from); at != std::string::npos; at = bytes.find(from)) {
      bytes.replace(at, from.size(), to);
    }
    file("unknown") = bytes;
    const auto before = Mesh2DPlat::currentRoot->tree;
    const std::string text = TestSupport::error_text([&] { d_db.openem(true, "unknown"); });
    EXPECT_EQ(Mesh2DPlat::currentRoot->tree, before);
    return text;
  }

  Mesh2DPlat::DBZydata d_db{TestSupport::kMemory};
};

TEST_F(UnknownType, IsNamedWithWhatToCall) {
  EXPECT_EQ(load_with("double", "doubel"),
            "data type \"doubel\" is not registered with zydata (flags: ):\n\t call "
            "\"ZyData::register_type<doubel>();\" before deserialization.");
  EXPECT_EQ(load_with("EM2DNetProxy::eType", "EM2DNetProxy::eTypo"),
            "data type \"Mesh2DPlat::EM2DNetProxy::eTypo\" is not registered with zydata (flags: defaulted array):\n\t "
            "call \"ZyData::register_type<Mesh2DPlat::EM2DNetProxy::eTypo>();\" before deserialization.");
  EXPECT_EQ(load_with("EM2DPin", "EM2DPan"),
            "data type \"Mesh2DPlat::EM2DPan\" is not registered with zydata:\n\t call "
            "\"ZyData::register_class_type<Mesh2DPlat::EM2DPan>();\" during initialization.");
}

TEST_F(UnknownType, IsNamedWithTheFlagsThatWereLookedUp) {
  const std::string kind_of_thetamin(4, '\0');
  std::string& bytes = file("db");
  const std::size_t entry = 12 + 8 * 98 + 2 * 40;
  ASSERT_EQ(bytes.substr(entry + 12, 4), kind_of_thetamin);
  bytes.replace(entry + 12, 4, std::string("\x02\x25\xfb\x03", 4));
  EXPECT_EQ(load_with("none", ""),
            "data type \"double\" is not registered with zydata (flags: range string hier_name sparse):\n\t call "
            "\"ZyData::register_type<double>();\" before deserialization.");
  bytes.replace(entry + 12, 4, std::string("\x10\0\x04\0", 4));
  EXPECT_EQ(load_with("none", ""),
            "data type \"double\" is not registered with zydata:\n\t call \"ZyData::register_class_type<double>();\" "
            "during initialization.");
}

class Probe : public testing::Test {
 protected:
  std::string probe(const std::string& bytes) {
    file("probed") = bytes;
    const std::string text = TestSupport::error_text([&] { d_found = probe_file(d_path); });
    const std::string start = "file '" + d_path + "': ";
    return text.starts_with(start) ? text.substr(start.size()) : text;
  }

  TestSupport::TempDir d_dir;
  std::string d_path = std::string(TestSupport::kMemory) + "/probed.zydat";
  FileProbe d_found;
};

TEST_F(Probe, TellsWhatAFileHolds) {
  const std::string bytes = TestSupport::read_file(CORVANE_TEST_DATA "/db.zydat");
  EXPECT_EQ(probe(bytes + "more"), "<nothing thrown>");
  EXPECT_EQ(d_found.file_bytes, 6121u);
  EXPECT_EQ(d_found.message_bytes, 6117u);
  EXPECT_EQ(d_found.frame_count, 98u);
  EXPECT_EQ(d_found.tag, 0u);
  EXPECT_EQ(d_found.flags, 1u);
  EXPECT_EQ(d_found.node_count, 80u);
}

TEST_F(Probe, TellsWhatIsWrong) {
  const std::string good = TestSupport::read_file(CORVANE_TEST_DATA "/db.zydat");
  const auto with = [&](std::size_t offset, const std::string& bytes) {
    return std::string(good).replace(offset, bytes.size(), bytes);
  };
  const auto with_nodes = [&](char size) { return with(12, std::string{size, 0, 0, 0, 0, 0, 0, 0}); };
  const std::size_t root_fields = 12 + 8 * 98 + 16;
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", "it is empty"},
      {good.substr(0, 11), "it has fewer bytes than a header"},
      {with(8, std::string(1, '\xfe')), "it holds no data object"},
      {with(0, std::string(1, '\2')), "its message has fewer than three frames"},
      {good.substr(0, 12 + 8 * 98 - 1), "it ends inside the table of frame sizes"},
      {with(0, "\xff\xff\xff\xff"), "it ends inside the table of frame sizes"},
      {good.substr(0, good.size() - 1), "it ends inside frame 95"},
      {with(12, std::string(8, '\xff')), "it ends inside frame 0"},
      {with_nodes(41), "the schema node table has 41 bytes, which is no multiple of 40"},
      {with_nodes(0), "the schema node table has 0 nodes, its field counts ask for 1"},
      {with_nodes(40), "the schema node table has 1 nodes, its field counts ask for 12"},
      {with(root_fields, "\x0c"), "the schema node table has 80 nodes, its field counts ask for 81"},
      {with(root_fields, "\xff\xff\xff\xff"),
       "the schema node table has 80 nodes, its field counts ask for 4294967364"},
      {with(root_fields, "\x0a"), "the schema uses 75 of 80 stored nodes"},
      {with(root_fields, std::string(1, '\0')), "the schema uses 1 of 80 stored nodes"}};
  for (const auto& [bytes, text] : cases) EXPECT_EQ(probe(bytes), text);
  EXPECT_ERROR(probe_file(d_dir.path("missing")), "file '" + d_dir.path("missing") + "': there is no such file");
  EXPECT_ERROR(probe_file(d_dir.path()), "file '" + d_dir.path() + "': it is no readable file");
}

}  // namespace
}  // namespace ZyData
