#include "util/Error.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <system_error>
#include <utility>

namespace Util {
namespace {

constexpr std::size_t kBufferSize = 2000;  // the terminating zero byte included

std::string format_text(const char* format, std::va_list arguments) {
  std::array<char, kBufferSize> buffer{};
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  return buffer.data();
}

}  // namespace

Error::Error(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  d_text = std::make_shared<const std::string>(format_text(format, arguments));
  va_end(arguments);
}

Error::Error(int error_number, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);
  text += "\n    " + system_error_text(error_number);
  if (text.size() >= kBufferSize) text.resize(kBufferSize - 1);
  d_text = std::make_shared<const std::string>(std::move(text));
}

Error::Error(std::string text) : d_text(std::make_shared<const std::string>(std::move(text))) {}

const char* Error::what() const noexcept { return d_text->c_str(); }

std::string system_error_text(int error_number) { return std::generic_category().message(error_number); }

}  // namespace Util
