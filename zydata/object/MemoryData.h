// Raw memory as data objects: what a message carries for memory that is no array of its own.
//
// A StaticMemoryData views bytes that somebody else owns, a MallocMemoryData owns its bytes, a StringReferenceData
// stands for somebody else's text, and a FixedMemoryData for a field of fixed width inside a library object. `owner` is
// whatever keeps viewed bytes alive; it is held as long as the data object and may be empty. Lengths count bytes.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "util/Export.h"
#include "zydata/object/data.h"

namespace ZyData {

/// A block from the C heap, given back when its holder goes.
struct FreeBlock {
  void operator()(void* block) const;
};
using HeapBlock = std::unique_ptr<void, FreeBlock>;

/// Views `length` bytes at `bytes`.
class CORVANE_API StaticMemoryData : public MessageDataObj {
 public:
  StaticMemoryData(void* bytes, std::uint64_t length, std::shared_ptr<void> owner);
  ~StaticMemoryData() override;  // 0

  /// Prepares `n` bytes for a receive. More bytes than there are go to a block of this object's own, which replaces the
  /// view: the viewed bytes are then neither written nor freed. Fewer leave the length as it is. False, and nothing
  /// changed, when memory is exhausted.
  bool set_length(std::uint64_t n);
  std::uint64_t length() const { return d_length; }

  // --- slots 21-28: elements and values ---
  void* data() override { return d_bytes; }  // 22

  // --- slots 29-35: storage ---
  std::uint64_t size_bytes() const override { return d_length; }  // 30
  bool fits(std::uint64_t n) override { return set_length(n); }   // 31

  // --- slots 36-40: printing and hierarchy ---
  void print(int indent) override;                        // 36
  void print(std::ostream& stream, int indent) override;  // 37

 private:
  void* d_bytes;           // the caller's, or d_owned; null only when d_length is 0
  std::uint64_t d_length;  // bytes
  HeapBlock d_owned;       // empty while the caller's bytes are viewed
};

/// A field of fixed width inside a library object, such as a row count: takes exactly its own size from a message, and
/// is never moved.
class FixedMemoryData final : public StaticMemoryData {
 public:
  using StaticMemoryData::StaticMemoryData;
  bool set_length(std::uint64_t n) = delete;  // would move the bytes away from the field

  bool fits(std::uint64_t n) override { return n == length(); }  // 31
};

/// Owns a block that the first set_length() allocates.
class CORVANE_API MallocMemoryData : public MessageDataObj {
 public:
  explicit MallocMemoryData(std::shared_ptr<void> owner);
  ~MallocMemoryData() override;  // 0

  /// The first call allocates `n` bytes; later ones only answer whether `n` bytes fit. False when they do not, or when
  /// memory is exhausted.
  bool set_length(std::uint64_t n);
  std::uint64_t length() const { return d_length; }

  // --- slots 21-28: elements and values ---
  void* data() override { return d_bytes.get(); }  // 22

  // --- slots 29-35: storage ---
  std::uint64_t size_bytes() const override { return d_length; }  // 30
  bool fits(std::uint64_t n) override { return set_length(n); }   // 31

  // --- slots 36-40: printing and hierarchy ---
  void print(int indent) override;                        // 36
  void print(std::ostream& stream, int indent) override;  // 37

 private:
  HeapBlock d_bytes;           // empty until first sized
  std::uint64_t d_length = 0;  // bytes
};

/// Stands for a text of somebody else's, which must live as long as this object.
class CORVANE_API StringReferenceData final : public MessageDataObj {
 public:
  StringReferenceData(std::string& text, std::shared_ptr<void> owner);
  ~StringReferenceData() override;  // 0

  /// Gives the text `n` characters. False, and nothing changed, when there is no memory for so many.
  bool set_length(std::uint64_t n);
  std::uint64_t length() const { return d_text.size(); }

  // --- slots 21-28: elements and values ---
  void* data() override { return d_text.data(); }  // 22

  // --- slots 29-35: storage ---
  std::uint64_t size_bytes() const override { return length(); }  // 30
  bool fits(std::uint64_t n) override { return set_length(n); }   // 31

  // --- slots 36-40: printing and hierarchy ---
  void print(int indent) override;                        // 36
  void print(std::ostream& stream, int indent) override;  // 37

 private:
  std::string& d_text;
};

}  // namespace ZyData
