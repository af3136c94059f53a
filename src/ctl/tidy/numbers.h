// Numbers as spreadsheets write them: decimal commas, and points that separate thousands.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ruvex/mapping/columns.h"

namespace ruvex {

// Whether a field holds a number that may have a fraction: a COV increment or an end of a scale.
bool may_have_fraction(const mapping_column& column) noexcept;

// The place of the comma of a number such as "-0,5"; npos where there is none. "1,500" is not taken
// for such a number, as it can be meant as one and a half or as fifteen hundred.
std::size_t find_decimal_comma(std::string_view text) noexcept;

// A number such as "1.500", both ways.
struct unclear_number {
  std::string with_thousands;  // "1500"
  std::string with_fraction;   // "1.5"
};

// The two readings of a text; nothing where there is one at most, as for "0.500".
std::optional<unclear_number> find_unclear_number(std::string_view text);

}  // namespace ruvex
