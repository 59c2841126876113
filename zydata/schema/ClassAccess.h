// Accessors: how one member of a plain structure is reached through an address of the structure.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "util/Bytes.h"
#include "util/Export.h"
#include "util/USpan.h"

namespace ZyData {

/// Reaches one member. Its parameters can be written to and read from a byte area, but they are not part of a database
/// file: a number from a file never steers a store into a structure.
class CORVANE_API ClassFieldAccess {
 public:
  virtual bool usable() const = 0;                                    // 0
  virtual void set(void* object, const void* value) const = 0;        // 1: stores the member's value at `value`
  virtual const void* address(const void* object) const = 0;          // 2: of the member inside the structure
  virtual void write_parameters(Util::ByteWriter& writer) const = 0;  // 3
  virtual void read_parameters(Util::ByteReader& reader) = 0;         // 4

 protected:
  ~ClassFieldAccess() = default;  // accessors are only ever held by shared pointers to their own class
};

/// The position of a member in bytes.
template <class T, class M>
std::int32_t member_position(M T::*member) {
  static_assert(std::is_standard_layout_v<T> && std::is_trivially_copyable_v<T>,
                "rows are plain structures of numbers and views");
  static const T sample{};
  return static_cast<std::int32_t>(reinterpret_cast<const char*>(&(sample.*member)) -
                                   reinterpret_cast<const char*>(&sample));
}

/// A member of known type.
template <class T, class M>
class ClassFieldAccessT final : public ClassFieldAccess {
 public:
  explicit ClassFieldAccessT(M T::*member) : d_position(member_position(member)) {}

  bool usable() const override { return true; }
  void set(void* object, const void* value) const override {
    *reinterpret_cast<M*>(static_cast<char*>(object) + d_position) = *static_cast<const M*>(value);
  }
  const void* address(const void* object) const override { return static_cast<const char*>(object) + d_position; }
  void write_parameters(Util::ByteWriter& writer) const override { writer.put(static_cast<std::uint64_t>(d_position)); }
  void read_parameters(Util::ByteReader& reader) override {
    d_position = static_cast<std::int32_t>(reader.get<std::uint64_t>());
  }

 private:
  std::int32_t d_position;  // bytes
};

/// A member of which position and size are known: what the two classes below share.
class CORVANE_API ClassFieldAccessSized : public ClassFieldAccess {
 public:
  bool usable() const override { return d_size > 0; }
  void set(void* object, const void* value) const override;
  const void* address(const void* object) const override;
  void write_parameters(Util::ByteWriter& writer) const override;
  void read_parameters(Util::ByteReader& reader) override;

 protected:
  ClassFieldAccessSized(std::uint64_t position, std::uint64_t size) : d_position(position), d_size(size) {}
  ~ClassFieldAccessSized() = default;

 private:
  std::uint64_t d_position;  // bytes
  std::uint64_t d_size;      // bytes; not among the written parameters
};

/// A member of any type, copied as bytes.
class CORVANE_API ClassFieldAccessGeneric final : public ClassFieldAccessSized {
 public:
  ClassFieldAccessGeneric(std::uint64_t position, std::uint64_t size) : ClassFieldAccessSized(position, size) {}
};

/// A member that views a list of numbers. All such views have the same two words, whatever they view.
class CORVANE_API ClassFieldAccessVec final : public ClassFieldAccessSized {
 public:
  template <class T, class M>
  explicit ClassFieldAccessVec(Util::USpan<M> T::*member)
      : ClassFieldAccessSized(static_cast<std::uint64_t>(member_position(member)), sizeof(Util::USpan<M>)) {}
};

/// A field that no member stands for: setting it does nothing.
class CORVANE_API ClassFieldNoAccess final : public ClassFieldAccess {
 public:
  bool usable() const override { return false; }
  void set(void*, const void*) const override {}
  const void* address(const void*) const override { return nullptr; }
  void write_parameters(Util::ByteWriter&) const override {}
  void read_parameters(Util::ByteReader&) override {}
};

}  // namespace ZyData
