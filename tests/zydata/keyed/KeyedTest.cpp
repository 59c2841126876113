// Dictionaries, sparse arrays and searchable string arrays.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "util/HashBase.h"
#include "zydata/arrays/String.h"
#include "zydata/keyed/Dict.h"
#include "zydata/keyed/SparseArray.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {
namespace {

using TestObjects::loaded;
using TestObjects::stored;

template <class T>
std::shared_ptr<Dict<T>> make_dict(const std::string& name = "d") {
  return std::make_shared<Dict<T>>(make_schema<T>(name, kKindDict));
}

template <class T>
std::shared_ptr<SparseArray<T>> make_sparse(const std::string& name = "s") {
  return std::make_shared<SparseArray<T>>(make_schema<T>(name, kKindSparse | kKindArray));
}

std::shared_ptr<SearchableStringArray> make_searchable() {
  return std::make_shared<SearchableStringArray>(make_schema<const char*>("t", kKindHashed | kKindString | kKindArray));
}

TEST(TextHash, IsTheOneThatStoredTablesDependOn) {
  const auto hash = [](const char* text) { return Util::text_hash(text, UINT64_MAX); };
  EXPECT_EQ(hash(""), 0U);
  EXPECT_EQ(hash("a"), 0xaf63dc4d24396645U);
  EXPECT_EQ(hash("pin"), 0x96691bea7ff400c2U);
  EXPECT_EQ(hash("em2dvia"), 0x6b069c3f18d0ebfbU);
  EXPECT_NE(hash("\xff"), hash("\x7f"));
  EXPECT_EQ(Util::text_hash("pinch", 3), hash("pin"));
}

// --- both kinds of table against a map ---

struct Dictionaries {
  static auto make() { return make_dict<int>(); }
  static std::string key(std::uint64_t i) { return "key" + std::to_string(i); }
  static int at(const Dict<int>& table, const std::string& key) { return table.get(key); }
};

struct SparseArrays {
  static auto make() { return make_sparse<int>(); }
  static int key(std::uint64_t i) { return static_cast<int>(i * 1000003 % 2147483); }
  static int at(const SparseArray<int>& table, int key) { return table.value_at(key); }
};

template <class Tables>
class KeyedTable : public testing::Test {};
using BothTables = testing::Types<Dictionaries, SparseArrays>;
TYPED_TEST_SUITE(KeyedTable, BothTables);

TYPED_TEST(KeyedTable, AgreesWithAMapOverRandomInsertionsAndRemovalsAndAfterALoad) {
  std::mt19937 random(7);
  auto table = TypeParam::make();
  using Table = typename decltype(table)::element_type;
  std::map<decltype(TypeParam::key(0)), int> model;
  for (int step = 0; step < 20000; ++step) {
    const auto key = TypeParam::key(random() % 700);
    if (random() % 5 < 3) {
      ASSERT_EQ(table->set(key, step), model.insert_or_assign(key, step).second);
    } else {
      ASSERT_EQ(table->remove(key), model.erase(key) > 0);
    }
    ASSERT_TRUE(step % 100 != 0 || table->size() == model.size());
    if (step % 5000 == 0) table = loaded(stored(table))->template get<Table>();
  }
  for (const auto& [key, value] : model) ASSERT_EQ(TypeParam::at(*table, key), value);
  EXPECT_EQ(table->size(), model.size());
}

TYPED_TEST(KeyedTable, DoesNotGrowWithManyRemovals) {
  const auto table = TypeParam::make();
  for (std::uint64_t i = 0; i < 100000; ++i) {
    table->set(TypeParam::key(i), 1);
    if (i >= 10) table->remove(TypeParam::key(i - 10));
  }
  EXPECT_EQ(table->size(), 10U);
  EXPECT_LT(table->size_bytes(), 4096U);
}

// --- dictionaries ---

TEST(Dict, EntriesKeepTheOrderOfInsertionAndFreePlacesStayFree) {
  const auto dict = make_dict<double>();
  for (const char* key : {"x", "", "a/b", "longer key"}) dict->set(key, 1.5);
  dict->set("x", 2.5);
  dict->remove("");
  EXPECT_STREQ(dict->key_at(0), "x");
  EXPECT_EQ(dict->value_at(0), 2.5);
  EXPECT_ERROR(dict->value_at(1), "dictionary index out of bounds");
  EXPECT_STREQ(dict->key_at(2), "a/b");
  dict->set("", 3.5);
  EXPECT_EQ(dict->value_at(4), 3.5);
  for (const int outside : {-1, 5, INT32_MIN, INT32_MAX})
    EXPECT_ERROR(dict->get(outside), "dictionary index out of bounds");
  dict->remove("x"), dict->remove("a/b");
  dict->set("new", 4.5);  // most places are free, but the table is not full
  EXPECT_EQ(dict->value_at(5), 4.5);
}

TEST(Dict, RefusesAbsentKeysByNameAndEndsKeysAtTheirFirstZeroByte) {
  const auto dict = make_dict<int>();
  const std::string refusal = "The dictionary data with key \"gone\" is not existed!\n";
  EXPECT_ERROR(dict->get(std::string("gone")), refusal);
  dict->set(std::string("ab\0cd", 5), 1);
  EXPECT_ERROR(dict->get(std::string("gone")), refusal);
  EXPECT_FALSE(dict->remove("gone"));
  EXPECT_EQ(dict->get(std::string("ab")), 1);
  EXPECT_FALSE(dict->set(std::string("ab\0xx", 5), 2));
}

TEST(Dict, KeysEndBelowTwoGibibytes) {
  DictKeys keys;
  keys.texts.resize_for_overwrite(INT32_MAX - 3);  // room only: no page is touched
  EXPECT_ERROR(keys.append("abc", "d"), "the keys of dictionary \"d\" take more than 2147483647 bytes");
}

TEST(Dict, PrintShowsFourteenEntriesAtMost) {
  const auto dict = make_dict<int>();
  std::string entries;
  for (int i = 0; i < 17; ++i) {
    EXPECT_PRINTS(dict->print(1),
                  "    d Dict[" + std::to_string(i) + "] = [" + entries + (i > 14 ? " ..." : "") + " ]\n");
    const std::string key = "k" + std::to_string(i);
    dict->set(key, i);
    if (i < 14) entries += std::string(i > 0 ? ", " : " ") + "\"" + key + "\" : " + std::to_string(i);
  }
}

// --- sparse arrays ---

TEST(SparseArray, AbsentIndicesReadAsTheDefaultValueAndHiddenOnesThrow) {
  const auto array = make_sparse<int>();
  array->set_default_value(-5);
  array->set(INT32_MAX, 1);
  EXPECT_EQ(array->value_at(3), -5);
  EXPECT_EQ(array->find(3), nullptr);
  EXPECT_EQ(array->value_at(INT32_MAX), 1);
  EXPECT_ERROR(array->value_at(-1), "index bounds error");
  const auto part = std::dynamic_pointer_cast<SparseArray<int>>(array->slice(10, 5));
  EXPECT_ERROR(part->set(15, 1), "index bounds error");
  part->set(14, 9);
  EXPECT_EQ(array->value_at(14), 9);
  EXPECT_EQ(part->value_at(10), -5);
  const auto end = std::dynamic_pointer_cast<SparseArray<int>>(array->slice(INT32_MAX, kToTheEnd));
  EXPECT_EQ(end->size(), 1U);
  EXPECT_ERROR(array->slice(std::uint64_t{1} << 31, 1), "index bounds error");
  EXPECT_ERROR(part->set(-1, 1), "index bounds error");
  EXPECT_TRUE(array->set(-7, 8) && !array->set(-7, 9) && array->set(INT32_MIN, 3));
  EXPECT_PRINTS(array->print(0), "s SparseArray = [ 2147483647:1 14:9 -7:9 -2147483648:3 ]\n");
  const auto again = loaded(stored(array))->get<SparseArray<int>>();
  EXPECT_TRUE(again->first() == INT32_MIN && again->value_at(-7) == 9 && again->value_at(-6) == 0);
}

TEST(SparseArray, PrintsTheIndicesThatItShows) {
  const auto array = make_sparse<int>();
  for (int i = 0; i < 20; ++i) array->set(i, i * i);
  EXPECT_PRINTS(array->slice(10, 5)->print(0), "s SparseArray = [ 10:100 11:121 12:144 13:169 14:196 ]\n");
  array->remove(0);
  EXPECT_PRINTS(
      array->print(0),
      "s SparseArray = [ 1:1 2:4 3:9 4:16 5:25 6:36 7:49 8:64 9:81 10:100 11:121 12:144 13:169 14:196 15:225 ... ]\n");
  EXPECT_PRINTS(array->slice(5, 15)->print(0),
                "s SparseArray = [ 5:25 6:36 7:49 8:64 9:81 10:100 11:121 12:144 13:169 14:196 15:225 16:256 17:289 "
                "18:324 19:361 ]\n");
}

// --- searchable string arrays ---

TEST(SearchableStringArray, FindsTheFirstElementWithAText) {
  const auto array = make_searchable();
  EXPECT_EQ(array->find("a"), -1);
  for (const char* text : {"a", "b", "a", ""}) array->append(text);
  array->append(std::string_view("a\0x", 3));
  EXPECT_EQ(array->find("a"), 0);
  EXPECT_EQ(array->find("b"), 1);
  EXPECT_EQ(array->find(""), 3);
  EXPECT_EQ(array->find(std::string_view("a\0x", 3)), 4);
  EXPECT_EQ(array->find(std::string_view("a\0y", 3)), -1);
  array->append("new");
  EXPECT_EQ(array->find("new"), 5);
}

TEST(SearchableStringArray, FollowsEveryKindOfChange) {
  const auto array = make_searchable();
  array->resize(3);
  EXPECT_EQ(array->find(""), 0);
  array->set(0, std::string_view("x"));
  EXPECT_EQ(array->find("x"), 0);
  EXPECT_EQ(array->find(""), 1);
  array->set(1, std::string_view(""));
  array->set(1, std::string_view("y"));
  EXPECT_EQ(array->find("y"), 1);
  array->truncate_rows(1);
  EXPECT_EQ(array->find("y"), -1);
  array->append("z");
  EXPECT_EQ(array->find("z"), 1);
  array->set_field("", std::vector<std::string>{"p", "q"});
  EXPECT_EQ(array->find("z"), -1);
  EXPECT_EQ(array->find("q"), 1);
  const auto part = std::dynamic_pointer_cast<SearchableStringArray>(array->slice(1, 1));
  EXPECT_EQ(part->find("q"), 0);
  EXPECT_EQ(part->find("p"), -1);
}

// --- files ---

TEST(KeyedFiles, AViewComesBackWithItsTable) {
  const auto sparse = make_sparse<int>();
  for (int i = 0; i < 50; ++i) sparse->set(i * 3, i);
  sparse->remove(9);
  const auto again = loaded(stored(sparse->slice(3, 60)))->get<SparseArray<int>>();
  EXPECT_EQ(again->first(), 3);
  EXPECT_EQ(again->size(), 19U);
  EXPECT_EQ(again->value_at(60), 20);
  EXPECT_ERROR(again->value_at(63), "index bounds error");
  EXPECT_TRUE(again->set(9, 5));
  EXPECT_EQ(again->size(), 20U);
}

TEST(KeyedFiles, SearchableTextsComeBackWithoutTheirIndex) {
  const auto array = make_searchable();
  for (int i = 0; i < 30; ++i) array->append("t" + std::to_string(i % 20));
  EXPECT_EQ(array->find("t19"), 19);
  const auto again = loaded(stored(array))->get<SearchableStringArray>();
  EXPECT_EQ(again->size(), 30U);
  EXPECT_EQ(again->find("t19"), 19);
  const auto part = loaded(stored(array->slice(10, 5)))->get<SearchableStringArray>();
  EXPECT_EQ(part->size(), 5U);
  EXPECT_EQ(part->find("t12"), 2);
  auto frames = stored(array);
  frames[3][0] = 1;
  EXPECT_ERROR(loaded(frames), "the stored extent of \"t\" is not that of a whole array");
}

TEST(KeyedFiles, LinksThatLeadAstrayAreRefused) {
  const auto dict = make_dict<int>();
  for (const char* key : {"a", "b", "c"}) dict->set(key, 1);
  const auto sparse = make_sparse<int>();
  sparse->set(1, 1);
  // Frame 3: buckets, 4: entries of 12 bytes, 5: keys.
  const auto answer = [&](DataObj& table, std::size_t frame, std::size_t offset, std::int32_t word) {
    auto frames = stored(table.shared_from_this());
    std::memcpy(frames[frame].data() + offset, &word, frame == 5 ? 1 : sizeof word);
    return TestSupport::error_text([&] { loaded(frames); });
  };
  const std::string refusal = "the stored table of dictionary \"d\" contradicts itself";
  const std::string sparse_refusal = "the stored table of sparse array \"s\" contradicts itself";
  for (const std::int32_t word : {-2, 3, 1000000, INT32_MIN}) {
    for (std::size_t bucket = 0; bucket < 8; ++bucket) EXPECT_EQ(answer(*dict, 3, 4 * bucket, word), refusal);
  }
  for (std::size_t entry = 0; entry < 3; ++entry) {
    for (const std::int32_t key : {-1, 6}) EXPECT_EQ(answer(*dict, 4, 12 * entry, key), refusal) << entry;
    for (const std::int32_t next : {static_cast<std::int32_t>(entry), 77})
      EXPECT_EQ(answer(*dict, 4, 12 * entry + 8, next), refusal) << entry;
  }
  EXPECT_EQ(answer(*dict, 5, 5, 'x'), refusal);         // the last key has no end
  EXPECT_EQ(answer(*sparse, 4, 8, 0), sparse_refusal);  // an entry that follows itself
  EXPECT_EQ(answer(*sparse, 4, 0, 5), sparse_refusal);  // an index whose hash belongs elsewhere
  auto no_buckets = stored(sparse);
  no_buckets[3].clear();
  no_buckets[4].replace(8, 4, 4, '\xfe');  // a free place
  EXPECT_ERROR(loaded(no_buckets), sparse_refusal);
}

// Keys that share bytes would take more memory and time than their bytes in the file.
TEST(KeyedFiles, KeysFollowOneAnother) {
  const auto dict = make_dict<int>();
  for (const char* key : {"abc", "x", "yz"}) dict->set(key, 1);  // at 0, 4 and 6
  const auto frames = stored(dict);
  EXPECT_EQ(loaded(frames)->get<Dict<int>>()->size(), 3U);
  for (const auto& [entry, position] : {std::pair(1, 0), std::pair(1, 1), std::pair(2, 4), std::pair(0, 4)}) {
    auto shared = frames;
    std::memcpy(shared[4].data() + 12 * entry, &position, sizeof position);
    EXPECT_ERROR(loaded(shared), "the stored table of dictionary \"d\" contradicts itself");
  }
}

TEST(KeyedFiles, AKeyBeginsWhereAnotherEnds) {
  const auto hash = [](const char* text) { return Util::text_hash(text, UINT64_MAX); };
  int key = 10;  // its end belongs into the same chain
  while (hash(std::to_string(key).c_str()) % 8 != hash(std::to_string(key).c_str() + 1) % 8) ++key;
  const auto dict = make_dict<int>();
  dict->set(std::to_string(key), 1);
  auto frames = stored(dict);
  frames[4][0] = 1;
  EXPECT_ERROR(loaded(frames), "the stored table of dictionary \"d\" contradicts itself");
}

TEST(KeyedFiles, ChainsOfAnyOrderAreTakenButNoKeyTwice) {
  const auto dict = make_dict<int>();
  dict->set("a", 1);  // in bucket 5 of 8
  int last = 0;
  while (Util::text_hash(std::to_string(last).c_str(), 9) % 8 != 5) ++last;
  dict->set(std::to_string(last), 2);
  auto frames = stored(dict);  // as a writer makes them that appends to the ends of chains
  const std::int32_t bucket = 0, links[] = {1, -1};
  std::memcpy(frames[3].data() + 4 * 5, &bucket, 4);
  for (std::size_t entry = 0; entry < 2; ++entry) std::memcpy(frames[4].data() + 12 * entry + 8, &links[entry], 4);
  const auto again = loaded(frames)->get<Dict<int>>();
  EXPECT_EQ(again->get(std::string("a")), 1);
  EXPECT_EQ(again->get(std::to_string(last)), 2);
  EXPECT_EQ(stored(again), frames);
  frames[4].replace(12, 4, frames[4].substr(0, 4));  // both entries have the key "a", in its chain
  EXPECT_ERROR(loaded(frames), "the stored table of dictionary \"d\" contradicts itself");
}

}  // namespace
}  // namespace ZyData
