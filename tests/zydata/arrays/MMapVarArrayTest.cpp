// Mapped variable arrays: their two files, windows of them, references to them, and what an unclean end leaves.
#include "zydata/arrays/MMapVarArray.h"

#include "tests/support/MappedObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/Schema.h"

namespace ZyData {
namespace {

using namespace TestObjects;
using namespace TestSupport;

constexpr const char* kClosed = "mmap file \"v.offsets\" was closed by its vector";

template <class T>
class MMapVarArrayOf : public MappedFiles {
 protected:
  /// With this many runs at least; run `i` has i % 4 values.
  static std::shared_ptr<MMapVarArray<T>> make(int count = 0) {
    auto array = std::make_shared<MMapVarArray<T>>(make_schema<T>("v", 0x40));
    fill(*array, count);
    return array;
  }
  static void fill(MMapVarArray<T>& array, int count) {
    for (int i = static_cast<int>(array.size()); i < count; ++i) {
      const T values[3] = {element<T>(i), element<T>(i + 1), element<T>(i + 2)};
      array.append({values, static_cast<std::size_t>(i % 4)});
    }
  }
  static void expect_runs(const MMapVarArray<T>& array, int first, int count) {
    ASSERT_EQ(array.size(), static_cast<std::uint64_t>(count));
    for (int i = 0; i < count; ++i) {
      const auto shown = array.run(static_cast<std::uint64_t>(i));
      const int number = first + i;
      EXPECT_TRUE(std::vector<T>(shown.begin(), shown.end()) == elements<T>(number, number + number % 4)) << i;
    }
  }
};
TYPED_TEST_SUITE(MMapVarArrayOf, TestObjects::BasicTypes);

TYPED_TEST(MMapVarArrayOf, KeepsItsRunsInTwoFilesOfExactLength) {
  constexpr int kRuns = 4000;
  this->expect_runs(*this->make(kRuns), 0, kRuns);
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), (kRuns + 1) * 4u);
  EXPECT_EQ(std::filesystem::file_size("v.values"), kRuns / 4 * 6 * sizeof(TypeParam));
  const std::string before = read_file("v.offsets");
  this->expect_runs(*this->make(), 0, kRuns);  // files that exist are kept
  EXPECT_EQ(read_file("v.offsets"), before);
  const auto array = this->make(kRuns + 5);
  save(array);
  for (const auto& each : {array, load_tree("message")->template get<MMapVarArray<TypeParam>>()}) {
    each->close();
    EXPECT_EQ(std::filesystem::file_size("v.offsets"), (kRuns + 6) * 4u);
    EXPECT_EQ(each->size(), 0u);
    EXPECT_NE(error_text([&] { each->append({}); }).find("was closed by its vector"), std::string::npos);
  }
  EXPECT_EQ(open_descriptors(), this->d_descriptors);
}

TYPED_TEST(MMapVarArrayOf, ComesBackByReference) {
  using T = TypeParam;
  const auto array = this->make(50);
  save(array);
  const std::string bytes = read_file("message");
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), 51 * 4u) << "a stored reference is to exactly the runs";
  array->close();
  {
    const auto again = load_tree("message")->template get<MMapVarArray<T>>();
    EXPECT_EQ(again->size(), 50u);
    save(again, "again");
    EXPECT_EQ(read_file("again"), bytes);
    EXPECT_EQ(open_descriptors(), this->d_descriptors) << "opened before it was used";
    this->expect_runs(*again, 0, 50);
    this->fill(*again, 60);
    const auto copy = again->copy(10, 5)->template get<MMapVarArray<T>>();
    this->expect_runs(*copy, 10, 5);
    copy->append({});
    save(again->slice(20, 30), "slice");
  }
  EXPECT_EQ(std::filesystem::file_size("v.offsets"), 61 * 4u);
  const auto window = load_tree("slice")->template get<MMapVarArray<T>>();
  this->expect_runs(*window, 20, 30);
  EXPECT_GT(window->base(), 0u);
  EXPECT_OUTSIDE(window->append({}));
}

class MMapVarArrays : public MappedFiles {
 protected:
  static std::shared_ptr<MMapVarArray<char>> letters() { return runs({"ab", "", "xyz"}); }
};

TEST_F(MMapVarArrays, OffsetsAndValuesStandAsTheyAre) {
  auto array = letters();
  EXPECT_EQ(printed(*array), "v MMapVarArray[3] = [ [a b] [] [x y z] ]\n");
  EXPECT_ERROR(to_var_array<char>(array), "Provided VarArrayBase object is not VarArray!\n");
  array->resize(5);
  array->set(3, {"q", 1});
  EXPECT_ERROR(array->set(1, {"q", 1}),
               "To set the element of vararray, please append it in order or use set method!\n");
  EXPECT_EQ(array->run(4).size(), 0u);
  const auto frames = stored(array);
  ASSERT_EQ(frames.size(), 7u);
  EXPECT_EQ(frames[3] + frames[4] + frames[5] + frames[6], bytes_of<std::uint64_t>({0, 6, 0, 6}));
  EXPECT_EQ(read_file("v.offsets"), bytes_of<std::int32_t>({0, 2, 2, 5, 6, 6}));
  EXPECT_EQ(read_file("v.values"), "abxyzq");
  array->resize(7);
  array.reset();
  EXPECT_EQ(read_file("v.offsets"), bytes_of<std::int32_t>({0, 2, 2, 5, 6, 6, 6, 6})) << "never set is empty";
}

