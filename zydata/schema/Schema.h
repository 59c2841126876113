// Schemas: what a data object is called in its parent, what its elements are, and which fields it has.
//
// A schema of a record or frame holds the schemas of its fields in order; that order is the order of printing and of
// storage. Schemas are shared: a change through one pointer is seen by every object that holds it. Not for several
// threads at once.
//
// A schema has at most 20000 nodes, itself included; its name, its second text and its type name have at most 65535
// bytes each. What is longer is refused with Util::Error where it is given. All texts together may have 64 MiB, and
// fields may be nested 256 deep: that is checked when the schema is stored.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/Export.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/SharedText.h"
#include "zydata/schema/TypeName.h"

namespace ZyData {

class DataFactory;
class SchemaTableReader;
class SchemaTableWriter;
struct SchemaHeader;
struct SchemaTable;

class CORVANE_API Schema {
 public:
  // --- slots, in order ---
  /// Copies everything but the flattened form into `target`, or into a new schema of this class when `target` is empty;
  /// field schemas are shared. Returns the target.
  virtual std::shared_ptr<Schema> clone(std::shared_ptr<Schema> target) const;  // 0
  virtual ~Schema();                                                            // 1
  /// Throws for the 20001st node, as far as nodes were added from the leaves up; objects count all of theirs.
  virtual void add_field(std::shared_ptr<Schema> field_schema);                 // 2
  virtual const std::shared_ptr<Schema>& field(std::int64_t index) const;       // 3: throws out of bounds
  virtual const std::shared_ptr<Schema>& field(const std::string& name) const;  // 4: throws when there is none
  virtual void clear_fields();                                                  // 5
  virtual bool predicate() const;                                               // 6: false
  /// Appends this node, its factory's parameters and its fields to the tables.
  virtual void serialize(SchemaTableWriter& writer) const;  // 7
  /// Takes over `header`, then reads the factory's parameters and the fields that follow. Returns the index of the next
  /// unread node.
  virtual std::uint32_t deserialize(SchemaTableReader& reader, const SchemaHeader& header);  // 8
  virtual std::shared_ptr<Schema> create() const;                                            // 9: a new, empty schema

  // --- not virtual ---
  /// Name "", element type void, kind 0, no fields, no factory.
  Schema();
  Schema(SharedText name, SharedText type_name, std::uint32_t kind, std::shared_ptr<DataFactory> factory);
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;

  const std::string& name() const { return d_name; }
  const std::string& second_text() const { return d_second_text; }
  const std::string& type_name() const { return d_type_name; }
  TypeIdentity type_identity() const { return d_type_identity; }
  std::uint32_t kind() const { return d_kind; }
  std::uint32_t further_word() const { return d_further_word; }
  const std::vector<std::shared_ptr<Schema>>& fields() const { return d_fields; }
  std::int64_t field_count() const { return static_cast<std::int64_t>(d_fields.size()); }
  const std::shared_ptr<DataFactory>& factory() const { return d_factory; }

  void set_name(std::string name);
  void set_second_text(std::string text);
  void set_further_word(std::uint32_t word);
  void set_kind_and_factory(std::uint32_t kind, std::shared_ptr<DataFactory> factory);

  /// Index of the first field with this exact name, -1 when there is none. Throws when this schema can have no fields.
  std::int64_t field_index(std::string_view name) const;
  /// "Record", "Frame", or the element type's name; the detailed form of a bound record or frame adds "<" element type
  /// name ">".
  std::string type_text(bool detailed) const;
  /// The rule for a new field of a record or frame object: throws when a field other than the first has this name.
  void check_new_field_name(const std::string& name) const;
  /// Throws, with how to enter it, when the registries lack this type: no reader could open a file of it.
  void check_registered() const;
  /// Throws when this schema with `more` nodes would have more than 20000 in all.
  void check_room_for(const Schema& more) const;
  /// Throws unless objects of this schema may hold frames: a frame may not.
  void check_takes_frames() const;
  /// Appends the frame form of a class schema. Throws when this schema takes no frames.
  void add_frame(const Schema& class_schema);

  /// The same schema as a column, or as a frame when it has fields: kind and factory in vector form, fields likewise.
  std::shared_ptr<Schema> vector_form() const;

  /// The tables that describe this schema in a message; made once and kept until something in the schema changes.
  std::shared_ptr<const SchemaTable> flattened() const;

 protected:
  void check_field_access() const;

 private:
  void touch();
  std::size_t count_nodes(std::size_t limit, int depth) const;
  std::uint64_t newest_stamp(int depth) const;

  SharedText d_name;                              // under which the object stands in its parent
  SharedText d_second_text;                       // copied and stored; without meaning here
  SharedText d_type_name;                         // of the element type
  TypeIdentity d_type_identity;                   // as stored; a new schema holds that of void
  std::uint32_t d_kind = 0;                       // kind word
  std::uint32_t d_further_word = 0;               // copied; its low byte is stored
  std::vector<std::shared_ptr<Schema>> d_fields;  // in order of insertion
  std::shared_ptr<DataFactory> d_factory;         // creates objects of this schema; empty for raw memory

  std::size_t d_nodes = 1;                                 // this one and those that its fields had when they came
  std::uint64_t d_stamp = 0;                               // number of the last change, process-wide increasing
  mutable std::shared_ptr<const SchemaTable> d_flattened;  // empty until first asked for
  mutable std::uint64_t d_flattened_stamp = 0;             // newest stamp in the tree when d_flattened was made
};

}  // namespace ZyData
