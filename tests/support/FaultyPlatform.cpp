#include "tests/support/FaultyPlatform.h"

#include <algorithm>
#include <cerrno>

namespace TestSupport {
namespace {

/// The first `bytes` bytes of a buffer list.
std::vector<Util::IoBuffer> cut(const Util::IoBuffer* buffers, std::size_t count, std::size_t bytes) {
  std::vector<Util::IoBuffer> result(buffers, buffers + count);
  for (auto& buffer : result) {
    buffer.size = std::min(buffer.size, bytes);
    bytes -= buffer.size;
  }
  return result;
}

}  // namespace

FaultyPlatform& FaultyPlatform::instance() {
  static FaultyPlatform platform;
  return platform;
}

void FaultyPlatform::reset() {
  d_orders.fill(Order());
  d_any = Order();
  d_faults = 0;
  d_first_fault = Operation::count;
  d_all = 0;
  before = nullptr;
  d_calls.fill(0);
  d_transfers.clear();
}

void FaultyPlatform::order(Operation operation, int nth, int error_number, std::size_t bytes) {
  const int first = calls(operation) + std::max(nth, 1);
  d_orders.at(static_cast<std::size_t>(operation)) = {first, nth == 0, error_number, bytes};
}

void FaultyPlatform::fail(Operation operation, int nth, int error_number) { order(operation, nth, error_number, 0); }

void FaultyPlatform::failAny(int nth, int error_number, bool and_all_behind) {
  d_any = {d_all + nth, and_all_behind, error_number, 0};
}

void FaultyPlatform::shorten(Operation operation, int nth, std::size_t bytes) { order(operation, nth, 0, bytes); }

int FaultyPlatform::calls(Operation operation) const { return d_calls.at(static_cast<std::size_t>(operation)); }

/// Counts a call. The order that is for it, or null.
const FaultyPlatform::Order* FaultyPlatform::strikes(Operation operation) {
  ++d_all;
  if (before) before(d_all);
  const auto index = static_cast<std::size_t>(operation);
  const int call = ++d_calls.at(index);
  const Order* order = d_any.is_for(d_all) ? &d_any : &d_orders.at(index);
  if (order != &d_any && !order->is_for(call)) return nullptr;
  if (++d_faults == 1) d_first_fault = operation;
  return order;
}

bool FaultyPlatform::fails(Operation operation) {
  const Order* order = strikes(operation);
  if (order == nullptr) return false;
  errno = order->errorNumber;
  return true;
}

template <class Call>
std::int64_t FaultyPlatform::transfer(Operation operation, const Util::IoBuffer* buffers, std::size_t count,
                                      Call call) {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < count; ++i) bytes += buffers[i].size;
  d_transfers.push_back({operation, count, bytes});
  const Order* order = strikes(operation);
  if (order == nullptr) return call(buffers);
  if (order->errorNumber == 0) return call(cut(buffers, count, order->bytes).data());
  errno = order->errorNumber;
  return -1;
}

int FaultyPlatform::open_for_reading(const char* path) {
  return fails(Operation::openForReading) ? -1 : Platform::open_for_reading(path);
}

int FaultyPlatform::open_for_writing(const char* path, unsigned permissions) {
  return fails(Operation::openForWriting) ? -1 : Platform::open_for_writing(path, permissions);
}

int FaultyPlatform::close(int fd) {
  const int result = Platform::close(fd);
  return fails(Operation::close) ? -1 : result;
}

std::int64_t FaultyPlatform::read(int fd, void* data, std::size_t size) {
  const Util::IoBuffer all{data, size};
  return transfer(Operation::read, &all, 1,
                  [&](const Util::IoBuffer* b) { return Platform::read(fd, b->data, b->size); });
}

std::int64_t FaultyPlatform::write(int fd, const void* data, std::size_t size) {
  const Util::IoBuffer all{const_cast<void*>(data), size};
  return transfer(Operation::write, &all, 1,
                  [&](const Util::IoBuffer* b) { return Platform::write(fd, b->data, b->size); });
}

std::int64_t FaultyPlatform::read_scattered(int fd, const Util::IoBuffer* buffers, std::size_t count) {
  return transfer(Operation::readScattered, buffers, count,
                  [&](const Util::IoBuffer* b) { return Platform::read_scattered(fd, b, count); });
}

