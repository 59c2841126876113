// What the tests of mapped storage, arrays and columns share: objects whose files lie in the current folder, and their
// way through a message file.
#pragma once

#include "tests/format/Tree.h"
#include "tests/support/TestObjects.h"
#include "tests/support/TestSupport.h"
#include "util/Platform.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/arrays/MMapVarArray.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/Factories.h"

#define EXPECT_OUTSIDE(statement) EXPECT_THROW(statement, ::ZyData::StorageError::WindowViolation)

namespace TestObjects {

/// In an empty folder; loaded data may name files in it only.
class MappedFiles : public TestSupport::InFolder {
 protected:
  ~MappedFiles() override { ZyData::allow_foreign_mapped_files(false); }
};

inline std::uint64_t page() { return Util::platform().page_size(); }

inline std::string already_open(const std::string& file) {
  return "mmap file \"" + file + "\" is already open: a file belongs to one array at a time";
}

inline void save(const std::shared_ptr<ZyData::DataObj>& object, const std::string& path = "message") {
  TestSupport::save_tree(path, object);
}

template <class T>
std::vector<T> content(const std::shared_ptr<ZyData::DataObj>& object) {
  const auto span = object->get<ZyData::MMapArray<T>>()->span();
  return {span.begin(), span.end()};
}

/// A new array "a" of `n` elements in this file.
template <class T>
std::shared_ptr<ZyData::MMapArray<T>> mapped(int n, const std::string& file = "a") {
  auto array = std::make_shared<ZyData::MMapArray<T>>(ZyData::make_schema<T>("a", 0x1021), 0, file);
  for (int i = 0; i < n; ++i) array->push_back(element<T>(i));
  return array;
}

/// The elements `first` up to `end` of a file, as an array.
inline std::shared_ptr<ZyData::MMapArray<int>> windowed(const std::string& file, std::uint64_t first,
                                                        std::uint64_t end) {
  auto vector = std::make_shared<ZyData::MMapVector<int>>(ZyData::MMap<int>(file, true, first, end - 1));
  return std::make_shared<ZyData::MMapArray<int>>(ZyData::make_schema<int>("a", 0x1021), std::move(vector));
}

/// Runs of letters in the files `name`.offsets and `name`.values.
inline std::shared_ptr<ZyData::MMapVarArray<char>> runs(const std::vector<std::string>& texts,
                                                        const std::string& name = "v") {
  auto array = std::make_shared<ZyData::MMapVarArray<char>>(ZyData::make_schema<char>(name, 0x40));
  for (const std::string& text : texts) array->append({text.data(), text.size()});
  return array;
}

}  // namespace TestObjects
