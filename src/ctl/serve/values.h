// The values of the points that are served: those of a file, and those of a pattern.
#pragma once

#include <cstdint>
#include <string_view>

#include "answer.h"
#include "register_image.h"

namespace ruvex {

// Reads values in CSV and puts them into the registers. A header names the columns "unit",
// "reference" and "value", as the output of poll does; without one they are the first three. Where
// a column "raw" has the words of a point in hexadecimal digits, these count. A row without a value
// is passed over. Where a unit has a reference several times, its rows are for one point after the
// other, as in the list; further rows begin again with the first.
//
// False, after a message for each row whose value cannot be put; `path` names the file in it.
bool put_values(const char* path, std::string_view content, register_image& image);

// What becomes of the points without a value of their own.
enum class value_pattern : std::uint8_t {
  constant,  // the low end of the user's range; 0 where there is none
  count,     // from the low end to the high end, a step a second
  sine,      // between the two ends, once a minute
};

// Puts the values with which the points begin.
void begin_pattern(register_image& image) noexcept;

// Moves the points that a request reads to where they are `seconds` after the beginning.
void move_points(served_unit& unit, const table_request& request, value_pattern pattern,
                 double seconds) noexcept;

}  // namespace ruvex
