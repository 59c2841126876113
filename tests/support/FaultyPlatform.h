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

namespace TestSupport {

enum class Operation {
  openForReading,
  openForWriting,
  close,
  read,
  write,
  readScattered,
  writeGathered,
  bytesToEnd,
  controlBlockingMode,
  waitReadable,
  exists,
  createDirectory,
  openOrCreate,
  openExisting,
  openRegular,
  openUnnamed,
  lock,
  fileSize,
  setFileSize,
  reserveBlocks,
  map,
  unmap,
  openLocked,
  sync,
  syncFolder,
  rename,
  link,
  remove,
  permissions,
  setPermissions,
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

  int open_for_reading(const char* path) override;
  int open_for_writing(const char* path, unsigned permissions) override;
  int close(int fd) override;
  std::int64_t read(int fd, void* data, std::size_t size) override;
  std::int64_t write(int fd, const void* data, std::size_t size) override;
  std::int64_t read_scattered(int fd, const Util::IoBuffer* buffers, std::size_t count) override;
  std::int64_t write_gathered(int fd, const Util::IoBuffer* buffers, std::size_t count) override;
  std::int64_t bytes_to_end(int fd) override;
  int control_blocking_mode(int fd, int value) override;
  int wait_readable(int fd, int timeout_ms) override;
  bool exists(const std::string& path, std::error_code& error) override;
  void create_directory(const std::string& path, std::error_code& error) override;
  int open_or_create(const char* path, unsigned permissions) override;
  int open_existing(const char* path) override;
  int open_regular(const char* path, bool follow_link) override;
  int open_unnamed(const std::string& folder) override;
  int lock(int fd, bool alone) override;
  std::int64_t file_size(int fd) override;
  int set_file_size(int fd, std::uint64_t size) override;
  int reserve_blocks(int fd, std::uint64_t size) override;
  void* map(void* hint, std::size_t length, int protection, int flags, int fd, std::uint64_t offset) override;
  int unmap(void* address, std::size_t length) override;
  int open_locked(const char* path, unsigned permissions) override;
  int sync(int fd) override;
  int sync_folder_of(const std::string& path) override;
  int rename(const char* from, const char* to) override;
  int link(const char* from, const char* to) override;
  int remove(const char* path) override;
  int permissions(const char* path) override;
  int set_permissions(int fd, int permissions) override;

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
};

}  // namespace TestSupport
