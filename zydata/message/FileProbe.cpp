#include "zydata/message/FileProbe.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <utility>

#include "util/Bytes.h"
#include "util/Error.h"
#include "util/Platform.h"
#include "zydata/schema/Kind.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"

namespace ZyData {
namespace {

constexpr std::uint64_t kHeaderSize = 12;
constexpr std::uint32_t kSchemaFrames = 3;

constexpr std::uint32_t kIsDataFlag = 1;

/// A regular file, read from its start on. No other is opened: a pipe would wait for its writer.
class InputFile {
 public:
  explicit InputFile(const std::string& path) {
    Util::Platform& platform = Util::platform();
    if (platform.permissions(path.c_str()) >= 0) d_fd = platform.open_for_reading(path.c_str());
    if (d_fd >= 0) {
      errno = EEXIST;  // what stays when it has become something else by now
      d_size = platform.bytes_to_end(d_fd);
    }
    if (d_size < 0) d_error_number = errno;
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() {
    if (d_fd >= 0) Util::platform().close(d_fd);
  }

  /// 0 for a file that is open; EEXIST for one that is no regular file.
  int error_number() const { return d_error_number; }
  std::uint64_t size() const { return static_cast<std::uint64_t>(d_size); }
  /// False, with errno, unless all of the next `size` bytes could be read; 0 when the file ends before.
  bool read(char* target, std::uint64_t size) {
    while (size > 0) {
      errno = 0;
      const std::int64_t moved = Util::platform().read(d_fd, target, size);
      if (moved <= 0) return false;
      target += moved;
      size -= static_cast<std::uint64_t>(moved);
    }
    return true;
  }

 private:
  int d_fd = -1;
  std::int64_t d_size = -1;
  int d_error_number = 0;
};

class Probe {
 public:
  explicit Probe(const std::string& path) : d_file(path) {}

  FileReport run() {
    if (open() && check_header() && check_sizes() && check_nodes()) check_types();
    return d_report;
  }

 private:
  // Each check answers false when the report has got a fault.
  bool open();
  bool check_header();
  bool check_sizes();
  bool check_nodes();
  bool check_types();

  bool fault(FileFault fault, std::string text, std::optional<std::uint64_t> offset = std::nullopt) {
    d_report.fault = fault;
    d_report.text = std::move(text);
    d_report.offset = offset;
    return false;
  }
  bool ends_early(std::string text, std::uint64_t offset);
  bool unreadable(const std::string& why) { return fault(FileFault::unreadable, "it can't be read: " + why); }
  bool read(char* target, std::uint64_t size) {
    if (d_file.read(target, size)) return true;
    return unreadable(errno != 0 ? Util::system_error_text(errno) : "unexpected end of file");
  }
  /// The schema frames lie one behind the other and are read in their order.
  bool read_frame(std::size_t number, std::string& bytes);

  struct Frame {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };

