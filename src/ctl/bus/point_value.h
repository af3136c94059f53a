// What the registers of a point say, as the controller reads them, and the registers of a value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "devices.h"
#include "ruvex/modbus/values.h"

namespace ruvex {

enum class value_kind : std::uint8_t {
  bit,     // a coil or a discrete input
  masked,  // the bits of a mask, moved down to bit 0, without a sign
  whole,   // an unsigned number
  with_sign,
  floating,  // of two registers, IEEE 754
  unknown,   // a floating point number of one register, or a format that is none
};

struct value_form {
  value_kind kind = value_kind::unknown;
  std::uint8_t words = 1;  // or 2
  mod_word_order order = mod_word_order::high_first;
  std::uint32_t mask = 0;  // of a masked value
  bool is_scaled = false;  // the ends of the scale are numbers, and those of the device differ
  double device_low = 0, device_high = 0, user_low = 0, user_high = 0;
};

value_form form_of(const bus_point& point) noexcept;

// The value of the registers (a bit: 0, or any other number for 1), `form.words` of them, before
// scaling. Nothing where the kind is unknown.
std::optional<double> raw_value(const value_form& form, const std::uint16_t* registers) noexcept;

// The value behind the scaling, which is none for bits and masked values; infinities and what is no
// number stay what they are.
std::optional<double> user_value(const value_form& form, const std::uint16_t* registers) noexcept;

// Appends the user value: whole numbers as they are, a float in the shortest form that is read back
// as the same float, a scaled value with 12 significant digits, which are enough to find its
// registers again. "nan", "inf", "-inf" and "-0" are shown as what they are.
void append_value(std::string& out, const value_form& form, const std::uint16_t* registers);

// Puts the registers that come nearest to a user value; those of a masked value change only under
// the mask. False, and nothing changes, where the value is outside of what the registers hold, and
// where the kind is unknown.
bool put_user_value(const value_form& form, double value, std::uint16_t* registers) noexcept;

}  // namespace ruvex
