// Mapped files as a storage backend: elements that live in a file and are seen through a shared view of it.
//
// The file holds element i at byte i * element size, nothing else. It is opened when it is first needed and closed when
// the vector lets go; then it holds exactly the vector's elements, and a later stored_length() or reallocate() opens it
// again. A window restricts a vector to a range of the file: only that range is mapped. Window bounds are 32-bit
// byte offsets, so the elements of one file lie below 4 GiB; a request beyond that is refused before the file is
// touched.
//
// A storage with a window, or one that keeps the file's contents, may have the file open together with others, under
// whatever names, in one process or in several; any other wants it alone when it opens it. While two have it open,
// neither changes its length: that throws Util::Error. Opening a file changes nothing of it and gives no blocks to its
// holes.
//
// A storage that was loaded from a message names a file that somebody else wrote. It opens that file on first access
// only, as it is: a regular file, never created, and of unchanged length until the program changes the number of its
// elements. Absolute names, names with "..", and symbolic links are refused unless the program has called
// allow_foreign_mapped_files().
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "util/Export.h"
#include "zydata/storage/MappedFile.h"
#include "zydata/storage/Storage.h"

namespace ZyData {

/// Lets loaded data name mapped files anywhere: by absolute names, through "..", and through symbolic links. Such files
/// are opened for writing, so allow it only for data whose origin is trusted. Off at first; for the whole process.
CORVANE_API void allow_foreign_mapped_files(bool allowed);
CORVANE_API bool foreign_mapped_files_allowed();

/// Elements of `element_size` bytes that a mapped file can hold.
constexpr std::uint64_t most_mapped_elements(std::uint64_t element_size) { return 0xffffffff / element_size; }

/// As the last index of a window: no end. As its end in bytes: none was set.
inline constexpr std::uint32_t kNoWindowEnd = 0xffffffff;

class CORVANE_API VMMap : public VStorageBase {
 public:
  static constexpr bool kMapped = true;

  /// No file, no window, element size 0.
  VMMap() = default;
  /// The window holds the pages of elements `first` to `last` as set_window() says.
  VMMap(std::uint64_t element_size, std::string file_name, bool keep_contents = false, std::uint64_t first = 0,
        std::uint64_t last = kNoWindowEnd);
  /// The copy names the same file and window, but has nothing open.
  VMMap(const VMMap& other);
  VMMap(VMMap&&) noexcept = default;
  VMMap& operator=(const VMMap&) = delete;
  VMMap& operator=(VMMap&&) = delete;

  // --- slots ---
  std::uint64_t element_size() const override { return d_extent.element_size; }              // 1
  std::pair<std::uint64_t, std::uint64_t> window() const override;                           // 2
  std::uint64_t set_window(std::uint64_t first, std::uint64_t last) override;                // 3
  bool in_window(std::uint64_t index) const override;                                        // 4
  std::uint64_t stored_length() override;                                                    // 5: opens the file
  std::uint64_t initial_length() override { return d_keep_contents ? stored_length() : 0; }  // 6
  std::uint64_t min_capacity() const override;                                               // 7
  bool available() const override { return true; }                                           // 8
  /// When anything fails, the file has its old length and the old view stays mapped.
  void* reallocate(void* old_data, std::uint64_t old_capacity, std::uint64_t new_capacity,
                   std::uint64_t size) override;  // 9
  /// Throws Util::Error when the file can't be cut to the elements; it is closed all the same.
  void release(void* data, std::uint64_t capacity, std::uint64_t size) override;  // 10
  /// Writes nothing for an all-zero value: new parts of a file read as zeros.
  void fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) override;  // 11
  const char* kind_name() const override { return "MMap"; }                                 // 12
  /// Appends the file name, and 16 bytes: window and element size. Both are fields of this object.
  void describe(FrameList& parts, const std::shared_ptr<void>& owner) override;  // 13
  bool in_process_memory() const override { return false; }                      // 14
  ~VMMap() override;                                                             // 15: closes quietly

  // --- not virtual ---
  const std::string& file_name() const { return d_file_name; }
  bool keeps_contents() const { return d_keep_contents; }
  bool is_open() const { return d_file.is_open(); }
  std::uint32_t window_begin() const { return d_extent.window_begin; }  // bytes
  std::uint32_t window_end() const { return d_extent.window_end; }      // bytes
  /// What the system said when a view could last not be unmapped; 0 when it never refused.
  int unmap_error() const { return d_unmap_error; }

