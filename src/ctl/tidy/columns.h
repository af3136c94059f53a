// Which cells of a spreadsheet's rows become which fields of a mapping line.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "refusals.h"
#include "sources.h"
#include "text/cells.h"

namespace ruvex {

// What a field is chosen to be made from.
struct column_choice {
  std::size_t column = 0;  // from 1; 0: the text
  std::string_view text;   // empty: nothing
  std::string header;      // of the column, which find_headers() finds; empty: none is named
  bool is_given = false;   // an entry of the list says so
  // The number of the first point, whose successors get the next ones; nothing: the same for all.
  std::optional<unsigned long> first_number;
};

// The text of a header cell as people name it: without blanks at its ends, and with one blank for
// each run of blanks and line ends within.
std::string header_text(std::string_view cell);

class column_list {
 public:
  // The first 17 columns as they stand.
  column_list();

  // Replaces the list by the entries of `list`, separated by commas. For the fields 0, 1, 2 and so
  // on:
  //   N      the column with this number, from 1
  //   N-M    these columns
  //   -      nothing
  //   =TEXT  this text, the same for every row
  //   =#N    N for the first point, N + 1 for the second, and so on; =# is =#1; not for the
  //          reference and the table
  // And for a field, or the table, by its own name (see find_source):
  //   FIELD=HEADER  the column with this header_text() in the header row
  //   FIELD==TEXT, FIELD==#N  as above
  // Fields without an entry get nothing. False, and the list is unchanged, when `list` is none, has
  // entries for more than 17 fields, or two for one field. `list` outlives this object.
  bool parse(std::string_view list);

  // The first name in the list that no field has; empty when there is none.
  std::string_view unknown_name() const noexcept { return unknown_name_; }

  // Whether a cell of a row is the header of a column that has been chosen by header.
  bool names(const cell& cell) const;
  bool has_names() const noexcept;

  // Finds the columns that have been chosen by header in the header row, which has one cell at
  // least. Headers that are not there or there twice are added to `refused`.
  void find_headers(const std::vector<cell>& row, refusals& refused);

  // What a source is chosen to be; `source` is below max_sources.
  const column_choice& choice_of(std::size_t source) const noexcept { return choices_[source]; }

  // The sources of the fields of a row, which has one cell at least; views into the row and the
  // list. What gets nothing has an empty text. The place of what is no cell of the row is the
  // row's.
  field_sources select(const std::vector<cell>& row) const noexcept;

  // Whether the columns have been chosen, by parse().
  bool is_chosen() const noexcept { return is_chosen_; }

  // The largest column that has been chosen; 0 while none has.
  std::size_t largest_chosen() const noexcept;

 private:
  bool parse_entry(std::string_view entry);
  bool parse_numbers(std::string_view entry);
  bool add_named(std::string_view name, std::string_view header);
  bool add(const column_choice& choice);

  std::array<column_choice, max_sources> choices_ = {};
  std::size_t count_ = 0;
  std::string_view unknown_name_;
  bool is_chosen_ = false;
};

}  // namespace ruvex
