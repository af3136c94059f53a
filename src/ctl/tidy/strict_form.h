// Mapping lines in their strict form: 17 cells, none of them empty, no double quotes, and no blanks
// around a cell.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "refusals.h"
#include "ruvex/cfg/records.h"
#include "ruvex/mapping/columns.h"
#include "ruvex/mapping/point_reader.h"
#include "sources.h"
#include "tally.h"

namespace ruvex {

class strict_form {
 public:
  // `replacement`, where there is one, is put in the place of what a mapping file cannot hold, and
  // outlives this object.
  explicit strict_form(std::optional<std::string_view> replacement) noexcept
      : replacement_(replacement) {}

  // Has numbers such as "1.500" refused from now on, because the sheet writes decimal commas: the
  // first one on `line`.
  void expect_decimal_commas(std::size_t line) noexcept { decimal_comma_line_ = line; }

  // Appends the line with these fields, from the row at `row`, to `lines`. Blanks around a text are
  // dropped; a field without text gets the text that leaves its setting at the default; the decimal
  // comma of a number becomes a point; commas, double quotes and line ends of the label, which is
  // not used, become blanks.
  //
  // What cannot be written so is added to `refused`, and nothing is appended: any other comma,
  // double quote, line end or control character, a unit or a reference without text, and a line
  // that would be longer than max_mapping_line. With a replacement, a text takes it; a number, a
  // unit, a reference, and a text that would consist of replacements alone are refused as before.
  void append_line(const field_sources& sources, const text_place& row, refusals& refused,
                   std::string& lines);

  // What was replaced in the lines so far.
  const tally& replaced() const noexcept { return replaced_; }

 private:
  using field_texts = std::array<std::string, max_mapping_fields>;

  void replace(const mapping_column& column, const text_place& place, std::string& text);
  void fill_blanks(field_texts& texts) const;
  void refuse(const mapping_column& column, const text_place& place, std::string_view text,
              refusals& refused) const;
  void refuse_unclear(const mapping_column& column, const text_place& place, std::string_view text,
                      refusals& refused) const;

  const std::optional<std::string_view> replacement_;
  tally replaced_;
  std::size_t decimal_comma_line_ = 0;  // 0: none
  const chn_cfg defaults_ = csv_defaults();
};

}  // namespace ruvex
