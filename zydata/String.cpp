#include "zydata/String.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <utility>

#include "util/Error.h"
#include "zydata/GenericValue.h"
#include "zydata/Print.h"
#include "zydata/Schema.h"
#include "zydata/VarArrayImpl.h"

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

bool StringData::fits(std::uint64_t n) try {
  d_text.resize(n);
  return true;
} catch (const std::exception&) {  // longer than a string can be, or than memory allows
  return false;
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
    : Base(std::move(schema), std::move(offsets), std::move(values), start, count) {}

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

}  // namespace ZyData
