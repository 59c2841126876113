#include "zydata/schema/Schema.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {
namespace {

std::uint64_t next_stamp() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

Schema::Schema() : Schema("", element_type_name<void>(), 0, nullptr) {}

Schema::Schema(SharedText name, SharedText type_name, std::uint32_t kind, std::shared_ptr<DataFactory> factory)
    : d_name(std::move(name)),
      d_type_name(std::move(type_name)),
      d_type_identity(TypeIdentity::of(d_type_name.str())),
      d_kind(kind),
      d_factory(std::move(factory)),
      d_stamp(next_stamp()) {
  check_text_size(d_name.str().size());
  check_text_size(d_type_name.str().size());
}

Schema::~Schema() = default;

std::shared_ptr<Schema> Schema::clone(std::shared_ptr<Schema> target) const {
  if (target == nullptr) target = create();
  if (target.get() == this) return target;
  if (!target->d_fields.empty()) target->clear_fields();
  target->d_name = d_name;
  target->d_second_text = d_second_text;
  target->d_type_name = d_type_name;
  target->d_type_identity = d_type_identity;
  target->d_kind = d_kind;
  target->d_further_word = d_further_word;
  target->d_factory = d_factory;
  target->touch();
  for (const auto& field_schema : d_fields) target->add_field(field_schema);  // its class may keep more per field
  return target;
}

void Schema::add_field(std::shared_ptr<Schema> field_schema) {
  check_field_access();
  UTIL_ASSERT(field_schema != nullptr);
  const std::size_t nodes = d_nodes + field_schema->d_nodes;
  check_node_count(nodes);
  d_fields.push_back(std::move(field_schema));
  d_nodes = nodes;
  touch();
}

const std::shared_ptr<Schema>& Schema::field(std::int64_t index) const {
  check_field_access();
  if (index < 0 || index >= field_count()) throw Util::Error("The field id is out-of-bounds");
  return d_fields[static_cast<std::size_t>(index)];
}

const std::shared_ptr<Schema>& Schema::field(const std::string& name) const {
  const std::int64_t index = field_index(name);
  // Deliberate: the text shows one character of the name, its first.
  if (index < 0) throw Util::Error("Schema doesn't have the field with name %c \n", name.empty() ? '\0' : name.front());
  return d_fields[static_cast<std::size_t>(index)];
}

void Schema::clear_fields() {
  check_field_access();
  d_fields.clear();
  d_nodes = 1;
  touch();
}

bool Schema::predicate() const { return false; }

void Schema::serialize(SchemaTableWriter& writer) const {
  const NestingGuard guard(writer.depth());
  if (d_factory == nullptr) throw Util::Error("schema \"%s\" has no data factory and can't be stored", d_name.c_str());
  check_registered();
  writer.add_node({d_name, d_second_text, d_type_name, d_kind, static_cast<std::uint32_t>(d_fields.size()),
                   d_type_identity, static_cast<std::uint8_t>(d_further_word)});
  d_factory->write_parameters(writer.parameters());
  for (const auto& field_schema : d_fields) field_schema->serialize(writer);
}

std::uint32_t Schema::deserialize(SchemaTableReader& reader, const SchemaHeader& header) {
  const NestingGuard guard(reader.depth());
  d_name = header.name;
  d_second_text = header.second_text;
  d_type_name = header.type_name;
  d_type_identity = header.type_identity;
  d_kind = header.kind;
  d_further_word = header.further_byte;
  d_fields.clear();
  d_nodes = 1;
  d_factory = find_factory(d_type_name, d_kind)->read_parameters(reader.parameters());
  for (std::uint32_t i = 0; i < header.field_count; ++i) {
    check_field_access();
    const SchemaHeader field_header = reader.next();
    try {
      std::shared_ptr<Schema> field_schema = create_schema(field_header);
      field_schema->deserialize(reader, field_header);
      add_field(std::move(field_schema));
    } catch (Util::Error& error) {
      const bool is_table = (field_header.kind & (kKindRecord | kKindFrame)) != 0;
      error.enter_field(field_header.name, is_table);
      throw;
    }
  }
  touch();
  return reader.next_index();
}

std::shared_ptr<Schema> Schema::create() const { return std::make_shared<Schema>(); }

void Schema::set_name(std::string name) {
  check_text_size(name.size());
  d_name = std::move(name);
  touch();
}

void Schema::set_second_text(std::string text) {
  check_text_size(text.size());
  d_second_text = std::move(text);
  touch();
}

void Schema::set_further_word(std::uint32_t word) {
  d_further_word = word;
  touch();
}

void Schema::set_kind_and_factory(std::uint32_t kind, std::shared_ptr<DataFactory> factory) {
  d_kind = kind;
  d_factory = std::move(factory);
  touch();
}

std::int64_t Schema::field_index(std::string_view name) const {
  check_field_access();
  const auto found =
      std::find_if(d_fields.begin(), d_fields.end(), [&](const auto& field) { return field->d_name.str() == name; });
  return found == d_fields.end() ? -1 : found - d_fields.begin();
}

std::string Schema::type_text(bool detailed) const {
  const bool is_record = (d_kind & kKindRecord) != 0;
  if (!is_record && (d_kind & kKindFrame) == 0) return d_type_name;
  std::string text = is_record ? "Record" : "Frame";
  if (detailed && (d_kind & kKindClassAccess) != 0) text += "<" + d_type_name.str() + ">";
  return text;
}

void Schema::check_new_field_name(const std::string& name) const {
  // Deliberate: a second field with the name of the first one is accepted.
  if (field_index(name) <= 0) return;
  throw Util::Error("object type '%s' already have a field named '%s'", d_name.c_str(), name.c_str());
}

void Schema::check_room_for(const Schema& more) const {
  check_node_count(count_nodes(kMaxNodes, 0) + more.count_nodes(kMaxNodes, 0));
}

void Schema::add_frame(const Schema& class_schema) {
  check_takes_frames();
  add_field(class_schema.vector_form());
}

std::shared_ptr<Schema> Schema::vector_form() const {
  if ((d_kind & kKindHasFields) == 0 && d_factory == nullptr)
    throw Util::Error("schema \"%s\" has no data factory", d_name.c_str());
  if ((d_kind & kKindClassAccess) != 0) find_class_schema(d_type_name);
  std::shared_ptr<Schema> result = clone(nullptr);
  if ((d_kind & kKindHasFields) != 0) {
    const std::uint32_t kind = (d_kind & ~kKindRecord) | kKindFrame;
    result->set_kind_and_factory(kind, find_factory(d_type_name, kind)->copy());
    for (auto& field_schema : result->d_fields) field_schema = field_schema->vector_form();
  } else {
    std::shared_ptr<DataFactory> factory = d_factory->vector_factory(d_kind, 0);
    const std::uint32_t kind = (d_kind & ~kKindKeyMask) | factory->kind();
    result->set_kind_and_factory(kind, std::move(factory));
  }
  return result;
}

std::shared_ptr<const SchemaTable> Schema::flattened() const {
  const std::uint64_t stamp = newest_stamp(0);
  if (d_flattened == nullptr || stamp != d_flattened_stamp) {
    SchemaTableWriter writer;
    serialize(writer);
    d_flattened = std::make_shared<const SchemaTable>(writer.take());
    d_flattened_stamp = stamp;
  }
  return d_flattened;
}

void Schema::check_field_access() const {
  if ((d_kind & kKindHasFields) != 0) return;
  throw Util::Error(
      "illegal call to a Schema function to access sub-fields (this is reserved for Record/Field schema objects only "
      "-- "
      "you are calling for object \"%s\" with type \"%s\")",
      d_name.c_str(), type_text(true).c_str());
}

void Schema::check_registered() const {
  if ((d_kind & kKindClassAccess) != 0) find_class_schema(d_type_name);
  find_factory(d_type_name, d_kind);
}

void Schema::check_takes_frames() const {
  if ((d_kind & kKindTakesFrames) != 0) return;
  throw Util::Error(
      "illegal call to a Schema function to add a Frame sub-fields (this is reserved for Record schema objects only -- "
      "you are calling for object \"%s\" with type \"%s\")",
      d_name.c_str(), type_text(true).c_str());
}

void Schema::touch() {
  d_stamp = next_stamp();
  d_flattened.reset();
}

/// Stops counting above `limit`: fields that are shared may be too many to visit.
std::size_t Schema::count_nodes(std::size_t limit, int depth) const {
  const NestingGuard guard(depth);
  std::size_t nodes = 1;
  for (const auto& field_schema : d_fields) {
    if (nodes > limit) break;
    nodes += field_schema->count_nodes(limit - nodes, depth);
  }
  return nodes;
}

std::uint64_t Schema::newest_stamp(int depth) const {
  const NestingGuard guard(depth);
  std::uint64_t newest = d_stamp;
  for (const auto& field_schema : d_fields) newest = std::max(newest, field_schema->newest_stamp(depth));
  return newest;
}

}  // namespace ZyData
