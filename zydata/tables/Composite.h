// What records and frames have in common: a list of children, one per field of the schema, in field order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/Export.h"
#include "zydata/object/data.h"

namespace ZyData {

class CORVANE_API Composite : public DataObj {
 public:
  using DataObj::print;

  // --- slots 9-15: building. A failed call changes nothing ---
  // Names have at most 65535 bytes, and the schema of the whole tree at most 20000 nodes: more throws Util::Error.
  /// Adds a new, empty child. A declared class schema becomes a frame of its rows.
  void add_field(const std::string& name, std::shared_ptr<Schema> schema) override;  // 9
  /// Adds an existing object as a child; its schema enters this object's schema. An object of another name gets a copy
  /// of its schema under `name`.
  void add_field(const std::string& name, std::shared_ptr<DataObj> data) override;  // 10
  /// Replaces a child by an object of the same element type, kind and fields.
  void set_field(const std::string& name, std::shared_ptr<DataObj> data) override;  // 11
  void set_field(const std::string& name, const GenericValue& value) override;      // 12
  void set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                 const GenericValue& values) override;                                      // 13
  void set_field(const std::string& name, std::string_view text) override;                  // 14
  void set_field(const std::string& name, const std::vector<std::string>& texts) override;  // 15

  // --- slots 17-19: children ---
  std::shared_ptr<DataObj> child(const std::string& name) override;  // 17
  /// Deliberate: an index equal to the number of children passes the check and yields an empty pointer.
  std::shared_ptr<DataObj> field(std::int64_t index) override;                                     // 18
  const std::vector<std::shared_ptr<DataObj>>& field_data() const override { return d_children; }  // 19

  // --- storage and hierarchy ---
  void finish() override;  // 32
  void build_traverse_hierarchy(const std::shared_ptr<DataObj>& self,
                                const std::shared_ptr<DataObj>& parent) override;  // 39
  void on_attached(std::shared_ptr<DataObj> root) override;                        // 40

 protected:
  /// Creates one empty child per field of `schema`.
  explicit Composite(std::shared_ptr<Schema> schema);
  /// Takes the children as they are.
  Composite(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> children);

  /// The form in which a field schema enters this object.
  virtual std::shared_ptr<Schema> field_form(const std::shared_ptr<Schema>& schema) const = 0;
  /// Called with a new child before it enters; throws when it does not fit.
  virtual void accept(DataObj& new_child, bool created_here) = 0;
  /// Throws unless new content for a field may have this many elements.
  virtual void check_elements(std::uint64_t count) const = 0;

  /// Throws Util::Error unless the schema has exactly the children as fields: objects that share a schema may have
  /// changed it.
  void check_described() const;
  /// Appends the children's frames, after that check.
  void vectorize_children(FrameList& frames);
  std::uint64_t children_size_bytes() const;
  /// The schema of `ids` among the fields, and their children, shared.
  std::shared_ptr<Schema> select_fields(const std::vector<std::int32_t>& ids,
                                        std::vector<std::shared_ptr<DataObj>>& children) const;

 private:
  /// The child of this name; throws Util::Error for a path that leads elsewhere.
  std::shared_ptr<DataObj> own_field(const std::string& name);
  void append_child(std::shared_ptr<Schema> schema, std::shared_ptr<DataObj> new_child);
  /// The outermost object that holds this one, as far as parents are linked.
  const DataObj& top() const;
  /// Throws Util::Error when `data` is this object or one that holds it.
  void check_not_above(const DataObj& data) const;

  std::vector<std::shared_ptr<DataObj>> d_children;
};

/// A signed 64-bit index as it addresses `count` children: taken as a signed 32-bit number, widened and compared
/// unsigned. Throws the given texts below 0 and above `count`; `count` itself passes.
std::uint64_t checked_child_index(std::int64_t index, std::uint64_t count, const char* negative_text,
                                  const char* too_large_text);

}  // namespace ZyData
