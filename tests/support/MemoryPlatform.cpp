#include "tests/support/MemoryPlatform.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace TestSupport {

MemoryPlatform& MemoryPlatform::instance() {
  static MemoryPlatform platform;
  return platform;
}

int MemoryPlatform::open(std::string& bytes) {
  auto free = std::find_if(d_open.begin(), d_open.end(), [](const OpenFile& file) { return file.bytes == nullptr; });
  if (free == d_open.end()) free = d_open.insert(free, OpenFile());
  *free = {&bytes, 0};
  return kFirst + static_cast<int>(free - d_open.begin());
}

int MemoryPlatform::open_for_reading(const char* path) {
  const auto found = files.find(path);
  if (found != files.end()) return open(found->second);
  errno = ENOENT;
  return -1;
}

int MemoryPlatform::open_for_writing(const char* path, unsigned) { return open(files[path] = ""); }

int MemoryPlatform::close(int fd) {
  if (fd < kFirst) return Platform::close(fd);
  at(fd).bytes = nullptr;
  return 0;
}

std::int64_t MemoryPlatform::read(int fd, void* data, std::size_t size) {
  OpenFile& file = at(fd);
  const std::size_t moved = std::min(size, file.bytes->size() - file.position);
  if (moved > 0) std::memcpy(data, file.bytes->data() + file.position, moved);
  file.position += moved;
  return static_cast<std::int64_t>(moved);
}

std::int64_t MemoryPlatform::write(int fd, const void* data, std::size_t size) {
  at(fd).bytes->append(static_cast<const char*>(data), size);
  return static_cast<std::int64_t>(size);
}

std::int64_t MemoryPlatform::read_scattered(int fd, const Util::IoBuffer* buffers, std::size_t count) {
  std::int64_t moved = 0;
  for (std::size_t i = 0; i < count; ++i) moved += read(fd, buffers[i].data, buffers[i].size);
  return moved;
}

std::int64_t MemoryPlatform::write_gathered(int fd, const Util::IoBuffer* buffers, std::size_t count) {
  std::int64_t moved = 0;
  for (std::size_t i = 0; i < count; ++i) moved += write(fd, buffers[i].data, buffers[i].size);
  return moved;
}

std::int64_t MemoryPlatform::bytes_to_end(int fd) {
  return lengthsKnown ? static_cast<std::int64_t>(at(fd).bytes->size() - at(fd).position) : -1;
}

int MemoryPlatform::control_blocking_mode(int, int) { return -1; }

bool MemoryPlatform::exists(const std::string& path, std::error_code&) {
  return path.find('.') == std::string::npos || files.contains(path);
}

int MemoryPlatform::open_regular(const char* path, bool) {
  const auto found = files.find(path);
  if (found == files.end()) {
    errno = ENOENT;
    return -1;
  }
  const int fd = Platform::open_unnamed("");
  if (fd >= 0) Platform::write(fd, found->second.data(), found->second.size());
  return fd;
}

int MemoryPlatform::permissions(const char* path) { return files.contains(path) ? 0644 : Platform::permissions(path); }

}  // namespace TestSupport

namespace Util {

Platform& platform() { return TestSupport::MemoryPlatform::instance(); }

}  // namespace Util
