#include "header.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

bool is_words(const cell& cell) noexcept {
  return !without_blanks(cell.text).empty() && !has_digit(cell.text);
}

// The sources that stand in a column.
std::string sources_in(const column_list& columns, std::size_t column) {
  std::string list;
  for (std::size_t source = 0; source < max_sources; ++source) {
    if (columns.choice_of(source).column != column) continue;
    append(list, list.empty() ? "" : ", "), append(list, describe_source(source));
  }
  return list;
}

// What a source is that stands in no column.
std::string describe_text(const column_choice& choice) {
  if (choice.first_number) return message("numbers from ", *choice.first_number);
  return choice.text.empty() ? std::string("no column") : message("text ", quoted{choice.text});
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
    const std::string sources = sources_in(columns, column);
    const std::string header = header_text(row[column - 1].text);
    if (sources.empty() && header.empty()) continue;
    append_visible(lines, message("column ", column, " ", quoted{header}, ": ",
                                  sources.empty() ? "not used" : sources));
    lines += '\n';
  }
  for (std::size_t source = 0; source < max_sources; ++source) {
    const column_choice& choice = columns.choice_of(source);
    if (choice.column != 0 && choice.column <= row.size()) continue;
    if (source == table_source && !choice.is_given) continue;
    append_visible(lines, describe_text(choice));
    append(lines, message(": ", describe_source(source), "\n"));
  }
  return lines;
}

}  // namespace ruvex
