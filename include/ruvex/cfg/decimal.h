// Numbers that stand in texts, read and written the same way on every platform.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

namespace ruvex {

constexpr bool is_digit(char character) noexcept {
  return character >= '0' && character <= '9';
}

// Whether a text is one digit or more, and nothing else.
constexpr bool is_digits(std::string_view text) noexcept {
  for (const char character : text) {
    if (!is_digit(character)) return false;
  }
  return !text.empty();
}

// The decimal number at the start of `characters`, read as strtoll reads it: leading white space
// and one sign are allowed, reading stops at the first character that is no digit, and a text
// without digits gives 0. A number that does not fit 64 bits becomes the largest or the smallest
// that does.
constexpr std::int64_t decimal_prefix(std::string_view characters) noexcept {
  constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
  const char* at = characters.data();
  const char* const end = at + characters.size();
  while (at != end && (*at == ' ' || (*at >= '\t' && *at <= '\r'))) ++at;
  const bool negative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) ++at;
  const std::uint64_t limit = negative ? largest + 1 : largest;
  std::uint64_t value = 0;
  for (; at != end && is_digit(*at); ++at) {
    const bool too_long = value > largest / 10;
    if (!too_long) value = value * 10 + static_cast<std::uint64_t>(*at - '0');
    if (too_long || value > limit) {
      value = limit;
      break;
    }
  }
  return static_cast<std::int64_t>(negative ? 0 - value : value);
}

static_assert(decimal_prefix(" -12x") == -12 && decimal_prefix("+7") == 7 &&
              decimal_prefix("") == 0);
static_assert(decimal_prefix("18446744073709551617") == std::numeric_limits<std::int64_t>::max());
static_assert(decimal_prefix("-99999999999999999999") == std::numeric_limits<std::int64_t>::min());

// The decimal text of a number, with a minus sign where it is negative.
class decimal_text {
 public:
  explicit decimal_text(std::int64_t value) noexcept
      : end_(std::to_chars(digits_.data(), digits_.data() + digits_.size(), value).ptr) {}
  decimal_text(const decimal_text&) = delete;
  decimal_text& operator=(const decimal_text&) = delete;

  // Valid as long as this object.
  std::string_view view() const noexcept {
    return {digits_.data(), static_cast<std::size_t>(end_ - digits_.data())};
  }

 private:
  std::array<char, 20> digits_;  // a sign and 19 digits
  const char* end_;
};

}  // namespace ruvex
