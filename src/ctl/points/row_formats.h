// The formats of `ruvexctl show` that have a row for each point.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "output.h"
#include "point_columns.h"
#include "ruvex/cfg/records.h"

namespace ruvex {

// Aligned columns, as text_table.h lays them out in `room`. Gives how many are left out.
std::size_t print_table(const yax_cfg& doc, const point_columns& columns, std::size_t room,
                        output& out);

// All texts as they are (RFC 4180).
void print_csv(const yax_cfg& doc, const point_columns& columns, output& out);

// Appends a cell, in quotes where it holds the separator, a quote or a line end.
void append_csv_cell(std::string& row, std::string_view cell, char separator);

// An object a line.
void print_json(const yax_cfg& doc, const point_columns& columns, output& out);

// A table of Markdown.
void print_markdown(const yax_cfg& doc, const point_columns& columns, output& out);

}  // namespace ruvex
