// The nets of a board, and the drills of its net classes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/corvane/board/BoardFormat.h"
#include "tools/corvane/board/LayerTable.h"
#include "tools/corvane/board/SExpression.h"
#include "tools/corvane/support/SpreadHash.h"

namespace CorvaneTool {

class NetTable {
 public:
  struct Net {
    int id;  // as declared; 0: no net
    std::string name;
  };

  /// Takes the nets that the board declares, in file order. There is always one with id 0.
  NetTable(const Item& board, const BoardFormat& format);

  const std::vector<Net>& nets() const { return d_nets; }

  /// Position of "no net" in `nets`.
  int none() const { return d_none; }

  /// Position of the net that an item's child list "(net ...)" names; "no net" without such a list. Throws BoardError
  /// for an undeclared net; where nets go by name, the first mention makes one.
  int net_of(const Item& item);

  /// Drill of the vias of a net's class, for vias that give none themselves; nothing where the classes give none
  /// either.
  std::optional<std::int64_t> class_drill(int net, bool is_micro_via) const;

 private:
  struct NetClass {
    std::optional<std::int64_t> via_drill;  // nm
    std::optional<std::int64_t> micro_via_drill;
  };

  void declare(const Item& net);
  void add_class(const Item& net_class);
  int by_name(std::string_view name);
  int by_number(const Item& item, const Item& number) const;

  BoardFormat d_format;
  std::vector<Net> d_nets;
  int d_none = 0;
  std::unordered_map<int, int, SpreadHash> d_by_id;  // position in d_nets
  TextTable<int> d_by_name;                          // the same, only where nets go by name
  std::vector<NetClass> d_classes;
  TextTable<std::size_t> d_class_of_net;  // by net name
  std::optional<std::size_t> d_default_class;
};

}  // namespace CorvaneTool
