#include "tools/corvane/layout/Origin.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <system_error>

#include "tools/corvane/support/LineText.h"
#include "tools/corvane/support/PendingFolder.h"

namespace CorvaneTool {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kVersion = 1;
constexpr const char* kMeshName = "corvane2d";
constexpr std::uintmax_t kLargest = 1 << 20;  // bytes of what is read of an origin's file

[[noreturn]] void fail(const std::string& path, const char* what) {
  throw std::runtime_error(path + ": cannot be " + what + ": " + std::generic_category().message(errno));
}

std::optional<std::string> digest_if_readable(const std::string& path) {
  std::error_code ignored;
  if (fs::is_directory(path, ignored) || fs::is_fifo(path, ignored)) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  std::uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
  std::array<char, 1 << 16> bytes;
  do {
    stream.read(bytes.data(), bytes.size());
    for (std::streamsize i = 0; i < stream.gcount(); ++i)
      hash = (hash ^ static_cast<unsigned char>(bytes[static_cast<std::size_t>(i)])) * 0x100000001b3U;
  } while (stream);
  if (!stream.eof()) return std::nullopt;
  std::array<char, 16> digits;
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), hash, 16);
  const std::string text(digits.data(), end);
  return std::string(digits.size() - text.size(), '0') + text;
}

std::string text_in(const json& object, const char* key) {
  const auto entry = object.find(key);
  return entry != object.end() && entry->is_string() ? entry->get<std::string>() : std::string();
}

}  // namespace

std::string digest_of_file(const std::string& path) {
  errno = 0;
  std::optional<std::string> digest = digest_if_readable(path);
  if (!digest) fail(path, "read");
  return *std::move(digest);
}

std::string origin_path(const std::string& file) {
  const std::string stem = fs::path(file).stem().string();
  return fs::path(file).replace_filename(stem + (stem == kMeshName ? ".json" : ".board.json")).string();
}

void write_origin(const std::string& file, const Origin& origin) {
  const fs::path path = origin_path(file);
  const nlohmann::ordered_json entries = {{"version", kVersion},
                                          {"file_digest", digest_of_file(file)},
                                          {"source", origin.source},
                                          {"source_digest", origin.source_digest}};
  PendingFolder pending(path.parent_path().string());
  errno = 0;
  std::ofstream stream(pending.file("origin"), std::ios::binary);
  stream << entries.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
  stream.close();
  if (!stream) fail(path.string(), "written");
  pending.commit("origin", path.filename().string());
}

std::optional<Origin> read_origin(const std::string& file) {
  const std::string path = origin_path(file);
  std::error_code error;
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kLargest) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  const json entries = json::parse(stream, nullptr, false);
  if (!entries.is_object() || entries.value("version", json()) != kVersion) return std::nullopt;
  Origin origin{text_in(entries, "source"), text_in(entries, "source_digest")};
  if (origin.source.empty() || text_in(entries, "file_digest") != digest_if_readable(file)) return std::nullopt;
  return origin;
}

std::optional<MeshSource> source_of_mesh(const std::string& mesh_file) {
  if (fs::path(mesh_file).stem() != kMeshName) return std::nullopt;
  const std::optional<Origin> origin = read_origin(mesh_file);
  if (!origin) return std::nullopt;
  const fs::path name = fs::path(origin->source).filename();
  const std::optional<std::string> digest = digest_if_readable(fs::path(mesh_file).replace_filename(name).string());
  if (!digest) return MeshSource{name.string(), MeshSource::State::Gone};
  return MeshSource{name.string(),
                    *digest == origin->source_digest ? MeshSource::State::Current : MeshSource::State::Changed};
}

std::string in_words(const MeshSource& source) {
  const std::string text = "made from " + printable(source.database);
  switch (source.state) {
    case MeshSource::State::Current:
      return text;
    case MeshSource::State::Changed:
      return text + ", which has changed since: the mesh is stale";
    case MeshSource::State::Gone:
      return text + ", which is not there any more";
  }
  return text;
}

nlohmann::ordered_json to_json(const MeshSource& source) {
  const char* state = source.state == MeshSource::State::Current   ? "current"
                      : source.state == MeshSource::State::Changed ? "changed"
                                                                   : "gone";
  return {{"database", source.database}, {"state", state}};
}

}  // namespace CorvaneTool
