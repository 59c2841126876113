// The flattened schema: its bytes, and a reader that believes none of them.
#include "zydata/SchemaTable.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"
#include "tests/zydata/TestObjects.h"
#include "zydata/Schema.h"
#include "zydata/TypeRegistry.h"

namespace ZyData {
namespace {

constexpr std::size_t kName = 0, kSecondText = 4, kTypeName = 8, kKind = 12, kFields = 16;  // offsets in a node

std::shared_ptr<Schema> small_schema() {
  auto schema = make_record_schema("root");
  schema->add_field(make_schema<int>("a", 0x1001));
  schema->add_field(make_schema<const char*>("b", 0x400));
  return schema;
}

void set_word(SchemaTable& table, std::size_t node, std::size_t offset, std::uint32_t value) {
  table.nodes.replace(node * kNodeSize + offset, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
}

/// Reads exactly sized copies, so that a sanitizer sees the first byte too far.
std::shared_ptr<DataObj> read(const SchemaTable& table) {
  const std::vector<char> nodes(table.nodes.begin(), table.nodes.end());
  const std::vector<char> parameters(table.parameters.begin(), table.parameters.end());
  const std::vector<char> strings(table.strings.begin(), table.strings.end());
  return build_received_object({nodes.data(), nodes.size()}, {parameters.data(), parameters.size()},
                               {strings.data(), strings.size()});
}

TEST(SchemaTable, StoresEachTextOnceInTheOrderOfTheNodes) {
  auto schema = small_schema();
  schema->set_second_text("a");
  schema->set_further_word(0x12345678);
  schema->add_field(make_schema<int>(std::string("root\0cut", 8), 0));
  const SchemaTable table = *schema->flattened();
  EXPECT_EQ(table.strings, std::string("root\0a\0ZyData::UntypedClass\0\0int\0b\0const char*\0", 48));
  ASSERT_EQ(table.nodes.size(), 4 * kNodeSize);
  const std::uint64_t identity = TypeIdentity::of("ZyData::UntypedClass").value;
  std::string node("\0\0\0\0\x05\0\0\0\x07\0\0\0\x10\0\0\0\x03\0\0\0\0\0\0\0", 24);
  node.append(reinterpret_cast<const char*>(&identity), 8).append("\x78\0\0\0\0\0\0\0", 8);
  EXPECT_EQ(table.nodes.substr(0, kNodeSize), node);
  EXPECT_EQ(table.nodes.substr(3 * kNodeSize, 4), std::string(4, '\0'));  // "root" again, up to its zero byte

  const auto loaded = read(table);
  EXPECT_EQ(loaded->schema()->second_text(), "a");
  EXPECT_EQ(loaded->schema()->further_word(), 0x78u);  // only the low byte is stored
  EXPECT_EQ(loaded->schema()->field(3 - 1)->name(), "root");
  EXPECT_EQ(loaded->schema()->flattened()->nodes, table.nodes);
  EXPECT_EQ(loaded->schema()->flattened()->strings, table.strings);
}

TEST(SchemaTable, KeepsAStoredIdentityAsItStands) {
  SchemaTable table = *small_schema()->flattened();
  table.nodes.replace(24, 8, "whatever");
  EXPECT_EQ(read(table)->schema()->flattened()->nodes, table.nodes);
}

struct Damage {
  const char* what;
  std::function<void(SchemaTable&)> apply;
  std::string text;
};

TEST(SchemaTableReader, SaysWhatIsWrong) {
  const std::string access_text =
      "illegal call to a Schema function to access sub-fields (this is reserved for Record/Field schema objects only "
      "-- "
      "you are calling for object \"a\" with type \"int\")";
  const std::vector<Damage> damages = {
      {"name at the pool's end", [](auto& t) { set_word(t, 1, kName, static_cast<std::uint32_t>(t.strings.size())); },
       "schema node 1 names a text at byte 46 of a pool of 46 bytes"},
      {"second text far outside", [](auto& t) { set_word(t, 2, kSecondText, 0xffffffff); },
       "schema node 2 names a text at byte 4294967295 of a pool of 46 bytes"},
      {"no pool", [](auto& t) { t.strings.clear(); }, "schema node 0 names a text at byte 0 of a pool of 0 bytes"},
      {"no terminator", [](auto& t) { t.strings.pop_back(); }, "the schema text at byte 34 of the pool has no end"},
      {"type name of another text", [](auto& t) { set_word(t, 1, kTypeName, 0); },
       "data type \"root\" is not registered with zydata (flags: defaulted array):\n\t call "
       "\"ZyData::register_type<root>();\" before deserialization."},
      {"kind without a factory", [](auto& t) { set_word(t, 1, kKind, 0x42002); },
       "data type \"int\" is not registered with zydata:\n\t call \"ZyData::register_class_type<int>();\" during "
       "initialization."},
      {"kind of another layout", [](auto& t) { set_word(t, 1, kKind, 0x1); },
       "stored factory parameters of kind 0x1001 stand where kind 0x1 is expected"},
      {"field below a leaf", [](auto& t) { set_word(t, 1, kFields, 1); }, access_text},
      {"one field less", [](auto& t) { set_word(t, 0, kFields, 1); }, "the schema uses 2 of 3 stored nodes"},
      {"node too many", [](auto& t) { t.nodes += t.nodes.substr(0, kNodeSize); },
       "the schema uses 3 of 4 stored nodes"},
      {"half a node", [](auto& t) { t.nodes.pop_back(); },
       "the schema node table has 119 bytes, which is no multiple of 40"},
      {"parameter byte too many", [](auto& t) { t.parameters += '\0'; },
       "1 bytes of stored factory parameters belong to no schema node"},
      {"no parameters", [](auto& t) { t.parameters.clear(); },
       "stored parameters end too early: 4 bytes wanted, 0 left"},
      {"default text too long", [](auto& t) { t.parameters[16] = 100; },
       "stored parameters end too early: a text of 100 bytes, 12 left"}};
  for (const Damage& damage : damages) {
    SCOPED_TRACE(damage.what);
    SchemaTable table = *small_schema()->flattened();
    ASSERT_NO_THROW(read(table));
    damage.apply(table);
    EXPECT_ERROR(read(table), damage.text);
  }
}

TEST(SchemaTableReaderDeathTest, RunningOutOfNodesIsTheNamedAssertion) {
  SchemaTable table = *small_schema()->flattened();
  set_word(table, 0, kFields, 3);
  EXPECT_ASSERTION(read(table), "i < siz");
  EXPECT_ERROR(check_node_table(table.nodes), "the schema node table has 3 nodes, its field counts ask for 4");
  EXPECT_ASSERTION(read(SchemaTable()), "i < siz");
  EXPECT_ERROR(check_node_table(""), "the schema node table has 0 nodes, its field counts ask for 1");
}

TEST(SchemaTableReader, EveryCutAndEveryChangedByteIsAnErrorOrASchema) {
  const SchemaTable whole = *small_schema()->flattened();
  const auto try_table = [](const SchemaTable& table) {
    const std::string checked = TestSupport::error_text([&] { check_node_table(table.nodes); });
    if (checked != "<nothing thrown>") return;  // reading it would be the assertion of the test above
    const std::string text = TestSupport::error_text([&] { read(table); });
    EXPECT_TRUE(text == "<nothing thrown>" || text.front() != '<') << text;
  };
  for (auto area : {&SchemaTable::nodes, &SchemaTable::parameters, &SchemaTable::strings}) {
    for (std::size_t n = 0; n < (whole.*area).size(); ++n) {
      SchemaTable cut = whole;
      (cut.*area).resize(n);
      try_table(cut);
      for (const int change : {0x01, 0x80, 0xff}) {
        SchemaTable changed = whole;
        (changed.*area)[n] = static_cast<char>((changed.*area)[n] ^ change);
        try_table(changed);
      }
    }
  }
}

std::shared_ptr<Schema> nested(int levels) {
  auto schema = make_record_schema("x");
  for (int i = 0; i < levels; ++i) {
    auto outer = make_record_schema("x");
    outer->add_field(schema);
    schema = outer;
  }
  return schema;
}

TEST(SchemaTableReader, NestingEndsAt256Levels) {
  SchemaTable deepest = *nested(256)->flattened();
  EXPECT_NO_THROW(read(deepest));
  EXPECT_ERROR(nested(257)->flattened(), "schemas are nested deeper than 256 levels");
  set_word(deepest, 256, kFields, 1);
  deepest.nodes += nested(0)->flattened()->nodes;
  deepest.parameters += std::string(4, '\0');
  EXPECT_ERROR(read(deepest), "schemas are nested deeper than 256 levels");
}

TEST(SchemaTableReader, TextsAreLimitedEachAndInAll) {
  const std::string too_long = "a schema text of 65536 bytes is longer than 65535 bytes";
  const auto longest = make_record_schema(std::string(65535, 'n'));
  EXPECT_EQ(read(*longest->flattened())->schema()->name(), longest->name());
  EXPECT_ERROR(make_record_schema(std::string(65536, 'n'))->flattened(), too_long);
  SchemaTable table = *longest->flattened();
  table.strings.insert(0, 1, 'n');
  set_word(table, 0, kSecondText, 65536);
  set_word(table, 0, kTypeName, 65537);
  EXPECT_ERROR(read(table), too_long);

  // 1100 nodes share one long name: a small file, but 70 MB of schemas.
  const std::string in_all = "the texts of a schema take more than 67108864 bytes";
  const auto root = make_record_schema("root");
  for (int i = 0; i < 1100; ++i) root->add_field(longest);
  EXPECT_ERROR(root->flattened(), in_all);
  table = *longest->flattened();
  const std::string node = table.nodes;
  set_word(table, 0, kFields, 1100);
  for (int i = 0; i < 1100; ++i) {
    table.nodes += node;
    table.parameters += std::string(4, '\0');
  }
  EXPECT_ERROR(read(table), in_all);
}

TEST(SchemaTableReader, ManyFieldsOfABoundFrameTakeLinearTime) {
  TestObjects::register_rows();
  SchemaTable row = *TestObjects::Row::class_schema()->vector_form()->flattened();
  const std::string field = row.nodes.substr(kNodeSize, kNodeSize);
  const std::string parameters = row.parameters.substr(4, 17);
  constexpr std::uint32_t kCount = 200000;
  row.nodes.resize(kNodeSize);
  row.parameters.resize(4);
  set_word(row, 0, kFields, kCount);
  for (std::uint32_t i = 0; i < kCount; ++i) {
    row.nodes += field;
    row.parameters += parameters;
  }
  EXPECT_EQ(read(row)->schema()->field_count(), kCount);
}

}  // namespace
}  // namespace ZyData
