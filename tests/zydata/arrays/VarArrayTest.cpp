// Variable arrays and text arrays: writing in order, compared with a simple model; views; and offsets from a file.
#include "zydata/arrays/VarArray.h"

#include <cstring>
#include <new>
#include <numeric>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/arrays/String.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {
namespace {

using Offsets = std::vector<std::int32_t>;

/// What the tests need to know about an array class: its values, how a run is made, what a wrong order is called.
struct Ints {
  using Array = VarArray<int>;
  using Value = int;
  static std::shared_ptr<Array> make() { return std::make_shared<Array>(make_schema<int>("x", 0x5)); }
  static Util::USpan<int> run(const std::vector<int>& values) { return values; }
  static constexpr const char* kRefusal =
      "To set the element of vararray, please append it in order or use set method!\n";
};
struct Texts {
  using Array = StringArray;
  using Value = char;
  static std::shared_ptr<Array> make() { return std::make_shared<Array>(make_schema<const char*>("x", 0x401)); }
  static std::string_view run(const std::vector<char>& values) { return {values.data(), values.size()}; }
  static constexpr const char* kRefusal =
      "To set the element of StringArray, please append it in order or use set method!\n";
};

template <class Kind>
using Elements = std::vector<std::vector<typename Kind::Value>>;

template <class Kind>
Elements<Kind> content(const std::shared_ptr<DataObj>& object) {
  const auto array = object->get<typename Kind::Array>();
  Elements<Kind> result;
  for (std::uint64_t i = 0; i < array->size(); ++i) {
    const auto run = array->run(i);
    result.emplace_back(run.data(), run.data() + run.size());
  }
  return result;
}

template <class Kind>
std::vector<typename Kind::Value> values_up_to(int n) {
  std::vector<typename Kind::Value> values(static_cast<std::size_t>(n));
  std::iota(values.begin(), values.end(), static_cast<typename Kind::Value>('a'));
  return values;
}

/// The rule in its plainest form: a list of elements, of which some were written.
template <class Kind>
struct Model {
  Elements<Kind> elements;
  std::size_t filled = 0;

  bool accepts(std::size_t i) const {
    if (i > filled) return false;
    for (std::size_t k = i; k < filled; ++k) {
      if (!elements[k].empty()) return false;
    }
    return true;
  }
  Offsets offsets() const {
    Offsets result = {0};
    for (const auto& run : elements) result.push_back(result.back() + static_cast<std::int32_t>(run.size()));
    return result;
  }
};

template <class Kind>
class RunsOf : public testing::Test {};
using Kinds = testing::Types<Ints, Texts>;
TYPED_TEST_SUITE(RunsOf, Kinds);

TYPED_TEST(RunsOf, EveryMixOfOperationsAgreesWithTheModel) {
  using Kind = TypeParam;
  std::mt19937 random(20240611);  // a fixed seed: the same runs everywhere
  const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    auto array = Kind::make();
    Model<Kind> model;
    for (int step = 0; step < 30; ++step) {
      const auto run = values_up_to<Kind>(static_cast<int>(below(4)) * static_cast<int>(below(2)));
      const std::size_t size = model.elements.size();
      switch (below(10)) {
        case 0:
          array->append(Kind::run(run));
          model.elements.push_back(run);
          model.filled = model.elements.size();
          break;
        case 1:
          array->resize(size + below(3));
          model.elements.resize(array->size());
          break;
        case 2:
          array->append_defaults(below(3));
          model.elements.resize(array->size());
          model.filled = model.elements.size();
          break;
        case 3: {
          const std::size_t rows = below(size + 2);
          array->truncate_rows(rows);
          if (rows < size) model.elements.resize(rows);
          model.filled = std::min(model.filled, model.elements.size());
          break;
        }
        case 4: {
          if (size == 0) break;
          const std::size_t i = below(size);
          array->append(array->run(i));
          model.elements.push_back(model.elements[i]);
          model.filled = model.elements.size();
          break;
        }
        case 5:
          if (size > 20) break;
          array->concat(*array->slice(below(2) * size / 2, kToTheEnd));
          for (std::size_t i = size - (array->size() - size); i < size; ++i)
            model.elements.push_back(model.elements[i]);
          if (model.elements.size() > size) model.filled = model.elements.size();
          break;
        case 6: {
          const std::size_t first = below(size + 2), count = below(size + 2);
          const auto shown = content<Kind>(array->slice(first, count));
          const std::size_t begin = std::min(first, size);
          const auto from = model.elements.begin() + static_cast<std::ptrdiff_t>(begin);
          EXPECT_EQ(shown, Elements<Kind>(from, from + static_cast<std::ptrdiff_t>(std::min(count, size - begin))));
          EXPECT_EQ(content<Kind>(array->copy(first, count)), shown);
          break;
        }
        default: {
          if (size == 0) break;
          const std::size_t i = below(size);
          const std::string text = TestSupport::error_text([&] { array->set(i, Kind::run(run)); });
          EXPECT_EQ(text, model.accepts(i) ? "<nothing thrown>" : Kind::kRefusal);
          if (!model.accepts(i)) break;
          model.elements[i] = run;
          model.filled = std::max(model.filled, i + 1);
        }
      }
      ASSERT_EQ(content<Kind>(array), model.elements) << "step " << step;
      if (below(3) != 0) continue;  // looking at the offsets writes the pending ones: not every time
      const auto offsets = array->offsets();
      ASSERT_EQ(Offsets(offsets.begin(), offsets.end()), model.offsets()) << "step " << step;
      ASSERT_EQ(array->values().size(), static_cast<std::size_t>(model.offsets().back()));
    }
    const auto bytes = TestObjects::stored(array);
    EXPECT_EQ(content<Kind>(TestObjects::loaded(bytes)), model.elements);
    EXPECT_EQ(bytes[3].size(), 4 * (model.elements.size() + 1));
  }
}

