// Values that take two registers: 32-bit integers and floats (IEEE 754), in either word order.
#pragma once

#include <bit>
#include <cstdint>

namespace ruvex {

// Which of two registers holds the upper 16 bits.
enum class mod_word_order : std::uint8_t {
  high_first,  // the one with the lower reference
  low_first,
};

// The value of two registers in the host's byte order, and the two registers of a value.
constexpr std::uint32_t mod_getLong(const std::uint16_t* registers, mod_word_order order) noexcept {
  const bool is_high_first = order == mod_word_order::high_first;
  const std::uint32_t high = registers[is_high_first ? 0 : 1];
  return high << 16 | registers[is_high_first ? 1 : 0];
}

constexpr void mod_putLong(std::uint16_t* registers, std::uint32_t value,
                           mod_word_order order) noexcept {
  const bool is_high_first = order == mod_word_order::high_first;
  registers[is_high_first ? 0 : 1] = static_cast<std::uint16_t>(value >> 16);
  registers[is_high_first ? 1 : 0] = static_cast<std::uint16_t>(value);
}

// The same of a float. Every bit pattern stays as it is; what it means (infinite, no number) is the
// caller's matter.
constexpr float mod_getFloat(const std::uint16_t* registers, mod_word_order order) noexcept {
  return std::bit_cast<float>(mod_getLong(registers, order));
}

constexpr void mod_putFloat(std::uint16_t* registers, float value, mod_word_order order) noexcept {
  mod_putLong(registers, std::bit_cast<std::uint32_t>(value), order);
}

}  // namespace ruvex
