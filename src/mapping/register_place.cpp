#include "ruvex/mapping/register_place.h"

#include "ruvex/cfg/decimal.h"

namespace ruvex {

register_place place_of(std::string_view reference) noexcept {
  constexpr std::int64_t largest_number = 65536;
  const register_place nowhere = {classify_reference(reference), -1};
  if (nowhere.table == register_class::illegal || !is_digits(reference)) return nowhere;
  if (reference.size() != 5 && reference.size() != 6) return nowhere;
  reference.remove_prefix(1);
  const std::int64_t number = decimal_prefix(reference);
  if (number > largest_number) return nowhere;
  return {nowhere.table, static_cast<std::int32_t>(number) - 1};  // number 0 is none
}

std::string_view table_name(register_class table) noexcept {
  switch (table) {
    case register_class::coil:
      return "coil";
    case register_class::discrete_input:
      return "discrete input";
    case register_class::input_register:
      return "input register";
    case register_class::holding_register:
      return "holding register";
    case register_class::illegal:
      break;
  }
  return {};
}

}  // namespace ruvex