TYPED_TEST(RunsOf, SliceIsAViewThatIsStoredByItself) {
  using Kind = TypeParam;
  const auto array = Kind::make();
  for (const int n : {2, 0, 3, 1}) array->append(Kind::run(values_up_to<Kind>(n)));
  const auto slice = array->slice(1, 2);
  EXPECT_EQ(content<Kind>(slice->slice(3, 9)), Elements<Kind>{values_up_to<Kind>(1)});  // counted from the whole array
  const auto bytes = TestObjects::stored(slice);
  EXPECT_EQ(bytes[3], std::string("\x02\0\0\0\x02\0\0\0\x05\0\0\0", 12));
  const auto back = TestObjects::loaded(bytes);
  EXPECT_EQ(content<Kind>(back), content<Kind>(slice));
  EXPECT_EQ(TestObjects::stored(back)[3], std::string("\0\0\0\0\0\0\0\0\x03\0\0\0", 12));
  const auto empty = TestObjects::stored(array->slice(9, 1));
  EXPECT_EQ(empty[3], std::string("\x06\0\0\0", 4));
  EXPECT_EQ(TestObjects::loaded(empty)->size(), 0u);

  const auto view = slice->template get<typename Kind::Array>();
  EXPECT_ERROR(view->append_defaults(1), "can't modify the size of an array slice");
  const auto run = Kind::run(values_up_to<Kind>(1));
  EXPECT_ERROR(view->append_strided(&run, sizeof run, 1), "can't modify the size of an array slice");
  view->truncate_rows(2);
  EXPECT_EQ(array->size(), 4u);
  array->slice(2, kToTheEnd)->template get<typename Kind::Array>()->append(Kind::run(values_up_to<Kind>(1)));
  EXPECT_EQ(array->size(), 5u);
}

