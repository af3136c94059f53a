// What separates the cells of a sheet.
#pragma once

#include <string_view>

namespace ruvex {

// The comma, semicolon, TAB or "|" that divides the usual row of a text into the most cells; of
// several such the first in this order.
char find_delimiter(std::string_view text);

}  // namespace ruvex
