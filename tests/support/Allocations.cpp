#include "tests/support/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct Requests {
  bool watched = false;
  std::uint64_t count = 0;
  std::uint64_t refused = 0;  // which one; 0: none
  bool allBehind = false;     // and those behind it
  std::uint64_t bytes = 0;
};

constinit Requests requests;

bool refuses(std::size_t size) {
  if (!requests.watched) return false;
  requests.bytes += size;
  ++requests.count;
  return requests.count == requests.refused ||
         (requests.allBehind && requests.refused != 0 && requests.count > requests.refused);
}

}  // namespace

// The linker leads the calls of our own objects to __wrap_ and what these call to the C library.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);

void* __wrap_malloc(std::size_t size) { return refuses(size) ? nullptr : __real_malloc(size); }
void* __wrap_realloc(void* block, std::size_t size) { return refuses(size) ? nullptr : __real_realloc(block, size); }
void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
  return refuses(size) ? nullptr : __real_aligned_alloc(alignment, size);
}
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return refuses(size) ? nullptr : __real_malloc(size > 0 ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return operator new(size, std::nothrow); }
void* operator new(std::size_t size) {
  if (void* block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace TestSupport {

AllocationWatch::AllocationWatch(std::uint64_t refused, bool and_all_behind) {
  requests = {true, 0, refused, and_all_behind, 0};
}
AllocationWatch::~AllocationWatch() { requests.watched = false; }

void AllocationWatch::pause() { requests.watched = false; }
void AllocationWatch::go_on() { requests.watched = true; }

std::uint64_t AllocationWatch::count() const { return requests.count; }
std::uint64_t AllocationWatch::requested() const { return requests.bytes; }
bool AllocationWatch::refused() const { return requests.refused != 0 && requests.count >= requests.refused; }

}  // namespace TestSupport