TYPED_TEST(RunsOf, OffsetsFromAFileAreCheckedOnce) {
  using Kind = TypeParam;
  struct Case {
    Offsets stored;
    std::size_t values;
    bool good;
    std::uint64_t size;
  };
  const std::vector<Case> cases = {
      {{}, 0, true, 0},         {{}, 1, false, 0},         {{0}, 0, true, 0},
      {{0}, 1, false, 0},       {{5}, 0, true, 0},         {{-1}, 0, false, 0},
      {{0, 2}, 2, true, 1},     {{0, 3}, 2, false, 1},     {{0, 1}, 2, false, 1},
      {{0, 2, 1}, 1, false, 2}, {{0, -1, 2}, 2, false, 2}, {{-1, 0}, 1, false, 1},
      {{1, 3}, 2, true, 1},     {{1, 3}, 3, false, 1},     {{INT32_MIN, INT32_MAX}, 2, false, 1},
      {{2, 0}, 2, false, 1},    {{0, 0, 0}, 0, true, 2},   {{0, INT32_MAX}, 2, false, 1}};
  for (const Case& test : cases) {
    auto bytes = TestObjects::stored(Kind::make());
    bytes[3] = std::string(reinterpret_cast<const char*>(test.stored.data()), 4 * test.stored.size());
    bytes[4] = std::string(test.values * sizeof(typename Kind::Value), '\x01');
    SCOPED_TRACE(testing::PrintToString(test.stored) + " of " + std::to_string(test.values));
    const std::string text =
        "the stored offsets of \"x\" do not describe its " + std::to_string(test.values) + " values";
    std::shared_ptr<DataObj> back;
    EXPECT_ERROR(back = TestObjects::loaded(bytes), test.good ? "<nothing thrown>" : text);
    if (!test.good) continue;
    EXPECT_EQ(back->size(), test.size);
    back->template get<typename Kind::Array>()->append(Kind::run(values_up_to<Kind>(1)));
    EXPECT_EQ(content<Kind>(back).back(), values_up_to<Kind>(1));
  }
}

TYPED_TEST(RunsOf, MoreValuesThanAnOffsetCanCountAreRefused) {
  using Kind = TypeParam;
  using Run = decltype(Kind::make()->run(0));
  const auto array = Kind::make();
  const auto some = values_up_to<Kind>(3);
  array->append(Kind::run(some));
  array->resize(2);
  const std::string text = "array \"x\" can't hold more than 2147483647 values";
  for (const std::size_t size : {std::size_t{INT32_MAX} - 2, std::size_t{INT32_MAX} + 1, ~std::size_t{0} / 8}) {
    const Run too_long(some.data(), size);  // refused before a value is looked at
    EXPECT_ERROR(array->append(too_long), text);
    EXPECT_ERROR(array->set(1, too_long), text);
    EXPECT_ERROR(array->append_strided(&too_long, sizeof too_long, 1), text);
  }
  EXPECT_THROW(array->resize(kToTheEnd), std::bad_alloc);
  EXPECT_THROW(array->resize(std::uint64_t{1} << 60), std::bad_alloc);
  EXPECT_EQ(content<Kind>(array), (Elements<Kind>{some, {}}));
}

template <class Kind>
class RunsOfDeathTest : public testing::Test {};
TYPED_TEST_SUITE(RunsOfDeathTest, Kinds);

TYPED_TEST(RunsOfDeathTest, MisuseIsAnAssertion) {
  using Kind = TypeParam;
  const auto array = Kind::make();
  const auto a = values_up_to<Kind>(1);
  for (int i = 0; i < 3; ++i) array->append(Kind::run(a));
  EXPECT_ASSERTION(array->run(3), "i < size()");
  EXPECT_ASSERTION(array->element(~std::uint64_t{0}), "i < size()");
  EXPECT_ASSERTION(array->resize(2), "siz>=size()");
  const auto view = array->slice(0, 2)->template get<typename Kind::Array>();
  EXPECT_ASSERTION(view->append(Kind::run(a)), "siz == (size_t)~0");
  EXPECT_ASSERTION(view->set(0, Kind::run(a)), "siz == (size_t)~0");
  EXPECT_ASSERTION(view->resize(5), "siz == (size_t)~0");
  EXPECT_ASSERTION(view->assign(array->offsets(), array->values()), "siz == (size_t)~0");
  const auto slice = array->slice(1, kToTheEnd)->template get<typename Kind::Array>();
  EXPECT_ASSERTION(slice->resize(1), "siz>=size()");
  EXPECT_ERROR(slice->resize(2), "can't modify the size of an array slice");  // would cut the array that it shows
}

template <class T>
class VarArrayOf : public testing::Test {};
TYPED_TEST_SUITE(VarArrayOf, TestObjects::BasicTypes);