// While an array is open, its files are what an end without a destructor would leave.
TEST_F(MMapVarArrays, FilesOfAnUncleanEndHaveWhatWasAppended) {
  std::vector<std::string> many;
  for (std::size_t i = 0; i < 1500; ++i) many.emplace_back(i % 4, 'x');
  for (const auto& texts : {std::vector<std::string>{"ab", "", "xyz"}, {"ab", "", ""}, {"", "a"}, many}) {
    const auto original = runs(texts);
    for (const std::string part : {".offsets", ".values"}) {
      using std::filesystem::copy_options;
      std::filesystem::copy_file("v" + part, "left" + part, copy_options::overwrite_existing);
    }
    ASSERT_GT(std::filesystem::file_size("left.offsets"), 4 * (texts.size() + 1));
    const std::string all = read_file("left.offsets") + read_file("left.values");
    const auto end = static_cast<std::int32_t>(original->values().size());
    {
      const MMapVarArray<char> window(make_schema<char>("left", 0x40), "", 1, kWholeFile,
                                      static_cast<std::uint64_t>(original->offsets()[1]));
      EXPECT_EQ(window.size(), texts.size() - 1);
      EXPECT_EQ(window.values().size(), original->values().size() - original->run(0).size());
    }
    EXPECT_TRUE(read_file("left.offsets") + read_file("left.values") == all) << "a window keeps lengths";
    EXPECT_EQ(printed(*runs({}, "left")).substr(4), printed(*original).substr(1));
    EXPECT_EQ(std::filesystem::file_size("left.offsets"), 4 * (texts.size() + 1));
    EXPECT_EQ(std::filesystem::file_size("left.values"), static_cast<std::uint64_t>(end));
    runs({"more"}, "left")->close();
    EXPECT_EQ(runs({}, "left")->size(), texts.size() + 1);
    original->truncate_rows(0);
  }
}

