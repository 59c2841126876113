// Dictionaries: data objects that map texts to values of one type.
//
// Entries keep the order of their insertion; keys are stored once, end to end, each with its terminating zero byte. A
// key ends at its first zero byte. Removing an entry leaves a free place in the order; when the table next grows and
// most places are free, they are closed.
//
// Not for several threads: even a look-up writes into the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "util/Export.h"
#include "util/HashBase.h"
#include "zydata/object/data.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/storage/Vector.h"

namespace ZyData {

template <class T>
struct DictEntry {
  std::int32_t key;  // position in the key store; -1: the key being looked up
  T value;
  std::int32_t next;  // of the same chain; -1: last; below -1: this entry is free
};
static_assert(sizeof(DictEntry<int>) == 12 && offsetof(DictEntry<int>, next) == 8);
static_assert(sizeof(DictEntry<double>) == 24 && offsetof(DictEntry<double>, next) == 16);

/// The untyped part: the keys.
class CORVANE_API DictKeys {
 public:
  /// Points position -1 at a text until the end of its scope.
  class LookUp {
   public:
    LookUp(DictKeys& keys, const char* text) : d_keys(keys) { d_keys.d_looked_up = text; }
    ~LookUp() { d_keys.d_looked_up = nullptr; }
    LookUp(const LookUp&) = delete;
    LookUp& operator=(const LookUp&) = delete;

   private:
    DictKeys& d_keys;
  };

  const char* text(std::int32_t position) const { return position == -1 ? d_looked_up : texts.data() + position; }
  std::uint64_t hash(std::int32_t position) const;
  bool equal(std::int32_t left, std::int32_t right) const;
  /// Appends a text and returns its position. Throws Util::Error, naming the dictionary, when the store would pass
  /// 2147483647 bytes.
  std::int32_t append(const char* text, const std::string& dictionary);
  // For a table from a file: the last key has its end, and a position is the start of a key. As long as no two entries
  // share a key, the keys together are no longer than the store.
  bool ends_with_zero() const { return texts.empty() || texts.back() == '\0'; }
  bool starts_text(std::int32_t position) const {
    const auto at = static_cast<std::uint64_t>(position);  // a negative one becomes a huge one
    return at < texts.size() && (at == 0 || texts[at - 1] == '\0');
  }

  CpuVector<char> texts;

 private:
  const char* d_looked_up = nullptr;  // what position -1 denotes; null while nothing is looked up
};

template <class T>
class Dict final : public DataObj {
 public:
  using DataObj::get;
  using DataObj::print;
  using DataObj::set;

  explicit Dict(std::shared_ptr<Schema> schema) : DataObj(std::move(schema)), d_table(std::make_shared<Table>()) {}

  // --- slots ---
  std::uint64_t size() const override { return d_table->live(); }               // 1: live entries
  void* data() override { return d_table->entries.data(); }                     // 22
  GenericValue get(int i) const override { return GenericValue(value_at(i)); }  // 24
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;    // 29: buckets, entries, keys
  std::uint64_t size_bytes() const override;                                    // 30
  void finish() override;                                 // 32: throws Util::Error for bad links or keys
  void print(int indent) override;                        // 36
  void print(std::ostream& stream, int indent) override;  // 37

  // --- typed operations ---
  /// The value under a key. Throws Util::Error when there is none.
  T get(const std::string& key) const;
  /// The value of entry `i` in the order of insertion. Throws Util::Error for an index past the entries and for a free
  /// entry.
  T value_at(int i) const;
  /// The key of entry `i`, borrowed until the next change; throws like value_at.
  const char* key_at(int i) const;
  /// The value under a key, borrowed until the next insertion; null when there is none.
  T* find(const std::string& key);
  const T* find(const std::string& key) const { return const_cast<Dict*>(this)->find(key); }
  bool contains(const std::string& key) const { return find(key) != nullptr; }
  /// Inserts a value, or replaces the one that is there. True when the key is new.
  bool set(const std::string& key, T value);
  /// Takes an entry out. False when there is none with this key.
  bool remove(const std::string& key);
  /// Places in the order of insertion, free ones included: the range of indices.
  std::uint64_t entry_count() const { return d_table->entries.size(); }
  bool is_live(std::uint64_t i) const { return d_table->is_live(i); }

 private:
  using Entry = DictEntry<T>;
  struct Table : Util::HashBase<CpuVector<std::int32_t>, CpuVector<Entry>> {
    DictKeys keys;
  };

  std::int32_t index_of(const std::string& key) const;
  std::uint64_t checked_entry(int i) const;
  void grow_for_one();
  void close_free_places();

  std::shared_ptr<Table> d_table;  // never null
};

#define ZYDATA_DECLARE_DICT(T, Name) extern template class CORVANE_API Dict<T>;
ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_DECLARE_DICT)
#undef ZYDATA_DECLARE_DICT

}  // namespace ZyData
