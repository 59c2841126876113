#include "tools/corvane/board/BoardNumbers.h"

#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace CorvaneTool {
namespace {

constexpr double kFarthest = 1e15;  // nm; an int64 and a double hold such numbers exactly
constexpr std::size_t kWholeDigits = 9;
constexpr std::size_t kDecimals = 6;
constexpr std::int64_t kPowersOfTen[] = {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000};

// Digits from `at` on, at most `most` of them, joined to `value`; moves `at` behind them and returns how many there
// were.
std::size_t read_digits(std::string_view text, std::size_t& at, std::size_t most, std::int64_t& value) {
  const std::size_t first = at;
  for (; at < text.size() && at - first < most && text[at] >= '0' && text[at] <= '9'; ++at)
    value = value * 10 + (text[at] - '0');
  return at - first;
}

// What the direct way does not take: exponents, more digits.
std::optional<std::int64_t> parse_by_library(std::string_view text) {
  double millimetres = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), millimetres);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (!(std::abs(millimetres) * 1e6 <= kFarthest)) return std::nullopt;
  return std::llround(millimetres * 1e6);
}

std::string quoted(const Item& word) { return std::string(1, '"').append(word.word()) + '"'; }

// The word at `position` of a list, which must be there.
Item needed_word(const Item& list, std::size_t position) {
  const Item word = list.atom(position);
  if (!word) list.fail(quoted(list) + " has too few values");
  return word;
}

}  // namespace

std::optional<std::int64_t> parse_nanometres(std::string_view text) {
  const bool negative = text.starts_with('-');
  std::size_t at = negative ? 1 : 0;
  std::int64_t value = 0;
  std::size_t decimals = 0;
  const std::size_t whole_digits = read_digits(text, at, kWholeDigits, value);
  if (at < text.size() && text[at] == '.') decimals = read_digits(text, ++at, kDecimals, value);
  if (at != text.size() || whole_digits + decimals == 0) return parse_by_library(text);
  value *= kPowersOfTen[kDecimals - decimals];
  return negative ? -value : value;
}

std::optional<int> parse_whole(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::int64_t nanometres(const Item& word) {
  const std::optional<std::int64_t> value = parse_nanometres(word.word());
  if (!value) word.fail(quoted(word) + " is not a length");
  return *value;
}

double real_number(const Item& word) {
  const std::string_view text = word.word();
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
    word.fail(quoted(word) + " is not a number");
  return value;
}

int whole_number(const Item& word) {
  const std::optional<int> value = parse_whole(word.word());
  if (!value) word.fail(quoted(word) + " is not a whole number");
  return *value;
}

Point point_of(const Item& list) { return {nanometres(needed_word(list, 0)), nanometres(needed_word(list, 1))}; }

std::int64_t nanometres_in(const Item& list, std::string_view name, std::int64_t otherwise) {
  const Item child = list.find(name);
  return child ? nanometres(needed_word(child, 0)) : otherwise;
}

double real_number_in(const Item& list, std::string_view name, double otherwise) {
  const Item child = list.find(name);
  return child ? real_number(needed_word(child, 0)) : otherwise;
}

Point point_in(const Item& list, std::string_view name) {
  const Item child = list.find(name);
  if (!child) list.fail(std::string(list.word()) + " without \"" + std::string(name) + "\"");
  return point_of(child);
}

}  // namespace CorvaneTool