/// What another program may do to the offsets while they are mapped.
TEST_F(MMapVarArrays, OffsetsThatChangeUnderAnOpenArrayEndTheProgram) {
  const auto array = letters();  // 0, 2, 2, 5
  const auto overwrite = [](int place, std::int32_t offset) {
    std::fstream file("v.offsets", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(place * 4).write(reinterpret_cast<const char*>(&offset), 4);
  };
  const std::string rising = "(*offsets)[i+offset] >= 0 and (*offsets)[i+offset+1] >= (*offsets)[i+offset]";
  const std::string inside = "range.first <= held && range.size <= held - range.first";
  overwrite(2, -1);
  EXPECT_ASSERTION(array->run(1), rising);
  EXPECT_ASSERTION(array->run(2), rising);
  overwrite(2, 1);
  EXPECT_ASSERTION(array->run(1), rising);
  overwrite(2, 6);
  EXPECT_ASSERTION(array->run(1), inside);
  overwrite(2, 2);
  overwrite(3, 6);
  EXPECT_ASSERTION(array->run(2), inside);
  EXPECT_ASSERTION(array->values(), inside);
  EXPECT_ASSERTION(array->append({}), "offsets->back() == int(values->size())");
  overwrite(3, 5);
  EXPECT_EQ(array->run(2).size(), 3u);
}

TEST_F(MMapVarArrays, ReadAnyByteOfABool) {
  write_file("b.offsets", bytes_of<std::int32_t>({0, 2}));
  write_file("b.values", "\x02\x80");
  const auto array = std::make_shared<MMapVarArray<bool>>(make_schema<bool>("b", 0x40));
  VarArray<bool> target(make_schema<bool>("t", 0x5));
  target.append(array->run(0));
  target.push_back(array->get(0));
  const Util::USpan<bool> run = array->run(0);
  target.append_strided(&run, sizeof run, 1);
  array->concat(*array);
  const auto copy = array->copy(0, 1);
  EXPECT_EQ(std::string(static_cast<const char*>(target.data()), 6), std::string(6, '\1'));
  EXPECT_EQ(std::string(static_cast<const char*>(copy->data()), 2), std::string(2, '\1'));
  array->close();
  EXPECT_EQ(read_file("b.values"), "\x02\x80\x01\x01");
}

TEST_F(MMapVarArrays, AWindowShowsAPartOfTheFilesAlsoInCompany) {
  const auto whole = letters();
  const auto open = [](std::uint64_t offset, std::uint64_t offsets, std::uint64_t value, std::uint64_t values) {
    return std::make_shared<MMapVarArray<char>>(make_schema<char>("v", 0x40), "", offset, offsets, value, values);
  };
  EXPECT_ERROR(open(1, 2, 0, 3), "the mapped values of \"v\" begin with value 0, its offsets with value 2");
  const auto window = open(2, 2, 2, 3);
  EXPECT_EQ(printed(*open(0, 4, 0, 5)), printed(*whole));
  EXPECT_EQ(window->base(), 2u);
  EXPECT_EQ(printed(*window), "v MMapVarArray[1] = [ [x y z] ]\n");
  const Util::USpan<char> row;
  EXPECT_OUTSIDE(window->append({}));
  EXPECT_OUTSIDE(window->resize(4));
  EXPECT_OUTSIDE(window->append_defaults(1));
  EXPECT_OUTSIDE(window->append_strided(&row, sizeof row, 1));
  window->truncate_rows(0);
  EXPECT_EQ(window->size(), 1u);
  EXPECT_ERROR(runs({}), already_open("v.offsets"));
  EXPECT_ERROR(whole->close(), "resizing v.offsets fails!\n    Device or resource busy");
  window->close();
  EXPECT_EQ(printed(*runs({})), "v MMapVarArray[3] = [ [a b] [] [x y z] ]\n");
  EXPECT_EQ(read_file("v.values"), "abxyz");
}

TEST_F(MMapVarArrays, FilesThatContradictEachOtherAreRefused) {
  const std::string falling = "the stored offsets of \"v\" do not describe its ";
  struct Case {
    std::vector<std::int32_t> offsets;
    std::string text;
  };
  write_file("v.values", "abc");
  for (const Case& test :
       std::vector<Case>{{{0, 2, 1}, falling},
                         {{0, -1, 3}, falling},
                         {{-1, 0}, falling},
                         {{0, 2, 0, 3}, falling},
                         {{0, 4}, "mapped file \"v.values\" holds 3 elements, the data that refer to it have 4"},
                         {{1, 2}, "the mapped values of \"v\" begin with value 0, its offsets with value 1"}}) {
    write_file("v.offsets", bytes_of(test.offsets));
    EXPECT_TRUE(error_text([] { runs({}); }).starts_with(test.text)) << testing::PrintToString(test.offsets);
    EXPECT_EQ(read_file("v.offsets"), bytes_of(test.offsets));
  }
}

TEST_F(MMapVarArrays, DamagedReferencesAreRefused) {
  letters()->close();
  auto frames = stored(runs({}));
  const auto read = [&] { loaded(frames)->get<MMapVarArray<char>>()->run(0); };
  struct Case {
    std::vector<std::uint64_t> window;
    std::string text;
  };
  const std::string damaged = "the stored window of mapped variable array \"v\" is damaged";
  const std::vector<Case> cases = {
      {{0, 0, 0, 5}, damaged},
      {{0, ~std::uint64_t{0}, 0, 5}, damaged},
      {{0, 4, 0x7fffffff, 1}, damaged},
      {{0, 5, 0, 5}, "mapped file \"v.offsets\" holds 4 elements, the data that refer to it have 5"},
      {{0, 4, 0, 6}, "the stored offsets of \"v\" do not describe its 6 values"},
      {{1, 3, 0, 3}, "the mapped values of \"v\" begin with value 0, its offsets with value 2"},
      {{0, 4, 0, 5}, "<nothing thrown>"},
  };
  for (const Case& test : cases) {
    for (std::size_t i = 0; i < 4; ++i) frames[3 + i] = bytes_of<std::uint64_t>({test.window[i]});
    EXPECT_ERROR(read(), test.text);
  }
  EXPECT_EQ(read_file("v.values"), "abxyz");
  std::filesystem::remove("v.values");
  EXPECT_ERROR(read(), "failed to open mmap file \"v.values\"\n    No such file or directory");
  EXPECT_FALSE(std::filesystem::exists("v.values"));
}

TEST_F(MMapVarArrays, ANameThatAReaderWouldNotFindIsNotStored) {
  const auto unused = runs({});
  const auto array = std::make_shared<MMapVarArray<char>>(make_schema<char>("v", 0x40), "elsewhere");
  EXPECT_ERROR(data_message(array),
               "mapped variable array \"v\" can't be stored: its files are called \"elsewhere\", "
               "its schema says \"v\"");
  array->close();
  const auto named = make_mapped_schema<char, 0x40>("v", "elsewhere");
  save(std::make_shared<MMapVarArray<char>>(named, "elsewhere"));
  EXPECT_EQ(load_tree("message")->get<MMapVarArray<char>>()->base_name(), "elsewhere");
  unused->close();
  EXPECT_ERROR(unused->append({}), kClosed);
}

}  // namespace
}  // namespace ZyData