  InputFile d_file;
  std::array<Frame, kSchemaFrames> d_frames;
  std::string d_nodes;
  FileReport d_report;
  FileProbe& d_found = d_report.found;
};

bool Probe::open() {
  const int error_number = d_file.error_number();
  if (error_number == ENOENT) return fault(FileFault::missing, "there is no such file");
  if (error_number == EEXIST) return fault(FileFault::unreadable, "it is no readable file");
  if (error_number != 0) return unreadable(Util::system_error_text(error_number));
  d_found.file_bytes = d_file.size();
  return true;
}

/// A header that this library would not have written makes it more likely that the file is something else.
bool Probe::ends_early(std::string text, std::uint64_t offset) {
  const bool is_ours = d_found.tag == 0 && (d_found.flags & ~kIsDataFlag) == 0;
  if (is_ours) return fault(FileFault::cut_short, std::move(text), offset);
  return fault(FileFault::not_ours, "it does not begin like a file of this library", 0);
}

bool Probe::check_header() {
  if (d_found.file_bytes == 0) return fault(FileFault::empty, "it is empty");
  d_found.message_bytes = kHeaderSize;
  if (d_found.file_bytes < kHeaderSize) return ends_early("it has fewer bytes than a header", 0);
  std::array<char, kHeaderSize> header{};
  if (!read(header.data(), header.size())) return false;
  d_found.frame_count = Util::load<std::uint32_t>(header.data());
  d_found.tag = Util::load<std::uint32_t>(header.data() + 4);
  d_found.flags = Util::load<std::uint32_t>(header.data() + 8);
  if ((d_found.flags & kIsDataFlag) == 0) return fault(FileFault::not_ours, "it holds no data object", 8);
  if (d_found.frame_count < kSchemaFrames)
    return fault(FileFault::not_ours, "its message has fewer than three frames", 0);
  d_found.message_bytes += std::uint64_t{8} * d_found.frame_count;
  if (d_found.message_bytes <= d_found.file_bytes) return true;
  return ends_early("it ends inside the table of frame sizes", kHeaderSize);
}

bool Probe::check_sizes() {
  std::uint64_t end = d_found.message_bytes;  // of the frames so far
  std::optional<std::uint32_t> cut;           // the first frame that is not there as a whole
  std::array<std::uint64_t, 4096> sizes{};    // a part of the table
  for (std::uint32_t i = 0; i < d_found.frame_count; ++i) {
    const std::size_t place = i % sizes.size();
    const std::size_t count = std::min<std::size_t>(sizes.size(), d_found.frame_count - i);
    if (place == 0 && !read(reinterpret_cast<char*>(sizes.data()), count * sizeof sizes[0])) return false;
    const std::uint64_t size = sizes[place];
    if (i < kSchemaFrames) d_frames[i] = {end, size};
    if (!cut && size > d_found.file_bytes - end) cut = i;
    if (!cut) end += size;
    d_found.message_bytes += std::min(size, std::numeric_limits<std::uint64_t>::max() - d_found.message_bytes);
  }
  return cut ? ends_early("it ends inside frame " + std::to_string(*cut), end) : true;
}

bool Probe::read_frame(std::size_t number, std::string& bytes) {
  bytes.resize(d_frames[number].size);  // the file is known to hold as many
  return read(bytes.data(), bytes.size());
}

bool Probe::check_nodes() {
  if (!read_frame(0, d_nodes)) return false;
  try {
    check_node_table(d_nodes);
  } catch (const Util::Error& error) {
    return fault(FileFault::damaged, error.what(), d_frames[0].offset);
  }
  d_found.node_count = static_cast<std::uint32_t>(d_nodes.size() / kNodeSize);
  return true;
}

bool is_registered(const SchemaHeader& header) {
  if (find_factory_or_null(header.type_name, header.kind) == nullptr) return false;
  return (header.kind & kKindClassAccess) == 0 || has_class_schema(header.type_name);
}

bool Probe::check_types() {
  std::string parameters, strings;  // what the types need of the former is checked when they are made
  if (!read_frame(1, parameters) || !read_frame(2, strings)) return false;
  SchemaTableReader reader(d_nodes, "", strings);
  std::uint64_t offset = d_frames[0].offset;
  try {
    for (; reader.next_index() < reader.node_count(); offset += kNodeSize) {
      const SchemaHeader header = reader.next();
      if (is_registered(header)) continue;
      d_report.unknown_type = header.type_name;
      return fault(FileFault::unknown_type, "type \"" + header.type_name.str() + "\" is not registered", offset);
    }
  } catch (const Util::Error& error) {
    return fault(FileFault::damaged, error.what(), offset);
  }
  return true;
}

}  // namespace

FileReport inspect_file(const std::string& path) { return Probe(path).run(); }

FileProbe probe_file(const std::string& path) {
  const FileReport report = inspect_file(path);
  if (report.fault == FileFault::none || report.fault == FileFault::unknown_type) return report.found;
  throw Util::Error("file '" + path + "': " + report.text);
}

}  // namespace ZyData
