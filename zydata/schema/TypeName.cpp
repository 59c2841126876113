#include "zydata/schema/TypeName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace ZyData {

std::string readable_type_name(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                         &std::free);
  return without_type_keywords(text != nullptr ? text.get() : type.name());
}

std::string without_type_keywords(std::string name) {
  for (const std::string_view word : {"class ", "struct ", "enum "}) {
    for (std::size_t at = name.find(word); at != std::string::npos; at = name.find(word)) name.erase(at, word.size());
  }
  return name;
}

TypeIdentity TypeIdentity::of(std::string_view type_name) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : type_name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  return {hash};
}

}  // namespace ZyData
