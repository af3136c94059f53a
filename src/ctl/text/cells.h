// Rows and cells of a text that a spreadsheet has exported.
//
// A row ends at LF, at CR LF or at CR alone; the last one may lack its end. Cells are separated by
// one delimiter. A cell whose first character is a double quote reaches to its closing quote: what
// stands between them, delimiters and line ends too, is its text, and two quotes there are one. A
// double quote anywhere else is a character like any other.
//
// Nothing ends the reading but the end of the text: a cell that is not well formed says so. The
// time is linear in the length of the text; the memory is that of the longest row's texts and of
// max_row_cells cells at most.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ruvex {

// A place in a text: line and column count from 1, columns are bytes.
struct text_place {
  std::size_t line;
  std::size_t column;
};

enum class cell_defect {
  none,
  unclosed_quote,     // the text ends before the closing quote; place: the opening quote
  text_behind_quote,  // something other than blanks stands behind the closing quote; place: there.
                      // It is part of the cell's text.
  too_many_cells,     // the row has more than max_row_cells cells; place: the first one too many.
                      // Set in the last cell that the row holds; the others are passed over.
};

struct cell {
  std::string text;  // without the quotes around it; blanks stand as they are
  text_place place;  // its first character, or its opening quote
  cell_defect defect;
  text_place defect_place;
};

// As many columns as a spreadsheet has.
inline constexpr std::size_t max_row_cells = 16384;

class row_reader {
 public:
  // `content` outlives the reader; its first line is counted as `first_line`. `delimiter` is
  // neither a double quote nor a line end.
  row_reader(std::string_view content, char delimiter, std::size_t first_line = 1) noexcept
      : content_(content), delimiter_(delimiter), line_(first_line) {}

  // Puts the next row into `row`, which is replaced; a row has one cell at least. False, and `row`
  // is empty, at the end of the text.
  bool next(std::vector<cell>& row);

 private:
  cell read_cell();
  void read_quoted(cell& cell);
  void read_behind_quote(cell& cell);
  std::string_view take_plain() noexcept;
  void take_line_end() noexcept;
  text_place here() const noexcept { return {line_, at_ - line_start_ + 1}; }

  std::string_view content_;
  char delimiter_;
  std::size_t at_ = 0;
  std::size_t line_;
  std::size_t line_start_ = 0;
};

// The text without the blanks, TABs and no-break spaces (U+00A0 and U+FEFF, in UTF-8) at its two
// ends.
std::string_view without_blanks(std::string_view text) noexcept;

// Whether none of the cells holds anything but blanks.
bool is_blank_row(const std::vector<cell>& row) noexcept;

}  // namespace ruvex