  /// True when element `index` lies in the window and, while a part of the file is mapped, not outside that part.
  bool contains(std::uint64_t index) const { return index - d_first_inside < d_inside; }
  /// Throws StorageError::WindowViolation unless both elements lie there; Util::Error when no window keeps the last one
  /// out, but the size of files.
  void check_inside(std::uint64_t first, std::uint64_t last) const {
    if (!contains(first) || !contains(last)) [[unlikely]]
      throw_outside(last);
  }

  // --- what a vector of loaded elements asks for ---
  /// Turns a storage that has opened nothing into one whose name and window come from a message.
  void await_reference() { d_referenced = d_pending = true; }
  /// Throws Util::Error when what the message brought is no extent of elements of `element_size` bytes, or is one that
  /// ends before it begins.
  void check_reference(std::uint64_t element_size);
  bool is_referenced() const { return d_referenced; }
  /// True until the elements of a loaded storage are first needed.
  bool pending() const { return d_pending; }
  /// Maps `count` elements of the file and leaves its length alone.
  void* map_stored(std::uint64_t count);
  /// Back to a storage that has opened nothing.
  void unmap_stored() noexcept;
  /// Gives the file exactly `size` elements without moving them.
  void cut_to(std::uint64_t size);
  /// As long as the vector has `size` elements and was not resized, release() leaves the file's length alone.
  void adopt(std::uint64_t size) { d_adopted = size; }
  bool keeps_length(std::uint64_t size) const { return d_referenced && !d_resized && size == d_adopted; }

 protected:
  /// Goes on in a file without a name, in the folder of this one.
  void become_unnamed_beside(const VMMap& other);

 private:
  /// The fields that a message carries.
  struct Extent {
    std::uint32_t window_begin = 0;           // bytes, a multiple of the page size
    std::uint32_t window_end = kNoWindowEnd;  // bytes
    std::uint64_t element_size = 0;           // bytes
  };
  static_assert(sizeof(Extent) == 16);

  bool has_window() const { return d_extent.window_begin != 0 || d_extent.window_end != kNoWindowEnd; }
  void ensure_open();
  [[noreturn]] void throw_outside(std::uint64_t last) const;
  std::uint64_t checked_bytes(std::uint64_t count) const;
  [[noreturn]] void fail_resize(int error_number, const char* to_what, std::uint64_t bytes) const;
  MappedView map_window(std::uint64_t bytes);
  void replace_view(MappedView view);
  void* address() const { return d_view.address_of(0); }
  void clear_partial_element(std::uint64_t old_bytes);
  void refresh_inside();

  std::string d_file_name;       // "": no file, or one without a name
  bool d_keep_contents = false;  // a new vector starts with the elements in the file
  MappedFile d_file;
  Extent d_extent;
  MappedView d_view;  // what is mapped, whatever the window has become since

  std::uint32_t d_view_begin = 0;           // the window when the view was made
  std::uint32_t d_view_end = kNoWindowEnd;  // the window when the view was made
  std::uint64_t d_first_inside = 0;         // first element for contains()
  std::uint64_t d_inside = 0;               // elements for contains()
  int d_unmap_error = 0;                    // errno
  bool d_referenced = false;                // name and window come from a message
  bool d_pending = false;                   // referenced, and not yet needed
  bool d_resized = false;                   // this storage has set the file's length
  std::uint64_t d_adopted = 0;              // elements of the vector when a referenced file was opened
};

/// A mapped file of elements of type T.
template <class T>
class MMap final : public VMMap {
 public:
  MMap() : VMMap(sizeof(T), "") {}
  explicit MMap(std::string file_name, bool keep_contents = false, std::uint64_t first = 0,
                std::uint64_t last = kNoWindowEnd)
      : VMMap(sizeof(T), std::move(file_name), keep_contents, first, last) {}

  /// A storage for other elements: in a file without a name, in the folder of this one.
  MMap empty_like() const {
    MMap result;
    result.become_unnamed_beside(*this);
    return result;
  }
};

}  // namespace ZyData
