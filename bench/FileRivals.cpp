#include "bench/FileRivals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "zydata/object/data.h"

namespace CorvaneBench {
namespace {

class File {
 public:
  File(const std::string& path, int flags) : d_fd(::open(path.c_str(), flags, 0666)) { check(d_fd >= 0, path.c_str()); }
  ~File() { ::close(d_fd); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int fd() const { return d_fd; }
  static void check(bool done, const char* what) {
    if (!done) throw std::system_error(errno, std::generic_category(), what);
  }

 private:
  int d_fd;
};

std::size_t total_bytes(const std::vector<iovec>& buffers) {
  std::size_t bytes = 0;
  for (const iovec& buffer : buffers) bytes += buffer.iov_len;
  return bytes;
}

}  // namespace

GatheredFile::GatheredFile(const MPSys::Message& message)
    : d_header{static_cast<std::uint32_t>(message.frames.size()), message.tag, message.isData} {
  for (const auto& frame : message.frames) d_sizes.push_back(frame->size_bytes());
  d_buffers.push_back({d_header.data(), d_header.size() * sizeof d_header[0]});
  d_buffers.push_back({d_sizes.data(), d_sizes.size() * sizeof d_sizes[0]});
  for (const auto& frame : message.frames) d_buffers.push_back({frame->data(), frame->size_bytes()});
}

void GatheredFile::write(const std::string& path) const {
  const File file(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
  const ssize_t written = ::writev(file.fd(), d_buffers.data(), static_cast<int>(d_buffers.size()));
  File::check(written == static_cast<ssize_t>(total_bytes(d_buffers)), "writev");
}

FrameBuffers read_into_malloced_buffers(const std::string& path) {
  const File file(path, O_RDONLY | O_CLOEXEC);
  std::array<std::uint32_t, 3> header{};
  File::check(::read(file.fd(), header.data(), sizeof header) == sizeof header, "read");
  std::vector<std::uint64_t> sizes(header[0]);
  const std::size_t table_bytes = sizes.size() * sizeof sizes[0];
  File::check(::read(file.fd(), sizes.data(), table_bytes) == static_cast<ssize_t>(table_bytes), "read");
  FrameBuffers frames;
  std::vector<iovec> buffers;
  for (const std::uint64_t size : sizes) {
    if (size == 0) continue;
    frames.emplace_back(std::malloc(size), &std::free);
    buffers.push_back({frames.back().get(), size});
  }
  const ssize_t received = ::readv(file.fd(), buffers.data(), static_cast<int>(buffers.size()));
  File::check(received == static_cast<ssize_t>(total_bytes(buffers)), "readv");
  return frames;
}

}  // namespace CorvaneBench
