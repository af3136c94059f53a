#include "columns.h"

#include <algorithm>
#include <string>

#include "ruvex/mapping/columns.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// "#" and "#100" stand for numbers that run.
column_choice text_choice(std::string_view text) {
  constexpr unsigned long largest = 1'000'000'000;
  unsigned long first = 1;
  if (text == "#" || (text.starts_with('#') && parse_number(text.substr(1), largest, first))) {
    return {0, "1", {}, true, first};
  }
  return {0, text, {}, true, {}};
}

// Registers do not run from point to point: their values have sizes.
bool may_run(std::size_t source) noexcept {
  return source != field_reference && source != table_source;
}

column_choice numbered_choice(std::size_t column) {
  return {column, {}, {}, true, {}};
}

std::string all_headers(const std::vector<cell>& row) {
  std::string list;
  for (const cell& cell : row) {
    const std::string text = header_text(cell.text);
    if (text.empty()) continue;
    append(list, list.empty() ? "" : ", "), append(list, quoted{text});
  }
  return list;
}

}  // namespace

std::string header_text(std::string_view cell) {
  std::string spread(cell);
  std::ranges::replace_if(
      spread, [](char character) { return character == '\r' || character == '\n'; }, ' ');
  std::string text;
  for (const char character : without_blanks(spread)) {
    const bool is_blank = character == ' ' || character == '\t';
    if (!is_blank) text += character;
    if (is_blank && text.back() != ' ') text += ' ';
  }
  return text;
}

column_list::column_list() {
  while (add(numbered_choice(count_ + 1))) {
  }
}

bool column_list::parse(std::string_view list) {
  const column_list earlier = *this;
  *this = {};
  choices_ = {};
  count_ = 0;
  is_chosen_ = true;
  while (true) {
    const std::size_t comma = list.find(',');
    if (!parse_entry(list.substr(0, comma))) {
      *this = earlier;
      return false;
    }
    if (comma == std::string_view::npos) return true;
    list.remove_prefix(comma + 1);
  }
}

bool column_list::parse_entry(std::string_view entry) {
  if (entry == "-") return add(numbered_choice(0));
  const std::size_t equals = entry.find('=');
  if (equals == entry.npos) return parse_numbers(entry);
  const std::string_view text = entry.substr(equals + 1);
  return equals == 0 ? add(text_choice(text)) : add_named(entry.substr(0, equals), text);
}

bool column_list::parse_numbers(std::string_view entry) {
  const std::size_t hyphen = entry.find('-');
  unsigned long first = 0;
  if (!parse_number(entry.substr(0, hyphen), max_row_cells, first) || first == 0) return false;
  unsigned long last = first;
  if (hyphen != std::string_view::npos &&
      (!parse_number(entry.substr(hyphen + 1), max_row_cells, last) || last < first)) {
    return false;
  }
  for (unsigned long column = first; column <= last; ++column) {
    if (!add(numbered_choice(column))) return false;
  }
  return true;
}

bool column_list::add_named(std::string_view name, std::string_view header) {
  const std::optional<std::size_t> source = find_source(name);
  if (!source) {
    if (unknown_name_.empty()) unknown_name_ = name;
    return true;
  }
  column_choice& choice = choices_[*source];
  if (choice.is_given || header.empty()) return false;
  if (header.front() == '=') {
    choice = text_choice(header.substr(1));
    return !choice.first_number || may_run(*source);
  }
  choice.header = header_text(header);
  choice.is_given = true;
  return !choice.header.empty();
}

bool column_list::add(const column_choice& choice) {
  if (count_ == max_mapping_fields || choices_[count_].is_given) return false;
  if (choice.first_number && !may_run(count_)) return false;
  choices_[count_++] = choice;
  return true;
}

bool column_list::names(const cell& cell) const {
  const std::string text = header_text(cell.text);
  return !text.empty() &&
         std::ranges::find(choices_, text, &column_choice::header) != choices_.end();
}

bool column_list::has_names() const noexcept {
  return std::ranges::any_of(choices_,
                             [](const column_choice& row) { return !row.header.empty(); });
}

void column_list::find_headers(const std::vector<cell>& row, refusals& refused) {
  const text_place line = {row.front().place.line, 0};
  for (column_choice& choice : choices_) {
    if (choice.header.empty()) continue;
    const auto is_headed = [&choice](const cell& cell) {
      return header_text(cell.text) == choice.header;
    };
    const auto first = std::ranges::find_if(row, is_headed);
    if (first == row.end()) {
      refused.add(line, "no column has the header %s; there are %s",
                  message(quoted{choice.header}).c_str(), all_headers(row).c_str());
    } else if (std::any_of(first + 1, row.end(), is_headed)) {
      refused.add(line, "more than one column has the header %s; choose one by its number",
                  message(quoted{choice.header}).c_str());
    } else {
      choice.column = static_cast<std::size_t>(first - row.begin()) + 1;
    }
  }
}

field_sources column_list::select(const std::vector<cell>& row) const noexcept {
  field_sources sources;
  for (std::size_t source = 0; source < sources.size(); ++source) {
    const std::size_t column = choices_[source].column;
    sources[source] = {choices_[source].text, row.front().place};
    if (column == 0 || column > row.size()) continue;
    sources[source] = {row[column - 1].text, row[column - 1].place};
  }
  return sources;
}

std::size_t column_list::largest_chosen() const noexcept {
  std::size_t largest = 0;
  for (const column_choice& row : choices_) largest = std::max(largest, row.column);
  return is_chosen_ ? largest : 0;
}

}  // namespace ruvex
