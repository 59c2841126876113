#include "tests/support/FaultyPlatform.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

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
  d_synced.clear();
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

#define FAULTY_PLATFORM_DEFINITION(operation, type, failure, function, parameters, arguments) \
  type FaultyPlatform::function parameters {                                                  \
    return fails(Operation::operation) ? failure : Platform::function arguments;              \
  }
FAULTY_PLATFORM_CALLS(FAULTY_PLATFORM_DEFINITION)

int FaultyPlatform::sync(int fd) {
  d_synced.push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)).string());
  return fails(Operation::sync) ? -1 : Platform::sync(fd);
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

bool FaultyPlatform::exists(const std::string& path, std::error_code& error) {
  if (!fails(Operation::exists)) return Platform::exists(path, error);
  error.assign(errno, std::generic_category());
  return false;
}

void FaultyPlatform::create_directory(const std::string& path, std::error_code& error) {
  if (!fails(Operation::createDirectory)) return Platform::create_directory(path, error);
  error.assign(errno, std::generic_category());
}

}  // namespace TestSupport

namespace Util {

Platform& platform() { return TestSupport::FaultyPlatform::instance(); }

}  // namespace Util
