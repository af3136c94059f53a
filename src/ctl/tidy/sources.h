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

// What a field is made from; a view into a row, or into a text that outlives it.
struct field_source {
  std::string_view text;
  text_place place;
};
using field_sources = std::array<field_source, max_mapping_fields>;

// The field with this name (see mapping_columns); the case of letters does not count. Nothing when
// there is none.
std::optional<std::size_t> find_source(std::string_view name) noexcept;

// The names that find_source() knows, for people.
std::string all_source_names();

// A source for people: "field 3 (unit)".
std::string describe_source(std::size_t source);

}  // namespace ruvex
