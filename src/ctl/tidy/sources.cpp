#include "sources.h"

#include <algorithm>

#include "text/texts.h"

namespace ruvex {
namespace {

constexpr std::string_view name_of_table = "table";

char in_lower_case(char character) noexcept {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                              : character;
}

bool is_same_name(std::string_view a, std::string_view b) noexcept {
  return std::ranges::equal(a, b, {}, in_lower_case, in_lower_case);
}

}  // namespace

std::optional<std::size_t> find_source(std::string_view name) noexcept {
  for (const mapping_column& column : mapping_columns) {
    if (is_same_name(column.name, name)) return column.field;
  }
  if (is_same_name(name_of_table, name)) return table_source;
  return std::nullopt;
}

std::string all_source_names() {
  std::string names;
  for (const mapping_column& column : mapping_columns) append(names, message(column.name, ", "));
  return names += name_of_table;
}

std::string describe_source(std::size_t source) {
  if (source == table_source) return "the table of the reference";
  return message("field ", source, " (", mapping_columns[source].name, ")");
}

}  // namespace ruvex
