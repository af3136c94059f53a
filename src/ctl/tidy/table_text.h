// Tables of registers as the columns of a list name them.
#pragma once

#include <cstdint>

#include "refusals.h"
#include "ruvex/mapping/rules.h"
#include "sources.h"

namespace ruvex {

// Where the table of a reference comes from.
enum class table_reading : std::uint8_t {
  one,        // one table for all
  words,      // the row's table source, in words: "holding register", "4x", "FC3"
  tables,     // the same; a digit alone is a table's
  functions,  // the same; a number alone is a Modbus function code
};

// The table that a cell names; illegal after a refusal. Neither the case of letters nor blanks,
// hyphens and underscores count, nor does an "s" at the end. `reading` is not table_reading::one.
register_class read_table(const field_source& cell, table_reading reading, refusals& refused);

}  // namespace ruvex
