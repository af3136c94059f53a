// What the fields of a point line that are not merely copied come to mean.
#pragma once

#include <cstdint>
#include <string_view>

#include "ruvex/mapping/rules.h"

namespace ruvex {

// The name rule: the start of `field` that becomes the point's name. Up to 57 characters it is all
// of it. From a longer one five digits at the end are taken away, or an "m" and up to three digits,
// and the blanks before them; what is left is cut to 63 characters.
std::string_view point_name(std::string_view field) noexcept;

// The first row of modbus_type with exactly this data-type text; null when there is none.
const modbus_type_row* find_data_type(std::string_view data_type) noexcept;

// Whether a data-type text marks its point as a bit of a register: it has "Bit16" or "Bit32" in it.
bool is_bit_type(std::string_view data_type) noexcept;

// The mask of the bit whose number is `field`: of the number only the low eight bits count, and
// from 32 on the mask is 0. Bit 31 is the sign.
std::int32_t bit_mask(std::string_view field) noexcept;

// The channel type (a value of chk_chn_type) of a register class and an object type text; -1 for an
// illegal class.
std::int32_t channel_type(register_class reg_class, std::string_view bac_type) noexcept;

// The Modbus write function (a value of chk_reg_fcn) of a register class and a register count text.
std::int32_t write_function(register_class reg_class, std::string_view reg_size) noexcept;

}  // namespace ruvex
