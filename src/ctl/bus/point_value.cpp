#include "point_value.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

value_kind kind_of_register(const bus_point& point, std::uint32_t mask) noexcept {
  const std::string_view format = point.chn->reg_format.view();
  if (mask != 0) return value_kind::masked;
  if (format == "UNSIGNED") return value_kind::whole;
  if (format == "SIGNED") return value_kind::with_sign;
  return format == "FLOAT" && point.words == 2 ? value_kind::floating : value_kind::unknown;
}

void read_scale(const chn_cfg& chn, value_form& form) noexcept {
  const bool are_numbers = parse_decimal(chn.scl_dev_lo.view(), form.device_low) &&
                           parse_decimal(chn.scl_dev_hi.view(), form.device_high) &&
                           parse_decimal(chn.scl_usr_lo.view(), form.user_low) &&
                           parse_decimal(chn.scl_usr_hi.view(), form.user_high);
  const bool is_same = form.device_low == form.user_low && form.device_high == form.user_high;
  form.is_scaled = are_numbers && !is_same && form.device_low != form.device_high;
}

std::uint32_t pattern_of(const value_form& form, const std::uint16_t* registers) noexcept {
  return form.words == 2 ? mod_getLong(registers, form.order) : registers[0];
}

void put_pattern(const value_form& form, std::uint32_t pattern, std::uint16_t* registers) noexcept {
  if (form.words == 2) {
    mod_putLong(registers, pattern, form.order);
  } else {
    registers[0] = static_cast<std::uint16_t>(pattern);
  }
}

std::int64_t signed_value(const value_form& form, std::uint32_t pattern) noexcept {
  return form.words == 2 ? static_cast<std::int64_t>(static_cast<std::int32_t>(pattern))
                         : static_cast<std::int64_t>(static_cast<std::int16_t>(pattern));
}

// The ends of what a kind holds; those of a float are its own.
struct value_range {
  double low, high;
};

value_range range_of(const value_form& form) noexcept {
  const double span = form.words == 2 ? 4294967296.0 : 65536.0;
  switch (form.kind) {
    case value_kind::bit:
      return {0, 1};
    case value_kind::masked:
      return {0, static_cast<double>(form.mask >> std::countr_zero(form.mask))};
    case value_kind::with_sign:
      return {-span / 2, span / 2 - 1};
    default:
      return {0, span - 1};
  }
}

double device_value(const value_form& form, double value) noexcept {
  if (!form.is_scaled) return value;
  const double share = (value - form.user_low) / (form.user_high - form.user_low);
  return form.device_low + share * (form.device_high - form.device_low);
}

bool put_float(const value_form& form, double value, std::uint16_t* registers) noexcept {
  const auto number = static_cast<float>(value);
  if (std::isinf(number) && !std::isinf(value)) return false;
  mod_putFloat(registers, number, form.order);
  return true;
}

void append_float(std::string& out, float number) {
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, number);
  out.append(text, end);
}

// More digits than any register holds, and fewer than those in which a scaling is not exact.
void append_scaled(std::string& out, double number) {
  constexpr int digits = 12;
  char text[32];
  const auto [end, error] =
      std::to_chars(text, text + sizeof text, number, std::chars_format::general, digits);
  out.append(text, end);
}

}  // namespace

value_form form_of(const bus_point& point) noexcept {
  const chn_cfg& chn = *point.chn;
  const auto mask = static_cast<std::uint32_t>(decimal_prefix(chn.reg_mask.view()));
  value_form form = {};
  form.kind = is_bit_table(point.table) ? value_kind::bit : kind_of_register(point, mask);
  form.words = point.words;
  form.order = chn.reg_endian == "LITTLE" ? mod_word_order::low_first : mod_word_order::high_first;
  form.mask = mask;
  const bool is_number = form.kind != value_kind::bit && form.kind != value_kind::masked;
  if (is_number) read_scale(chn, form);
  return form;
}

std::optional<double> raw_value(const value_form& form, const std::uint16_t* registers) noexcept {
  const std::uint32_t pattern = pattern_of(form, registers);
  switch (form.kind) {
    case value_kind::bit:
      return registers[0] != 0 ? 1 : 0;
    case value_kind::masked:
      return (pattern & form.mask) >> std::countr_zero(form.mask);
    case value_kind::whole:
      return pattern;
    case value_kind::with_sign:
      return static_cast<double>(signed_value(form, pattern));
    case value_kind::floating:
      return mod_getFloat(registers, form.order);
    default:
      return std::nullopt;
  }
}

std::optional<double> user_value(const value_form& form, const std::uint16_t* registers) noexcept {
  const std::optional<double> raw = raw_value(form, registers);
  if (!raw || !form.is_scaled) return raw;
  const double share = (*raw - form.device_low) / (form.device_high - form.device_low);
  return form.user_low + share * (form.user_high - form.user_low);
}

void append_value(std::string& out, const value_form& form, const std::uint16_t* registers) {
  const std::optional<double> value = user_value(form, registers);
  if (!value) return;
  if (std::isnan(*value)) {
    out += "nan";
  } else if (form.is_scaled) {
    append_scaled(out, *value);
  } else if (form.kind == value_kind::floating) {
    append_float(out, mod_getFloat(registers, form.order));
  } else {
    append(out, static_cast<std::int64_t>(*value));
  }
}

bool put_user_value(const value_form& form, double value, std::uint16_t* registers) noexcept {
  if (form.kind == value_kind::unknown) return false;
  const double device = device_value(form, value);
  if (form.kind == value_kind::floating) return put_float(form, device, registers);
  const double rounded = std::nearbyint(device);
  const value_range range = range_of(form);
  if (!(rounded >= range.low && rounded <= range.high)) return false;
  const auto pattern = static_cast<std::uint32_t>(static_cast<std::int64_t>(rounded));
  if (form.kind != value_kind::masked) {
    put_pattern(form, pattern, registers);
    return true;
  }
  const std::uint32_t kept = pattern_of(form, registers) & ~form.mask;
  put_pattern(form, kept | (pattern << std::countr_zero(form.mask) & form.mask), registers);
  return true;
}

}  // namespace ruvex
