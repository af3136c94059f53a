// The header row of a sheet: where it stands, and what its columns become.
#pragma once

#include <string>
#include <vector>

#include "columns.h"
#include "text/cells.h"

namespace ruvex {

// The header row among the first rows that `reader` gives: the one with the most headers by which
// `columns` have been chosen, of several such the one with the most cells that hold a text without
// digits. Empty when every row is blank.
std::vector<cell> find_header_row(row_reader reader, const column_list& columns);

// What each column becomes, and what the other fields are made from: lines for people, the last one
// ended. The headers by which `columns` have been chosen have been found in `row`.
std::string describe_header(const std::vector<cell>& row, const column_list& columns);

}  // namespace ruvex
