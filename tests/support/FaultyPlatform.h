// A platform whose calls fail on demand. A test program that lists FaultyPlatform.cpp among its sources runs the whole
// library on it.
//
// Without an order every call goes to the real system. All calls are counted, and the transfers written down, from the
// last reset() on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

#include "util/Platform.h"

/// Calls that answer with a number, or with an address: M(operation, type of the answer, answer of a failure, function,
/// parameters, arguments).
#define FAULTY_PLATFORM_CALLS(M)                                                                                    \
  M(openForReading, int, -1, open_for_reading, (const char* path), (path))                                          \
  M(openForWriting, int, -1, open_for_writing, (const char* path, unsigned permissions), (path, permissions))       \
  M(bytesToEnd, std::int64_t, -1, bytes_to_end, (int fd), (fd))                                                     \
  M(controlBlockingMode, int, -1, control_blocking_mode, (int fd, int value), (fd, value))                          \
  M(waitReadable, int, -1, wait_readable, (int fd, int timeout_ms), (fd, timeout_ms))                               \
  M(openOrCreate, int, -1, open_or_create, (const char* path, unsigned permissions), (path, permissions))           \
  M(openExisting, int, -1, open_existing, (const char* path), (path))                                               \
  M(openRegular, int, -1, open_regular, (const char* path, bool follow_link), (path, follow_link))                  \
  M(openUnnamed, int, -1, open_unnamed, (const std::string& folder), (folder))                                      \
  M(lock, int, -1, lock, (int fd, bool alone), (fd, alone))                                                         \
  M(fileSize, std::int64_t, -1, file_size, (int fd), (fd))                                                          \
  M(setFileSize, int, -1, set_file_size, (int fd, std::uint64_t size), (fd, size))                                  \
  M(reserveBlocks, int, -1, reserve_blocks, (int fd, std::uint64_t offset, std::uint64_t size), (fd, offset, size)) \
  M(map, void*, Util::kMapFailed, map,                                                                              \
    (void* hint, std::size_t length, int protection, int flags, int fd, std::uint64_t offset),                      \
    (hint, length, protection, flags, fd, offset))                                                                  \
  M(unmap, int, -1, unmap, (void* address, std::size_t length), (address, length))                                  \
  M(openLocked, int, -1, open_locked, (const char* path, unsigned permissions), (path, permissions))                \
  M(syncFolder, int, -1, sync_folder_of, (const std::string& path), (path))                                         \
  M(rename, int, -1, rename, (const char* from, const char* to), (from, to))                                        \
  M(link, int, -1, link, (const char* from, const char* to), (from, to))                                            \
  M(remove, int, -1, remove, (const char* path), (path))                                                            \
  M(permissions, int, -1, permissions, (const char* path), (path))                                                  \
  M(copyAccess, int, -1, copy_access, (const char* path, int fd), (path, fd))                                       \
  M(checkLink, int, -1, check_link, (const std::string& link, const std::string& target), (link, target))

namespace TestSupport {

enum class Operation {
#define FAULTY_PLATFORM_NAME(operation, type, failure, function, parameters, arguments) operation,
  FAULTY_PLATFORM_CALLS(FAULTY_PLATFORM_NAME)
#undef FAULTY_PLATFORM_NAME
      sync,
  close,
  read,
  write,
  readScattered,
  writeGathered,
  exists,
  createDirectory,
  count  // no operation
};

/// One read or write call as it was asked for.
struct Transfer {
  Operation operation;
  std::size_t bufferCount;
  std::size_t bytes;

  friend bool operator==(const Transfer&, const Transfer&) = default;
};

class FaultyPlatform final : public Util::Platform {
 public:
  /// The one that Util::platform() answers with.
  static FaultyPlatform& instance();

  /// Takes all orders back, sets all counters to 0 and forgets the transfers.
  void reset();
  /// The `nth` call from now on (1: the next; 0: every one) fails with `error_number`. A failing close closes all the
  /// same. A new order replaces an earlier one for the same operation.
  void fail(Operation operation, int nth, int error_number);
  /// The same for the `nth` call of whatever operation (1: the next), or for that one and all behind it.
  void failAny(int nth, int error_number, bool and_all_behind = false);
  /// The `nth` call from now on moves at most `bytes` bytes and reports success.
  void shorten(Operation operation, int nth, std::size_t bytes);

  /// Called before every call, with the number of calls since the last reset, this one included.
  std::function<void(int)> before;

  int calls(Operation operation) const;
  /// Calls that an order has changed since the last reset.
  int faults() const { return d_faults; }
  /// The operation of the first of them; `count` when there was none.
  Operation firstFault() const { return d_first_fault; }
  const std::vector<Transfer>& transfers() const { return d_transfers; }
  /// The names of the files and folders that sync() was asked for.
  const std::vector<std::string>& synced() const { return d_synced; }

#define FAULTY_PLATFORM_DECLARATION(operation, type, failure, function, parameters, arguments) \
  type function parameters override;
  FAULTY_PLATFORM_CALLS(FAULTY_PLATFORM_DECLARATION)
#undef FAULTY_PLATFORM_DECLARATION
  int sync(int fd) override;
  int close(int fd) override;
  std::int64_t read(int fd, void* data, std::size_t size) override;
  std::int64_t write(int fd, const void* data, std::size_t size) override;
  std::int64_t read_scattered(int fd, const Util::IoBuffer* buffers, std::size_t count) override;
  std::int64_t write_gathered(int fd, const Util::IoBuffer* buffers, std::size_t count) override;
  bool exists(const std::string& path, std::error_code& error) override;
  void create_directory(const std::string& path, std::error_code& error) override;

 private:
  static constexpr auto kOperations = static_cast<std::size_t>(Operation::count);

  struct Order {
    int first = 0;           // number of the call that it is for; 0: no order
    bool everyCall = false;  // from that one on
    int errorNumber = 0;     // 0: a short transfer instead
    std::size_t bytes = 0;   // that a short transfer moves

    bool is_for(int call) const { return first != 0 && (call == first || (call > first && everyCall)); }
  };

  void order(Operation operation, int nth, int error_number, std::size_t bytes);
  const Order* strikes(Operation operation);
  bool fails(Operation operation);
  template <class Call>
  std::int64_t transfer(Operation operation, const Util::IoBuffer* buffers, std::size_t count, Call call);

  std::array<Order, kOperations> d_orders{};
  Order d_any;  // by the number of all calls
  int d_faults = 0;
  Operation d_first_fault = Operation::count;
  int d_all = 0;  // calls
  std::array<int, kOperations> d_calls{};
  std::vector<Transfer> d_transfers;
  std::vector<std::string> d_synced;
};

}  // namespace TestSupport
