#include "bench/peers/Files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>

namespace CorvaneBench::Peers {
namespace {

void check(bool done, const std::string& what) {
  if (!done) throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), what);
}

// A call takes so many parts and moves 2 GiB at the most: what it leaves goes into the next.
template <class Call>
void move_all(std::vector<iovec> parts, const char* what, Call&& call) {
  for (std::size_t first = 0; first < parts.size();) {
    errno = 0;
    const std::size_t count = std::min<std::size_t>(parts.size() - first, IOV_MAX);
    const ssize_t moved = call(&parts[first], static_cast<int>(count));
    check(moved >= 0, what);
    auto left = static_cast<std::size_t>(moved);
    const std::size_t before = first;
    for (; first < parts.size() && left >= parts[first].iov_len; ++first) left -= parts[first].iov_len;
    check(first > before || left > 0, what);
    if (left == 0) continue;
    parts[first].iov_base = static_cast<char*>(parts[first].iov_base) + left;
    parts[first].iov_len -= left;
  }
}

}  // namespace

File::File(const std::string& path, int flags) : d_descriptor(::open(path.c_str(), flags, 0666)) {
  check(d_descriptor >= 0, path);
}

File File::created(const std::string& path) { return File(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC); }

File File::opened(const std::string& path) { return File(path, O_RDONLY | O_CLOEXEC); }

File::~File() { ::close(d_descriptor); }

std::size_t File::size() const {
  struct stat status {};
  check(::fstat(d_descriptor, &status) == 0, "fstat");
  return static_cast<std::size_t>(status.st_size);
}

void File::write(const std::vector<iovec>& parts) const {
  move_all(parts, "writev", [this](const iovec* first, int count) { return ::writev(d_descriptor, first, count); });
}

void File::read(const std::vector<iovec>& parts) const {
  move_all(parts, "readv", [this](const iovec* first, int count) { return ::readv(d_descriptor, first, count); });
}

Mapping::Mapping(const std::string& path) {
  const File file = File::opened(path);
  d_size = file.size();
  void* view = ::mmap(nullptr, d_size, PROT_READ, MAP_PRIVATE, file.descriptor(), 0);
  check(view != MAP_FAILED, "mmap");
  d_begin = static_cast<const std::byte*>(view);
}

Mapping::~Mapping() { ::munmap(const_cast<std::byte*>(d_begin), d_size); }

}  // namespace CorvaneBench::Peers