std::int64_t FaultyPlatform::write_gathered(int fd, const Util::IoBuffer* buffers, std::size_t count) {
  return transfer(Operation::writeGathered, buffers, count,
                  [&](const Util::IoBuffer* b) { return Platform::write_gathered(fd, b, count); });
}

std::int64_t FaultyPlatform::bytes_to_end(int fd) {
  return fails(Operation::bytesToEnd) ? -1 : Platform::bytes_to_end(fd);
}

int FaultyPlatform::control_blocking_mode(int fd, int value) {
  return fails(Operation::controlBlockingMode) ? -1 : Platform::control_blocking_mode(fd, value);
}

int FaultyPlatform::wait_readable(int fd, int timeout_ms) {
  return fails(Operation::waitReadable) ? -1 : Platform::wait_readable(fd, timeout_ms);
}

bool FaultyPlatform::exists(const std::string& path, std::error_code& error) {
  if (!fails(Operation::exists)) return Platform::exists(path, error);
  error.assign(errno, std::generic_category());
  return false;
}

void FaultyPlatform::create_directory(const std::string& path, std::error_code& error) {
  if (!fails(Operation::createDirectory)) return Platform::create_directory(path, error);
  error.assign(errno, std::generic_category());
}

int FaultyPlatform::open_or_create(const char* path, unsigned permissions) {
  return fails(Operation::openOrCreate) ? -1 : Platform::open_or_create(path, permissions);
}

int FaultyPlatform::open_existing(const char* path) {
  return fails(Operation::openExisting) ? -1 : Platform::open_existing(path);
}

int FaultyPlatform::open_regular(const char* path, bool follow_link) {
  return fails(Operation::openRegular) ? -1 : Platform::open_regular(path, follow_link);
}

int FaultyPlatform::open_unnamed(const std::string& folder) {
  return fails(Operation::openUnnamed) ? -1 : Platform::open_unnamed(folder);
}

int FaultyPlatform::lock(int fd, bool alone) { return fails(Operation::lock) ? -1 : Platform::lock(fd, alone); }

std::int64_t FaultyPlatform::file_size(int fd) { return fails(Operation::fileSize) ? -1 : Platform::file_size(fd); }

int FaultyPlatform::set_file_size(int fd, std::uint64_t size) {
  return fails(Operation::setFileSize) ? -1 : Platform::set_file_size(fd, size);
}

int FaultyPlatform::reserve_blocks(int fd, std::uint64_t size) {
  return fails(Operation::reserveBlocks) ? -1 : Platform::reserve_blocks(fd, size);
}

void* FaultyPlatform::map(void* hint, std::size_t length, int protection, int flags, int fd, std::uint64_t offset) {
  return fails(Operation::map) ? Util::kMapFailed : Platform::map(hint, length, protection, flags, fd, offset);
}

int FaultyPlatform::unmap(void* address, std::size_t length) {
  return fails(Operation::unmap) ? -1 : Platform::unmap(address, length);
}

int FaultyPlatform::open_locked(const char* path, unsigned permissions) {
  return fails(Operation::openLocked) ? -1 : Platform::open_locked(path, permissions);
}

int FaultyPlatform::sync(int fd) { return fails(Operation::sync) ? -1 : Platform::sync(fd); }

int FaultyPlatform::sync_folder_of(const std::string& path) {
  return fails(Operation::syncFolder) ? -1 : Platform::sync_folder_of(path);
}

int FaultyPlatform::rename(const char* from, const char* to) {
  return fails(Operation::rename) ? -1 : Platform::rename(from, to);
}

int FaultyPlatform::link(const char* from, const char* to) {
  return fails(Operation::link) ? -1 : Platform::link(from, to);
}

int FaultyPlatform::remove(const char* path) { return fails(Operation::remove) ? -1 : Platform::remove(path); }

int FaultyPlatform::permissions(const char* path) {
  return fails(Operation::permissions) ? -1 : Platform::permissions(path);
}

int FaultyPlatform::set_permissions(int fd, int permissions) {
  return fails(Operation::setPermissions) ? -1 : Platform::set_permissions(fd, permissions);
}

}  // namespace TestSupport

namespace Util {

Platform& platform() { return TestSupport::FaultyPlatform::instance(); }

}  // namespace Util
