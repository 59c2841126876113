// The flattened form of a schema: node table, factory parameters and string pool, frames 0 to 2 of a data-object
// message. docs/file-format.md describes the bytes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "util/Bytes.h"
#include "util/Export.h"
#include "zydata/schema/SharedText.h"
#include "zydata/schema/TypeName.h"

namespace ZyData {

inline constexpr std::size_t kNodeSize = 40;  // bytes of one node entry
inline constexpr std::size_t kMaxNodes = 20000;
inline constexpr int kMaxNesting = 256;                              // levels below the top node
inline constexpr std::size_t kMaxNameSize = 65535;                   // bytes of one text
inline constexpr std::size_t kMaxTextBytes = std::size_t{64} << 20;  // of all texts of a schema, each use counted
inline constexpr std::size_t kMaxOverlap = std::size_t{4} << 20;     // of texts beyond the pool in which they lie

/// Throw Util::Error for a text, or a number of nodes, that no schema may have.
CORVANE_API void check_text_size(std::size_t bytes);
CORVANE_API void check_node_count(std::size_t nodes);

/// One node without its fields and its factory.
struct SchemaHeader {
  SharedText name;
  SharedText second_text;
  SharedText type_name;
  std::uint32_t kind = 0;
  std::uint32_t field_count = 0;
  TypeIdentity type_identity;
  std::uint8_t further_byte = 0;
};

/// The three byte areas of one schema.
struct SchemaTable {
  std::string nodes;
  std::string parameters;
  std::string strings;
};

/// Counts how deep a walk over schema nodes has gone; throws Util::Error below level 256.
class CORVANE_API NestingGuard {
 public:
  explicit NestingGuard(int& depth);
  ~NestingGuard() { --d_depth; }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;

 private:
  int& d_depth;
};

class CORVANE_API SchemaTableWriter {
 public:
  /// Appends one node. Texts end at their first zero byte. One longer than 65535 bytes throws Util::Error, and so does
  /// the 20001st node.
  void add_node(const SchemaHeader& header);
  Util::ByteWriter& parameters() { return d_parameters; }
  int& depth() { return d_depth; }
  SchemaTable take();

 private:
  std::uint32_t pool_offset(const std::string& text);

  Util::ByteWriter d_nodes;
  Util::ByteWriter d_parameters;
  Util::ByteWriter d_strings;
  std::map<std::string, std::uint32_t, std::less<>> d_offsets;  // of each text in the pool
  std::size_t d_text_bytes = 0;                                 // of all uses
  int d_depth = 0;
};

/// Hands out the nodes of borrowed tables in their order. Everything in them is a claim of a file and is checked.
class CORVANE_API SchemaTableReader {
 public:
  /// Throws Util::Error when the node area is no multiple of a node's size or has more than 20000 nodes.
  SchemaTableReader(std::string_view nodes, std::string_view parameters, std::string_view strings);

  std::uint32_t node_count() const { return d_node_count; }
  std::uint32_t next_index() const { return d_next_index; }
  /// The next unread node. Running past the table is the assertion "i < siz".
  SchemaHeader next();
  Util::ByteReader& parameters() { return d_parameters; }
  int& depth() { return d_depth; }
  /// Throws Util::Error when nodes or parameters are left unread.
  void check_everything_read() const;

 private:
  SharedText pool_text(std::uint32_t offset);

  std::string_view d_nodes;
  std::string_view d_strings;
  Util::ByteReader d_parameters;
  std::uint32_t d_node_count;
  std::uint32_t d_next_index = 0;
  std::unordered_map<std::uint32_t, SharedText> d_texts;  // handed out so far, by their offsets
  std::size_t d_text_bytes = 0;                           // of all uses of them
  std::size_t d_own_bytes = 0;                            // of each of them once
  int d_depth = 0;
};

/// Throws Util::Error unless the nodes' field counts describe exactly one tree, so that reading them cannot run past
/// the table.
CORVANE_API void check_node_table(std::string_view nodes);

}  // namespace ZyData
