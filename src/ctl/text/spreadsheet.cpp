#include "spreadsheet.h"

#include <algorithm>

#include "cells.h"
#include "ruvex/cfg/decimal.h"

namespace ruvex {
namespace {

// The one error value without a mark at its end, in the languages that have another one for it.
constexpr std::string_view not_available[] = {"#N/A", "#NV", "#N/D", "#ND"};

bool is_row_of_hashes(std::string_view text) noexcept {
  return text.size() >= 3 && text.find_first_not_of('#') == std::string_view::npos;
}

// "4E+04", "-4.00E+04", "4,00E+04". A person writes a small "e", and no plus sign.
bool is_shortened_number(std::string_view text) noexcept {
  const std::size_t at = text.find("E+");
  if (at == std::string_view::npos || !is_digits(text.substr(at + 2))) return false;
  std::string_view number = text.substr(0, at);
  if (number.starts_with('-')) number.remove_prefix(1);
  const std::size_t point = std::min(number.find_first_of(".,"), number.size());
  const std::string_view fraction = number.substr(std::min(point + 1, number.size()));
  return is_digits(number.substr(0, point)) && (point == number.size() || is_digits(fraction));
}

}  // namespace

bool is_error_value(std::string_view text) noexcept {
  text = without_blanks(text);
  if (text.size() < 3 || text.front() != '#') return false;
  return text.ends_with('!') || text.ends_with('?') ||
         std::ranges::find(not_available, text) != std::end(not_available);
}

std::string_view spreadsheet_defect(std::string_view text) noexcept {
  if (is_error_value(text)) return "is an error of the spreadsheet";
  if (is_row_of_hashes(text)) return "is shown where a column is too narrow for its number";
  if (is_shortened_number(text)) return "is a number that the spreadsheet has shortened";
  return {};
}

}  // namespace ruvex
