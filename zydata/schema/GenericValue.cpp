#include "zydata/schema/GenericValue.h"

#include <utility>

namespace ZyData {
namespace {

/// A text and the pointer to it that stands as the value.
struct TextHolder {
  explicit TextHolder(std::string content) : text(std::move(content)), pointer(text.c_str()) {}
  std::string text;
  const char* pointer;
};

}  // namespace

GenericValue::GenericValue() : d_size(0), d_type(&GenericTypeT<void>::instance()) {}

GenericValue::GenericValue(std::string text)
    : d_size(kScalar), d_type(&GenericTypeT<const char*>::instance()), d_text_size(text.size()) {
  const auto holder = std::make_shared<const TextHolder>(std::move(text));
  d_data = std::shared_ptr<const void>(holder, &holder->pointer);
}

std::string_view GenericValue::text() const {
  const char* pointer = as<const char*>();
  if (d_text_size != kUnknown) return {pointer, d_text_size};
  return pointer == nullptr ? std::string_view() : std::string_view(pointer);
}

}  // namespace ZyData
