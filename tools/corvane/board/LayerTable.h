// The layers that a board names, and the place of the copper ones in the stack.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/corvane/board/BoardFormat.h"
#include "tools/corvane/board/SExpression.h"

namespace CorvaneTool {

/// Lets tables with text keys be searched without making a string.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
template <class Value>
using TextTable = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

class LayerTable {
 public:
  // Answers of `find` besides a place in the stack.
  static constexpr int kNotCopper = -1;
  static constexpr int kNotOnBoard = -2;  // an inner or outer copper layer that this board lacks
  static constexpr int kUnknown = -3;

  /// Takes the board's list "(layers ...)". Throws BoardError when a name stands there twice or no layer is copper.
  LayerTable(const Item& layers, const BoardFormat& format);

  /// Names of the copper layers from top to bottom.
  const std::vector<std::string>& copper() const { return d_copper; }
  int bottom() const { return static_cast<int>(d_copper.size()) - 1; }

  /// The place of a copper layer in the stack, 0 on top, or one of the answers above. No wildcards.
  int find(std::string_view name) const;

  /// Appends the copper layers that a word stands for, wildcards included, leaving out those that are there already.
  /// Throws BoardError for an unknown name. Layers that the board lacks are left out; the result says whether there
  /// were any.
  bool append_copper(const Item& word, std::vector<int>& places) const;

 private:
  struct Entry {
    std::string name;
    int rank;  // copper: sorts the stack from top to bottom
  };

  static Entry read_entry(const Item& layer, const BoardFormat& format);
  void enter(const Item& layers, const std::vector<Entry>& entries);
  void enter_standard_names(const std::vector<Entry>& entries, const BoardFormat& format);
  static void append_range(int first, int last, std::vector<int>& places);

  std::vector<std::string> d_copper;
  TextTable<int> d_places;  // by name: place in the stack or kNotCopper
};

}  // namespace CorvaneTool
