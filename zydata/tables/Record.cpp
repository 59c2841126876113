#include "zydata/tables/Record.h"

#include <iostream>
#include <utility>

#include "util/Assert.h"
#include "util/Error.h"
#include "zydata/schema/Print.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/ClassSchema.h"

namespace ZyData {

template class Record<UntypedClass>;

std::vector<std::shared_ptr<DataObj>> RecordBase::split(std::uint64_t n) {
  UTIL_ASSERT(n > 0);
  std::vector<std::vector<std::shared_ptr<DataObj>>> pieces(n);
  for (const auto& part : field_data()) {
    const std::vector<std::shared_ptr<DataObj>> split_part = part->split(n);
    for (std::uint64_t i = 0; i < n; ++i) {
      if (split_part[i] == nullptr) throw Util::Error("field '%s' can't be split", part->schema()->name().c_str());
      pieces[i].push_back(split_part[i]);
    }
  }
  std::vector<std::shared_ptr<DataObj>> records;
  for (auto& children : pieces) records.push_back(with_children(schema()->clone(nullptr), std::move(children)));
  return records;
}

std::shared_ptr<DataObj> RecordBase::select(const std::shared_ptr<DataObj>& ids) { return select(ids->to_id_vector()); }

std::shared_ptr<DataObj> RecordBase::select(const std::vector<std::int32_t>& ids) {
  std::vector<std::shared_ptr<DataObj>> children;
  std::shared_ptr<Schema> selected = select_fields(ids, children);
  return with_children(std::move(selected), std::move(children));
}

void RecordBase::vectorize(FrameList& frames, std::shared_ptr<DataObj> /*self*/) { vectorize_children(frames); }

void RecordBase::print(int indent) {
  std::cout << indent_text(indent) << schema()->type_name() << " record {\n";
  for (const auto& part : field_data()) part->print(indent + 1);
  std::cout << indent_text(indent) << "}\n" << std::endl;
}

std::shared_ptr<Schema> RecordBase::field_form(const std::shared_ptr<Schema>& form) const {
  const bool declared =
      dynamic_cast<const ClassSchemaBase*>(form.get()) != nullptr && (form->kind() & (kKindRecord | kKindFrame)) == 0;
  return declared ? form->vector_form() : form;
}

std::shared_ptr<Record<UntypedClass>> make_record(std::string name) {
  return std::make_shared<Record<UntypedClass>>(make_record_schema(std::move(name)));
}

}  // namespace ZyData