TYPED_TEST(VarArrayOf, HandsOutSpansGenericValuesAndIds) {
  using T = TypeParam;
  const auto array = std::make_shared<VarArray<T>>(make_schema<T>("x", 0x5));
  const T values[] = {TestObjects::element<T>(0), TestObjects::element<T>(1), TestObjects::element<T>(2)};
  array->set_field("", {0, 2, 2, 3}, GenericValue(values, 3));
  const auto& current = array->element(0);
  array->element(2);
  EXPECT_TRUE(current.size() == 1 && current[0] == values[2]);  // the span that the array holds
  array->push_back(array->get(0));
  array->assign(array->offsets(), array->values());  // its own content
  EXPECT_EQ(array->size_bytes(), 5 * 4 + 5 * sizeof(T));
  for (const Offsets& offsets : {Offsets{}, Offsets{1, 3}, Offsets{0, 2}, Offsets{0, 3, 2, 3}, Offsets{0, 4}}) {
    EXPECT_ERROR(array->set_field("", offsets, GenericValue(values, 3)),
                 "the offsets given for array \"x\" do not describe its values");
  }
  EXPECT_ERROR(array->set_field("y", {0}, GenericValue(values, 0)), "variable array \"x\" has no field named 'y'");
  VarValue<T> one(make_schema<T>("x", 0x4));
  one.set(array->run(0));
  one.set(Util::USpan<T>(one.run().data() + 1, 1));  // a part of itself
  EXPECT_TRUE(one.run().size() == 1 && one.run()[0] == values[1]);
  if constexpr (kIsIntegralElement<T>) {
    std::vector<std::int32_t> ids;
    for (const int i : {2, 0, 1}) ids.push_back(static_cast<std::int32_t>(values[i]));
    EXPECT_EQ(array->slice(1, 3)->to_id_vector(), ids);
  } else {
    EXPECT_ERROR(array->to_id_vector(), "VarArray<T>::to_id_vector is not available for non-integral T");
  }
}

TEST(VarArray, PrintsElementsAndValuesUpToTheLimit) {
  const auto array = Ints::make();
  EXPECT_PRINTS(array->print(0), "x VarArray[0] = [ ]\n");
  const std::vector<int> many(16, 1);
  for (const std::size_t n : {15u, 16u}) array->append(Util::USpan<int>(many.data(), n));
  array->resize(15);
  const std::string ones = "[1 1 1 1 1 1 1 1 1 1 1 1 1 1 1";
  const std::string fifteen = ones + "] " + ones + " ...] [] [] [] [] [] [] [] [] [] [] [] [] [] ";
  EXPECT_PRINTS(array->print(1), "    x VarArray[15] = [ " + fifteen + "]\n");
  array->resize(16);
  EXPECT_PRINTS(array->print(0), "x VarArray[16] = [ " + fifteen + " ...]\n");
}

TEST(VarArray, AnyLoadedByteIsABool) {
  const bool bits[] = {true, true, false};
  const auto runs = std::make_shared<VarArray<bool>>(make_schema<bool>("x", 0x5));
  runs->append({bits, 3});
  const auto one = std::make_shared<VarValue<bool>>(make_schema<bool>("y", 0x4));
  one->set({bits, 3});
  for (void* values : {runs->data(), one->data()}) std::memcpy(values, "\2\x80", 2);  // as a load leaves them
  runs->finish();
  one->finish();
  for (const void* values : {runs->data(), one->data()}) EXPECT_EQ(std::memcmp(values, "\1\1", 3), 0);
}

TEST(VarArray, IsReachedThroughItsBaseWhenItsKindSaysSo) {
  std::shared_ptr<VarArrayBase> ints = Ints::make();
  EXPECT_EQ(to_var_array<int>(ints), ints);
  EXPECT_ERROR(to_var_array<double>(ints),
               "while accessing field 'x', requested type (ZyData::VarArray<double>) does not match schema type (int)");
  EXPECT_ERROR(to_var_array<char>(Texts::make()), "Provided VarArrayBase object is not VarArray!\n");
  EXPECT_ERROR(ints->concat(*Texts::make()), "only an array of the same type can be appended to \"x\"");
}

}  // namespace
}  // namespace ZyData
