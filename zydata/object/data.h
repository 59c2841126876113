// The abstract base of every data object.
//
// A data object holds values and is described by a Schema; it has no name of its own: a child of a record or frame is
// known by the name of the schema field under which it stands. Data objects live in shared pointers; every operation
// that hands out a child or a part returns one, and an empty pointer means "none".
//
// The 41 virtual operations form one table, in this order. A default is one of three: it does nothing or computes from
// the schema, it throws a fixed text, or it is a stub, which fails an assertion in debug builds and answers with an
// empty result in release builds.
//
// Nothing here locks: a data object and its hierarchy belong to one thread at a time.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "util/Export.h"

namespace ZyData {

class DataObj;
class GenericValue;
class Schema;

/// The memory that data objects contribute to a message, in order.
using FrameList = std::vector<std::shared_ptr<DataObj>>;

/// The one schema of all raw memory: name "", element type void, no fields. Made on first use, once for all threads.
CORVANE_API const std::shared_ptr<Schema>& raw_memory_schema();

class CORVANE_API DataObj : public std::enable_shared_from_this<DataObj> {
 public:
  explicit DataObj(std::shared_ptr<Schema> schema);
  /// Copies the schema pointer; the copy has no parent.
  DataObj(const DataObj& other);
  DataObj& operator=(const DataObj&) = delete;

  // --- slots 0-2: life and size ---
  virtual ~DataObj();                  // 0
  virtual std::uint64_t size() const;  // 1: elements or rows; 0
  virtual void refresh();              // 2: hook: parts were changed from outside; does nothing

  // --- slots 3-8: slicing and selecting ---
  virtual std::shared_ptr<DataObj> slice(std::uint64_t first, std::uint64_t count);  // 3: view of a range; stub
  virtual std::shared_ptr<DataObj> copy(std::uint64_t first, std::uint64_t count);   // 4: owned copy of a range; stub
  virtual bool is_composite() const;                                                 // 5: from the schema's kind word
  /// `n` slices of size() / n elements, the last one with the remainder. `n` must not be 0.
  virtual std::vector<std::shared_ptr<DataObj>> split(std::uint64_t n);           // 6
  virtual std::shared_ptr<DataObj> select(const std::shared_ptr<DataObj>& ids);   // 7: ids as a data object; stub
  virtual std::shared_ptr<DataObj> select(const std::vector<std::int32_t>& ids);  // 8: stub

  // --- slots 9-16: building ---
  virtual void add_field(const std::string& name, std::shared_ptr<Schema> schema);  // 9: throws
  virtual void add_field(const std::string& name, std::shared_ptr<DataObj> data);   // 10: throws
  virtual void set_field(const std::string& name, std::shared_ptr<DataObj> data);   // 11: replaces a child; stub
  virtual void set_field(const std::string& name, const GenericValue& value);       // 12: whole content; stub
  virtual void set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                         const GenericValue& values);                                      // 13: runs; throws
  virtual void set_field(const std::string& name, std::string_view text);                  // 14: stub
  virtual void set_field(const std::string& name, const std::vector<std::string>& texts);  // 15: stub
  virtual void concat(const DataObj& other);                                               // 16: throws

  // --- slots 17-20: children and ids ---
  virtual std::shared_ptr<DataObj> child(const std::string& name);          // 17: by path; "" is this object; throws
  virtual std::shared_ptr<DataObj> field(std::int64_t index);               // 18: stub
  virtual const std::vector<std::shared_ptr<DataObj>>& field_data() const;  // 19: all children; throws
  virtual std::vector<std::int32_t> to_id_vector() const;                   // 20: throws

  // --- slots 21-28: elements and values ---
  virtual void* address(int index);                        // 21: of one element; stub
  virtual void* data();                                    // 22: first byte; stub
  virtual void set(int index, const GenericValue& value);  // 23: one element; stub
  virtual GenericValue get(int index) const;               // 24: stub
  virtual GenericValue value() const;                      // 25: the whole content; stub
  virtual void set_value(const GenericValue& value);       // 26: stub
  virtual void push_back(const GenericValue& value);       // 27: stub
  virtual void reserved_28();                              // 28: stub

