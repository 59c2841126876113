#include "zydata/object/MemoryData.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <new>
#include <stdexcept>
#include <utility>

#include "zydata/schema/Print.h"

namespace ZyData {
namespace {

/// Empty when memory is exhausted. A block of 0 bytes has an address, too: an empty holder means "never sized".
HeapBlock allocate_block(std::uint64_t n) { return HeapBlock(std::malloc(std::max<std::uint64_t>(n, 1))); }

void print_memory(std::ostream& stream, int indent, const char* title, const void* bytes, std::uint64_t length) {
  stream << indent_text(indent) << title;
  print_bytes(stream, bytes, length);
  stream << '\n';
}

}  // namespace

void FreeBlock::operator()(void* block) const { std::free(block); }

StaticMemoryData::StaticMemoryData(void* bytes, std::uint64_t length, std::shared_ptr<void> owner)
    : MessageDataObj(std::move(owner)), d_bytes(bytes), d_length(length) {}

StaticMemoryData::~StaticMemoryData() = default;

bool StaticMemoryData::set_length(std::uint64_t n) {
  if (n <= d_length) return true;
  HeapBlock block = allocate_block(n);
  if (block == nullptr) return false;
  d_owned = std::move(block);
  d_bytes = d_owned.get();
  d_length = n;
  return true;
}

void StaticMemoryData::print(int indent) { print(std::cout, indent); }

void StaticMemoryData::print(std::ostream& stream, int indent) {
  print_memory(stream, indent, "static memory ", d_bytes, d_length);
}

MallocMemoryData::MallocMemoryData(std::shared_ptr<void> owner) : MessageDataObj(std::move(owner)) {}

MallocMemoryData::~MallocMemoryData() = default;

bool MallocMemoryData::set_length(std::uint64_t n) {
  if (d_bytes != nullptr) return n <= d_length;
  d_bytes = allocate_block(n);
  if (d_bytes == nullptr) return false;
  d_length = n;
  return true;
}

void MallocMemoryData::print(int indent) { print(std::cout, indent); }

void MallocMemoryData::print(std::ostream& stream, int indent) {
  print_memory(stream, indent, "dynamic memory ", d_bytes.get(), d_length);
}

StringReferenceData::StringReferenceData(std::string& text, std::shared_ptr<void> owner)
    : MessageDataObj(std::move(owner)), d_text(text) {}

StringReferenceData::~StringReferenceData() = default;

bool StringReferenceData::set_length(std::uint64_t n) {
  try {
    d_text.resize(n);
    return true;
  } catch (const std::length_error&) {
    return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void StringReferenceData::print(int indent) { print(std::cout, indent); }

void StringReferenceData::print(std::ostream& stream, int indent) {
  stream << indent_text(indent) << "string reference [" << d_text << "]\n";
}

}  // namespace ZyData
