// Fixed-size arrays in a mapped file.
//
// An MMapArray<T> behaves like an Array<T>; its elements are the bytes of its file. Two arrays over one file would cut
// it under each other: a new array throws Util::Error for a file that is open, and no array changes the length of a
// file that another has open. Arrays over vectors with a window, or that keep the file's contents, and loaded arrays
// share. copy(), and reset() of an array that shares its vector, go on in a file without a name, which goes with the
// array.
//
// The file says nothing of how many elements are in use. When a program ends before its array does (it is killed, or
// parents and children that hold each other are not let go of), the file keeps the elements that growth has reserved,
// and an array over all of it has them, too: close(), or storing the array, gives the file its exact length.
//
// In a message a mapped array travels by reference: file name, window, and which elements it shows. Its elements are in
// their own file already; a message is of use only together with that file. A loaded array opens the file on first
// access (MMapStorage.h says which files it accepts) and neither creates it nor changes its length until the program
// changes the number of elements.
//
// Elements outside a window can't be reached: operations throw StorageError::WindowViolation and change nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "util/Export.h"
#include "zydata/arrays/Array.h"
#include "zydata/schema/TypeName.h"
#include "zydata/storage/MMapStorage.h"
#include "zydata/storage/Vector.h"

namespace ZyData {

/// The vector of a column in a mapped file.
template <class T>
using MMapVector = Vector<T, MMap<T>>;

template <class T>
class MMapArray final : public ArrayBase2<T, MMapVector<T>> {
 public:
  /// A whole array of `n` elements in `file_name`, or in a file called like the schema when that is empty. Elements
  /// that an existing file holds stay, the first `n` of them; the others are zero. Throws Util::Error.
  MMapArray(std::shared_ptr<Schema> schema, std::uint64_t n, const std::string& file_name = "");
  /// A whole array over a vector of the caller's making: with a window, or with the elements that a file holds.
  MMapArray(std::shared_ptr<Schema> schema, std::shared_ptr<MMapVector<T>> vector);
  /// An array whose file a message will name.
  static std::shared_ptr<MMapArray> for_loading(std::shared_ptr<Schema> schema);

  /// Lets go of the file: it then holds exactly the elements, and the array is empty and can't grow until
  /// reset(). Slices and other arrays over the same vector are affected as well. Throws Util::Error when the file could
  /// not be cut.
  void close() { this->vector()->close(); }
  /// An array that holds its vector alone goes on in the same file, also when it was closed. Throws Util::Error and
  /// changes nothing when that file can't be opened again.
  void reset() override;  // 35
  /// Appends file name, window and view. Throws Util::Error for a file without a name, and for a slice that begins
  /// behind all that a file can hold.
  void describe(FrameList& parts, const std::shared_ptr<void>& owner) override;
  /// Checks what a message brought, without opening the file.
  void finish() override;  // 32
  /// Throws Util::Error for a view that no file can hold.
  void expect_rows(std::uint64_t rows) override;

 private:
  using Base = ArrayBase2<T, MMapVector<T>>;

  static constexpr std::uint64_t kMostElements = most_mapped_elements(sizeof(T));

  /// The part of a message that says what the array shows.
  struct View {
    std::uint64_t start = 0;
    std::uint64_t count = 0;
    unsigned char default_value[8] = {};  // in its first bytes
  };
  static_assert(sizeof(View) == 24 && sizeof(T) <= sizeof(View::default_value));

  MMapArray(std::shared_ptr<Schema> schema, std::shared_ptr<MMapVector<T>> vector, std::uint64_t start,
            std::uint64_t count, T default_value);
  std::shared_ptr<DataObj> view(std::shared_ptr<MMapVector<T>> vector, std::uint64_t start,
                                std::uint64_t count) const override;

  View d_view;              // what a message sends or brings
  bool d_awaiting = false;  // made for loading, and finish() was not called yet
};

#define ZYDATA_DECLARE_MMAP_ARRAY(T, Name)                        \
  extern template class CORVANE_API ArrayBase2<T, MMapVector<T>>; \
  extern template class CORVANE_API MMapArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_MMAP_ARRAY)
#undef ZYDATA_DECLARE_MMAP_ARRAY

}  // namespace ZyData
