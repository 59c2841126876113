#include "tools/corvane/board/NetTable.h"

#include "tools/corvane/board/BoardNumbers.h"

namespace CorvaneTool {
namespace {

std::optional<std::int64_t> optional_length(const Item& list, std::string_view name) {
  const Item word = list.find(name).atom(0);
  return word ? std::optional(nanometres(word)) : std::nullopt;
}

}  // namespace

NetTable::NetTable(const Item& board, const BoardFormat& format) : d_format(format) {
  for (const Item child : board) {
    if (!child.is_list()) continue;
    if (child.word() == "net" && !d_format.nets_by_name()) declare(child);
    if (child.word() == "net_class") add_class(child);
  }
  if (const auto none = d_by_id.find(0); none != d_by_id.end()) {
    d_none = none->second;
    return;
  }
  d_none = static_cast<int>(d_nets.size());
  d_by_id.emplace(0, d_none);
  d_by_name.emplace("", d_none);
  d_nets.push_back({0, ""});
}

void NetTable::declare(const Item& net) {
  const int id = net.atom(0) ? whole_number(net.atom(0)) : 0;
  if (!d_by_id.emplace(id, static_cast<int>(d_nets.size())).second)
    net.fail("net " + std::to_string(id) + " is declared twice");
  d_nets.push_back({id, net.atom(1).text()});
}

void NetTable::add_class(const Item& net_class) {
  const std::size_t position = d_classes.size();
  d_classes.push_back({optional_length(net_class, "via_drill"), optional_length(net_class, "uvia_drill")});
  if (net_class.atom(0).text() == "Default") d_default_class = position;
  for (const Item child : net_class) {
    if (child.is_list() && child.word() == "add_net") d_class_of_net.emplace(child.atom(0).text(), position);
  }
}

int NetTable::net_of(const Item& item) {
  const Item word = item.find("net").atom(0);
  if (!word) return d_none;
  if (!d_format.nets_by_name()) return by_number(item, word);
  std::string scratch;
  return by_name(word.text(scratch));
}

int NetTable::by_name(std::string_view name) {
  const auto known = d_by_name.find(name);
  if (known != d_by_name.end()) return known->second;
  const int position = static_cast<int>(d_nets.size());
  d_nets.push_back({position, std::string(name)});
  d_by_name.emplace(name, position);
  return position;
}

int NetTable::by_number(const Item& item, const Item& number) const {
  const int id = whole_number(number);
  const auto net = d_by_id.find(id);
  if (net == d_by_id.end()) item.fail(std::string(item.word()) + " on undeclared net " + std::to_string(id));
  return net->second;
}

std::optional<std::int64_t> NetTable::class_drill(int net, bool is_micro_via) const {
  const auto drill = [&](std::size_t position) {
    return is_micro_via ? d_classes[position].micro_via_drill : d_classes[position].via_drill;
  };
  const auto own = d_class_of_net.find(d_nets[static_cast<std::size_t>(net)].name);
  if (own != d_class_of_net.end() && drill(own->second)) return drill(own->second);
  return d_default_class ? drill(*d_default_class) : std::nullopt;
}

}  // namespace CorvaneTool
