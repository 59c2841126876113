// Mapped arrays: what their files hold, what a message brings back, which files loaded ones open, and columns of
// tables.
#include "zydata/arrays/MMapArray.h"

#include "tests/support/MappedObjects.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

namespace ZyData {
namespace {

using namespace TestObjects;
using namespace TestSupport;

template <class T>
class MMapArrayOf : public MappedFiles {};
TYPED_TEST_SUITE(MMapArrayOf, TestObjects::BasicTypes);

TYPED_TEST(MMapArrayOf, KeepsExactlyItsElementsInItsFile) {
  using T = TypeParam;
  {
    const auto array = mapped<T>(9);
    array->append(*array);
    array->resize(20);
    EXPECT_EQ(array->size_bytes(), 20 * sizeof(T));
  }
  std::vector<T> wanted = elements<T>(0, 9);
  wanted.insert(wanted.end(), wanted.begin(), wanted.end());
  wanted.resize(20);
  EXPECT_EQ(read_file("a"), bytes_of(wanted));
}

TYPED_TEST(MMapArrayOf, CopiesAndResetsOfSharedVectorsLeaveTheFileAlone) {
  using T = TypeParam;
  const auto array = mapped<T>(10);
  {
    const auto copy = array->copy(2, 3)->template get<MMapArray<T>>();
    EXPECT_EQ(copy->vector()->storage().stored_length(), 0u);
    EXPECT_TRUE(content<T>(copy) == elements<T>(2, 5));
    for (int i = 0; i < 5000; ++i) copy->push_back(element<T>(i));
    EXPECT_ERROR(data_message(copy), "mapped array \"a\" is in a file without a name and can't be stored");
    copy->close();
    copy->reset();
    copy->push_back(element<T>(6));
    EXPECT_TRUE(content<T>(copy) == elements<T>(6, 7));
  }
  EXPECT_TRUE(content<T>(array) == elements<T>(0, 10));
  const auto view = array->slice(2, 3)->template get<MMapArray<T>>();
  view->reset();
  view->push_back(element<T>(4));
  EXPECT_TRUE(content<T>(view) == elements<T>(4, 5));
  EXPECT_TRUE(content<T>(array) == elements<T>(0, 10));
  array->reset();  // alone again: it goes on in its file
  array->push_back(element<T>(7));
  array->close();
  EXPECT_EQ(read_file("a"), bytes_of(elements<T>(7, 8)));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 1) << "a nameless file has a name";
}

TYPED_TEST(MMapArrayOf, ComesBackByReference) {
  using T = TypeParam;
  const auto array = mapped<T>(30);
  array->set_default_value(element<T>(3));
  save(array->slice(2, 3), "slice");
  save(array);
  EXPECT_EQ(std::filesystem::file_size("a"), 30 * sizeof(T)) << "a stored reference is to exactly the elements";
  const std::string bytes = read_file("message");
  array->push_back(element<T>(30));  // the vector has stayed where it was
  array->close();
  {
    const auto again = load_tree("message")->template get<MMapArray<T>>();
    save(again);
    EXPECT_EQ(read_file("message"), bytes);
    EXPECT_EQ(open_descriptors(), this->d_descriptors) << "opened before it was used";
    EXPECT_TRUE(content<T>(again) == elements<T>(0, 31));
    EXPECT_EQ(again->start(), 0u);
    EXPECT_EQ(again->count(), kToTheEnd);
    again->resize(32);
    EXPECT_TRUE(*again->at(31) == element<T>(3));
    save(again);
    EXPECT_EQ(std::filesystem::file_size("a"), 32 * sizeof(T)) << "a reader would take spare elements for real ones";
  }
  EXPECT_EQ(std::filesystem::file_size("a"), 32 * sizeof(T));
  const auto view = load_tree("slice")->template get<MMapArray<T>>();
  EXPECT_TRUE(content<T>(view) == elements<T>(2, 5));
  EXPECT_ERROR(view->resize(9), "can't modify the size of an array slice");
  EXPECT_ERROR(data_message(view->slice(0xffffffff / sizeof(T) + 1, 1)),
               "a slice of mapped array \"a\" begins behind what a file can hold and can't be stored");
}

class MMapArrays : public MappedFiles {};

TEST_F(MMapArrays, PrintLikeArraysWithTheirKind) {
  EXPECT_EQ(printed(*mapped<int>(3)), "a MMapArray[3] = [ 1 2 3 ]\n");
  EXPECT_EQ(printed(*mapped<short>(16)), "a MMapArray[16] = [ 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15... ]\n");
}

TEST_F(MMapArrays, ReadAnyByteOfABool) {
  write_file("a", std::string("\0\1\2\xff", 4));
  const auto array = std::make_shared<MMapArray<bool>>(make_schema<bool>("a", 0x1021), 4);
  const std::vector<std::int32_t> ids = {0, 1, 1, 1};
  EXPECT_EQ(array->to_id_vector(), ids);
  EXPECT_EQ(array->get(2).as<bool>(), true);
  EXPECT_EQ(printed(*array), "a MMapArray[4] = [ 0 1 1 1 ]\n");
  const auto copy = array->copy(0, 4);
  EXPECT_EQ(std::string(static_cast<const char*>(copy->data()), 4), std::string("\0\1\1\1", 4));
  const auto in_memory = std::make_shared<Array<bool>>(make_schema<bool>("b", 1));
  in_memory->append(*array);
  EXPECT_EQ(in_memory->to_id_vector(), ids);
  std::ostringstream stream;
  stream << array->value();
  EXPECT_EQ(stream.str(), "[0 1 1 1]");
}

TEST_F(MMapArrays, ThatWereClosedHoldNothingUntilAReset) {
  mapped<int>(3)->close();
  const auto stored = mapped<int>(3);
  save(stored);
  for (const auto& array : {stored, mapped<int>(0, "b"), load_tree("message")->get<MMapArray<int>>()}) {
    const std::string file = array->vector()->storage().file_name();
    array->close();
    EXPECT_EQ(array->size(), 0u);
    EXPECT_ERROR(array->push_back(1), "mmap file \"" + file + "\" was closed by its vector");
    EXPECT_ERROR(array->resize(1), "mmap file \"" + file + "\" was closed by its vector");
    EXPECT_EQ(read_file(file), bytes_of(elements<int>(0, file == "b" ? 0 : 3)));
    if (array == stored) continue;
    array->reset();
    array->push_back(5);
    save(array);
    array->close();
    EXPECT_EQ(read_file(file), bytes_of<int>({5}));
  }
  EXPECT_EQ(open_descriptors(), d_descriptors);
}

// --- loading ---

class LoadedMMapArray : public MappedFiles {
 protected:
  LoadedMMapArray() : d_frames(stored(mapped<int>(3, "plain"))) { std::filesystem::remove("plain"); }

