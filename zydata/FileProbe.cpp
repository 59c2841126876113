#include "zydata/FileProbe.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "util/Bytes.h"
#include "util/Error.h"
#include "zydata/SchemaTable.h"

namespace ZyData {
namespace {

constexpr std::uint64_t kHeaderSize = 12;
constexpr std::uint32_t kSchemaFrames = 3;

class Probe {
 public:
  explicit Probe(const std::string& path) : d_path(path), d_stream(path, std::ios::binary) {
    std::error_code error;
    const bool readable = d_stream.is_open() && std::filesystem::is_regular_file(path, error);
    if (!readable) fail("it is no readable file");
    d_result.file_bytes = std::filesystem::file_size(path, error);
    if (error) fail("its size is unknown");
  }

  FileProbe run() {
    read_header();
    const std::uint64_t node_bytes = read_sizes();
    check_nodes(node_bytes);
    return d_result;
  }

 private:
  [[noreturn]] void fail(const std::string& reason) const { throw Util::Error("file '" + d_path + "': " + reason); }

  void read(char* target, std::uint64_t size) {
    d_stream.read(target, static_cast<std::streamsize>(size));
    if (!d_stream) fail("it can't be read");
  }

  void read_header() {
    if (d_result.file_bytes < kHeaderSize) fail("it has fewer bytes than a header");
    std::array<char, kHeaderSize> header{};
    read(header.data(), header.size());
    d_result.frame_count = Util::load<std::uint32_t>(header.data());
    d_result.tag = Util::load<std::uint32_t>(header.data() + 4);
    d_result.flags = Util::load<std::uint32_t>(header.data() + 8);
    if ((d_result.flags & 1U) == 0) fail("it holds no data object");
    if (d_result.frame_count < kSchemaFrames) fail("its message has fewer than three frames");
    if (d_result.frame_count > (d_result.file_bytes - kHeaderSize) / 8) fail("it ends inside the table of frame sizes");
  }

  /// Sums the frame sizes; returns that of the node table.
  std::uint64_t read_sizes() {
    std::uint64_t node_bytes = 0;
    d_result.message_bytes = kHeaderSize + std::uint64_t{8} * d_result.frame_count;
    for (std::uint32_t i = 0; i < d_result.frame_count; ++i) {
      std::array<char, 8> bytes{};
      read(bytes.data(), bytes.size());
      const auto size = Util::load<std::uint64_t>(bytes.data());
      if (i == 0) node_bytes = size;
      if (size > d_result.file_bytes - d_result.message_bytes) fail("it ends inside frame " + std::to_string(i));
      d_result.message_bytes += size;
    }
    return node_bytes;
  }

  void check_nodes(std::uint64_t node_bytes) {
    std::string nodes(node_bytes, '\0');  // the file is known to hold as many bytes
    read(nodes.data(), nodes.size());
    try {
      check_node_table(nodes);
    } catch (const Util::Error& error) {
      fail(error.what());
    }
    d_result.node_count = static_cast<std::uint32_t>(node_bytes / kNodeSize);
  }

  std::string d_path;
  std::ifstream d_stream;
  FileProbe d_result;
};

}  // namespace

FileProbe probe_file(const std::string& path) { return Probe(path).run(); }

}  // namespace ZyData
