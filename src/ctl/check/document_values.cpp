#include "document_values.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdint>
#include <limits>

#include "known_texts.h"
#include "text/bounds.h"
#include "text/texts.h"

namespace ruvex {
namespace {

bool has_bounds(const chk_row* table) noexcept {
  return table[1].value != -1;
}

// " from LOW to HIGH", where the table has bounds.
std::string bounds_text(const chk_row* table) {
  if (!has_bounds(table)) return {};
  return message(" from ", std::string_view(table[1].text), " to ",
                 std::string_view(table[2].text));
}

std::string_view without_plus(std::string_view number) noexcept {
  if (number.size() > 1 && number.front() == '+' && number[1] != '-') number.remove_prefix(1);
  return number;
}

template <class Integer>
bool is_integer_of(const chk_row* table, std::string_view value) noexcept {
  const std::string_view digits = without_plus(value);
  const char* const end = digits.data() + digits.size();
  Integer number = 0;
  const auto [behind, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || behind != end) return false;
  return !has_bounds(table) || (number >= lowest_of(table) && number <= highest_of(table));
}

bool is_decimal_of(const chk_row* table, std::string_view value) noexcept {
  double number = 0;
  if (!parse_decimal(without_plus(value), number)) return false;
  return !has_bounds(table) || (number >= static_cast<double>(lowest_of(table)) &&
                                number <= static_cast<double>(highest_of(table)));
}

bool is_dotted_address(std::string_view value) {
  in_addr address;
  return ::inet_pton(AF_INET, std::string(value).c_str(), &address) == 1;
}

std::string unknown_text(const chk_row* table, std::string_view value) {
  known_texts& known = known_of(table);
  if (known.has(value)) return {};
  if (const std::string_view meant = known.suggest(value).meant; !meant.empty()) {
    return message("is none of its texts; did you mean ", quoted{meant}, "?");
  }
  constexpr std::size_t few = 8;
  if (known.texts().size() > few) return "is none of its texts";
  std::string all = "is none of ";
  for (const std::string_view text : known.texts()) {
    all += message(text == known.texts().front() ? "" : ", ", text);
  }
  return all;
}

bool is_within(const chk_row* table, std::string_view value) {
  switch (table->value) {
    case chk_kind_float:
      return is_decimal_of(table, value);
    case chk_kind_short:
      return is_integer_of<std::int16_t>(table, value);
    case chk_kind_long:
      return is_integer_of<std::int32_t>(table, value);
    case chk_kind_ip:
      return is_dotted_address(value);
    default:
      return true;
  }
}

}  // namespace

std::string value_flaw(const chk_row* table, std::string_view value) {
  if (table == nullptr) return {};
  if (table->value == chk_kind_enum) return unknown_text(table, value);
  if (is_within(table, value)) return {};
  if (table->value == chk_kind_ip) return "is not an IPv4 address";
  return message("is not a ", table->value == chk_kind_float ? "number" : "whole number",
                 bounds_text(table));
}

}  // namespace ruvex
