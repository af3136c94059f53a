// Mapping lines in their strict form: 17 cells, none of them empty, no double quotes, and no blanks
// around a cell.
#pragma once

#include <array>
#include <string>

#include "columns.h"
#include "refusals.h"
#include "ruvex/cfg/records.h"
#include "ruvex/mapping/columns.h"
#include "ruvex/mapping/point_reader.h"

namespace ruvex {

class strict_form {
 public:
  // Appends the line with these fields, from the row at `row`, to `lines`. Blanks around a text are
  // dropped; a field without text gets the text that leaves its setting at the default; the decimal
  // comma of a number becomes a point; commas, double quotes and line ends of the label, which is
  // not used, become blanks.
  //
  // What cannot be written so is added to `refused`, and nothing is appended: any other comma,
  // double quote, line end or control character, a unit or a reference without text, and a line
  // that would be longer than max_mapping_line.
  void append_line(const field_sources& sources, const text_place& row, refusals& refused,
                   std::string& lines) const;

 private:
  using field_texts = std::array<std::string, max_mapping_fields>;

  void fill_blanks(field_texts& texts) const;

  const chn_cfg defaults_ = csv_defaults();
};

}  // namespace ruvex
