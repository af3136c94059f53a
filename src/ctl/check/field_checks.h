// What each field of a point line must be for the controller to have the point that is meant.
#pragma once

#include <cstddef>

#include "report/line_findings.h"

namespace ruvex {

// Whether a line looks like the header of a table: neither its unit nor its reference has a digit.
bool is_header(const mapping_line& line) noexcept;

// Reports on the first `count` fields of a point line, and on what they are together. False when a
// field holds no text but an error of the spreadsheet.
bool check_fields(line_findings& findings, const checked_point& point, std::size_t count);

// Reports the characters of a line's settings that break the XML, or that the controller takes for
// others.
void check_characters(line_findings& findings, const checked_point& point);

}  // namespace ruvex
