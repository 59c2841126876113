#include "zydata/schema/SchemaTable.h"

#include <vector>

#include "util/Assert.h"
#include "util/Error.h"

namespace ZyData {
namespace {

constexpr std::size_t kFieldCountOffset = 16;
constexpr std::size_t kIdentityOffset = 24;
constexpr std::size_t kFurtherByteOffset = 32;

/// Adds one use of a text, its zero byte included, to the `total` of a schema.
void count_text(std::size_t size, std::size_t& total) {
  check_text_size(size);
  total += size + 1;
  if (total > kMaxTextBytes) throw Util::Error("the texts of a schema take more than %zu bytes", kMaxTextBytes);
}

std::uint32_t checked_node_count(std::string_view nodes) {
  if (nodes.size() % kNodeSize != 0) {
    throw Util::Error("the schema node table has %zu bytes, which is no multiple of %zu", nodes.size(), kNodeSize);
  }
  const std::size_t count = nodes.size() / kNodeSize;
  check_node_count(count);
  return static_cast<std::uint32_t>(count);
}

std::uint32_t field_count_of(std::string_view nodes, std::size_t index) {
  return Util::load<std::uint32_t>(nodes.data() + index * kNodeSize + kFieldCountOffset);
}

}  // namespace

void check_text_size(std::size_t bytes) {
  if (bytes > kMaxNameSize)
    throw Util::Error("a schema text of %zu bytes is longer than %zu bytes", bytes, kMaxNameSize);
}

void check_node_count(std::size_t nodes) {
  if (nodes > kMaxNodes) throw Util::Error("a schema has more than %zu nodes", kMaxNodes);
}

NestingGuard::NestingGuard(int& depth) : d_depth(depth) {
  if (d_depth > kMaxNesting) throw Util::Error("schemas are nested deeper than %d levels", kMaxNesting);
  ++d_depth;
}

void SchemaTableWriter::add_node(const SchemaHeader& header) {
  check_node_count(d_nodes.size() / kNodeSize + 1);
  const std::uint32_t name = pool_offset(header.name);
  const std::uint32_t second_text = pool_offset(header.second_text);
  const std::uint32_t type_name = pool_offset(header.type_name);
  for (const std::uint32_t word : {name, second_text, type_name, header.kind, header.field_count, std::uint32_t{0}}) {
    d_nodes.put(word);
  }
  d_nodes.put(header.type_identity.value);
  d_nodes.put(header.further_byte);
  d_nodes.put_bytes(std::string_view("\0\0\0\0\0\0\0", 7));
}

std::uint32_t SchemaTableWriter::pool_offset(const std::string& text) {
  const std::string_view visible(text.c_str());  // a pool text ends at its first zero byte
  count_text(visible.size(), d_text_bytes);
  const auto found = d_offsets.find(visible);
  if (found != d_offsets.end()) return found->second;
  const auto offset = static_cast<std::uint32_t>(d_strings.size());
  d_strings.put_bytes(visible);
  d_strings.put_bytes(std::string_view("\0", 1));
  d_offsets.emplace(visible, offset);
  return offset;
}

SchemaTable SchemaTableWriter::take() { return {d_nodes.take(), d_parameters.take(), d_strings.take()}; }

SchemaTableReader::SchemaTableReader(std::string_view nodes, std::string_view parameters, std::string_view strings)
    : d_nodes(nodes), d_strings(strings), d_parameters(parameters), d_node_count(checked_node_count(nodes)) {}

SchemaHeader SchemaTableReader::next() {
  UTIL_ASSERT_TEXT(d_next_index < d_node_count, "i < siz");
  const char* entry = d_nodes.data() + std::size_t{d_next_index} * kNodeSize;
  ++d_next_index;
  SchemaHeader header;
  header.name = pool_text(Util::load<std::uint32_t>(entry));
  header.second_text = pool_text(Util::load<std::uint32_t>(entry + 4));
  header.type_name = pool_text(Util::load<std::uint32_t>(entry + 8));
  header.kind = Util::load<std::uint32_t>(entry + 12);
  header.field_count = Util::load<std::uint32_t>(entry + kFieldCountOffset);
  header.type_identity.value = Util::load<std::uint64_t>(entry + kIdentityOffset);
  header.further_byte = Util::load<std::uint8_t>(entry + kFurtherByteOffset);
  return header;
}

SharedText SchemaTableReader::pool_text(std::uint32_t offset) {
  if (offset >= d_strings.size()) {
    throw Util::Error("schema node %u names a text at byte %u of a pool of %zu bytes", d_next_index - 1, offset,
                      d_strings.size());
  }
  const std::size_t end = d_strings.find('\0', offset);
  if (end == std::string_view::npos) throw Util::Error("the schema text at byte %u of the pool has no end", offset);
  count_text(end - offset, d_text_bytes);
  SharedText& text = d_texts[offset];
  if (text.str().empty() && end > offset) {
    d_own_bytes += end - offset;
    if (d_own_bytes > d_strings.size() + kMaxOverlap) {
      throw Util::Error("the texts of a schema overlap by more than %zu bytes", kMaxOverlap);
    }
    text = SharedText(std::string(d_strings.substr(offset, end - offset)));
  }
  return text;
}

void SchemaTableReader::check_everything_read() const {
  if (d_next_index != d_node_count) {
    throw Util::Error("the schema uses %u of %u stored nodes", d_next_index, d_node_count);
  }
  if (d_parameters.remaining() != 0) {
    throw Util::Error("%zu bytes of stored factory parameters belong to no schema node", d_parameters.remaining());
  }
}

void check_node_table(std::string_view nodes) {
  const std::uint32_t count = checked_node_count(nodes);
  std::uint64_t wanted = 1;  // nodes that the ones before have announced, the top node among them
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i == wanted) throw Util::Error("the schema uses %u of %u stored nodes", i, count);
    wanted += field_count_of(nodes, i);
  }
  if (wanted != count)
    throw Util::Error("the schema node table has %u nodes, its field counts ask for %lu", count, wanted);
}

}  // namespace ZyData
