// Messages about a place in a file, in the form that compilers use and editors understand:
// PATH:LINE:COLUMN: KIND: TEXT. Every such message of the program is printed here.
//
// Four words that this program's code keeps apart:
//
//   refuse     Not to take what stands in a file: ruvex refuses a line of a mapping, tidy a row of
//              a sheet. Nothing comes of the file then.
//   refusal    One such line or row, told with its place.
//   finding    What a rule of check has to say about a place in a mapping file. A line that ruvex
//              refuses is a finding, too; reading goes on after it.
//   complaint  A message about the run or a file as a whole: "ruvexctl: ...", without a place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ruvex {

struct place_message {
  std::string_view path;
  std::size_t line;       // from 1
  std::size_t last_line;  // that of the first, or of the last of several
  std::size_t column;     // from 1, in bytes; 0: the lines as a whole
  std::string_view kind;  // "error", "warning", "left out", "replaced"
  std::string_view text;
};

// What a terminal is told before the place, the kind and the text; nothing by default.
struct paint {
  std::string_view place, kind, text;
};

// Appends the message and a newline to `out`. The path and the text may come from outside: what is
// not printable in them is made visible, so that it neither commands a terminal nor begins a line.
void append_message(std::string& out, const place_message& message, const paint& paint = {});

// Prints the message on standard error.
void print_message(const place_message& message) noexcept;

}  // namespace ruvex
