// Small helpers with texts: messages put together, numbers read strictly.
#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
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
