// A file of the data library, loaded to be looked at.
#pragma once

#include <memory>
#include <string>

#include "zydata/message/FileProbe.h"
#include "zydata/object/data.h"

namespace CorvaneTool {

class TableFile {
 public:
  /// Throws with the file's name unless it is sound and all its types are known. Whatever database this process has
  /// open is gone afterwards.
  explicit TableFile(const std::string& path);
  ~TableFile();
  TableFile(const TableFile&) = delete;
  TableFile& operator=(const TableFile&) = delete;

  const ZyData::FileProbe& probe() const { return d_probe; }
  ZyData::DataObj& root() const { return *d_root; }

 private:
  ZyData::FileProbe d_probe;
  std::shared_ptr<ZyData::DataObj> d_root;  // never null
};

}  // namespace CorvaneTool
