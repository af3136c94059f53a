// Which cells of a spreadsheet's rows become which fields of a mapping line.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "ruvex/mapping/rules.h"
#include "text/cells.h"

namespace ruvex {

// What a field is made from; a view into a row or into the list of columns.
struct field_source {
  std::string_view text;
  text_place place;
};
using field_sources = std::array<field_source, max_mapping_fields>;

class column_list {
 public:
  // The first 17 columns as they stand.
  column_list() noexcept;

  // Replaces the list by the entries of `list`, for the fields 0, 1, 2 and so on, separated by
  // commas:
  //   N      the column with this number, from 1
  //   N-M    these columns
  //   -      nothing
  //   =TEXT  this text, the same for every row
  // Fields without an entry get nothing. False, and the list is unchanged, when `list` is none or
  // has entries for more than 17 fields. `list` outlives this object.
  bool parse(std::string_view list) noexcept;

  // The sources of the fields of a row, which has one cell at least; views into the row and the
  // list. What gets nothing has an empty text. The place of what is no cell of the row is the
  // row's.
  field_sources select(const std::vector<cell>& row) const noexcept;

  // Whether the columns have been chosen, by parse().
  bool is_chosen() const noexcept { return is_chosen_; }

  // The largest column that has been chosen; 0 while none has.
  std::size_t largest_chosen() const noexcept;

 private:
  struct choice {
    std::size_t column;     // from 1; 0: the text
    std::string_view text;  // empty: nothing
  };

  bool parse_entry(std::string_view entry) noexcept;
  bool add(const choice& added) noexcept;

  std::array<choice, max_mapping_fields> choices_ = {};
  std::size_t count_ = 0;
  bool is_chosen_ = false;
};

}  // namespace ruvex
