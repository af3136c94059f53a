// Small texts of `ruvexctl poll`.
#pragma once

#include <cstdint>
#include <string>

namespace ruvex {

// Appends a number in capital hexadecimal digits, as many as `digits`.
inline void append_hex(std::string& out, std::uint32_t number, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    out += "0123456789ABCDEF"[number >> shift & 15];
  }
}

}  // namespace ruvex
