// Mapped regions: the two files of a mapped variable array.
//
// A region maps one file from its element `first` on. Its unit is the size of an element. It grows with the file, and
// it is a storage backend, so that a Vector over it has the elements [first, first + size) of the file; when the vector
// lets go, the file ends behind the last of them. A file that was neither created nor resized by its region, and whose
// vector has as many elements as before, keeps its length. A region of a part of a file may have it open together with
// others; one of a whole file wants it alone.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "util/Export.h"
#include "zydata/storage/MappedFile.h"
#include "zydata/storage/Storage.h"

namespace ZyData {

/// As the length of a region: everything up to the end of the file.
inline constexpr std::uint64_t kWholeFile = ~std::uint64_t{0};

class CORVANE_API MMapRegion : public VStorageBase {
 public:
  static constexpr bool kMapped = true;

  /// A region of elements of `unit` bytes, at least 1, in `file_name`, opened by stored_length(), reallocate() or
  /// open().
  MMapRegion(std::uint64_t unit, std::string file_name, std::uint64_t first = 0, std::uint64_t length = kWholeFile);
  MMapRegion(MMapRegion&&) noexcept = default;
  MMapRegion(const MMapRegion&) = delete;
  MMapRegion& operator=(MMapRegion&&) = delete;

  /// Opens and maps the file, creating it when there is none. An empty file gets the length asked for, one element when
  /// none was. Throws Util::Error and leaves the file's length as it was. Nothing happens while it is open.
  void open();
  /// Sets the file's length to `new_length` elements, counted from the file's start, and maps it anew. When it throws
  /// Util::Error, file and elements are as they were; only after a cut that failed they may lie at another address.
  void resize(std::uint64_t new_length);

  const std::string& file_name() const { return d_file_name; }
  std::uint64_t first() const { return d_first; }    // elements
  std::uint64_t length() const { return d_length; }  // elements; kWholeFile while it is not known
  /// The address of element `first`; null while nothing is mapped.
  void* data() const { return d_data; }
  /// True for a region that was to go up to the end of its file, wherever that is.
  bool is_open_ended() const { return d_open_ended; }
  /// True when the file ends with the region, so that the region can grow.
  bool reaches_end() const { return d_reaches_end; }

  // --- slots ---
  std::uint64_t element_size() const override { return d_unit; }                               // 1
  std::pair<std::uint64_t, std::uint64_t> window() const override { return {0, kWholeFile}; }  // 2: none of its own
  std::uint64_t set_window(std::uint64_t, std::uint64_t) override { return 0; }                // 3
  bool in_window(std::uint64_t) const override { return true; }                                // 4
  std::uint64_t stored_length() override;                                                      // 5: opens the file
  std::uint64_t initial_length() override { return stored_length(); }                          // 6
  std::uint64_t min_capacity() const override;                                                 // 7
  bool available() const override { return true; }                                             // 8
  void* reallocate(void* old_data, std::uint64_t old_capacity, std::uint64_t new_capacity,
                   std::uint64_t size) override;                                            // 9
  void release(void* data, std::uint64_t capacity, std::uint64_t size) override;            // 10
  void fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) override;  // 11
  const char* kind_name() const override { return "MMap"; }                                 // 12
  bool in_process_memory() const override { return false; }                                 // 14
  ~MMapRegion() override;                                                                   // 15: closes quietly

  // --- what a vector of stored elements asks for ---
  /// The file is one that a message refers to: it is opened as VMMap opens such files.
  void refer_to(std::string file_name, std::uint64_t first, std::uint64_t length);
  bool is_referenced() const { return d_referenced; }
  bool contains(std::uint64_t) const { return true; }
  void check_inside(std::uint64_t, std::uint64_t) const {}
  bool pending() const { return d_pending; }
  void* map_stored(std::uint64_t count);
  void unmap_stored() noexcept;
  void cut_to(std::uint64_t size);
  /// As long as the vector has `size` elements and was not resized, release() leaves the file's length alone.
  void adopt(std::uint64_t size) { d_adopted = size; }
  bool keeps_length(std::uint64_t size) const { return !d_resized && size == d_adopted; }

 protected:
  /// A region of a new file without a name, in the folder of `other`'s.
  explicit MMapRegion(const MMapRegion& other, std::uint64_t unit);

 private:
  /// The file's name stands between the two parts of a message.
  struct Failure {
    const char* before_name;
    const char* after_name;
  };

  void open_file();
  void open_view();
  std::uint64_t query_size(const Failure& failure) const;
  /// Elements of a file of `file_bytes` bytes; the one or those asked for of an empty one.
  std::uint64_t length_to_map(std::uint64_t file_bytes) const;
  void check_begin(std::uint64_t file_bytes) const;
  void check_holds_reference(std::uint64_t file_bytes) const;
  std::uint64_t end_bytes(std::uint64_t length) const;
  MappedView map(std::uint64_t length) const;
  /// Replaces the view by one of `length` elements, or throws Util::Error and changes nothing.
  void view_anew(std::uint64_t length);
  void take(MappedView view);
  [[noreturn]] void fail(int error_number, const Failure& failure) const;

  bool is_part() const { return d_first != 0 || !d_open_ended; }

  static const Failure kNoInfo, kNoInfoInResize, kNoDefaultSize, kResizeFailed, kMapFailed, kMapFailedInResize;

  std::uint64_t d_unit;    // bytes
  std::uint64_t d_first;   // first mapped element
  std::uint64_t d_length;  // mapped elements; kWholeFile until the file is open
  void* d_data = nullptr;  // address of element d_first
  MappedFile d_file;
  std::uint64_t d_begin = 0;  // bytes: where the view begins, at a page
  std::string d_file_name;    // "": a file without a name
  MappedView d_view;

  bool d_pending = true;        // nothing opened yet
  bool d_referenced = false;    // named by a message
  bool d_open_ended;            // no length was given
  bool d_reaches_end = false;   // the file ends with the region
  bool d_resized = false;       // this region has set the file's length
  std::uint64_t d_adopted = 0;  // elements of the vector when the file was opened
};

/// The region of a vector of T.
template <class T>
class RegionMem final : public MMapRegion {
 public:
  RegionMem() : RegionMem("") {}
  explicit RegionMem(std::string file_name, std::uint64_t first = 0, std::uint64_t length = kWholeFile)
      : MMapRegion(sizeof(T), std::move(file_name), first, length) {}

  /// A storage for other elements: in a file without a name, in the folder of this one.
  RegionMem empty_like() const { return RegionMem(*this, Unnamed()); }

 private:
  struct Unnamed {};
  RegionMem(const RegionMem& other, Unnamed) : MMapRegion(other, sizeof(T)) {}
};

}  // namespace ZyData
