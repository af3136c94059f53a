#include "field_rules.h"

#include <algorithm>
#include <cstddef>

#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/tables.h"

namespace ruvex {
namespace {

constexpr std::size_t longest_whole_name = 57;
constexpr std::size_t longest_name = decltype(chn_cfg::name)::max_length();

// The length of the register reference, or of the "m" and index, that ends a name; 0 for neither.
std::size_t name_suffix(std::string_view name) noexcept {
  constexpr std::size_t most_digits = 5;
  constexpr std::size_t most_digits_after_m = 3;
  std::size_t digits = 0;
  while (digits < most_digits && is_digit(name[name.size() - 1 - digits])) ++digits;
  if (digits == most_digits) return digits;
  if (digits <= most_digits_after_m && name[name.size() - 1 - digits] == 'm') return digits + 1;
  return 0;
}

}  // namespace

std::string_view point_name(std::string_view field) noexcept {
  if (field.size() <= longest_whole_name) return field;
  if (const std::size_t suffix = name_suffix(field); suffix != 0) {
    field.remove_suffix(suffix);
    while (field.ends_with(' ')) field.remove_suffix(1);
  }
  return {field.data(), std::min(field.size(), longest_name)};
}

const modbus_type_row* find_data_type(std::string_view data_type) noexcept {
  for (const modbus_type_row* row = modbus_type; row->data_type.data() != nullptr; ++row) {
    if (data_type == row->data_type) return row;
  }
  return nullptr;
}

bool is_bit_type(std::string_view data_type) noexcept {
  std::size_t at;
  while ((at = data_type.find('B')) != std::string_view::npos) {
    data_type.remove_prefix(at);
    if (data_type.starts_with("Bit16") || data_type.starts_with("Bit32")) return true;
    data_type.remove_prefix(1);
  }
  return false;
}

std::int32_t bit_mask(std::string_view field) noexcept {
  const auto bit = static_cast<std::uint8_t>(decimal_prefix(field));
  return bit < 32 ? static_cast<std::int32_t>(std::uint32_t{1} << bit) : 0;
}

std::int32_t channel_type(register_class reg_class, std::string_view bac_type) noexcept {
  switch (reg_class) {
    case register_class::coil:
      return bac_type == "BINARY_INPUT" ? chn_type::input_mcd_bin : chn_type::output_mcd_bin;
    case register_class::discrete_input:
      return chn_type::input_mcd_bin;
    case register_class::input_register:
      return chn_type::input_mcd_ireg;
    case register_class::holding_register:
      return bac_type == "ANALOG_INPUT" ? chn_type::input_mcd_hreg : chn_type::output_mcd_hreg;
    case register_class::illegal:
      break;
  }
  return -1;
}

std::int32_t write_function(register_class reg_class, std::string_view reg_size) noexcept {
  if (reg_class == register_class::coil) return reg_fcn::write_coil;
  return reg_size == "2" ? reg_fcn::write_registers : reg_fcn::write_register;
}

}  // namespace ruvex
