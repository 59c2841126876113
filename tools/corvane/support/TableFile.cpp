#include "tools/corvane/support/TableFile.h"

#include "facade/DBZydata.h"
#include "mpsys/FileConnection.h"
#include "util/Error.h"
#include "zydata/message/serialize.h"

namespace CorvaneTool {
namespace {

std::shared_ptr<ZyData::DataObj> load(const std::string& path) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> root;
  try {
    if (ZyData::receiveDataObject(connection, root)) return root;
  } catch (const std::exception& error) {
    throw Util::Error("file '" + path + "': " + error.what());
  }
  throw Util::Error("file '" + path + "': it holds no message");
}

}  // namespace

TableFile::TableFile(const std::string& path) {
  const Mesh2DPlat::DBZydata registers_the_types("");
  d_probe = ZyData::probe_file(path);
  d_root = load(path);
}

// Children know their parents, so a tree that is merely let go of would stay.
TableFile::~TableFile() { d_root->clear_hierarchy(); }

}  // namespace CorvaneTool
