// Modbus references as people write them: what they come to, what was probably meant, and what is a
// bit or only looks like one.
#pragma once

#include <string_view>

#include "report/line_findings.h"

namespace ruvex {

// Reports on the reference of a point line, whose class is a legal one.
void check_reference(line_findings& findings, const checked_point& point);

// Reports an object type that does not fit the class of the register.
void check_object_class(line_findings& findings, const checked_point& point);

inline constexpr std::string_view no_units = "NO_UNITS";

// Why a point is no bit, as a sentence about a part of its line.
struct bit_doubt {
  std::string_view subject;  // empty: there is no doubt
  std::string_view predicate;
};

// The doubt about a reference that has become a coil or a discrete input only by its number, as an
// address without its table does. None where an "X" says that it is meant.
bit_doubt doubt_of_bit(const checked_point& point);

// Whether a point is one bit, beyond such a doubt.
bool is_plain_bit(const checked_point& point);

// Whether the converter took the four ends from the line; it leaves the defaults where all are "0".
bool is_scaled(const checked_point& point) noexcept;

bool is_binary(std::string_view object_type) noexcept;

}  // namespace ruvex
