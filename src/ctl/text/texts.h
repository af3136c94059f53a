// Small helpers with texts: messages put together, numbers read strictly.
#pragma once

#include <charconv>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>

#include "ruvex/cfg/decimal.h"

namespace ruvex {

// A text between double quotes.
struct quoted {
  std::string_view text;
};

inline void append(std::string& out, std::string_view part) {
  out += part;
}
inline void append(std::string& out, const quoted& part) {
  out += '"';
  out += part.text;
  out += '"';
}
inline void append(std::string& out, std::integral auto part) {
  out += decimal_text(static_cast<std::int64_t>(part)).view();
}

// The parts, one after the other.
template <class... Parts>
std::string message(const Parts&... parts) {
  std::string out;
  (append(out, parts), ...);
  return out;
}

// Appends a number in so many hexadecimal digits.
inline void append_hex(std::string& out, std::uint32_t number, int places,
                       std::string_view digits = "0123456789ABCDEF") {
  for (int shift = 4 * (places - 1); shift >= 0; shift -= 4) out += digits[number >> shift & 15];
}

// What printf would make of the format and the arguments.
[[gnu::format(printf, 1, 0)]] inline std::string formatted(const char* format,
                                                           std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(static_cast<std::size_t>(length > 0 ? length : 0), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

inline bool has_digit(std::string_view text) noexcept {
  for (const char character : text) {
    if (is_digit(character)) return true;
  }
  return false;
}

// Whether a text is a whole number from `lowest` to `highest`, without a sign.
inline bool is_number_within(std::string_view text, std::int64_t lowest,
                             std::int64_t highest) noexcept {
  const std::int64_t number = decimal_prefix(text);
  return is_digits(text) && number >= lowest && number <= highest;
}

// A whole decimal number without a sign. False, and `value` is unchanged, when the text is none or
// the number is above `largest`.
inline bool parse_number(std::string_view text, unsigned long largest,
                         unsigned long& value) noexcept {
  unsigned long number = 0;
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || behind != end || number > largest) return false;
  value = number;
  return true;
}

// A decimal number, with a minus sign, a point or an exponent where it has one. False, and `number`
// is unchanged, when the text is none.
inline bool parse_decimal(std::string_view text, double& number) noexcept {
  if (text.find_first_not_of("0123456789.-eE+") != std::string_view::npos) return false;
  double parsed = 0;
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, parsed);
  if (error != std::errc() || behind != end) return false;
  number = parsed;
  return true;
}

}  // namespace ruvex
