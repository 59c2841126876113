#include "tools/corvane/board/SExpression.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "tools/corvane/board/BoardError.h"
#include "tools/corvane/support/LineText.h"

namespace CorvaneTool {
namespace {

constexpr std::size_t kTooLarge = std::size_t{1} << 30;  // a node keeps lengths in 30 bits
constexpr std::size_t kMessageCharacters = 200;

constexpr bool is_space(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

// What a bare word ends at. A quotation mark inside one is an ordinary character.
constexpr auto kEndsWord = [] {
  std::array<bool, 256> table{};
  for (const char c : {' ', '\n', '\t', '\r', '\f', '\v', '(', ')'}) table[static_cast<unsigned char>(c)] = true;
  return table;
}();

bool ends_word(char c) { return kEndsWord[static_cast<unsigned char>(c)]; }

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Digits of an escape by number, from `at` on; moves `at` behind them.
char numbered_character(std::string_view raw, std::size_t& at, int base, std::size_t most_digits) {
  int value = 0;
  for (std::size_t digits = 0; digits < most_digits && at < raw.size(); ++digits, ++at) {
    const int digit = hex_digit(raw[at]);
    if (digit < 0 || digit >= base) break;
    value = value * base + digit;
  }
  return static_cast<char>(value);
}

// The character of the escape whose letter stands at `at`; moves `at` behind the escape.
char escaped_character(std::string_view raw, std::size_t& at) {
  const char letter = raw[at];
  if (letter >= '0' && letter <= '7') return numbered_character(raw, at, 8, 3);
  ++at;
  switch (letter) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'a':
      return '\a';
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'v':
      return '\v';
    case 'x':
      return numbered_character(raw, at, 16, 2);
    default:
      return letter;
  }
}

std::string without_escapes(std::string_view raw) {
  std::string result;
  result.reserve(raw.size());
  for (std::size_t at = 0; at < raw.size();) {
    if (raw[at] == '\\' && at + 1 < raw.size()) {
      ++at;
      result += escaped_character(raw, at);
    } else {
      result += raw[at++];
    }
  }
  return result;
}

[[noreturn]] void fail_to_read(const std::string& path, int error_number) {
  throw BoardError(path + ": cannot be read: " + std::generic_category().message(error_number));
}

}  // namespace

// --- the text ---

SourceText SourceText::read_file(const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error) throw BoardError(path + ": cannot be read: " + error.message());
  if (size >= kTooLarge) throw BoardError(path + ": too large for a board, 1 GiB or more");
  errno = 0;
  std::ifstream stream(path, std::ios::binary);
  if (!stream) fail_to_read(path, errno);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(size));
  if (!stream) fail_to_read(path, errno != 0 ? errno : EIO);
  return {path, std::move(bytes)};
}

SourceText::SourceText(std::string name, std::string bytes) : d_name(std::move(name)), d_bytes(std::move(bytes)) {
  if (d_bytes.size() >= kTooLarge) throw BoardError(d_name + ": too large for a board, 1 GiB or more");
}

std::string SourceText::place(std::size_t offset) const {
  const std::string_view before = bytes().substr(0, offset);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::size_t line_begin = before.rfind('\n') + 1;  // 0 when there is none
  return std::to_string(line) + ":" + std::to_string(offset - line_begin + 1);
}

void SourceText::fail(std::size_t offset, const std::string& what) const {
  throw BoardError(d_name + ":" + place(offset) + ": " + printable(what, kMessageCharacters));
}

// --- reading ---

class TreeReader {
 public:
  explicit TreeReader(Tree& tree)
      : d_tree(tree),
        d_nodes(tree.d_nodes),
        d_text(tree.text()),
        d_bytes(d_text.bytes().data()),
        d_size(d_text.bytes().size()) {
    d_nodes.reserve(d_size / 8 + 16);
  }

  void read(std::string_view head) {
    begin_board(head);
    while (d_at < d_size) {
      switch (d_bytes[d_at]) {
        case '(':
          open();
          break;
        case ')':
          close();
          break;
        default:
          if (!is_space(d_bytes[d_at]))
            add_word();
          else
            ++d_at;
      }
    }
    if (d_depth > 0) fail_at_end();
  }

 private:
  struct Word {
    std::size_t begin = 0;
    std::size_t length = 0;
    NodeKind kind = NodeKind::Bare;
  };

  // Anything but the right list at the beginning is some other file; say so before complaining about its insides.
  void begin_board(std::string_view head) {
    skip_space();
    if (d_at == d_size) d_text.fail(d_at, "not a board: the file is empty");
    const std::string_view rest = d_text.bytes().substr(d_at + 1);
    const bool is_board =
        d_bytes[d_at] == '(' && rest.starts_with(head) && (rest.size() == head.size() || ends_word(rest[head.size()]));
    if (!is_board) d_text.fail(d_at, "not a board: it does not begin with \"(" + std::string(head) + "\"");
  }

  void open() {
    if (d_depth == 0 && !d_nodes.empty()) fail_after_end();
    if (d_depth == Tree::kDeepest) d_text.fail(d_at, "lists nested deeper than " + std::to_string(Tree::kDeepest));
    ++d_at;
    skip_space();
    Word head{d_at};
    if (d_at < d_size && d_bytes[d_at] != '(' && d_bytes[d_at] != ')') head = read_word();
    open(head);
  }

