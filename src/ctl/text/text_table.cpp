#include "text_table.h"

#include <algorithm>
#include <utility>

#include "characters.h"

namespace ruvex {
namespace {

// The blanks between two columns.
constexpr std::size_t table_gap = 2;

// What stands in the place of what is left out, one column wide (U+2026).
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

// Where the room is short, a text keeps so much of it while other columns still have to find
// theirs: the first where every column fits, or the first of all.
constexpr std::size_t kept_widths[] = {28, 20, 12};

// With less than this a text says too little, and its column is left out.
constexpr std::size_t least_width = 12;

// The bytes of the first characters of a printable text; all of them where there are fewer.
std::size_t bytes_of(std::string_view text, std::size_t characters) noexcept {
  std::size_t at = 0;
  for (; at < text.size() && characters > 0; --characters) at += form_at(text.substr(at)).length;
  return at;
}

}  // namespace

text_table::text_table(const std::vector<table_column>& columns) {
  for (const table_column& column : columns) {
    columns_.push_back({column, 0});
    measure(columns_.size() - 1, column.title);
  }
}

void text_table::measure(std::size_t place, std::string_view cell) {
  printed_.clear();
  std::size_t& width = columns_[place].width;
  width = std::max(width, append_printable(printed_, cell));
}

void text_table::fit(std::size_t room) {
  shown_.clear();
  if (room == 0 || full_width() <= room) {
    for (const measured_column& column : columns_) shown_.push_back(column.width);
    return;
  }
  for (const std::size_t kept : kept_widths) {
    if (left_out() != 0) shown_ = fitting_widths(room, kept);
  }
  if (left_out() == 0) return;
  const std::size_t mark = table_gap + 1;  // the ellipsis behind the columns
  shown_ = fitting_widths(room - std::min(room, mark), kept_widths[0]);
}

void text_table::append_header(std::string& out) {
  for (std::size_t place = 0; place < size(); ++place) {
    append_cell(out, place, columns_[place].column.title);
  }
  if (left_out() != 0) out.append(blanks_, ' ') += ellipsis;
  end_row(out);
}

void text_table::append_cell(std::string& out, std::size_t place, std::string_view cell) {
  printed_.clear();
  const std::size_t room = shown_[place];
  const std::size_t width = append_printable(printed_, cell);
  const std::size_t free = room - std::min(room, width);
  const bool is_number = columns_[place].column.is_number;
  if (is_number) blanks_ += free;
  if (width != 0) out.append(std::exchange(blanks_, 0), ' ');
  if (width <= room) {
    out += printed_;
  } else {
    out.append(printed_, 0, bytes_of(printed_, room - 1)) += ellipsis;
  }
  blanks_ += (is_number ? 0 : free) + table_gap;
}

void text_table::end_row(std::string& out) {
  out += '\n';
  blanks_ = 0;
}

std::size_t text_table::full_width() const noexcept {
  std::size_t sum = 0;
  for (const measured_column& column : columns_) sum += column.width + table_gap;
  return sum - std::min(sum, table_gap);
}

// The widths of the columns, from the first on, for which `room` suffices. Of a text, `kept` is
// wanted.
std::vector<std::size_t> text_table::fitting_widths(std::size_t room, std::size_t kept) const {
  std::vector<std::size_t> widths;
  for (const auto& [column, full] : columns_) {
    const std::size_t left = room - std::min(room, widths.empty() ? 0 : table_gap);
    const std::size_t width = column.is_number ? full : std::min(full, kept);
    const std::size_t least = column.is_number ? full : std::min(width, least_width);
    if (!widths.empty() && left < least) break;
    widths.push_back(std::clamp<std::size_t>(left, 1, width));
    room = left - std::min(left, width);
  }
  // What is left goes to the texts that were cut.
  for (std::size_t place = 0; place < widths.size(); ++place) {
    const std::size_t more = std::min(room, columns_[place].width - widths[place]);
    widths[place] += more;
    room -= more;
  }
  return widths;
}

}  // namespace ruvex
