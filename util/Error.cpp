#include "util/Error.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace Util {
namespace {

constexpr std::size_t kBufferSize = 2000;  // the terminating zero byte included
constexpr std::size_t kLongestPath = 4096;
const std::string kLeftOut = ".../";

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

Error::Error(int error_number, const char* format, ...) : d_error_number(error_number) {
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

const Error::Place& Error::place() const noexcept {
  static const Place unknown;
  return d_place == nullptr ? unknown : *d_place;
}

Error::Place& Error::own_place() {
  if (d_place == nullptr || d_place.use_count() > 1) d_place = std::make_shared<Place>(place());
  return *d_place;
}

const std::string& Error::file() const noexcept { return place().file; }
const std::string& Error::table() const noexcept { return place().table; }
const std::string& Error::column() const noexcept { return place().column; }
std::optional<std::uint64_t> Error::offset() const noexcept { return place().offset; }

void Error::set_file(std::string file) { own_place().file = std::move(file); }

void Error::set_offset(std::uint64_t offset) { own_place().offset = offset; }

void Error::enter_field(const std::string& name, bool is_table, std::size_t frames_before) {
  Place& own = own_place();
  own.frame += frames_before;
  if (own.column.empty() && own.table.empty() && !is_table) {
    own.column = name;
  } else if (own.table.empty()) {
    own.table = name;
  } else if (own.table.size() <= kLongestPath) {
    own.table = name + "/" + own.table;
  } else if (!own.table.starts_with(kLeftOut)) {
    own.table = kLeftOut + own.table;
  }
}

std::size_t Error::frame() const noexcept { return place().frame; }

std::string system_error_text(int error_number) {
  const char* text = ::strerrordesc_np(error_number);  // strerror translates
  return text == nullptr ? "Unknown error " + std::to_string(error_number) : text;
}

}  // namespace Util
