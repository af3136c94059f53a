// The table of a unit's points.
#pragma once

#include <cstddef>
#include <string>

#include "bus/point_view.h"
#include "report/rules.h"

namespace ruvex {

// Appends the head of the table.
void append_point_head(std::string& out);

// Appends the row of a point; `number` makes its anchor. Where `is_marked`, findings follow.
void append_point_row(std::string& out, const point& shown, std::size_t number, bool is_marked);

// Begins and ends the row of the findings of a point.
void begin_told_row(std::string& out);
void end_told_row(std::string& out);

// Appends a finding as an entry of a list.
void append_told(std::string& out, const finding& told);

}  // namespace ruvex
