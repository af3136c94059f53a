#include "table_layout.h"

#include <algorithm>
#include <utility>

#include "text/characters.h"

namespace ruvex {
namespace {

// Where the room is short, a text keeps so much of it while other columns still have to find
// theirs: the first where every column fits, or the first of all.
constexpr std::size_t kept_widths[] = {28, 20, 12};

// With less than this a text says too little, and its column is left out.
constexpr std::size_t least_width = 12;

std::vector<std::size_t> full_widths(const yax_cfg& doc, const point_columns& columns) {
  std::vector<std::size_t> widths(columns.size());
  std::string cell;
  std::string printed;
  const auto measure = [&](const point* shown) {
    for (std::size_t place = 0; place < columns.size(); ++place) {
      cell.clear(), printed.clear();
      append_cell(cell, *columns[place], reader::people, shown);
      widths[place] = std::max(widths[place], append_printable(printed, cell));
    }
  };
  measure(nullptr);
  for_each_point(doc, measure);
  return widths;
}

std::size_t row_width(const std::vector<std::size_t>& widths) noexcept {
  std::size_t sum = 0;
  for (const std::size_t width : widths) sum += width + table_gap;
  return sum - (sum == 0 ? 0 : table_gap);
}

// The bytes of the first characters of a printable text; all of them where there are fewer.
std::size_t bytes_of(std::string_view text, std::size_t characters) noexcept {
  std::size_t at = 0;
  for (; at < text.size() && characters > 0; --characters) at += form_at(text.substr(at)).length;
  return at;
}

// The widths of the columns, from the first on, for which `room` suffices.
std::vector<std::size_t> fitting_widths(const std::vector<std::size_t>& full, std::size_t room,
                                        std::size_t kept) {
  std::vector<std::size_t> widths;
  for (const std::size_t wanted : full) {
    const std::size_t gap = widths.empty() ? 0 : table_gap;
    const std::size_t left = room - std::min(room, gap);
    const std::size_t width = std::min(wanted, kept);
    if (!widths.empty() && left < std::min(width, least_width)) break;
    widths.push_back(std::clamp<std::size_t>(left, 1, width));
    room = left - std::min(left, width);
  }
  // What is left goes to the texts that were cut.
  for (std::size_t place = 0; place < widths.size(); ++place) {
    const std::size_t more = std::min(room, full[place] - widths[place]);
    widths[place] += more;
    room -= more;
  }
  return widths;
}

}  // namespace

table_layout lay_out(const yax_cfg& doc, const point_columns& wanted, std::size_t room) {
  table_layout layout = {wanted, full_widths(doc, wanted), 0};
  if (room == 0 || row_width(layout.widths) <= room) return layout;
  std::vector<std::size_t> widths;
  for (const std::size_t kept : kept_widths) {
    if (widths.size() < wanted.size()) widths = fitting_widths(layout.widths, room, kept);
  }
  if (widths.size() < wanted.size()) {
    const std::size_t mark = table_gap + 1;  // the ellipsis behind the columns
    widths = fitting_widths(layout.widths, room - std::min(room, mark), kept_widths[0]);
  }
  layout.left_out = wanted.size() - widths.size();
  layout.columns.resize(widths.size());
  layout.widths = std::move(widths);
  return layout;
}

std::size_t append_cut(std::string& out, std::string_view text, std::size_t width,
                       std::string& printed) {
  printed.clear();
  const std::size_t full = append_printable(printed, text);
  if (full <= width) {
    out += printed;
    return full;
  }
  out.append(printed, 0, bytes_of(printed, width - 1));
  out += ellipsis;
  return width;
}

}  // namespace ruvex
