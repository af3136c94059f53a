#include "row_formats.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "text/characters.h"
#include "text/text_table.h"

namespace ruvex {
namespace {

// A format makes rows of cells: add() appends the next cell to the row, end() what follows the last
// one, end_header() what follows the header, where the format has one.
struct row_format {
  static constexpr bool has_header = true;
  static void end_header(std::string&, const point_columns&) {}
};

class markdown_format : public row_format {
 public:
  static constexpr reader readers = reader::people;

  void add(std::string& row, std::size_t, std::string_view cell) {
    printed_.clear();
    append_printable(printed_, cell);
    row += "| ";
    for (const char character : printed_) {
      if (character == '|' || character == '\\') row += '\\';
      row += character;
    }
    row += ' ';
  }
  static void end(std::string& row) { row += "|\n"; }
  static void end_header(std::string& row, const point_columns& columns) {
    for (std::size_t left = columns.size(); left > 0; --left) row += "| --- ";
    end(row);
  }

 private:
  std::string printed_;
};

struct csv_format : row_format {
  static constexpr reader readers = reader::programs;

  static void add(std::string& row, std::size_t place, std::string_view cell) {
    if (place != 0) row += ',';
    append_csv_cell(row, cell, ',');
  }
  static void end(std::string& row) { row += '\n'; }
};

struct json_format : row_format {
  static constexpr reader readers = reader::programs;
  static constexpr bool has_header = false;

  explicit json_format(const point_columns& columns) noexcept : columns_(columns) {}

  void add(std::string& row, std::size_t place, std::string_view cell) const {
    const column& column = *columns_[place];
    row += place != 0 ? ",\"" : "{\"";
    row += column.key;
    row += "\":";
    if (column.kind != column_kind::setting && cell.empty()) {
      row += "null";
    } else if (column.kind == column_kind::number) {
      row += cell;
    } else {
      append_json(row, cell);
    }
  }
  static void end(std::string& row) { row += "}\n"; }

 private:
  const point_columns& columns_;
};

template <class Format>
void print_rows(const yax_cfg& doc, const point_columns& columns, Format format, output& out) {
  std::string row;
  std::string cell;
  const auto print_row = [&](const point* shown) {
    for (std::size_t place = 0; place < columns.size(); ++place) {
      cell.clear();
      append_cell(cell, *columns[place], Format::readers, shown);
      format.add(row, place, cell);
    }
    format.end(row);
    if (shown == nullptr) format.end_header(row, columns);
    out.put(row);
    row.clear();
  };
  if (Format::has_header) print_row(nullptr);
  for_each_point(doc, print_row);
}

}  // namespace

void append_csv_cell(std::string& row, std::string_view cell, char separator) {
  const auto needs_quotes = [separator](char character) {
    return character == separator || character == '"' || character == '\r' || character == '\n';
  };
  if (std::ranges::none_of(cell, needs_quotes)) {
    row += cell;
    return;
  }
  row += '"';
  for (const char character : cell) row.append(character == '"' ? 2 : 1, character);
  row += '"';
}

std::size_t print_table(const yax_cfg& doc, const point_columns& columns, std::size_t room,
                        output& out) {
  std::vector<table_column> titles;
  titles.reserve(columns.size());
  for (const column* shown : columns) titles.push_back({shown->title});
  return draw_table(
      titles, room, [&doc](auto act) { for_each_point(doc, act); },
      [&columns](std::string& text, std::size_t place, const point* shown) {
        append_cell(text, *columns[place], reader::people, shown);
      },
      [&out](std::string_view line) { out.put(line); });
}

void print_csv(const yax_cfg& doc, const point_columns& columns, output& out) {
  print_rows(doc, columns, csv_format(), out);
}

void print_json(const yax_cfg& doc, const point_columns& columns, output& out) {
  print_rows(doc, columns, json_format(columns), out);
}

void print_markdown(const yax_cfg& doc, const point_columns& columns, output& out) {
  print_rows(doc, columns, markdown_format(), out);
}

}  // namespace ruvex
