// Board text as a tree of lists and words, without copying any of it.
//
// A SourceText holds the bytes of a file. A Tree is one array of small nodes over those bytes: a list's node carries
// its first word (its head) and the position after its last descendant, so that a list is skipped in one step. An Item
// is a cursor into a tree. Items borrow the tree, trees borrow the text; nothing here recurses, and text is only copied
// where escapes are resolved on request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace CorvaneTool {

class SourceText {
 public:
  /// Reads a whole file. Throws BoardError when it cannot be read or has 1 GiB or more.
  static SourceText read_file(const std::string& path);

  /// `name` stands in messages.
  SourceText(std::string name, std::string bytes);

  const std::string& name() const { return d_name; }
  std::string_view bytes() const { return d_bytes; }

  /// "line:column" of a byte.
  std::string place(std::size_t offset) const;

  /// Throws BoardError "name:line:column: what".
  [[noreturn]] void fail(std::size_t offset, const std::string& what) const;

 private:
  std::string d_name;
  std::string d_bytes;
};

enum class NodeKind : std::uint32_t { List, Bare, Quoted, Escaped };

struct Node {
  std::uint32_t begin;        // offset of the word, of the head of a list, of what follows "(" in a list without a head
  std::uint32_t length : 30;  // bytes of the word without its quotes
  std::uint32_t kind : 2;     // NodeKind
  std::uint32_t end;          // index of the node after this one and all that it contains
};
static_assert(sizeof(Node) == 12);

class Tree;

class Item {
 public:
  /// Nothing: false, without children, finds nothing.
  Item() = default;
  Item(const Tree* tree, std::uint32_t index) : d_tree(tree), d_index(index) {}

  explicit operator bool() const { return d_tree != nullptr; }
  bool is_list() const;

  /// The word, or the head of a list, as it stands in the file between its quotes.
  std::string_view word() const;

  /// The word with its escapes resolved. Only a quoted word has escapes. The first form may use `scratch` for the
  /// result.
  std::string_view text(std::string& scratch) const;
  std::string text() const;

  /// The first direct child that is a list with this head, or nothing.
  Item find(std::string_view head) const;

  /// The direct child word at `position`, lists and the head not counted, or nothing.
  Item atom(std::size_t position) const;

  /// Whether a direct child is this bare word.
  bool has_word(std::string_view word) const;

  class Iterator {
   public:
    Iterator(const Tree* tree, std::uint32_t index) : d_tree(tree), d_index(index) {}
    Item operator*() const { return {d_tree, d_index}; }
    Iterator& operator++();
    bool operator==(const Iterator&) const = default;

   private:
    const Tree* d_tree;
    std::uint32_t d_index;
  };

  /// Direct children, words and lists.
  Iterator begin() const;
  Iterator end() const;

  /// Throws BoardError at this item's place.
  [[noreturn]] void fail(const std::string& what) const;

 private:
  const Node& node() const;

  const Tree* d_tree = nullptr;
  std::uint32_t d_index = 0;
};

class Tree {
 public:
  static constexpr std::size_t kDeepest = 256;  // lists in lists

  /// Throws BoardError unless the text is exactly one list with this head. A list "(filter_ratio ...)" whose opening
  /// parenthesis is missing directly after another list is read as if it were there: one writer forgot it.
  Tree(const SourceText& text, std::string_view head);

  Item root() const { return {this, 0}; }
  const SourceText& text() const { return d_text; }
  const std::vector<Node>& nodes() const { return d_nodes; }

  /// How many parentheses had to be added.
  std::size_t repairs() const { return d_repairs; }

 private:
  friend class TreeReader;

  const SourceText& d_text;
  std::vector<Node> d_nodes;
  std::size_t d_repairs = 0;
};

inline const Node& Item::node() const { return d_tree->nodes()[d_index]; }
inline bool Item::is_list() const { return d_tree && static_cast<NodeKind>(node().kind) == NodeKind::List; }
inline std::string_view Item::word() const {
  return d_tree ? d_tree->text().bytes().substr(node().begin, node().length) : std::string_view();
}
inline Item::Iterator Item::begin() const { return {d_tree, d_index + 1}; }
inline Item::Iterator Item::end() const { return {d_tree, d_tree ? node().end : d_index + 1}; }
inline Item::Iterator& Item::Iterator::operator++() {
  d_index = d_tree->nodes()[d_index].end;
  return *this;
}

}  // namespace CorvaneTool
