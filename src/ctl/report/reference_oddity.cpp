#include "reference_oddity.h"

#include "text/texts.h"

namespace ruvex {
namespace {

bool is_white(char character) noexcept {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// "40001.0", as a spreadsheet writes a number.
bool has_fraction(std::string_view text) noexcept {
  const std::size_t point = text.find('.');
  return point != std::string_view::npos && is_digits(text.substr(0, point)) &&
         is_digits(text.substr(point + 1));
}

}  // namespace

std::string_view reference_oddity(std::string_view field) noexcept {
  std::string_view number = field;
  if (number.starts_with('X')) number.remove_prefix(1);
  if (is_digits(number)) return {};
  if (field.empty()) return "is blank";
  if (is_white(field.front())) return "begins with a blank";
  if (field.front() == '-' || field.front() == '+') return "has a sign";
  if (!has_digit(field)) return "has no digit";
  const bool is_hexadecimal =
      field.starts_with("0x") || field.starts_with("0X") ||
      field.find_first_not_of("0123456789ABCDEFabcdefhH") == std::string_view::npos;
  if (is_hexadecimal) return "is hexadecimal";
  if (has_fraction(field)) return "has a decimal point";
  if (field.find_first_not_of("0123456789-.: ") == std::string_view::npos) return "is a range";
  return "is not a number alone";
}

}  // namespace ruvex
