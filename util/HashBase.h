// A chained hash table whose buckets and entries are two flat sequences, linked by integers.
//
// Because nothing in it is an address, a table can be written and read back as it lies in memory. Entries stand in the
// order of their insertion; bucket b holds the index of the first entry of its chain, an entry's `next` the index of
// the following one. What an entry holds besides, and how it is hashed and compared, is the user's.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <vector>

namespace Util {

inline constexpr std::int32_t kChainEnd = -1;
inline constexpr std::int32_t kFreeEntry = -2;  // `next` of a removed entry; every walk skips it

/// The hash of a text of at most `size` bytes, up to its first zero byte. Stored tables depend on it.
constexpr std::uint64_t text_hash(const char* text, std::uint64_t size) {
  std::uint64_t hash = 0;
  for (std::uint64_t i = 0; i < size && text[i] != '\0'; ++i) {
    const auto byte = static_cast<std::uint64_t>(static_cast<unsigned char>(text[i]));
    hash ^= ((byte ^ 0xcbf29ce484222325U) * 0x100000001b3U) + (hash << 6) + (hash >> 2) + 0x9e3779b9U;
  }
  return hash;
}

/// The hash of an index. Stored tables depend on it.
constexpr std::uint64_t index_hash(std::int32_t index) {
  return (std::uint64_t{static_cast<std::uint32_t>(index)} * 0x9e3779b97f4a7c15U) >> 32;
}

/// Buckets and Entries are sequences with size(), data(), operator[], resize(n, value), truncate(n) and
/// append_for_overwrite(n); an entry has a member `next`. The number of buckets is 0 for a table that never had an
/// entry, else any number; growth doubles it.
template <class Buckets, class Entries>
class HashBase {
 public:
  using Entry = typename Entries::value_type;

  Buckets buckets;  // first entry of each chain, -1: none
  Entries entries;  // in order of insertion

  std::uint64_t hash_size() const { return buckets.size(); }
  /// Entries that are not free.
  std::uint64_t live() const { return d_live; }
  bool is_live(std::uint64_t i) const { return i < entries.size() && entries[i].next >= kChainEnd; }

  /// The index of the entry with this hash that `equal` accepts, -1 when there is none.
  template <class Equal>
  std::int32_t find(std::uint64_t hash, Equal&& equal) const {
    if (buckets.size() == 0) return kChainEnd;
    std::int32_t e = buckets[bucket_of(hash)];
    while (e != kChainEnd && !equal(entries[index(e)])) e = entries[index(e)].next;
    return e;
  }

  /// True when one more entry wants room and most places are free.
  bool wants_closing() const { return entries.size() >= buckets.size() && 2 * d_live < entries.size(); }

  /// Makes room for one more entry: afterwards append() only fails for lack of memory for the entry itself. Free places
  /// are closed when they are the most: entries then move up, in order.
  template <class HashOf>
  void grow_for_one(HashOf&& hash_of) {
    constexpr std::uint64_t kFirstBuckets = 8;
    if (entries.size() < buckets.size()) return;
    if (wants_closing()) {
      close_free_places();
      rebuild(buckets.size(), hash_of);
    } else {
      rebuild(buckets.size() == 0 ? kFirstBuckets : 2 * buckets.size(), hash_of);
    }
  }

  /// Appends a zero-filled entry at the head of its chain. The caller fills everything but `next`.
  Entry& append(std::uint64_t hash) {
    Entry* entry = entries.append_for_overwrite(1);
    clear_bytes(entry);
    std::int32_t& head = buckets[bucket_of(hash)];
    entry->next = head;
    head = static_cast<std::int32_t>(entries.size() - 1);
    ++d_live;
    return *entry;
  }

  /// Takes a live entry out of its chain and marks it free; free entries at the end are dropped.
  void remove(std::int32_t e, std::uint64_t hash) {
    std::int32_t* link = &buckets[bucket_of(hash)];
    while (*link != e) link = &entries[index(*link)].next;
    *link = entries[index(e)].next;
    entries[index(e)].next = kFreeEntry;
    --d_live;
    std::uint64_t used = entries.size();
    while (used > 0 && !is_live(used - 1)) --used;
    entries.truncate(used);
  }

