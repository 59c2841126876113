// What a file was made from, as a small JSON file beside it says: a mesh from a database (`corvane2d.json` beside
// `corvane2d.zydat`), a database from a board (`<name>.board.json` beside `<name>.zydat`).
//
// A convenience: nothing needs these files, and one that is missing, of another version, or about other bytes than the
// file beside it now has tells nothing. Programs of this repository write them when they are done with the file.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace CorvaneTool {

struct Origin {
  std::string source;  // a mesh: the database's file name, in the same folder; a database: the board's absolute path
  std::string source_digest;
};

/// 16 hexadecimal digits of the file's bytes, to see whether it is still the same; no protection against forgery.
/// Throws std::runtime_error when it cannot be read.
std::string digest_of_file(const std::string& path);

/// The file that `write_origin` writes: `corvane2d.json` or `<name>.board.json`.
std::string origin_path(const std::string& file);

/// Says that `file`, with the bytes that it has now, was made from `origin`. Replaces what was said before, whole or
/// not at all; throws std::runtime_error when it cannot be written. Take the source's digest before reading the source.
void write_origin(const std::string& file, const Origin& origin);

/// Never throws for what the origin's file holds.
std::optional<Origin> read_origin(const std::string& file);

struct MeshSource {
  enum class State { Current, Changed, Gone };

  std::string database;  // file name
  State state;           // of the database: as it was meshed or not
};

/// Nothing for a mesh whose origin is not known.
std::optional<MeshSource> source_of_mesh(const std::string& mesh_file);

/// "made from board.zydat", "made from board.zydat, which has changed since: the mesh is stale"; control characters are
/// escaped.
std::string in_words(const MeshSource& source);

/// {"database": "board.zydat", "state": "current"}; the state may also be "changed" or "gone".
nlohmann::ordered_json to_json(const MeshSource& source);

}  // namespace CorvaneTool
