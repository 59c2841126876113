#include "bench/Memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

namespace CorvaneBench {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kPage = 4096;

/// A line of /proc/self/status, which counts in kB.
std::size_t status_bytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string word;
  std::size_t kilobytes = 0;
  while (status >> word) {
    if (word == field && status >> kilobytes) return kilobytes * 1024;
    status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  }
  throw std::runtime_error("/proc/self/status has no " + field);
}

}  // namespace

bool huge_pages_granted() {
  std::ifstream file("/sys/kernel/mm/transparent_hugepage/enabled");
  std::string modes;
  std::getline(file, modes);
  return modes.find("[madvise]") != std::string::npos || modes.find("[always]") != std::string::npos;
}

// A threshold that was set by hand no longer rises with the blocks that are freed.
void use_fresh_blocks() { ::mallopt(M_MMAP_THRESHOLD, 128 * 1024); }

void touch_and_free(std::size_t bytes) {
  ::malloc_trim(0);
  void* memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  ::madvise(memory, bytes, MADV_HUGEPAGE);
  volatile char* pages = static_cast<char*>(memory);
  for (std::size_t at = 0; at < bytes; at += kPage) pages[at] = 1;
  ::munmap(memory, bytes);
}

std::size_t resident_bytes() { return status_bytes("VmRSS:"); }

std::size_t peak_bytes() { return status_bytes("VmHWM:"); }

void reset_peak() { std::ofstream("/proc/self/clear_refs") << 5; }

void* allocate_on_huge_pages(std::size_t bytes) {
  const std::size_t whole = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  void* block = bytes < kHugePage ? std::malloc(bytes) : std::aligned_alloc(kHugePage, whole);
  if (block == nullptr && bytes > 0) throw std::bad_alloc();
  if (bytes >= kHugePage) ::madvise(block, whole, MADV_HUGEPAGE);
  return block;
}

}  // namespace CorvaneBench
