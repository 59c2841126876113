// Fixed-size arrays and single values, for every basic element type.
#include "zydata/arrays/Array.h"

#include <limits>
#include <new>

#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/object/Value.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/ClassSchema.h"
#include "zydata/tables/Factories.h"

namespace ZyData {
namespace {

using namespace TestObjects;

template <class T>
std::vector<T> content(const std::shared_ptr<DataObj>& object) {
  const auto span = object->get<Array<T>>()->span();
  return {span.begin(), span.end()};
}

template <class T>
std::shared_ptr<Array<T>> array_of(int n) {
  auto array = std::make_shared<Array<T>>(make_schema<T>("a", 0x1));
  for (int i = 0; i < n; ++i) array->push_back(element<T>(i));
  return array;
}

template <class T>
class ArrayOf : public testing::Test {};
TYPED_TEST_SUITE(ArrayOf, TestObjects::BasicTypes);

TYPED_TEST(ArrayOf, ShowsARangeOfItsVectorCountedFromTheVectorsStart) {
  using T = TypeParam;
  const auto array = array_of<T>(10);
  EXPECT_TRUE(content<T>(array->slice(2, 3)) == elements<T>(2, 5));
  EXPECT_TRUE(content<T>(array->slice(2, 100)) == elements<T>(2, 10));
  EXPECT_TRUE(content<T>(array->slice(10, 5)).empty());
  EXPECT_TRUE(content<T>(array->slice(100, 5)).empty());
  EXPECT_TRUE(content<T>(array->slice(~std::uint64_t{0}, ~std::uint64_t{0})).empty());
  EXPECT_TRUE(content<T>(array->slice(4, 3)->slice(1, 2)) == elements<T>(1, 3));
  EXPECT_TRUE(content<T>(array->slice(4, 3)->copy(1, 20)) == elements<T>(1, 10));

  array->copy(2, 3)->set(0, GenericValue(element<T>(50)));
  EXPECT_TRUE(content<T>(array) == elements<T>(0, 10));
  const auto view = array->slice(2, 3)->template get<Array<T>>();
  view->set(0, element<T>(50));
  EXPECT_TRUE(*array->at(2) == element<T>(50));
  array->resize(3);  // the view follows its vector
  EXPECT_EQ(view->size(), 1u);
  array->reset();
  EXPECT_EQ(array->size(), 0u);
  EXPECT_EQ(view->size(), 1u);
}

TYPED_TEST(ArrayOf, GrowsWithItsDefaultValue) {
  using T = TypeParam;
  const auto array = array_of<T>(2);
  array->set_default_value(element<T>(6));
  array->resize(4);
  const T more[] = {element<T>(1)};
  const auto view = array->slice(6, kToTheEnd)->template get<Array<T>>();
  view->assign(more, 1);  // behind the end: the gap is filled
  std::vector<T> expected = elements<T>(0, 2);
  expected.insert(expected.end(), 4, element<T>(6));
  expected.push_back(element<T>(1));
  EXPECT_TRUE(content<T>(array) == expected);
  EXPECT_TRUE(array->slice(1, 2)->template get<Array<T>>()->default_value() == element<T>(6));
  EXPECT_TRUE(array->copy(1, 2)->template get<Array<T>>()->default_value() == element<T>(6));
  EXPECT_TRUE(array->resize_bytes(3 * sizeof(T) + sizeof(T) - 1));
  EXPECT_EQ(array->size(), 3u);
  EXPECT_EQ(array->size_bytes(), 3 * sizeof(T));
}

TYPED_TEST(ArrayOf, AppendsItselfAndViewsOfItself) {
  using T = TypeParam;
  const auto array = array_of<T>(8);
  array->append(*array);
  array->concat(*array->slice(6, 3));
  array->append(*array->slice(100, 3));
  std::vector<T> expected = elements<T>(0, 8);
  for (const int i : {0, 1, 2, 3, 4, 5, 6, 7, 6, 7, 0}) expected.push_back(element<T>(i));
  EXPECT_TRUE(content<T>(array) == expected);

  array->assign(array->elements() + 2, 17);  // an overlapping part of itself
  EXPECT_TRUE(*array->at(0) == element<T>(2) && array->size() == 19);
  const std::uint64_t held = array->vector()->capacity();
  const auto end = array->slice(held - 1, kToTheEnd)->template get<Array<T>>();
  end->assign(array->elements(), 3);  // grows while it copies
  EXPECT_EQ(array->size(), held + 2);
  EXPECT_TRUE(*array->at(static_cast<int>(held + 1)) == *array->at(2));
  array->set_value(array->slice(0, 4)->value());
  EXPECT_EQ(array->size(), 4u);
}

TYPED_TEST(ArrayOf, ComesBackFromItsStoredFormWholeOrSliced) {
  using T = TypeParam;
  const auto array = array_of<T>(10);
  for (const auto& object : {std::shared_ptr<DataObj>(array), array->slice(3, 4), array->slice(9, 9)}) {
    const auto bytes = stored(object);
    const auto back = loaded(bytes);
    EXPECT_TRUE(content<T>(back) == content<T>(object));
    EXPECT_EQ(stored(back), bytes);
  }
  if constexpr (kIsIntegralElement<T>) {
    const std::vector<std::int32_t> ids = {static_cast<std::int32_t>(element<T>(8)),
                                           static_cast<std::int32_t>(element<T>(9))};
    EXPECT_EQ(array->slice(8, 5)->to_id_vector(), ids);
  } else {
    EXPECT_ERROR(array->to_id_vector(), "ArrayBase2<T, VectorT>::to_id_vector is not available for non-integral T");
  }
  FrameList frames;
  array->vectorize(frames, array);
  EXPECT_EQ(frames[0]->fits(3 * sizeof(T) + 1), sizeof(T) == 1);
}

TYPED_TEST(ArrayOf, SingleValueHoldsPrintsAndStoresOneElement) {
  using T = TypeParam;
  const auto value = std::make_shared<Value<T>>(make_schema<T>("v", 0));
  EXPECT_TRUE(value->set(element<T>(3)) == element<T>(3));
  EXPECT_EQ(value->size_bytes(), sizeof(T));
  EXPECT_EQ(value->data(), value->value().data());
  EXPECT_EQ(value->value().size(), -1);
  std::ostringstream expected, stream;
  expected << "    v = " << element<T>(3) << '\n';
  EXPECT_PRINTS(value->print(1), expected.str());
  value->print(stream, 1);
  EXPECT_EQ(stream.str(), expected.str());
  EXPECT_TRUE(loaded(stored(value))->template get<Value<T>>()->get_value() == element<T>(3));
}

TEST(Array, RefusesIndicesOutsideAndStaysUnchanged) {
  const auto array = array_of<int>(5);
  const auto view = array->slice(1, 2);
  for (const int index : {-1, 2, 5, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_ERROR(view->address(index), "index bounds error");
    EXPECT_ERROR(view->get(index), "index bounds error");
    EXPECT_ERROR(view->set(index, GenericValue(9)), "index bounds error");
  }
  EXPECT_EQ(content<int>(array), elements<int>(0, 5));
  EXPECT_EQ(view->get(1).as<int>(), 3);
}

TEST(Array, SlicesDoNotGrowButTakeSingleElementsAtTheVectorsEnd) {
  constexpr const char* kSlice = "can't modify the size of an array slice";
  const auto array = array_of<int>(5);
  const auto slice = array->slice(1, 2)->get<Array<int>>();
  EXPECT_ERROR(slice->resize(1), kSlice);
  const std::uint64_t capacity = slice->vector()->capacity();
  EXPECT_ERROR(slice->resize_bytes(4 * capacity + 1), kSlice);
  EXPECT_EQ(slice->vector()->capacity(), capacity);
  EXPECT_ERROR(slice->append(*array), kSlice);
  EXPECT_ERROR(slice->append_defaults(1), kSlice);
  slice->push_back(6);
  EXPECT_EQ(content<int>(array), elements<int>(0, 6));
  const auto start = array->slice(0, 2)->get<Array<int>>();  // no slice, because it starts at element 0
  start->append(*array->slice(5, 1));
  EXPECT_EQ(array->size(), 7u);
  start->resize(4);
  EXPECT_EQ(array->size(), 4u);
  EXPECT_ERROR(start->append_defaults(1), kSlice);  // as a column it would fall behind
  slice->truncate_rows(2);
  EXPECT_EQ(array->size(), 4u);
}

TEST(Array, PrintStopsAtTheLimit) {
  const std::string fifteen = " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15";
  EXPECT_PRINTS(array_of<int>(0)->print(1), "    a Array[0] = [ ]\n");
  EXPECT_PRINTS(array_of<int>(15)->print(0), "a Array[15] = [" + fifteen + " ]\n");
  EXPECT_PRINTS(array_of<int>(16)->print(0), "a Array[16] = [" + fifteen + "... ]\n");
  EXPECT_PRINTS(array_of<int>(1)->print(11), std::string(40, ' ') + "a Array[1] = [ 1 ]\n");
  EXPECT_PRINTS(array_of<int>(1)->ArrayBase::size_bytes(), "ArrayBase attempts to call size_bytes()!\n");
}

TEST(Array, RefusesElementsOfAnotherType) {
  const auto ints = array_of<int>(2);
  const std::string text = "only an array of element type int can be appended to array \"a\"";
  EXPECT_ERROR(ints->append(*array_of<unsigned int>(1)), text);
  EXPECT_ERROR(ints->append(*array_of<Long>(1)), text);
  EXPECT_ERROR(ints->concat(Value<int>(make_schema<int>("v", 0))), text);
  EXPECT_ERROR(ints->slice(1, 1)->concat(*array_of<double>(1)), text);  // the type is looked at first
  EXPECT_EQ(ints->size(), 2u);
}

/// Declares one of its members, or one that is followed by padding.
template <class Hidden>
struct Leaky {
  double seen;
  Hidden hidden;

  static std::shared_ptr<ClassSchema<Leaky>> class_schema() {
    auto schema = std::make_shared<ClassSchema<Leaky>>("leaky");
    schema->add(&Leaky::seen, "seen", 0);
    if constexpr (sizeof(Hidden) < 8) schema->add(&Leaky::hidden, "hidden", 0);
    return schema;
  }
};

TEST(Array, StructuresOfMoreThanNumbersCannotBeStored) {
  TestObjects::register_rows();
  register_class_type<Leaky<const void*>>();
  register_class_type<Leaky<int>>();
  const auto expect_refused = [](const std::shared_ptr<Schema>& schema) {
    EXPECT_ERROR(stored(schema->factory()->create(schema)), "can't vectorize type 0x" + std::to_string(schema->kind()) +
                                                                " [" + kind_to_string(schema->kind()) + "]");
  };
  for (const std::uint32_t kind : {0x0u, 0x1u}) {
    expect_refused(make_schema<Row>("x", kind));
    expect_refused(make_schema<Leaky<const void*>>("x", kind));
    expect_refused(make_schema<Leaky<int>>("x", kind));
  }
}

}  // namespace
}  // namespace ZyData
