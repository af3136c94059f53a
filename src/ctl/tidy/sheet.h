// A spreadsheet's rows, turned into mapping lines of the strict form.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "columns.h"
#include "fill_down.h"
#include "reference_form.h"
#include "text_map.h"

namespace ruvex {

struct sheet_settings {
  std::optional<char> delimiter;      // nothing: the one that gives the most cells
  std::optional<unsigned long> skip;  // lines at the start; nothing: those before the first point
  column_list columns;
  // Put in the place of what a mapping file cannot hold, see strict_form; nothing: that is refused.
  std::optional<std::string_view> replacement;
  source_maps maps;
  source_set filled;                        // whose blank cells get the text above them
  std::optional<reference_form> reference;  // nothing: the references are whole
};

// The mapping lines of a sheet in UTF-8. Rows that are left out, and what was replaced, are told on
// standard error, where `path` names the sheet. Nothing, after refusals or a complaint there, when
// there is no point, or when not all that the rows hold can be told in mapping lines.
std::optional<std::string> tidy_sheet(const char* path, std::string_view text,
                                      const sheet_settings& settings);

// What the columns under the sheet's header become, as lines for people. Nothing, after refusals or
// a complaint, when there is no row, or not every header by which columns have been chosen.
std::optional<std::string> show_header(const char* path, std::string_view text,
                                       const sheet_settings& settings);

}  // namespace ruvex