  void open(const Word& head) {
    d_open[d_depth++] = static_cast<std::uint32_t>(d_nodes.size());
    add_node(head, NodeKind::List);
  }

  void close() {
    if (d_depth == 0) fail_after_end();
    d_nodes[d_open[--d_depth]].end = static_cast<std::uint32_t>(d_nodes.size());
    ++d_at;
  }

  void add_word() {
    if (d_depth == 0) fail_after_end();
    const bool follows_list = d_bytes[d_at - 1] == ')';
    const Word word = read_word();
    if (follows_list && d_text.bytes().substr(word.begin, word.length) == "filter_ratio" && d_depth < Tree::kDeepest) {
      ++d_tree.d_repairs;
      open(word);
    } else {
      add_node(word, word.kind);
    }
  }

  Word read_word() {
    if (d_bytes[d_at] == '"') return read_quoted();
    if (d_bytes[d_at] == '|' && is_data_list()) return read_data();
    const std::size_t begin = d_at;
    while (d_at < d_size && !ends_word(d_bytes[d_at])) ++d_at;
    return {begin, d_at - begin, NodeKind::Bare};
  }

  Word read_quoted() {
    const std::size_t begin = ++d_at;
    NodeKind kind = NodeKind::Quoted;
    for (; d_at < d_size && d_bytes[d_at] != '"'; ++d_at) {
      if (d_bytes[d_at] != '\\') continue;
      kind = NodeKind::Escaped;
      ++d_at;
    }
    if (d_at >= d_size) d_text.fail(begin - 1, "the file ends inside this quoted text");
    return {begin, d_at++ - begin, kind};
  }

  // Embedded files are long texts between bars.
  Word read_data() {
    const std::size_t begin = ++d_at;
    const std::size_t bar = d_text.bytes().find('|', begin);
    if (bar == std::string_view::npos) d_text.fail(begin - 1, "the file ends inside this embedded data");
    d_at = bar + 1;
    return {begin, bar - begin, NodeKind::Quoted};
  }

  bool is_data_list() const {
    if (d_depth == 0) return false;
    const Node& list = d_nodes[d_open[d_depth - 1]];
    return d_text.bytes().substr(list.begin, list.length) == "data";
  }

  void add_node(const Word& word, NodeKind kind) {
    const auto after = static_cast<std::uint32_t>(d_nodes.size() + 1);
    d_nodes.push_back({static_cast<std::uint32_t>(word.begin),
                       static_cast<std::uint32_t>(word.length & (kTooLarge - 1)), static_cast<std::uint32_t>(kind) & 3U,
                       after});
  }

  void skip_space() {
    while (d_at < d_size && is_space(d_bytes[d_at])) ++d_at;
  }

  [[noreturn]] void fail_after_end() const { d_text.fail(d_at, "text after the end of the board"); }

  [[noreturn]] void fail_at_end() const {
    const Node& list = d_nodes[d_open[d_depth - 1]];
    d_text.fail(d_size, "the file ends inside the list \"(" +
                            std::string(d_text.bytes().substr(list.begin, list.length)) + "\" that begins at " +
                            d_text.place(list.begin - 1));
  }

  Tree& d_tree;
  std::vector<Node>& d_nodes;
  const SourceText& d_text;
  const char* d_bytes;
  std::size_t d_size;
  std::size_t d_at = 0;                                // next byte to read
  std::size_t d_depth = 0;                             // open lists
  std::array<std::uint32_t, Tree::kDeepest> d_open{};  // their nodes, outermost first
};

Tree::Tree(const SourceText& text, std::string_view head) : d_text(text) { TreeReader(*this).read(head); }

// --- looking ---

std::string_view Item::text(std::string& scratch) const {
  if (!d_tree || static_cast<NodeKind>(node().kind) != NodeKind::Escaped) return word();
  scratch = without_escapes(word());
  return scratch;
}

std::string Item::text() const {
  std::string scratch;
  return std::string(text(scratch));
}

Item Item::find(std::string_view head) const {
  for (const Item child : *this) {
    if (child.is_list() && child.word() == head) return child;
  }
  return {};
}

Item Item::atom(std::size_t position) const {
  for (const Item child : *this) {
    if (!child.is_list() && position-- == 0) return child;
  }
  return {};
}

bool Item::has_word(std::string_view word) const {
  for (const Item child : *this) {
    if (static_cast<NodeKind>(child.node().kind) == NodeKind::Bare && child.word() == word) return true;
  }
  return false;
}

// A list's place is its parenthesis, a quoted word's its first quotation mark.
void Item::fail(const std::string& what) const {
  const SourceText& text = d_tree->text();
  const std::size_t begin = node().begin;
  switch (static_cast<NodeKind>(node().kind)) {
    case NodeKind::List:
      text.fail(text.bytes().rfind('(', begin - 1), what);
    case NodeKind::Bare:
      text.fail(begin, what);
    case NodeKind::Quoted:
    case NodeKind::Escaped:
      break;
  }
  text.fail(begin - 1, what);
}

}  // namespace CorvaneTool
