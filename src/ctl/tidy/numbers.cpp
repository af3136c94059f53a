#include "numbers.h"

#include "ruvex/cfg/decimal.h"

namespace ruvex {
namespace {

struct divided_number {
  std::size_t sign;  // its place; npos where the text is no such number
  bool may_be_thousands;
};

// A number of digits, `sign` and digits again.
divided_number divide(std::string_view text, char sign) noexcept {
  const std::size_t at = text.find(sign);
  if (at == std::string_view::npos) return {at, false};
  std::string_view whole = text.substr(0, at);
  const std::string_view fraction = text.substr(at + 1);
  if (whole.starts_with('-') || whole.starts_with('+')) whole.remove_prefix(1);
  if (!is_digits(whole) || !is_digits(fraction)) return {std::string_view::npos, false};
  return {at, fraction.size() == 3 && whole.size() <= 3 && whole.front() != '0'};
}

}  // namespace

bool may_have_fraction(const mapping_column& column) noexcept {
  return column.field == field_cov_inc || column.rule == column_rule::scale_end;
}

std::size_t find_decimal_comma(std::string_view text) noexcept {
  const divided_number number = divide(text, ',');
  return number.may_be_thousands ? std::string_view::npos : number.sign;
}

std::optional<unclear_number> find_unclear_number(std::string_view text) {
  const divided_number number = divide(text, '.');
  if (!number.may_be_thousands) return std::nullopt;
  unclear_number found = {std::string(text), std::string(text)};
  found.with_thousands.erase(number.sign, 1);
  found.with_fraction.erase(text.find_last_not_of('0') + 1);  // the point at the latest
  if (found.with_fraction.back() == '.') found.with_fraction.pop_back();
  return found;
}

}  // namespace ruvex
