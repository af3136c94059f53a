// Tables for people: aligned columns, which fit the line of a terminal where there is one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ruvex {

struct table_column {
  std::string_view title;  // outlives the table
  bool is_number = false;  // numbers stand at the right, and are left out rather than cut
};

// Cells are measured first, then fit() decides, then the rows are appended from left to right.
// Texts are appended in their printable form.
class text_table {
 public:
  explicit text_table(const std::vector<table_column>& columns);

  // Has room for a cell in its column.
  void measure(std::size_t place, std::string_view cell);

  // Lays out the columns in lines of at most `room` characters; 0: as many as they need. Where the
  // room is short, long texts get less of it. Then the last columns are left out, and room for an
  // ellipsis stays behind the others. The first column is never left out.
  void fit(std::size_t room);

  // The number of columns that are shown, and of those that are left out at the end.
  std::size_t size() const noexcept { return shown_.size(); }
  std::size_t left_out() const noexcept { return columns_.size() - shown_.size(); }

  // Appends the line of the titles. An ellipsis at its end tells that columns are left out.
  void append_header(std::string& out);

  // Appends the next cell of a line, cut to the width of its column, with an ellipsis then.
  void append_cell(std::string& out, std::size_t place, std::string_view cell);

  // Ends the line.
  void end_row(std::string& out);

 private:
  struct measured_column {
    table_column column;
    std::size_t width;  // of its widest cell
  };

  std::size_t full_width() const noexcept;
  std::vector<std::size_t> fitting_widths(std::size_t room, std::size_t kept) const;

  std::vector<measured_column> columns_;
  std::vector<std::size_t> shown_;  // the widths of those that are
  std::size_t blanks_ = 0;          // held back until a text follows them
  std::string printed_;
};

// Draws a table with its header, as text_table::fit() lays it out in `room`, and calls put(line)
// for each line. `for_each_row(act)` is called twice, to call act(row) for the same rows;
// `append(text, place, row)` is to append the text of a cell. Gives how many columns are left out.
template <class ForEachRow, class Append, class Put>
std::size_t draw_table(const std::vector<table_column>& columns, std::size_t room,
                       ForEachRow for_each_row, Append append, Put put) {
  text_table table(columns);
  std::string cell;
  std::string line;
  for_each_row([&](const auto& row) {
    for (std::size_t place = 0; place < columns.size(); ++place) {
      cell.clear();
      append(cell, place, row);
      table.measure(place, cell);
    }
  });
  table.fit(room);
  table.append_header(line);
  put(line);
  line.clear();
  for_each_row([&](const auto& row) {
    for (std::size_t place = 0; place < table.size(); ++place) {
      cell.clear();
      append(cell, place, row);
      table.append_cell(line, place, cell);
    }
    table.end_row(line);
    put(line);
    line.clear();
  });
  return table.left_out();
}

}  // namespace ruvex
