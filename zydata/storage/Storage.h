// Storage backends: where the elements of a Vector live and how that memory grows.
//
// Code that holds only a VStorageBase can grow, fill, release, describe and bounds-check any vector. Element counts and
// indices are in elements; only *_bytes names count bytes. A backend belongs to its vector and to one thread at a time.
#pragma once

#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <utility>

#include "util/Export.h"
#include "zydata/object/data.h"

namespace ZyData {

namespace StorageError {

/// An access outside the window of a mapped vector.
class CORVANE_API WindowViolation : public std::exception {
 public:
  const char* what() const noexcept override;
};

}  // namespace StorageError

class CORVANE_API VStorageBase {
 public:
  virtual std::uint64_t element_size() const = 0;                                 // 1: bytes
  virtual std::pair<std::uint64_t, std::uint64_t> window() const = 0;             // 2: first element, end element
  virtual std::uint64_t set_window(std::uint64_t first, std::uint64_t last) = 0;  // 3
  virtual bool in_window(std::uint64_t index) const = 0;                          // 4
  virtual std::uint64_t stored_length() = 0;       // 5: elements already in the backing store
  virtual std::uint64_t initial_length() = 0;      // 6: elements that a new vector starts with
  virtual std::uint64_t min_capacity() const = 0;  // 7: elements of the smallest growth
  virtual bool available() const = 0;              // 8
  /// Moves the elements into a block for `new_capacity` of them, of which `size` are in use. Null when memory is
  /// exhausted; the old block is then untouched. For no capacity at all the block is freed.
  virtual void* reallocate(void* old_data, std::uint64_t old_capacity, std::uint64_t new_capacity,
                           std::uint64_t size) = 0;                                  // 9
  virtual void release(void* data, std::uint64_t capacity, std::uint64_t size) = 0;  // 10
  /// Writes `value` into the elements from `from` up to but not including `to`.
  virtual void fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) = 0;  // 11
  virtual const char* kind_name() const = 0;                                                   // 12: in prints
  /// Appends what a message must carry so that a reader finds the backing store again.
  virtual void describe(FrameList& parts, const std::shared_ptr<void>& owner);  // 13: nothing
  virtual bool in_process_memory() const = 0;                                   // 14
  virtual ~VStorageBase();                                                      // 15

 protected:
  VStorageBase() = default;
  VStorageBase(const VStorageBase&) = default;
  VStorageBase& operator=(const VStorageBase&) = default;
};

/// Process memory. Blocks that fill a huge page are aligned for such pages and ask for them: filling such a block costs
/// a fraction of the page faults.
class CORVANE_API VCpuMem : public VStorageBase {
 public:
  explicit VCpuMem(std::uint64_t element_size) : d_element_size(element_size) {}

  std::uint64_t element_size() const override { return d_element_size; }
  std::pair<std::uint64_t, std::uint64_t> window() const override {
    return {0, std::numeric_limits<std::uint64_t>::max()};
  }
  std::uint64_t set_window(std::uint64_t, std::uint64_t) override { return 0; }
  bool in_window(std::uint64_t) const override { return true; }
  std::uint64_t stored_length() override { return 0; }
  std::uint64_t initial_length() override { return 0; }
  std::uint64_t min_capacity() const override { return 8; }
  bool available() const override { return true; }
  void* reallocate(void* old_data, std::uint64_t old_capacity, std::uint64_t new_capacity, std::uint64_t size) override;
  void release(void* data, std::uint64_t capacity, std::uint64_t size) override;
  void fill(void* data, std::uint64_t from, std::uint64_t to, const void* value) override;
  const char* kind_name() const override { return ""; }
  bool in_process_memory() const override { return true; }

 private:
  std::uint64_t d_element_size;  // bytes
};

/// Process memory for elements of type T.
template <class T>
class CpuMem final : public VCpuMem {
 public:
  static constexpr bool kMapped = false;

  CpuMem() : VCpuMem(sizeof(T)) {}

  /// A storage for other elements of the same kind.
  CpuMem empty_like() const { return CpuMem(); }
};

/// Writes one element's bytes into a run of elements, in blocks of 1024 bytes.
CORVANE_API void pattern_fill(void* data, std::uint64_t element_size, std::uint64_t from, std::uint64_t to,
                              const void* value);

}  // namespace ZyData
