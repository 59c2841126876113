// From a board file to a verified database file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tools/corvane/board/SkippedItems.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneTool {

struct ImportRequest {
  std::string board;
  std::string directory;  // may be missing, but not its parent
  std::string name;       // the file is <directory>/<name>.zydat
  int columns = 1;        // copies of the board side by side
  int rows = 1;
  std::uint64_t limit = 0;  // bytes of the database, roughly; 0: default_limit()
  bool force = false;       // an earlier database is replaced whatever it was made from
};

/// What may become of a board by default: 64 MiB and 16 times the board's file, for each copy, but at most 1 GiB in
/// all.
std::uint64_t default_limit(std::uint64_t board_bytes, std::uint64_t copies);

struct ImportReport {
  std::string database;  // path
  std::uint64_t bytes = 0;
  // Of what stands in the file, in the order in which a reader needs the tables.
  std::vector<std::pair<std::string, std::uint64_t>> rows;    // by table
  std::vector<std::pair<std::string, std::uint64_t>> values;  // in list columns
  SkippedItems skipped;
  std::vector<std::pair<std::string, double>> seconds;  // by phase
};

/// Is told how much is done and what begins, for people who wait: "29 %, write em2dshape".
using Progress = std::function<void(const std::string& text)>;

/// Reads the board, writes it to a database, reads that back with a fresh instance and compares the two object by
/// object. Throws when anything fails or differs; then there is no new file, and an earlier one of that name is as it
/// was. An earlier database that was made from another board, or that has been changed since, is only replaced by
/// force. What the database was made from stands in its origin's file (Origin.h).
ImportReport import_board(const ImportRequest& request, const Progress& progress);

}  // namespace CorvaneTool
