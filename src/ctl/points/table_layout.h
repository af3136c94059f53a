// The columns of a table for people, and how wide they are.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "point_columns.h"
#include "ruvex/cfg/records.h"

namespace ruvex {

// The blanks between two columns.
inline constexpr std::size_t table_gap = 2;

// What stands in the place of what is left out, one column wide (U+2026).
inline constexpr std::string_view ellipsis = "\xE2\x80\xA6";

struct table_layout {
  point_columns columns;
  std::vector<std::size_t> widths;  // in characters, of each of the columns
  std::size_t left_out;             // so many columns at the end of those that were wanted
};

// Lays out the points of `doc` in rows of at most `room` characters; 0: as many as they need. Where
// the room is short, long texts get less of it. Then the last columns are left out, and room for
// the ellipsis stays behind the others. The first column is never left out.
table_layout lay_out(const yax_cfg& doc, const point_columns& wanted, std::size_t room);

// Appends a text in its printable form, cut to `width` characters, the last of which is the
// ellipsis then. `printed` is room for the text. Gives the width of what was appended.
std::size_t append_cut(std::string& out, std::string_view text, std::size_t width,
                       std::string& printed);

}  // namespace ruvex
