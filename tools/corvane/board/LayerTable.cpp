#include "tools/corvane/board/LayerTable.h"

#include <algorithm>
#include <array>
#include <optional>

#include "tools/corvane/board/BoardNumbers.h"

namespace CorvaneTool {
namespace {

constexpr int kNoCopperRank = -1;
constexpr int kBottomRank = 1 << 20;
constexpr std::size_t kMostCopper = 32;  // what the board format has ordinals and names for

// The standard names of copper layers in stack order: F.Cu 0, In1.Cu 1, ..., B.Cu last.
std::optional<int> standard_copper_rank(std::string_view name) {
  if (name == "F.Cu") return 0;
  if (name == "B.Cu") return kBottomRank;
  if (!name.starts_with("In") || !name.ends_with(".Cu") || name.size() < 6) return std::nullopt;
  const std::optional<int> number = parse_whole(name.substr(2, name.size() - 5));
  return number && *number > 0 && *number < kBottomRank - 1 ? number : std::nullopt;
}

// The other names that exist on every board, whether its list has them or not.
bool is_standard_plain_name(std::string_view name) {
  constexpr std::array kSides = {"Adhes", "Paste", "SilkS", "Mask", "CrtYd", "Fab"};
  constexpr std::array kSingle = {"Dwgs.User", "Cmts.User", "Eco1.User", "Eco2.User", "Edge.Cuts", "Margin", "Rescue"};
  if (name.starts_with("F.") || name.starts_with("B."))
    return std::find(kSides.begin(), kSides.end(), name.substr(2)) != kSides.end();
  return name.starts_with("User.") || std::find(kSingle.begin(), kSingle.end(), name) != kSingle.end();
}

int rank_of(std::string_view name, int ordinal, const BoardFormat& format) {
  if (format.copper_by_name()) {
    if (!name.ends_with(".Cu")) return kNoCopperRank;
    return standard_copper_rank(name).value_or(kBottomRank - 1);
  }
  if (ordinal < 0 || ordinal > format.last_copper_ordinal()) return kNoCopperRank;
  return format.bottom_first() ? format.last_copper_ordinal() - ordinal : ordinal;
}

// What a copper layer is called on boards that call it nothing else.
std::string standard_name(int rank, const BoardFormat& format) {
  if (rank == 0) return "F.Cu";
  return rank == format.last_copper_ordinal() ? "B.Cu" : "In" + std::to_string(rank) + ".Cu";
}

}  // namespace

LayerTable::LayerTable(const Item& layers, const BoardFormat& format) {
  std::vector<Entry> entries;
  for (const Item layer : layers) {
    if (layer.is_list()) entries.push_back(read_entry(layer, format));
  }
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry& left, const Entry& right) { return left.rank < right.rank; });
  enter(layers, entries);
  if (!format.copper_by_name()) enter_standard_names(entries, format);
}

LayerTable::Entry LayerTable::read_entry(const Item& layer, const BoardFormat& format) {
  const std::optional<int> ordinal = parse_whole(layer.word());
  const Item name = layer.atom(0);
  if (!ordinal || !name) layer.fail("a layer needs a number and a name");
  return {name.text(), rank_of(name.text(), *ordinal, format)};
}

void LayerTable::enter(const Item& layers, const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) {
    const bool is_copper = entry.rank != kNoCopperRank;
    const int place = is_copper ? static_cast<int>(d_copper.size()) : kNotCopper;
    if (!d_places.emplace(entry.name, place).second)
      layers.fail("layer \"" + entry.name + "\" stands twice in the list of layers");
    if (is_copper) d_copper.push_back(entry.name);
  }
  if (d_copper.empty()) layers.fail("the board has no copper layer");
  if (d_copper.size() > kMostCopper)
    layers.fail("the board has more than " + std::to_string(kMostCopper) + " copper layers");
}

// Where names are free, the standard ones are understood besides.
void LayerTable::enter_standard_names(const std::vector<Entry>& entries, const BoardFormat& format) {
  for (const Entry& entry : entries) {
    if (entry.rank != kNoCopperRank)
      d_places.emplace(standard_name(entry.rank, format), d_places.find(entry.name)->second);
  }
}

int LayerTable::find(std::string_view name) const {
  const auto entry = d_places.find(name);
  if (entry != d_places.end()) return entry->second;
  if (standard_copper_rank(name)) return kNotOnBoard;
  return is_standard_plain_name(name) ? kNotCopper : kUnknown;
}

bool LayerTable::append_copper(const Item& word, std::vector<int>& places) const {
  std::string scratch;
  const std::string_view name = word.text(scratch);
  const int place = find(name);
  if (place >= 0) {
    append_range(place, place, places);
  } else if (name == "*.Cu") {
    append_range(0, bottom(), places);
  } else if (name == "*In.Cu") {
    append_range(1, bottom() - 1, places);
  } else if (name == "F&B.Cu") {
    append_range(0, 0, places);
    append_range(bottom(), bottom(), places);
  } else if (place == kUnknown && !name.starts_with("*.") && !name.starts_with("F&B.")) {
    word.fail("unknown layer \"" + std::string(name) + "\"");
  }
  return place == kNotOnBoard;
}

void LayerTable::append_range(int first, int last, std::vector<int>& places) {
  for (int place = first; place <= last; ++place) {
    if (std::find(places.begin(), places.end(), place) == places.end()) places.push_back(place);
  }
}

}  // namespace CorvaneTool
