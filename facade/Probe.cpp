#include "facade/Probe.h"

#include <cerrno>
#include <new>

#include "facade/ConfigTable.h"
#include "facade/DatabaseFile.h"
#include "facade/LayoutTables.h"
#include "facade/MeshRecord.h"
#include "mpsys/FileConnection.h"
#include "util/Error.h"
#include "zydata/message/serialize.h"

namespace Mesh2DPlat {
namespace {

using ZyData::FileFault;

/// Throws Util::Error unless the tables of these rows are there with their columns.
template <class... P>
void check_tables(ZyData::DataObj& tree) {
  (void(RowReader<P>(tree)), ...);
}

void check_database(ZyData::DataObj& tree) {
  refuse_fields_in_files(*tree.schema());
  ConfigTable::check(tree);
  check_tables<EM2DNetProxy, EM2DVertexProxy, EM2DLayerProxy, EM2DSignalProxy, EM2DShapeProxy, EM2DViaProxy,
               EM2DPolyViaProxy, EM2DTraceProxy>(tree);
  PinTable::check(tree);
}

void check_mesh(ZyData::DataObj& tree) {
  refuse_fields_in_files(*tree.schema());
  void(MeshTables(tree));
}

bool has_table(ZyData::DataObj& tree, const char* name) { return tree.find_path_or_null(name) != nullptr; }

void check_content(ZyData::DataObj& tree) {
  if (has_table(tree, EM2DNetProxy::kTable)) check_database(tree);
  if (has_table(tree, MeshNodeProxy::kTable)) check_mesh(tree);
}

void load_and_check(const std::string& path) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> loaded;
  ZyData::receiveDataObject(connection, loaded);
  const OwnedTree tree(std::move(loaded));
  if (tree) check_content(*tree);
}

}  // namespace

ProbeResult probe(const std::string& path) {
  register_layout_types();
  register_mesh_types();
  ZyData::FileReport report = ZyData::inspect_file(path);
  ProbeResult result{report.fault,
                     std::move(report.text),
                     report.found.message_bytes,
                     report.found.file_bytes,
                     std::move(report.unknown_type),
                     "",
                     "",
                     report.offset};
  if (result.fault != FileFault::none) return result;
  try {
    load_and_check(path);
  } catch (const Util::Error& error) {
    if (error.error_number() == ENOMEM) throw std::bad_alloc();
    result.fault = error.error_number() == 0 ? FileFault::damaged : FileFault::unreadable;
    result.text = error.what();
    result.table = error.table();
    result.column = error.column();
    result.offset = error.offset();
  } catch (const MPSys::NonDataMessageException& error) {
    result.fault = FileFault::not_ours;  // the file has changed since the first look
    result.text = error.what();
  }
  return result;
}

}  // namespace Mesh2DPlat
