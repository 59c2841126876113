#include "facade/Probe.h"

#include <cerrno>
#include <new>

#include "facade/DatabaseFile.h"
#include "facade/LayoutProxies.h"
#include "facade/LayoutTables.h"
#include "facade/MeshProxies.h"
#include "mpsys/FileConnection.h"
#include "util/Error.h"
#include "zydata/message/serialize.h"

namespace Mesh2DPlat {
namespace {

using ZyData::FileFault;

/// Throws Util::Error for what is wrong in spite of all tables being there.
void check_rows(ZyData::DataObj& tree, FileKind kind) {
  if (kind != FileKind::other) refuse_fields_in_files(*tree.schema());
  if (kind == FileKind::database) PinTable::check(tree);
}

void check_content(ZyData::DataObj& tree, ProbeResult& result) {
  result.content = probeContent(tree);
  const std::vector<ContentGap>& gaps = result.content.gaps;
  if (gaps.empty()) return check_rows(tree, result.content.kind);
  result.fault = FileFault::damaged;
  result.text = result.content.text();
  result.table = gaps[0].table;
  result.column = gaps[0].column;
}

void load_and_check(const std::string& path, ProbeResult& result) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> loaded;
  ZyData::receiveDataObject(connection, loaded);
  const OwnedTree tree(std::move(loaded));
  if (tree) check_content(*tree, result);
}

}  // namespace

ProbeResult probe(const std::string& path) {
  register_layout_types();
  register_mesh_types();
  ZyData::FileReport report = ZyData::inspect_file(path);
  ProbeResult result;
  result.fault = report.fault;
  result.text = std::move(report.text);
  result.expectedBytes = report.found.message_bytes;
  result.actualBytes = report.found.file_bytes;
  result.unknownType = std::move(report.unknown_type);
  result.offset = report.offset;
  if (result.fault != FileFault::none) return result;
  result.trailingBytes = result.actualBytes - result.expectedBytes;
  try {
    load_and_check(path, result);
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