  /// The array of a message that names `file`.
  std::shared_ptr<MMapArray<int>> loaded(const std::string& file) {
    d_frames[3] = file;
    return TestObjects::loaded(d_frames)->get<MMapArray<int>>();
  }

  std::vector<std::string> d_frames;
  const std::string d_bytes = bytes_of(elements<int>(0, 3));
};

TEST_F(LoadedMMapArray, OpensNoFileOfWhichOthersHaveDecided) {
  std::filesystem::create_directory("folder");
  write_file("target", d_bytes);
  write_file("folder/inside", d_bytes);
  std::filesystem::create_symlink("target", "link");
  const std::string absolute = std::filesystem::absolute("target").string();
  const std::string outside = "loaded data name the mapped file \"%\": absolute names and \"..\" are refused";
  const std::string failed = "failed to open mmap file \"%\"\n    ";
  const std::string damaged = "the stored name of a mapped file is empty or damaged";
  const std::string fine = "<nothing thrown>";
  struct Case {
    std::string file, text, allowed;  // and the text once foreign files are allowed
  };
  const std::vector<Case> cases = {
      {"folder/inside", fine, fine},
      {absolute, outside, fine},
      {"folder/../target", outside, fine},
      {"link", failed + "Too many levels of symbolic links", fine},
      {"missing", failed + "No such file or directory", failed + "No such file or directory"},
      {"folder", failed + "Is a directory", failed + "Is a directory"},
      {"/dev/null", outside, failed + "Invalid argument"},
      {"", damaged, damaged},
      {std::string("a\0b", 3), damaged, damaged},
  };
  for (const Case& test : cases) {
    for (const bool allowed : {false, true}) {
      allow_foreign_mapped_files(allowed);
      std::string text = allowed ? test.allowed : test.text;
      if (const auto place = text.find('%'); place != std::string::npos) text.replace(place, 1, test.file);
      EXPECT_ERROR(EXPECT_EQ(content<int>(loaded(test.file)), elements<int>(0, 3)), text);
      if (text != fine) {
        EXPECT_ERROR(loaded(test.file)->push_back(1), text);
      }
    }
  }
  EXPECT_EQ(read_file("target"), d_bytes);
  EXPECT_FALSE(std::filesystem::exists("missing"));
}

TEST_F(LoadedMMapArray, RefusesAWindowAndAViewThatNoFileHas) {
  const auto p = static_cast<std::uint32_t>(page());
  const auto extent = [](std::uint32_t begin, std::uint32_t end, std::uint32_t size) {
    return bytes_of<std::uint32_t>({begin, end, size, 0});
  };
  const std::string good = d_frames[4];
  for (const std::string& bytes : {extent(0, 0xffffffff, 0), extent(0, 0xffffffff, 8), extent(1, 0xffffffff, 4),
                                   extent(0, 4, 4), extent(2 * p, p, 4), extent(p, 0, 4)}) {
    d_frames[4] = bytes;
    EXPECT_NE(TestSupport::error_text([&] { loaded("x"); }).find("is damaged"), std::string::npos);
  }
  EXPECT_ERROR(loaded("x"), "the stored window of mmap file \"x\" (bytes " + std::to_string(p) +
                                " to 0, element size 4) is damaged");
  d_frames[4] = extent(p, 0xffffffff, 4);  // a window beyond the file
  write_file("x", d_bytes);
  EXPECT_ERROR(loaded("x")->at(0), "failed to map file 'x' into memory\n    Invalid argument");
  EXPECT_EQ(read_file("x").size(), 12u);
  d_frames[4] = good;
  const std::uint64_t most = 0xffffffff / 4;
  for (const std::uint64_t start : {std::uint64_t{2}, most, most + 1, kToTheEnd - 1, kToTheEnd}) {
    d_frames[5].replace(0, 8, bytes_of<std::uint64_t>({start}));
    EXPECT_ERROR(EXPECT_EQ(loaded("x")->size(), start == 2 ? 1u : 0u),
                 start > most ? "the stored view of mapped array \"a\" is damaged" : "<nothing thrown>");
  }
}

TEST_F(LoadedMMapArray, KeepsTheFilesLengthUntilTheProgramChangesTheSize) {
  write_file("x", d_bytes + "xyz");  // no multiple of the element size
  {
    const auto array = loaded("x");
    EXPECT_EQ(array->size(), 3u);
    array->set(0, 42);
  }
  EXPECT_EQ(read_file("x").size(), 15u);
  { loaded("x")->push_back(9); }
  EXPECT_EQ(read_file("x"), bytes_of<int>({42, element<int>(1), element<int>(2), 9}));
  { loaded("x")->resize(1); }
  EXPECT_EQ(read_file("x"), bytes_of<int>({42}));
}

TEST_F(LoadedMMapArray, SharesAFileThatKeepsItsLength) {
  const auto array = mapped<int>(3, "x");
  save(array);
  const auto twin = load_tree("message")->get<MMapArray<int>>();
  const auto third = loaded("x");
  EXPECT_EQ(content<int>(twin), elements<int>(0, 3));
  EXPECT_EQ(content<int>(third), elements<int>(0, 3));
  EXPECT_ERROR(mapped<int>(1, "x"), already_open("x"));
  for (const auto& each : {array, twin}) {
    EXPECT_ERROR(each->resize(5000),
                 "failed to resize mmap file \"x\" to requested size (20000)\n    Device or resource busy");
  }
  third->resize(1);
  EXPECT_ERROR(third->close(), "failed to resize mmap file \"x\" to vector length (4)\n    Device or resource busy");
  EXPECT_EQ(content<int>(twin), elements<int>(0, 3));
  twin->close();
  array->resize(5000);
  EXPECT_EQ(*array->at(2), element<int>(2));
}

TEST_F(LoadedMMapArray, HasASchemaThatMakesNoSecondOne) {
  const auto record = make_record("record");
  record->add_field("x", mapped<int>(3));
  record->add_field("runs", make_schema<int>("runs", 0x40));
  const auto frames = stored(record);
  record->clear_hierarchy();
  record->get<MMapArray<int>>("x")->close();
  const auto tree = TestObjects::loaded(frames);
  const std::string a = "no second object can be made from the stored schema of \"";
  const std::string b = "\", whose elements lie in a file";
  for (const std::string name : {"x", "runs"}) {
    const std::string text = a + name + b;
    const auto schema = tree->find_path(name)->schema();
    EXPECT_ERROR(schema->factory()->create_from(schema), text);
    EXPECT_ERROR(make_record("other")->add_field(name, schema), text);
    const auto frame_schema = make_frame_schema("table");
    EXPECT_ERROR(frame_schema->factory()->create_from(frame_schema)->add_field(name, schema), text);
  }
  const auto same = tree->schema()->clone(nullptr);
  EXPECT_ERROR(same->factory()->create_from(same), a + "x" + b);
  EXPECT_EQ(read_file("a"), d_bytes);
}

// --- columns ---

struct Point {
  int id = 0;
  double x = 0;
  std::string_view name;
  Util::USpan<int> links;