  /// Relinks all live entries in `count` buckets.
  template <class HashOf>
  void rebuild(std::uint64_t count, HashOf&& hash_of) {
    buckets.resize(count, kChainEnd);
    for (std::uint64_t b = 0; b < count; ++b) buckets[b] = kChainEnd;
    for (std::uint64_t i = 0; i < entries.size(); ++i) {
      if (!is_live(i)) continue;
      std::int32_t& head = buckets[bucket_of(hash_of(entries[i]))];
      entries[i].next = head;
      head = static_cast<std::int32_t>(i);
    }
  }

  void clear() {
    buckets.truncate(0);
    entries.truncate(0);
    d_live = 0;
  }

  /// For a table that comes from a file: counts the live entries; false unless the chains visit each of them exactly
  /// once and each stands in the chain of its hash. Entries want buckets. Fastest for tables whose chains lead from
  /// later entries to earlier ones, as append() and rebuild() make them.
  template <class HashOf>
  bool accept_links(HashOf&& hash_of) {
    d_live = 0;
    if (buckets.size() == 0) return entries.size() == 0;
    for (std::uint64_t i = 0; i < entries.size(); ++i) d_live += is_live(i) ? 1U : 0U;
    if (leads_backwards(hash_of)) return true;
    return leads_everywhere(hash_of);
  }

 private:
  static std::uint64_t index(std::int32_t e) { return static_cast<std::uint64_t>(e); }

  std::uint64_t bucket_of(std::uint64_t hash) const {
    const std::uint64_t count = buckets.size();
    return std::has_single_bit(count) ? hash & (count - 1) : hash % count;
  }

  /// True when each live entry is followed by the one before it in its chain, and each bucket holds the last of its
  /// chain: then all links are sound. Passes over the entries in their order, and asks for the buckets of a block of
  /// them before it looks at the first.
  template <class HashOf>
  bool leads_backwards(HashOf&& hash_of) const {
    constexpr std::uint64_t kBlock = 32;
    std::array<std::int32_t*, kBlock> before{};
    std::vector<std::int32_t> last(buckets.size(), kChainEnd);
    for (std::uint64_t first = 0; first < entries.size(); first += kBlock) {
      const std::uint64_t end = std::min(first + kBlock, entries.size());
      for (std::uint64_t i = first; i < end; ++i) {
        before[i - first] = is_live(i) ? &last[bucket_of(hash_of(entries[i]))] : nullptr;
        __builtin_prefetch(before[i - first], 1);
      }
      for (std::uint64_t i = first; i < end; ++i) {
        if (before[i - first] == nullptr) continue;
        if (entries[i].next != *before[i - first]) return false;
        *before[i - first] = static_cast<std::int32_t>(i);
      }
    }
    return std::equal(last.begin(), last.end(), buckets.data());
  }

  /// The same for chains in any order: walks each of them.
  template <class HashOf>
  bool leads_everywhere(HashOf&& hash_of) const {
    std::vector<bool> visited(entries.size(), false);
    std::uint64_t count = 0;
    for (std::uint64_t b = 0; b < buckets.size(); ++b) {
      for (std::int32_t e = buckets[b]; e != kChainEnd; e = entries[index(e)].next) {
        if (!is_live(index(e)) || visited[index(e)]) return false;  // a negative one becomes a huge index
        if (bucket_of(hash_of(entries[index(e)])) != b) return false;
        visited[index(e)] = true;
        ++count;
      }
    }
    return count == d_live;
  }

  void close_free_places() {
    std::uint64_t end = 0;
    for (std::uint64_t i = 0; i < entries.size(); ++i) {
      if (is_live(i)) entries[end++] = entries[i];
    }
    entries.truncate(end);
  }

  // Entries go to files as they lie in memory, padding included.
  static void clear_bytes(Entry* entry) {
    auto* bytes = reinterpret_cast<unsigned char*>(entry);
    for (std::uint64_t i = 0; i < sizeof(Entry); ++i) bytes[i] = 0;
  }

  std::uint64_t d_live = 0;
};

}  // namespace Util
