// The operating system as the library sees it. No other header or source includes a system header.
//
// The operations answer like the system's own: a negative result means failure with `errno` set. Tests link another
// definition of Util::platform() that fails chosen calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace Util {

// Protection and flags of a mapping, by the numbers of POSIX systems; other platforms translate them.
inline constexpr int kMapRead = 1;
inline constexpr int kMapWrite = 2;
inline constexpr int kMapExecute = 4;
inline constexpr int kMapShared = 1;
inline constexpr int kMapFixed = 16;
inline constexpr int kMapAnonymous = 32;

/// What map() answers when it fails: the all-ones address.
inline void* const kMapFailed = reinterpret_cast<void*>(~std::uintptr_t{0});

/// One buffer of a scatter or gather call.
struct IoBuffer {
  void* data = nullptr;
  std::size_t size = 0;  // bytes
};

class Platform {
 public:
  virtual ~Platform() = default;

  /// Opens for reading only. Closed on exec.
  virtual int open_for_reading(const char* path);
  /// Opens for writing only; creates the file with the given permission bits or cuts an existing one to nothing. Closed
  /// on exec.
  virtual int open_for_writing(const char* path, unsigned permissions);
  virtual int close(int fd);

  virtual std::int64_t read(int fd, void* data, std::size_t size);
  virtual std::int64_t write(int fd, const void* data, std::size_t size);
  /// Fills or empties `count` buffers in order with one call; the result counts bytes.
  virtual std::int64_t read_scattered(int fd, const IoBuffer* buffers, std::size_t count);
  virtual std::int64_t write_gathered(int fd, const IoBuffer* buffers, std::size_t count);

  /// Bytes from the current position to the end of a regular file; -1 for anything else, whose length nobody knows.
  virtual std::int64_t bytes_to_end(int fd);
  /// Hands `value` to the descriptor's blocking-mode control call. A regular file has no such mode: -1, and nothing is
  /// called.
  virtual int control_blocking_mode(int fd, int value);
  /// Waits until `fd` can be read, at most `timeout_ms` milliseconds: 1 readable, 0 not, -1 failed.
  virtual int wait_readable(int fd, int timeout_ms);

  virtual bool exists(const std::string& path, std::error_code& error);
  /// One level only; an existing directory is no error.
  virtual void create_directory(const std::string& path, std::error_code& error);

  // --- files that are mapped: opened for reading and writing, closed on exec ---
  /// Creates the file with the given permission bits when there is none.
  virtual int open_or_create(const char* path, unsigned permissions);
  virtual int open_existing(const char* path);
  /// Opens a regular file only and never creates one. A last path component that is a symbolic link is refused unless
  /// `follow_link` is set.
  virtual int open_regular(const char* path, bool follow_link);
  /// Creates a file without a name, which goes with its descriptor: on the disk of `folder`, or where temporary files
  /// lie when `folder` takes none.
  virtual int open_unnamed(const std::string& folder);
  /// Locks an open file, together with others or alone; a second lock replaces the first. Fails with EWOULDBLOCK, and
  /// leaves the lock that there was, while one that was taken by another opening of the file, in this process or in
  /// another, forbids it. Any other failure means that there are no locks here. Closing gives it back, unless a process
  /// that was forked has the descriptor, too.
  virtual int lock(int fd, bool alone);
  virtual void unlock(int fd);
  /// Bytes of the file; -1 with errno when the system can't tell.
  virtual std::int64_t file_size(int fd);
  virtual int set_file_size(int fd, std::uint64_t size);
  /// Gives blocks to `size` bytes from `offset` on, so that no later store into a mapping can find the disk full.
  virtual int reserve_blocks(int fd, std::uint64_t offset, std::uint64_t size);
  /// Maps bytes [offset, offset + length) of a file, extending a shorter file to that length, and returns the address
  /// of byte `offset`. Fails with EINVAL for a length of 0 and for access that is only execute, with EBADF for a
  /// descriptor that has no file.
  virtual void* map(void* hint, std::size_t length, int protection, int flags, int fd, std::uint64_t offset);
  /// Takes away what map() has returned for `length` bytes.
  virtual int unmap(void* address, std::size_t length);

  // --- files that take another's place ---
  /// Creates a file of this name for writing and locks it until the descriptor is closed. A file of this name that
  /// nobody has locked was left behind and goes; a locked one is EBUSY, anything else than a regular file EEXIST.
  virtual int open_locked(const char* path, unsigned permissions);
  /// Waits until the file's bytes are on the disk.
  virtual int sync(int fd);
  /// The same for the names in the folder that has `path`.
  virtual int sync_folder_of(const std::string& path);
  /// `to` is from one moment to the next the file that `from` was.
  virtual int rename(const char* from, const char* to);
  /// A second name for a file.
  virtual int link(const char* from, const char* to);
  virtual int remove(const char* path);
  /// What owner, group and others may do with a regular file, 0777 at most; -1 with errno when there is none: EEXIST
  /// for anything else of this name.
  virtual int permissions(const char* path);
  /// Gives an open file the owner, the group and the permission bits of the file `path`, as far as this process may.
  /// Where it may not keep owner or group, it takes those bits away that would let somebody do more than before.
  virtual int copy_access(const char* path, int fd);
  /// Fails with EACCES for a symbolic link that somebody else may have laid: in a folder that others may write, neither
  /// of this user nor of the folder's owner, to a file that is not its own owner's, or that is not there.
  virtual int check_link(const std::string& link, const std::string& target);

  virtual std::size_t page_size();
  /// Asks for huge pages behind a block of process memory. Advice only: failure changes nothing but speed.
  virtual void advise_huge_pages(void* data, std::size_t size);
};

/// The platform in use.
Platform& platform();

}  // namespace Util
