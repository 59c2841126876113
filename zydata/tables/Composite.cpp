#include "zydata/tables/Composite.h"

#include <algorithm>
#include <utility>

#include "util/Error.h"
#include "zydata/arrays/String.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/LoadPlace.h"

namespace ZyData {
namespace {

std::vector<std::shared_ptr<DataObj>> create_children(const Schema& schema) {
  std::vector<std::shared_ptr<DataObj>> children;
  children.reserve(schema.fields().size());
  for (const auto& field : schema.fields()) {
    if (field->factory() == nullptr) throw Util::Error("schema \"%s\" has no data factory", field->name().c_str());
    children.push_back(field->factory()->create_from(field));
  }
  return children;
}

std::shared_ptr<Schema> renamed(const std::shared_ptr<Schema>& schema, const std::string& name) {
  if (schema->name() == name) return schema;
  std::shared_ptr<Schema> copy = schema->clone(nullptr);
  copy->set_name(name);
  return copy;
}

/// True when objects of both schemas have the same fields and contribute the same frames.
bool is_same_shape(const Schema& a, const Schema& b) {
  return a.type_name() == b.type_name() && a.kind() == b.kind() &&
         std::equal(a.fields().begin(), a.fields().end(), b.fields().begin(), b.fields().end(),
                    [](const auto& x, const auto& y) { return x->name() == y->name() && is_same_shape(*x, *y); });
}

}  // namespace

std::uint64_t checked_child_index(std::int64_t index, std::uint64_t count, const char* negative_text,
                                  const char* too_large_text) {
  if (index < 0) throw Util::Error(std::string(negative_text));
  const auto narrowed = static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(index)});
  if (narrowed > count) throw Util::Error(std::string(too_large_text));
  return narrowed;
}

Composite::Composite(std::shared_ptr<Schema> schema)
    : DataObj(std::move(schema)), d_children(create_children(*this->schema())) {}

Composite::Composite(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> children)
    : DataObj(std::move(schema)), d_children(std::move(children)) {}

void Composite::add_field(const std::string& name, std::shared_ptr<Schema> new_schema) {
  schema()->check_new_field_name(name);
  if (new_schema == nullptr) throw Util::Error("no schema was given for field '%s'", name.c_str());
  std::shared_ptr<Schema> form = renamed(field_form(new_schema), name);
  if (form->factory() == nullptr) throw Util::Error("schema \"%s\" has no data factory", name.c_str());
  top().schema()->check_room_for(*form);
  std::shared_ptr<DataObj> new_child = form->factory()->create_from(form);
  accept(*new_child, true);
  append_child(std::move(form), std::move(new_child));
}

void Composite::add_field(const std::string& name, std::shared_ptr<DataObj> data) {
  schema()->check_new_field_name(name);
  if (data == nullptr) throw Util::Error("no data object was given for field '%s'", name.c_str());
  check_not_above(*data);
  top().schema()->check_room_for(*data->schema());
  std::shared_ptr<Schema> form = renamed(data->schema(), name);
  accept(*data, false);
  append_child(form, data);
  describe_by(*data, std::move(form));  // what is later added to the object must reach this object's schema
}

void Composite::append_child(std::shared_ptr<Schema> form, std::shared_ptr<DataObj> new_child) {
  d_children.reserve(d_children.size() + 1);
  schema()->add_field(std::move(form));
  d_children.push_back(std::move(new_child));
  const std::shared_ptr<DataObj> self = weak_from_this().lock();
  if (self != nullptr) d_children.back()->build_traverse_hierarchy(d_children.back(), self);
}

void Composite::set_field(const std::string& name, std::shared_ptr<DataObj> data) {
  const std::shared_ptr<DataObj> old = find_path(name);
  const auto place = static_cast<std::size_t>(schema()->field_index(name));
  const bool fits_here =
      data != nullptr && place < d_children.size() && is_same_shape(*data->schema(), *schema()->fields()[place]);
  if (!fits_here) throw Util::Error("the data object given for field '%s' is of another type", name.c_str());
  check_not_above(*data);
  accept(*data, false);
  describe_by(*data, schema()->fields()[place]);
  d_children[place] = std::move(data);
  const std::shared_ptr<DataObj> self = weak_from_this().lock();
  if (self != nullptr) d_children[place]->build_traverse_hierarchy(d_children[place], self);
}

std::shared_ptr<DataObj> Composite::own_field(const std::string& name) {
  std::shared_ptr<DataObj> found = find_path(name);
  if (std::find(d_children.begin(), d_children.end(), found) != d_children.end()) return found;
  throw Util::Error("'%s' is not a field of object \"%s\" itself", name.c_str(), schema()->name().c_str());
}

