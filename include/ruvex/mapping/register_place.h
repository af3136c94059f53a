// Where a register stands: what a reference such as 40011 means on the wire.
#pragma once

#include <cstdint>
#include <string_view>

#include "ruvex/mapping/rules.h"

namespace ruvex {

struct register_place {
  register_class table;
  std::int32_t offset;  // from 0, as in a Modbus request; -1 where the reference names no register
};

// The place of a reference as a channel holds it: a digit for the table and the register's number
// in it, from 1, in four digits (40001 to 49999) or in five (400001 to 465536).
register_place place_of(std::string_view reference) noexcept;

// A class in words: "coil", "discrete input", "input register", "holding register"; empty for an
// illegal one.
std::string_view table_name(register_class table) noexcept;

// Whether the class holds single bits: coils and discrete inputs.
constexpr bool is_bit_table(register_class table) noexcept {
  return table == register_class::coil || table == register_class::discrete_input;
}

}  // namespace ruvex
