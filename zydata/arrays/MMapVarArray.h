// Variable arrays in mapped files.
//
// An MMapVarArray<T> behaves like a VarArray<T>; its offsets are the bytes of the file "<base name>.offsets" and its
// values those of "<base name>.values". Both files are kept when they exist. While an array is open its files may be
// longer than its content; they are cut to it when the array goes, is closed, or is stored in a message. Nothing else
// may change the files meanwhile: an offset that does not lie within the values ends the program.
//
// Files that a program has left longer than their content, because its end came before that of the array, are
// recognised: offsets that rise and then are zero up to the end of the file were reserved and not used. The array has
// the elements before them, and the rest of both files is cut when it goes. Only where all elements are empty, so that
// all offsets are zero, reserved ones count as further empty elements.
//
// An array can show a window of its files: `offset_count` offsets from `first_offset` on, and the values that belong to
// them, which must begin at the value that the first of these offsets names. A window that does not begin with the
// files' first offset, or ends before their last, can't be modified: StorageError::WindowViolation. Windows may have
// the files open together with others; an array of whole files wants them alone when it opens them.
//
// In a message the array travels by reference: four numbers that say which part of the files it shows. The base name is
// the text of the schema's factory, or the schema's name. A loaded array opens its files on first access, under the
// rules of MMapStorage.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "util/Export.h"
#include "util/USpan.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/schema/TypeName.h"
#include "zydata/storage/MMapRegion.h"

namespace ZyData {

template <class T>
class MMapVarArray final : public NumberRuns<T, MappedRuns> {
 public:
  /// The array that the two files hold; new files make an empty one. An empty `base_name` stands for the schema's name.
  /// Throws Util::Error.
  explicit MMapVarArray(std::shared_ptr<Schema> schema, std::string base_name = "", std::uint64_t first_offset = 0,
                        std::uint64_t offset_count = kWholeFile, std::uint64_t first_value = 0,
                        std::uint64_t value_count = kWholeFile);
  /// An array whose window a message will bring.
  static std::shared_ptr<MMapVarArray> for_loading(std::shared_ptr<Schema> schema, const std::string& base_name);

  /// Lets go of the files: they then hold exactly the elements, and the array is empty and can't be modified any more.
  /// Throws Util::Error when a file could not be cut.
  void close();
  /// Appends four numbers: first offset and number of offsets, first value and number of values. Throws Util::Error
  /// when a reader would not find the files under the schema's base name.
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;  // 29
  /// Checks what a message brought, without opening the files.
  void finish() override;  // 32

  const std::string& base_name() const { return d_base_name; }

 private:
  using Base = NumberRuns<T, MappedRuns>;
  using typename Base::Offsets;
  using typename Base::Values;

  MMapVarArray(std::shared_ptr<Schema> schema, std::string base_name, std::shared_ptr<Offsets> offsets,
               std::shared_ptr<Values> values, std::uint64_t start, std::uint64_t count);
  std::shared_ptr<DataObj> view(std::shared_ptr<Offsets> offsets, std::shared_ptr<Values> values, std::uint64_t start,
                                std::uint64_t count) const override;
  void open_stored() const override;
  void open_and_check() const;
  void note_window();

  std::string d_base_name;         // "": files without names
  std::uint64_t d_window[4] = {};  // what a message sends or brings: first offset, offsets, first value, values
  bool d_awaiting = false;         // made for loading, and finish() was not called yet
};

/// The base name under which a reader of a stored schema looks for the files.
CORVANE_API std::string stored_base_name(const Schema& schema);

#define ZYDATA_DECLARE_MMAP_VAR_ARRAY(T, Name)                               \
  extern template class CORVANE_API RunArray<T, Util::USpan<T>, MappedRuns>; \
  extern template class CORVANE_API NumberRuns<T, MappedRuns>;               \
  extern template class CORVANE_API MMapVarArray<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_MMAP_VAR_ARRAY)
#undef ZYDATA_DECLARE_MMAP_VAR_ARRAY

}  // namespace ZyData
