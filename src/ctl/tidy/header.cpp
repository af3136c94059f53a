#include "header.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "ruvex/mapping/columns.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

bool is_words(const cell& cell) noexcept {
  return !without_blanks(cell.text).empty() && !has_digit(cell.text);
}

// The fields that are made from a column.
std::string fields_of(const column_list& columns, std::size_t column) {
  std::string list;
  for (const mapping_column& field : mapping_columns) {
    if (columns.choice_of(field.field).column != column) continue;
    append(list, list.empty() ? "" : ", "), append(list, describe_source(field.field));
  }
  return list;
}

}  // namespace

std::vector<cell> find_header_row(row_reader reader, const column_list& columns) {
  constexpr std::size_t sample = 100;
  std::pair<std::ptrdiff_t, std::ptrdiff_t> most = {0, -1};
  std::vector<cell> found;
  std::vector<cell> row;
  for (std::size_t count = 0; count < sample && reader.next(row);) {
    if (is_blank_row(row)) continue;
    ++count;
    const std::pair<std::ptrdiff_t, std::ptrdiff_t> fit = {
        std::ranges::count_if(row, [&](const cell& cell) { return columns.names(cell); }),
        std::ranges::count_if(row, is_words)};
    if (fit <= most) continue;
    most = fit;
    found = row;
  }
  return found;
}

std::string describe_header(const std::vector<cell>& row, const column_list& columns) {
  std::string lines = message("line ", row.front().place.line, " is the header\n");
  for (std::size_t column = 1; column <= row.size(); ++column) {
    const std::string fields = fields_of(columns, column);
    const std::string header = header_text(row[column - 1].text);
    if (fields.empty() && header.empty()) continue;
    append_visible(lines, message("column ", column, " ", quoted{header}, ": ",
                                  fields.empty() ? "not used" : fields));
    lines += '\n';
  }
  for (const mapping_column& field : mapping_columns) {
    const auto& [column, text, header, is_given] = columns.choice_of(field.field);
    if (column != 0 && column <= row.size()) continue;
    append_visible(lines, text.empty() ? std::string("no column") : message("text ", quoted{text}));
    append(lines, message(": ", describe_source(field.field), "\n"));
  }
  return lines;
}

}  // namespace ruvex