void Composite::set_field(const std::string& name, const GenericValue& value) {
  const std::shared_ptr<DataObj> target = own_field(name);
  check_elements(value.count());
  target->set_value(value);
}

void Composite::set_field(const std::string& name, const std::vector<std::int32_t>& offsets,
                          const GenericValue& values) {
  const std::shared_ptr<DataObj> target = own_field(name);
  check_elements(offsets.empty() ? 0 : offsets.size() - 1);
  target->set_field("", offsets, values);
}

void Composite::set_field(const std::string& name, std::string_view text) {
  own_field(name);
  get<StringData>(name)->set(text);
}

void Composite::set_field(const std::string& name, const std::vector<std::string>& texts) {
  own_field(name);
  const auto target = get<StringArray>(name);
  check_elements(texts.size());
  target->set_field("", texts);
}

std::shared_ptr<DataObj> Composite::child(const std::string& name) {
  if (name.empty()) return shared_from_this();
  const std::shared_ptr<DataObj> found = find_path_or_null(name);
  if (found == nullptr) {
    throw Util::Error(
        "Attempt to access field '%s', while the data '%s' does not match the name! Please double check the name of "
        "the "
        "field.",
        name.c_str(), schema()->type_name().c_str());
  }
  found->on_access();
  return found;
}

std::shared_ptr<DataObj> Composite::field(std::int64_t index) {
  const std::uint64_t place = checked_child_index(
      index, d_children.size(), "To extract the field pointer, the provided index should not be negative!",
      "To extract the field pointer, the provided index should not be larger than the size of the field vector!");
  return place == d_children.size() ? nullptr : d_children[place];
}

void Composite::finish() {
  for (std::size_t i = 0; i < d_children.size(); ++i) {
    try {
      d_children[i]->finish();
    } catch (Util::Error& error) {
      enter_child(error, *this, i);
      throw;
    }
  }
}

void Composite::build_traverse_hierarchy(const std::shared_ptr<DataObj>& self, const std::shared_ptr<DataObj>& parent) {
  DataObj::build_traverse_hierarchy(self, parent);
  for (const auto& part : d_children) part->build_traverse_hierarchy(part, self);
}

void Composite::on_attached(std::shared_ptr<DataObj> root) {
  for (const auto& part : d_children) part->on_attached(root);
}

const DataObj& Composite::top() const {
  const DataObj* at = this;
  while (at->parent() != nullptr && at->parent().get() != at) at = at->parent().get();
  return *at;
}

void Composite::check_not_above(const DataObj& data) const {
  for (const DataObj* at = this;; at = at->parent().get()) {
    if (at == &data) throw Util::Error("object \"%s\" can't become a part of itself", data.schema()->name().c_str());
    if (at->parent() == nullptr || at->parent().get() == at) return;
  }
}

void Composite::check_described() const {
  const auto& fields = schema()->fields();
  if (fields.size() != d_children.size()) {
    throw Util::Error("object \"%s\" has %zu fields, its schema describes %zu", schema()->name().c_str(),
                      d_children.size(), fields.size());
  }
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& own = d_children[i]->schema();
    if (own == fields[i] || is_same_shape(*own, *fields[i])) continue;
    throw Util::Error("field '%s' of object \"%s\" is not what its schema describes", fields[i]->name().c_str(),
                      schema()->name().c_str());
  }
}

void Composite::vectorize_children(FrameList& frames) {
  check_described();
  for (const auto& part : d_children) part->vectorize(frames, part);
}

std::uint64_t Composite::children_size_bytes() const {
  std::uint64_t bytes = 0;
  for (const auto& part : d_children) bytes += part->size_bytes();
  return bytes;
}

std::shared_ptr<Schema> Composite::select_fields(const std::vector<std::int32_t>& ids,
                                                 std::vector<std::shared_ptr<DataObj>>& children) const {
  std::shared_ptr<Schema> selected = schema()->clone(nullptr);
  selected->clear_fields();
  for (const std::int32_t id : ids) {
    const std::uint64_t place = checked_child_index(
        id, d_children.size(), "To select fields, the provided index should not be negative!",
        "To select fields, the provided index should not be larger than the size of the field vector!");
    if (place == d_children.size()) throw Util::Error("The field id is out-of-bounds");
    selected->add_field(schema()->field(static_cast<std::int64_t>(place)));
    children.push_back(d_children[place]);
  }
  return selected;
}

}  // namespace ZyData
