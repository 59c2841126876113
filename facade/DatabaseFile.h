// Trees on their way to files and back.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "mpsys/Message.h"
#include "zydata/object/data.h"

namespace Mesh2DPlat {

/// A tree that nobody else holds on to. Children know their parents, so a tree that is merely let go of keeps itself
/// alive; this takes it apart.
class OwnedTree {
 public:
  OwnedTree() = default;
  explicit OwnedTree(std::shared_ptr<ZyData::DataObj> tree) : d_tree(std::move(tree)) {}
  ~OwnedTree() {
    if (d_tree != nullptr) d_tree->clear_hierarchy();
  }
  OwnedTree(OwnedTree&&) = default;
  OwnedTree& operator=(OwnedTree&&) = delete;

  explicit operator bool() const { return d_tree != nullptr; }
  ZyData::DataObj& operator*() const { return *d_tree; }
  const std::shared_ptr<ZyData::DataObj>& get() const { return d_tree; }
  std::shared_ptr<ZyData::DataObj> release() { return std::move(d_tree); }

 private:
  std::shared_ptr<ZyData::DataObj> d_tree;
};

/// An empty tree of this schema, with all parents linked.
OwnedTree make_tree(const std::shared_ptr<ZyData::Schema>& schema);

/// Throws Util::Error for a path that goes on behind a zero byte, where the system would take another file.
void check_path(const std::string& path);
/// Throws std::filesystem::filesystem_error when the system can't tell.
bool exists(const std::string& path);
/// One level only.
void create_directory_if_absent(const std::string& path);

/// Throws Util::Error when a field's elements lie in a file of their own: a database is one file, and what it names may
/// not be opened. Such fields open nothing before their first use, so no file was opened yet.
void refuse_fields_in_files(const ZyData::Schema& schema);
void write_file(const std::string& path, const MPSys::Message& message);
/// The tree in a file; none when the file is too short for a message. Throws Util::Error for one with fields whose
/// elements lie in files of their own.
OwnedTree read_file(const std::string& path);

}  // namespace Mesh2DPlat
