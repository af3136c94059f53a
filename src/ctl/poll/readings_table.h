// The points that were polled as a table for people.
#pragma once

#include <cstddef>
#include <span>

#include "output.h"
#include "poll_list.h"
#include "reading.h"

namespace ruvex {

// Prints a header and a row for each point, `readings` by number, in lines of at most `room`
// characters as text_table.h lays them out, the most useful columns first; 0: all columns in full.
// Gives how many are left out.
std::size_t print_readings_table(std::span<const poll_row> rows, std::span<const reading> readings,
                                 std::size_t room, output& out);

}  // namespace ruvex
