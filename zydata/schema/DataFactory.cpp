#include "zydata/schema/DataFactory.h"

#include "util/Error.h"
#include "zydata/schema/Kind.h"

namespace ZyData {
namespace {

thread_local bool content_expected = false;

}  // namespace

ReceivedContent::ReceivedContent() { content_expected = true; }

ReceivedContent::~ReceivedContent() { content_expected = false; }

bool ReceivedContent::is_expected() { return content_expected; }

std::shared_ptr<DataObj> DataFactory::create_from(const std::shared_ptr<Schema>& schema) const {
  return create(schema);
}

std::shared_ptr<DataFactory> DataFactory::vector_factory(std::uint32_t kind, std::uint32_t /*initial_count*/) const {
  throw_cannot_vectorize(kind);
}

void DataFactory::store_kind(FactoryKey& key) const { key.kind = d_kind; }

void DataFactory::throw_cannot_vectorize(std::uint32_t kind) {
  throw Util::Error("can't vectorize type 0x%x [%s]", kind, kind_to_string(kind).c_str());
}

}  // namespace ZyData
