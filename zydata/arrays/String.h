// Texts as data objects: StringData holds one, StringArray a list of them, stored like a variable array of bytes.
//
// Texts are byte strings with a length; a zero byte is a byte like any other.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/Export.h"
#include "util/HashBase.h"
#include "zydata/arrays/VarArray.h"
#include "zydata/object/data.h"

namespace ZyData {

class CORVANE_API StringData final : public DataObj {
 public:
  using DataObj::print;
  using DataObj::set_field;

  explicit StringData(std::shared_ptr<Schema> schema, std::string text = {});

  const std::string& text() const { return d_text; }
  /// Replaces the text.
  void set(std::string_view text) { d_text = text; }
  /// Makes room for `bytes` bytes: no set() of a text that is no longer throws.
  void reserve(std::size_t bytes) { d_text.reserve(bytes); }
  using DataObj::set;

  /// Replaces the text; `name` must be empty, because a text has no fields.
  void set_field(const std::string& name, std::string_view text) override;  // 14
  void* data() override { return d_text.data(); }                           // 22
  GenericValue value() const override { return GenericValue(d_text); }      // 25
  void set_value(const GenericValue& value) override;                       // 26
  std::uint64_t size_bytes() const override { return d_text.size(); }       // 30
  bool fits(std::uint64_t n) override;                                      // 31: takes any size that memory allows
  void print(int indent) override;                                          // 36
  void print(std::ostream& stream, int indent) override;                    // 37

 private:
  std::string d_text;
};

extern template class CORVANE_API RunArray<char, std::string_view>;

class CORVANE_API StringArray : public RunArray<char, std::string_view> {
 public:
  using DataObj::get;
  using DataObj::print;
  using DataObj::push_back;
  using DataObj::set_field;
  using RunArray<char, std::string_view>::set;

  /// An empty array.
  explicit StringArray(std::shared_ptr<Schema> schema);

  /// Replaces the content; `name` must be empty, because an array has no fields.
  void set_field(const std::string& name, const std::vector<std::string>& texts) override;  // 15
  void set(int i, const GenericValue& value) override;                                      // 23
  GenericValue get(int i) const override;                                                   // 24
  void push_back(const GenericValue& value) override;                                       // 27
  void print(int indent) override;                                                          // 36
  void print(std::ostream& stream, int indent) override;                                    // 37

  /// The text of element `i` in a string held by the array; overwritten by the next call. view(i) copies nothing.
  const std::string& element(std::uint64_t i) { return d_current = run(i); }
  /// The text of element `i`, valid until the next change.
  std::string_view view(std::uint64_t i) const { return run(i); }

 protected:
  StringArray(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets,
              std::shared_ptr<CpuVector<char>> values, std::uint64_t start, std::uint64_t count);
  std::shared_ptr<DataObj> view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<char>> values,
                                std::uint64_t start, std::uint64_t count) const override;

 private:
  const char* order_refusal() const override {
    return "To set the element of StringArray, please append it in order or use set method!\n";
  }

  std::string d_current;  // what element() returned last
};

/// A string array, or any array like it, with a hashed index over its texts. Ops hashes and compares them. The index is
/// not stored: it is made at the first look-up and follows what is appended.
template <class Base, class Ops>
class Searchable : public Base {
 public:
  using Base::Base;

  /// The position of the first element with this text, -1 when there is none.
  std::int64_t find(std::string_view text);
  bool contains(std::string_view text) { return find(text) >= 0; }

 private:
  struct IndexEntry {
    std::int32_t element;
    std::int32_t next;
  };

  void update_index();

  Util::HashBase<CpuVector<std::int32_t>, CpuVector<IndexEntry>>
      d_index;  // of the first d_indexed elements, each text once
  std::uint64_t d_indexed = 0;
  std::uint64_t d_revision = 0;  // of the texts when they were indexed
};

/// The library's text hash, which ends at a zero byte, and its comparison, which does not.
template <class Text>
struct SearchOps;
template <>
struct SearchOps<std::string_view> {
  static std::uint64_t hash(std::string_view text) { return Util::text_hash(text.data(), text.size()); }
  static bool equal(std::string_view left, std::string_view right) { return left == right; }
};

extern template class CORVANE_API Searchable<StringArray, SearchOps<std::string_view>>;

/// A string array in which the position of a text is found without a scan.
class CORVANE_API SearchableStringArray final : public Searchable<StringArray, SearchOps<std::string_view>> {
 public:
  using StringArray::view;

  explicit SearchableStringArray(std::shared_ptr<Schema> schema) : Searchable(std::move(schema)) {}

  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;  // 29: extent, then offsets and bytes
  std::uint64_t size_bytes() const override;                                  // 30
  void finish() override;                                                     // 32

 private:
  SearchableStringArray(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets,
                        std::shared_ptr<CpuVector<char>> values, std::uint64_t start, std::uint64_t count)
      : Searchable(std::move(schema), std::move(offsets), std::move(values), start, count) {}
  std::shared_ptr<DataObj> view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<char>> values,
                                std::uint64_t start, std::uint64_t count) const override;

  std::uint64_t d_stored_extent[3] = {0, kToTheEnd, 0};  // start, count, third word: a stored array is always whole
};

}  // namespace ZyData
