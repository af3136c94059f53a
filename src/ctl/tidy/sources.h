// What a mapping line is made from, and what that is called.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ruvex/mapping/columns.h"
#include "text/cells.h"

namespace ruvex {

// The sources of a line: that of each field, by the field's number, and that of the table of
// registers that the reference counts in.
inline constexpr std::size_t table_source = max_mapping_fields;
inline constexpr std::size_t max_sources = table_source + 1;

// What a field is made from; a view into a row, or into a text that outlives it.
struct field_source {
  std::string_view text;
  text_place place;
};
using field_sources = std::array<field_source, max_sources>;

// The source with this name: that of a field (see mapping_columns), or "table". The case of letters
// does not count. Nothing when there is none.
std::optional<std::size_t> find_source(std::string_view name) noexcept;

// The names that find_source() knows, for people.
std::string all_source_names();

// A source for people: "field 3 (unit)".
std::string describe_source(std::size_t source);

}  // namespace ruvex
