// The values of a configuration against their check tables.
#pragma once

#include <string>
#include <string_view>

#include "ruvex/cfg/tables.h"

namespace ruvex {

// What is wrong with `value` by its check table, as a predicate: "is not a number from 1 to 247".
// An enumeration tells the nearest of its texts, or all where they are few. Empty where nothing is
// wrong, and for a null table.
std::string value_flaw(const chk_row* table, std::string_view value);

}  // namespace ruvex
