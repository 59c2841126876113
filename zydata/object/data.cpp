#include "zydata/object/data.h"

#include <iostream>
#include <utility>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/schema/GenericValue.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"

namespace ZyData {
namespace {

// The three kinds of default: a stub, a fixed text, and nothing at all.
template <class Result>
Result stub() {
  UTIL_DEBUG_ASSERT("operation is not available for this data object");
  return Result();
}

[[noreturn]] void unavailable(const char* text) { throw Util::Error(std::string(text)); }

void does_nothing() {}

constexpr const char* kOnlyCompositesAddFields = "can only add_field to a Record or Frame type";

}  // namespace

const std::shared_ptr<Schema>& raw_memory_schema() {
  static const auto& schema = *new std::shared_ptr<Schema>(std::make_shared<Schema>());
  return schema;
}

DataObj::DataObj(std::shared_ptr<Schema> schema) : d_schema(std::move(schema)) {}

DataObj::DataObj(const DataObj& other) : std::enable_shared_from_this<DataObj>(), d_schema(other.d_schema) {}

DataObj::~DataObj() = default;

std::uint64_t DataObj::size() const { return 0; }
void DataObj::refresh() { does_nothing(); }

std::shared_ptr<DataObj> DataObj::slice(std::uint64_t, std::uint64_t) { return stub<std::shared_ptr<DataObj>>(); }
std::shared_ptr<DataObj> DataObj::copy(std::uint64_t, std::uint64_t) { return stub<std::shared_ptr<DataObj>>(); }

bool DataObj::is_composite() const { return (d_schema->kind() & kKindComposite) != 0; }

std::vector<std::shared_ptr<DataObj>> DataObj::split(std::uint64_t n) {
  UTIL_ASSERT(n > 0);
  const std::uint64_t chunk = size() / n;
  std::vector<std::shared_ptr<DataObj>> parts;
  parts.reserve(n);
  for (std::uint64_t i = 0; i + 1 < n; ++i) parts.push_back(slice(i * chunk, chunk));
  parts.push_back(slice((n - 1) * chunk, chunk + size() % n));
  return parts;
}

std::shared_ptr<DataObj> DataObj::select(const std::shared_ptr<DataObj>&) { return stub<std::shared_ptr<DataObj>>(); }
std::shared_ptr<DataObj> DataObj::select(const std::vector<std::int32_t>&) { return stub<std::shared_ptr<DataObj>>(); }

void DataObj::add_field(const std::string&, std::shared_ptr<Schema>) { unavailable(kOnlyCompositesAddFields); }
void DataObj::add_field(const std::string&, std::shared_ptr<DataObj>) { unavailable(kOnlyCompositesAddFields); }
void DataObj::set_field(const std::string&, std::shared_ptr<DataObj>) { stub<void>(); }
void DataObj::set_field(const std::string&, const GenericValue&) { stub<void>(); }
void DataObj::set_field(const std::string&, const std::vector<std::int32_t>&, const GenericValue&) {
  unavailable("Only VarArray type can set field with two vectors!");
}
void DataObj::set_field(const std::string&, std::string_view) { stub<void>(); }
void DataObj::set_field(const std::string&, const std::vector<std::string>&) { stub<void>(); }
void DataObj::concat(const DataObj&) { unavailable("Concat unimplemented or unavailable"); }

std::shared_ptr<DataObj> DataObj::child(const std::string&) { unavailable("Only sub data types can call this!"); }
std::shared_ptr<DataObj> DataObj::field(std::int64_t) { return stub<std::shared_ptr<DataObj>>(); }
const std::vector<std::shared_ptr<DataObj>>& DataObj::field_data() const {
  unavailable("Only record and frame data have field data, please check the data type!");
}
std::vector<std::int32_t> DataObj::to_id_vector() const {
  unavailable("Invalid or unimplemented call to DataObj::to_id_vector");
}

void* DataObj::address(int) { return stub<void*>(); }
void* DataObj::data() { return stub<void*>(); }
GenericValue DataObj::get(int) const { return stub<GenericValue>(); }
void DataObj::set(int, const GenericValue&) { stub<void>(); }
GenericValue DataObj::value() const { return stub<GenericValue>(); }
void DataObj::set_value(const GenericValue&) { stub<void>(); }
void DataObj::push_back(const GenericValue&) { stub<void>(); }
void DataObj::reserved_28() { stub<void>(); }

void DataObj::vectorize(FrameList& frames, std::shared_ptr<DataObj> self) { frames.push_back(std::move(self)); }
bool DataObj::fits(std::uint64_t n) { return n <= size_bytes(); }
void DataObj::finish() { does_nothing(); }
std::shared_ptr<void> DataObj::message() { return nullptr; }
void DataObj::on_access() { does_nothing(); }
void DataObj::reset() { does_nothing(); }

void DataObj::print(int indent) {
  const std::uint64_t size = size_bytes();
  const void* bytes = size == 0 ? nullptr : data();
  std::cout << indent_text(indent) << "unknown type ";
  print_bytes(std::cout, bytes, bytes == nullptr ? 0 : size);
  std::cout << std::endl;
}

void DataObj::print(std::ostream&, int indent) { print(indent); }
void DataObj::reserved_38() { does_nothing(); }

void DataObj::build_traverse_hierarchy(const std::shared_ptr<DataObj>&, const std::shared_ptr<DataObj>& parent) {
  d_parent = parent;
}

void DataObj::on_attached(std::shared_ptr<DataObj>) { does_nothing(); }

const std::string& DataObj::type_name() const { return d_schema->type_name(); }

void DataObj::clear_hierarchy() {
  const std::shared_ptr<DataObj> keep = weak_from_this().lock();  // the root's parent link may be its last holder
  d_parent.reset();
  if (d_schema == nullptr || (d_schema->kind() & (kKindRecord | kKindFrame)) == 0) return;
  for (const auto& part : field_data()) part->clear_hierarchy();
}

MessageDataObj::MessageDataObj(std::shared_ptr<void> message)
    : DataObj(raw_memory_schema()), d_message(std::move(message)) {}

}  // namespace ZyData
