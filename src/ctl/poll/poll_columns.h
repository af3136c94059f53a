// The columns of `ruvexctl poll` for programs and the formats that have them.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "output.h"
#include "poll_list.h"
#include "reading.h"

namespace ruvex {

enum class poll_format : std::uint8_t { table, csv, json, html };

// Appends the value of a point that was read; nothing where it was not, or has none.
void append_value(std::string& out, const poll_row& row, const reading& reading);

// Appends the words of a point that was read, four hexadecimal digits each.
void append_raw(std::string& out, const poll_row& row, const reading& reading);

// Prints a row for each point, `readings` by number. The header is left out where it was printed
// for an earlier round. `format` is csv or json.
void print_readings(poll_format format, std::span<const poll_row> rows,
                    std::span<const reading> readings, bool has_header, output& out);

}  // namespace ruvex
