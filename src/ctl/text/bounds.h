// The numbers that a setting may have, by the library's tables of bounds.
#pragma once

#include <cstdint>
#include <string_view>

#include "ruvex/cfg/tables.h"
#include "texts.h"

namespace ruvex {

inline std::int64_t lowest_of(const chk_row* bounds) noexcept {
  return decimal_prefix(bounds[1].text);
}

inline std::int64_t highest_of(const chk_row* bounds) noexcept {
  return decimal_prefix(bounds[2].text);
}

// Whether a text is a whole number between them, without a sign.
inline bool is_within(std::string_view text, const chk_row* bounds) noexcept {
  return is_number_within(text, lowest_of(bounds), highest_of(bounds));
}

}  // namespace ruvex