  static std::shared_ptr<ClassSchema<Point>> class_schema() {
    auto schema = std::make_shared<ClassSchema<Point>>("points");
    schema->add(&Point::id, "id", 0).add_mapped(&Point::x, "x", 0.5, "points.x").add(&Point::name, "name");
    schema->add_mapped(&Point::links, "links", "points.links");
    return schema;
  }
};

class MappedColumn : public MappedFiles {
 protected:
  MappedColumn() { register_class_type<Point>(); }

  static std::shared_ptr<Frame<Point>> frame(int rows = 0) {
    const auto schema = Point::class_schema()->vector_form();
    const auto frame = schema->factory()->create_from(schema)->get<Frame<Point>>();
    append(*frame, rows);
    return frame;
  }
  static void append(Frame<Point>& frame, int rows) {
    const std::vector<int> links = {1, 2, 3};
    for (int i = 0; i < rows; ++i) {
      const std::string name = "p" + std::string(static_cast<std::size_t>(i % 3), 'x');
      frame.append({i, i * 0.5, name, {links.data(), static_cast<std::size_t>(i % 4)}});
    }
  }
};

TEST_F(MappedColumn, LivesInItsFileAndComesBackWithTheFrame) {
  std::string text;
  {
    const auto points = frame(3000);
    EXPECT_ERROR(frame(), already_open("points.x")) << "two tables are not one file";
    EXPECT_EQ(points->get<MMapArray<double>>("x")->size(), 3000u);
    save(points);
    text = printed(*points);
  }
  EXPECT_EQ(std::filesystem::file_size("points.x"), 24000u);
  EXPECT_EQ(std::filesystem::file_size("points.links.offsets"), 12004u);
  const std::string bytes = read_file("message");
  {
    const auto points = load_tree("message")->get<Frame<Point>>();
    EXPECT_EQ(points->size(), 3000u);
    EXPECT_EQ(open_descriptors(), d_descriptors) << "opened before it was used";
    save(points, "again");
    EXPECT_EQ(read_file("again"), bytes);
    EXPECT_EQ(printed(*points), text);
    append(*points, 1);
    points->truncate_rows(3000);
    points->truncate_rows(10);
    append(*points, 2);
    EXPECT_EQ(points->get<MMapVarArray<int>>("links")->size(), 12u);
    save(points);
  }
  EXPECT_EQ(std::filesystem::file_size("points.x"), 96u);
  EXPECT_EQ(load_tree("message")->size(), 12u);
}

TEST_F(MappedColumn, AFileThatIsTooShortIsReportedWhenItIsOpened) {
  save(frame(30));
  std::filesystem::resize_file("points.x", 29 * 8);
  const auto points = load_tree("message")->get<Frame<Point>>();
  EXPECT_ERROR(points->get<MMapArray<double>>("x")->at(0),
               "mapped file \"points.x\" holds 29 elements, the data that refer to it have 30");
  std::filesystem::remove("points.x");
  EXPECT_ERROR(append(*points, 1), "failed to open mmap file \"points.x\"\n    No such file or directory");
  EXPECT_EQ(points->size(), 30u);
  EXPECT_EQ(points->field(0)->size(), 30u) << "a failed append takes every column back";
  EXPECT_FALSE(std::filesystem::exists("points.x"));
}

TEST_F(MappedColumn, TextsCannotBeMapped) {
  const auto schema = std::make_shared<Schema>("t", "const char*", 0x420u, find_factory("const char*", 0x400));
  EXPECT_ERROR(schema->vector_form(), "can't vectorize type 0x420 [string mmap]");
}

}  // namespace
}  // namespace ZyData