  // --- slots 29-35: storage ---
  /// Appends the objects whose memory a message carries for this object: writer and reader use the same list. Their
  /// number and order depend on the schema alone.
  virtual void vectorize(FrameList& frames, std::shared_ptr<DataObj> self);  // 29: itself
  virtual std::uint64_t size_bytes() const = 0;                              // 30
  /// Prepares for `n` bytes that a message brings; false when they do not fit. The default serves plain byte areas:
  /// whatever has a size of its own takes no other.
  virtual bool fits(std::uint64_t n);       // 31: n <= size_bytes()
  virtual void finish();                    // 32: for loaders only: checks what they filled; does nothing
  virtual std::shared_ptr<void> message();  // 33: owner of the bytes; empty
  virtual void on_access();                 // 34: hook of typed child access; does nothing
  virtual void reset();                     // 35: empties an array; does nothing

  // --- slots 36-40: printing and hierarchy ---
  virtual void print(int indent);                        // 36: to standard output
  virtual void print(std::ostream& stream, int indent);  // 37: forwards to slot 36
  virtual void reserved_38();                            // 38: does nothing
  /// Links this object to `parent`, and everything below to what holds it. The root gets itself:
  /// `root->build_traverse_hierarchy(root, root)`. Links are strong: a linked tree keeps itself alive until
  /// clear_hierarchy().
  virtual void build_traverse_hierarchy(const std::shared_ptr<DataObj>& self,
                                        const std::shared_ptr<DataObj>& parent);  // 39
  virtual void on_attached(std::shared_ptr<DataObj> root);  // 40: hook: the tree under `root` is complete; does nothing

  // --- not virtual ---
  const std::shared_ptr<Schema>& schema() const { return d_schema; }
  const std::shared_ptr<DataObj>& parent() const { return d_parent; }
  /// The name of the schema's element type.
  const std::string& type_name() const;

  /// The object at a relative path of field names and "..", separated by "/". Throws Util::Error for a malformed name
  /// and for a step that does not exist.
  std::shared_ptr<DataObj> find_path(std::string_view name);
  /// The same walk; empty when a step does not exist, and for ".." at the root. Throws Util::Error for a malformed name
  /// only.
  std::shared_ptr<DataObj> find_path_or_null(std::string_view name);

  /// The object at a path as a T. Throws Util::Error when there is none or when it is no T.
  template <class T>
  std::shared_ptr<T> get(const std::string& name);
  /// This object as a T, which must be held by a shared pointer. Throws Util::Error when it is no T.
  template <class T>
  std::shared_ptr<T> get();

  /// Takes the parent links of this object and of everything below it away.
  void clear_hierarchy();

 protected:
  /// Lets `object` be described by `schema`, which describes the same data.
  static void describe_by(DataObj& object, std::shared_ptr<Schema> schema) { object.d_schema = std::move(schema); }

 private:
  /// One step of a path, ".." or a field's name, for either walk.
  std::shared_ptr<DataObj> step(std::string_view name);
  std::shared_ptr<DataObj> step_or_null(std::string_view name);
  [[noreturn]] static void throw_type_mismatch(const std::string& name, const std::type_info& requested,
                                               const DataObj& found);
  [[noreturn]] void throw_type_mismatch(const std::type_info& requested) const;

  std::shared_ptr<Schema> d_schema;   // describes the object; may be empty only for objects that are never stored
  std::shared_ptr<DataObj> d_parent;  // empty until linked; the root holds itself
};

template <class T>
std::shared_ptr<T> DataObj::get(const std::string& name) {
  const std::shared_ptr<DataObj> found = find_path(name);
  std::shared_ptr<T> result = std::dynamic_pointer_cast<T>(found);
  if (result == nullptr) throw_type_mismatch(name, typeid(T), *found);
  result->on_access();
  return result;
}

template <class T>
std::shared_ptr<T> DataObj::get() {
  std::shared_ptr<T> result = std::dynamic_pointer_cast<T>(shared_from_this());
  if (result == nullptr) throw_type_mismatch(typeid(T));
  result->on_access();
  return result;
}

/// An object whose bytes lie in memory that a message or another owner keeps alive.
class CORVANE_API MessageDataObj : public DataObj {
 public:
  explicit MessageDataObj(std::shared_ptr<void> message);

  std::shared_ptr<void> message() override { return d_message; }  // 33

 private:
  std::shared_ptr<void> d_message;  // owner of the bytes, kept for this object's life; may be empty
};

}  // namespace ZyData
