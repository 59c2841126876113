// What of a board has no place in the layout, counted by kind and reason.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace CorvaneTool {

class SkippedItems {
 public:
  /// "text", "on copper": in words that make a line of a report.
  void add(std::string_view kind, std::string_view reason, std::uint64_t count = 1) {
    if (count > 0) d_counts[{std::string(kind), std::string(reason)}] += count;
  }

  /// 0 when there was none.
  std::uint64_t count(const std::string& kind, const std::string& reason) const {
    const auto entry = d_counts.find({kind, reason});
    return entry == d_counts.end() ? 0 : entry->second;
  }

  /// Sorted by kind, then by reason.
  const std::map<std::pair<std::string, std::string>, std::uint64_t>& counts() const { return d_counts; }

 private:
  std::map<std::pair<std::string, std::string>, std::uint64_t> d_counts;
};

}  // namespace CorvaneTool
