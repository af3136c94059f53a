#include "readings_table.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "bus/point_view.h"
#include "poll_columns.h"
#include "text/text_table.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct readings_column {
  table_column head;
  int use;  // from 1; the first of them stay where the room is short
  void (*append)(std::string& out, const poll_row& row, const reading& got);
};

void append_called_unit(std::string& out, const poll_row& row, const reading&) {
  append_unit(out, *row.unit);
}

template <auto Member>
void append_chn_text(std::string& out, const poll_row& row, const reading&) {
  out += (row.chn->*Member).view();
}

void append_offset(std::string& out, const poll_row& row, const reading&) {
  if (row.point != nullptr) append(out, row.point->offset);
}

void append_outcome(std::string& out, const poll_row&, const reading& got) {
  out += text_of(got.status);
  if (got.status == read_status::exception) out += message(" ", got.code);
}

constexpr readings_column readings_columns[] = {
    {{"unit"}, 1, append_called_unit},
    {{"reference"}, 2, append_chn_text<&chn_cfg::reg_num>},
    {{"wire address", true}, 8, append_offset},
    {{"status"}, 4, append_outcome},
    {{"raw"}, 7, append_raw},
    {{"value", true}, 5, append_value},
    {{"units"}, 6, append_chn_text<&chn_cfg::bac_units>},
    {{"name"}, 3, append_chn_text<&chn_cfg::name>},
};

}  // namespace

std::size_t print_readings_table(std::span<const poll_row> rows, std::span<const reading> readings,
                                 std::size_t room, output& out) {
  std::vector<readings_column> columns(std::begin(readings_columns), std::end(readings_columns));
  if (room != 0) std::ranges::sort(columns, {}, &readings_column::use);
  std::vector<table_column> heads;
  heads.reserve(columns.size());
  for (const readings_column& column : columns) heads.push_back(column.head);
  const auto for_each_row = [rows](auto act) {
    for (const poll_row& row : rows) act(row);
  };
  return draw_table(
      heads, room, for_each_row,
      [&](std::string& text, std::size_t place, const poll_row& row) {
        columns[place].append(text, row, readings[row.number]);
      },
      [&out](std::string_view line) { out.put(line); });
}

}  // namespace ruvex
