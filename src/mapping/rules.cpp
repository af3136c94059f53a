#include "ruvex/mapping/rules.h"

#include <charconv>

#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/tables.h"

namespace ruvex {
namespace {

// The separators stand low in the character set, so most characters are told apart by one
// comparison.
bool is_separator(char character) noexcept {
  const auto code = static_cast<unsigned char>(character);
  return code <= ',' && (code == ',' || code == '"' || code == '\r' || code == '\n');
}

std::string_view first(std::string_view text, std::size_t count) noexcept {
  return {text.data(), count};
}

std::string_view without_trailing_blanks(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

constexpr std::size_t longest_whole_name = 57;
constexpr std::size_t longest_name = 63;

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

mapping_line split_mapping_line(std::string_view line) noexcept {
  mapping_line split = {};
  const char* at = line.data();
  const char* const end = at + line.size();
  // Up to the last separator, usually the newline, a field needs no look-out for the end.
  const char* last = end;
  while (last != at && !is_separator(last[-1])) --last;
  std::size_t count = 0;
  while (count < max_mapping_fields && at != end) {
    const char* const begin = at;
    if (at == last) {
      at = end;
    } else {
      while (!is_separator(*at)) ++at;
    }
    if (at != begin) split.fields[count++] = {begin, static_cast<std::size_t>(at - begin)};
    if (at != end) ++at;
  }
  for (std::size_t field = 1; field < count; ++field) {
    split.fields[field] = without_trailing_blanks(split.fields[field]);
  }
  split.count = count;
  return split;
}

std::string_view point_name(std::string_view field) noexcept {
  if (field.size() <= longest_whole_name) return field;
  if (const std::size_t suffix = name_suffix(field); suffix != 0) {
    field = without_trailing_blanks(first(field, field.size() - suffix));
  }
  return field.size() > longest_name ? first(field, longest_name) : field;
}

unit_text parse_unit(std::string_view field) noexcept {
  const std::size_t slash = field.find('/');
  if (slash == std::string_view::npos) return {{}, field, false};
  std::string_view address = field;
  address.remove_prefix(slash + 1);
  return {first(field, slash), address, true};
}

modbus_reference::modbus_reference(std::string_view field) noexcept : view_(field) {
  constexpr std::int64_t largest_short_reference = 9999;
  constexpr std::int64_t five_digits = 900000;
  if (!field.empty() && field.front() == 'X') {
    view_.remove_prefix(1);
    return;
  }
  const std::int64_t number = decimal_prefix(field);
  if (number > largest_short_reference) return;
  const char* end =
      std::to_chars(digits_.data(), digits_.data() + digits_.size(), number + five_digits).ptr;
  view_ = {digits_.data() + 1, static_cast<std::size_t>(end - digits_.data()) - 1};
}

register_class classify_reference(std::string_view reference) noexcept {
  if (reference.empty()) return register_class::illegal;
  switch (reference.front()) {
    case '0':
      return register_class::coil;
    case '1':
      return register_class::discrete_input;
    case '3':
      return register_class::input_register;
    case '4':
      return register_class::holding_register;
    default:
      return register_class::illegal;
  }
}

int modbus_reg_type(const char* reference) noexcept {
  return static_cast<int>(classify_reference(reference));
}

// clang-format off
constexpr modbus_type_row modbus_type[] = {
    {"2", "BIG",    "FLOAT",    "Floating Point HI/LO"},
    {"2", "LITTLE", "FLOAT",    "Floating Point LO/HI"},
    {"2", "BIG",    "UNSIGNED", "32 Bit Unsigned Integer HI/LO"},
    {"2", "LITTLE", "UNSIGNED", "32 Bit Unsigned Integer LO/HI"},
    {"2", "BIG",    "SIGNED",   "32 Bit Signed Integer HI/LO"},
    {"2", "LITTLE", "SIGNED",   "32 Bit Signed Integer LO/HI"},
    {"1", "BIG",    "UNSIGNED", "16 Bit Unsigned Integer"},
    {"1", "BIG",    "SIGNED",   "16 Bit Signed Integer"},
    {"1", "BIG",    "UNSIGNED", "Bit16"},
    {"2", "BIG",    "UNSIGNED", "Bit32 HI/LO"},
    {"2", "LITTLE", "UNSIGNED", "Bit32 LO/HI"},
    {"0", "0",      "0",        {}},
};
// clang-format on

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
