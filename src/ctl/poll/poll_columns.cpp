#include "poll_columns.h"

#include <chrono>
#include <concepts>
#include <utility>

#include "bus/point_value.h"
#include "bus/point_view.h"
#include "points/row_formats.h"
#include "poll_text.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct told_point {
  const poll_row& row;
  const reading& got;
};

// A number with leading zeros, the first digit at `place`, and what stands behind it.
void append_padded(std::string& out, std::integral auto number, int place, char behind) {
  const auto left = static_cast<int>(number);
  for (; place > 0; place /= 10) out += static_cast<char>('0' + left / place % 10);
  out += behind;
}

// RFC 3339, in UTC.
void append_time(std::string& out, const told_point& told) {
  if (told.got.status == read_status::skipped) return;
  const auto day = std::chrono::floor<std::chrono::days>(told.got.time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(told.got.time - day);
  append_padded(out, static_cast<int>(date.year()), 1000, '-');
  append_padded(out, static_cast<unsigned>(date.month()), 10, '-');
  append_padded(out, static_cast<unsigned>(date.day()), 10, 'T');
  append_padded(out, clock.hours().count(), 10, ':');
  append_padded(out, clock.minutes().count(), 10, ':');
  append_padded(out, clock.seconds().count(), 10, '.');
  append_padded(out, clock.subseconds().count(), 100, 'Z');
}

void append_line(std::string& out, const told_point& told) {
  if (told.row.line != 0) append(out, told.row.line);
}

void append_unit_name(std::string& out, const told_point& told) {
  append_unit(out, *told.row.unit);
}

template <auto Member>
void append_setting(std::string& out, const told_point& told) {
  out += (told.row.chn->*Member).view();
}

void append_wire_address(std::string& out, const told_point& told) {
  if (told.row.point != nullptr) append(out, told.row.point->offset);
}

void append_function(std::string& out, const told_point& told) {
  if (told.row.point == nullptr) return;
  out += static_cast<char>('0' + reading_function(told.row.point->table));  // 1 to 4
}

void append_status(std::string& out, const told_point& told) {
  out += text_of(told.got.status);
}

void append_told_raw(std::string& out, const told_point& told) {
  append_raw(out, told.row, told.got);
}

void append_told_value(std::string& out, const told_point& told) {
  append_value(out, told.row, told.got);
}

void append_ms(std::string& out, const told_point& told) {
  if (told.got.status != read_status::skipped) append(out, told.got.ms);
}

enum class cell_kind : std::uint8_t {
  text,    // of the list: anything
  word,    // one of ours, with nothing in it that needs quotes or escapes
  number,  // in JSON without quotes; null where it is empty
};

struct poll_column {
  const char* title;
  cell_kind kind;
  void (*append)(std::string& out, const told_point& told);
};

// clang-format off
constexpr poll_column columns_for_programs[] = {
    {"time",         cell_kind::word, append_time},
    {"line",         cell_kind::number, append_line},
    {"unit",         cell_kind::text, append_unit_name},
    {"reference",    cell_kind::text, append_setting<&chn_cfg::reg_num>},
    {"wire_address", cell_kind::number, append_wire_address},
    {"function",     cell_kind::number, append_function},
    {"status",       cell_kind::word, append_status},
    {"raw",          cell_kind::word, append_told_raw},
    {"value",        cell_kind::word, append_told_value},  // JSON has no number for nan and inf
    {"units",        cell_kind::text, append_setting<&chn_cfg::bac_units>},
    {"name",         cell_kind::text, append_setting<&chn_cfg::name>},
    {"ms",           cell_kind::number, append_ms},
};
// clang-format on

void append_csv_row(std::string& out, std::string& cell, const told_point& told) {
  for (const poll_column& column : columns_for_programs) {
    if (column.kind == cell_kind::text) {
      cell.clear();
      column.append(cell, told);
      append_csv_cell(out, cell, ',');
    } else {
      column.append(out, told);
    }
    out += ',';
  }
  out.back() = '\n';
}

void append_json_row(std::string& out, std::string& cell, const told_point& told) {
  char before = '{';
  for (const poll_column& column : columns_for_programs) {
    cell.clear();
    column.append(cell, told);
    out += std::exchange(before, ',');
    out += message("\"", column.title, "\":");
    if (column.kind != cell_kind::number) {
      append_json(out, cell);
    } else {
      out += cell.empty() ? "null" : cell;
    }
  }
  out += "}\n";
}

}  // namespace

void append_value(std::string& out, const poll_row& row, const reading& reading) {
  if (is_read(reading)) append_value(out, row.form, reading.words);
}

void append_raw(std::string& out, const poll_row& row, const reading& reading) {
  if (!is_read(reading)) return;
  append_hex(out, reading.words[0], 4);
  if (row.point->words == 1) return;
  out += ' ';
  append_hex(out, reading.words[1], 4);
}

void print_readings(poll_format format, std::span<const poll_row> rows,
                    std::span<const reading> readings, bool has_header, output& out) {
  std::string text, cell;
  if (format == poll_format::csv && has_header) {
    for (const poll_column& column : columns_for_programs) text += message(column.title, ",");
    text.back() = '\n';
  }
  for (const poll_row& row : rows) {
    const told_point told = {row, readings[row.number]};
    if (format == poll_format::csv) {
      append_csv_row(text, cell, told);
    } else {
      append_json_row(text, cell, told);
    }
    out.put(text);
    text.clear();
  }
  out.put(text);
}

}  // namespace ruvex
