// The form of a mapping line: its cells as a spreadsheet counts them against its fields as the
// converter does.
#pragma once

#include <cstddef>
#include <string_view>

#include "report/line_findings.h"

namespace ruvex {

// Looks at the lines of one file, one after the other.
class line_forms {
 public:
  // Reports what is wrong with the form of a line that the converter takes. The result is the
  // number of fields at its start that stand in the cells of the same number: those behind an empty
  // or divided cell are other cells' texts, and to examine them would only repeat what has been
  // said. Where one cause explains all that is wrong with the line, what has been noted of it is
  // forgotten, and the result is 0.
  std::size_t check(line_findings& findings, const mapping_line& fields);

 private:
  bool check_count(line_findings& findings, std::string_view line, const mapping_line& fields);
  bool is_continued(std::string_view line, const mapping_line& fields) noexcept;

  char separator_ = ',';         // another one: that of an earlier line
  bool is_inside_cell_ = false;  // an earlier line has begun a cell that it did not close
};

// Reports the byte-order mark of a file, whose first line this is.
void check_start(line_findings& findings);

}  // namespace ruvex
