#include "zydata/arrays/String.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "util/Error.h"
#include "zydata/arrays/VarArrayImpl.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace ZyData {

template class RunArray<char, std::string_view>;

namespace {

void check_unnamed(const std::string& name, const DataObj& object) {
  if (name.empty()) return;
  throw Util::Error("\"%s\" has no field named '%s'", object.schema()->name().c_str(), name.c_str());
}

}  // namespace

StringData::StringData(std::shared_ptr<Schema> schema, std::string text)
    : DataObj(std::move(schema)), d_text(std::move(text)) {}

void StringData::set_field(const std::string& name, std::string_view text) {
  check_unnamed(name, *this);
  set(text);
}

void StringData::set_value(const GenericValue& value) { set(value.text()); }

bool StringData::fits(std::uint64_t n) {
  if (n > d_text.max_size()) return false;
  d_text.resize(n);
  return true;
}

void StringData::print(int indent) { print(std::cout, indent); }

void StringData::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << "String \"" << d_text << "\"\n" << std::flush;
}

StringArray::StringArray(std::shared_ptr<Schema> schema)
    : StringArray(std::move(schema), std::make_shared<RunOffsets>(), std::make_shared<CpuVector<char>>(), 0,
                  kToTheEnd) {}

StringArray::StringArray(std::shared_ptr<Schema> schema, std::shared_ptr<RunOffsets> offsets,
                         std::shared_ptr<CpuVector<char>> values, std::uint64_t start, std::uint64_t count)
    : RunArray(std::move(schema), std::move(offsets), std::move(values), start, count) {}

std::shared_ptr<DataObj> StringArray::view(std::shared_ptr<RunOffsets> offsets, std::shared_ptr<CpuVector<char>> values,
                                           std::uint64_t start, std::uint64_t count) const {
  return std::shared_ptr<StringArray>(new StringArray(schema(), std::move(offsets), std::move(values), start, count));
}

void StringArray::set_field(const std::string& name, const std::vector<std::string>& texts) {
  check_unnamed(name, *this);
  StringArray replacement(schema());
  for (const std::string& text : texts) replacement.append(text);
  assign(replacement.offsets(), replacement.values());
}

GenericValue StringArray::get(int i) const { return GenericValue(std::string(run(static_cast<std::uint64_t>(i)))); }

void StringArray::set(int i, const GenericValue& value) { set(static_cast<std::uint64_t>(i), value.text()); }

void StringArray::push_back(const GenericValue& value) { append(value.text()); }

void StringArray::print(int indent) { print(std::cout, indent); }

void StringArray::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << schema()->name() << " StringArray[" << size() << "] = [ ";
  const std::uint64_t shown = std::min(size(), print_limit());
  for (std::uint64_t i = 0; i < shown; ++i) stream << '"' << view(i) << "\" ";
  if (size() > shown) stream << " ...";
  stream << "]\n" << std::flush;
}

template <class Base, class Ops>
std::int64_t Searchable<Base, Ops>::find(std::string_view text) {
  update_index();
  const std::int32_t e = d_index.find(Ops::hash(text), [&](const IndexEntry& entry) {
    return Ops::equal(this->view(static_cast<std::uint64_t>(entry.element)), text);
  });
  if (e != Util::kChainEnd) return d_index.entries[static_cast<std::uint64_t>(e)].element;
  const bool unwritten =
      text.empty() && d_indexed < this->size();  // elements that are still to be written read as empty
  return unwritten ? static_cast<std::int64_t>(d_indexed) : -1;
}

template <class Base, class Ops>
void Searchable<Base, Ops>::update_index() {
  const std::uint64_t written = this->filled_elements();
  if (d_revision != this->shared_offsets()->revision || written < d_indexed) {
    d_index.clear();
    d_indexed = 0;
    d_revision = this->shared_offsets()->revision;
  }
  const auto hash_of = [&](const IndexEntry& entry) {
    return Ops::hash(this->view(static_cast<std::uint64_t>(entry.element)));
  };
  for (; d_indexed < written; ++d_indexed) {
    const std::string_view text = this->view(d_indexed);
    const std::uint64_t hash = Ops::hash(text);
    const std::int32_t known = d_index.find(hash, [&](const IndexEntry& entry) {
      return Ops::equal(this->view(static_cast<std::uint64_t>(entry.element)), text);
    });
    if (known != Util::kChainEnd) continue;
    d_index.grow_for_one(hash_of);
    d_index.append(hash).element = static_cast<std::int32_t>(d_indexed);
  }
}

template class Searchable<StringArray, SearchOps<std::string_view>>;

std::shared_ptr<DataObj> SearchableStringArray::view(std::shared_ptr<RunOffsets> offsets,
                                                     std::shared_ptr<CpuVector<char>> values, std::uint64_t start,
                                                     std::uint64_t count) const {
  return std::shared_ptr<SearchableStringArray>(
      new SearchableStringArray(schema(), std::move(offsets), std::move(values), start, count));
}

void SearchableStringArray::vectorize(FrameList& frames, std::shared_ptr<DataObj> self) {
  frames.push_back(std::make_shared<FixedMemoryData>(d_stored_extent, sizeof d_stored_extent, self));
  StringArray::vectorize(frames, self);
}

std::uint64_t SearchableStringArray::size_bytes() const { return sizeof d_stored_extent + StringArray::size_bytes(); }

// What is stored is always a whole array: a part was made one when it was stored.
void SearchableStringArray::finish() {
  StringArray::finish();
  const bool whole = d_stored_extent[0] == 0 && d_stored_extent[1] == kToTheEnd && d_stored_extent[2] == 0;
  if (!whole) throw Util::Error("the stored extent of \"%s\" is not that of a whole array", schema()->name().c_str());
}

}  // namespace ZyData
