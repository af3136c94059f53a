// The form of a mapping line: its cells as a spreadsheet counts them against its fields as the
// converter does.
#pragma once

#include <cstddef>

#include "report/line_findings.h"

namespace ruvex {

// Reports what is wrong with the form of a line that the converter takes. The result is the number
// of fields at its start that stand in the cells of the same number: those behind an empty or
// divided cell are other cells' texts, and to examine them would only repeat what has been said.
std::size_t check_form(line_findings& findings, const mapping_line& fields);

// Reports the byte-order mark, and tells whether the file is UTF-16 text; `start` is its first
// line.
bool check_start(line_findings& findings);

}  // namespace ruvex
