// Records: one object of a schema, held as one child data object per field.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "util/Export.h"
#include "zydata/schema/TypeName.h"
#include "zydata/tables/Composite.h"

namespace ZyData {

class CORVANE_API RecordBase : public Composite {
 public:
  using DataObj::print;
  using DataObj::select;

  /// `n` records whose children are the pieces of this record's children.
  std::vector<std::shared_ptr<DataObj>> split(std::uint64_t n) override;          // 6
  std::shared_ptr<DataObj> select(const std::shared_ptr<DataObj>& ids) override;  // 7
  /// A record of the children whose indices are listed; they are shared.
  std::shared_ptr<DataObj> select(const std::vector<std::int32_t>& ids) override;  // 8
  void vectorize(FrameList& frames, std::shared_ptr<DataObj> self) override;       // 29
  std::uint64_t size_bytes() const override { return children_size_bytes(); }      // 30
  void print(int indent) override;                                                 // 36

 protected:
  using Composite::Composite;

  std::shared_ptr<Schema> field_form(const std::shared_ptr<Schema>& schema) const override;
  void accept(DataObj&, bool) override {}
  void check_elements(std::uint64_t) const override {}
  virtual std::shared_ptr<RecordBase> with_children(std::shared_ptr<Schema> schema,
                                                    std::vector<std::shared_ptr<DataObj>> children) const = 0;
};

/// A record of structure T, or of a plain schema for UntypedClass.
template <class T>
class Record final : public RecordBase {
 public:
  explicit Record(std::shared_ptr<Schema> schema) : RecordBase(std::move(schema)) {}
  Record(std::shared_ptr<Schema> schema, std::vector<std::shared_ptr<DataObj>> children)
      : RecordBase(std::move(schema), std::move(children)) {}

 private:
  std::shared_ptr<RecordBase> with_children(std::shared_ptr<Schema> schema,
                                            std::vector<std::shared_ptr<DataObj>> children) const override {
    return std::make_shared<Record>(std::move(schema), std::move(children));
  }
};

extern template class CORVANE_API Record<UntypedClass>;

/// An empty record under a plain schema of this name, held by nobody yet.
CORVANE_API std::shared_ptr<Record<UntypedClass>> make_record(std::string name);

}  // namespace ZyData
