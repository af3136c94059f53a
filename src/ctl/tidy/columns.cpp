#include "columns.h"

#include <algorithm>

#include "text/texts.h"

namespace ruvex {

column_list::column_list() noexcept {
  while (add({count_ + 1, {}})) {
  }
}

bool column_list::parse(std::string_view list) noexcept {
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

bool column_list::parse_entry(std::string_view entry) noexcept {
  if (entry == "-") return add({0, {}});
  if (entry.starts_with('=')) return add({0, entry.substr(1)});
  const std::size_t hyphen = entry.find('-');
  unsigned long first = 0;
  if (!parse_number(entry.substr(0, hyphen), max_row_cells, first) || first == 0) return false;
  unsigned long last = first;
  if (hyphen != std::string_view::npos &&
      (!parse_number(entry.substr(hyphen + 1), max_row_cells, last) || last < first)) {
    return false;
  }
  for (unsigned long column = first; column <= last; ++column) {
    if (!add({column, {}})) return false;
  }
  return true;
}

bool column_list::add(const choice& added) noexcept {
  if (count_ == choices_.size()) return false;
  choices_[count_++] = added;
  return true;
}

field_sources column_list::select(const std::vector<cell>& row) const noexcept {
  field_sources sources;
  for (std::size_t field = 0; field < sources.size(); ++field) {
    const auto& [column, text] = choices_[field];
    sources[field] = {text, row.front().place};
    if (column == 0 || column > row.size()) continue;
    sources[field] = {row[column - 1].text, row[column - 1].place};
  }
  return sources;
}

std::size_t column_list::largest_chosen() const noexcept {
  std::size_t largest = 0;
  for (const choice& row : choices_) largest = std::max(largest, row.column);
  return is_chosen_ ? largest : 0;
}

}  // namespace ruvex
