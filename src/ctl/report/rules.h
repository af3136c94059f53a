// What `ruvexctl check` looks for, one row a rule, and what a rule has found. The order is that of
// the manual's table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ruvex/mapping/columns.h"

namespace ruvex {

// An error: ruvex refuses the line, or the controller will not have the point that the line means.
// A warning: it will have it, but somebody should look.
enum class severity : std::uint8_t { warning, error };

enum class rule : std::uint8_t {
  utf_16,
  byte_order_mark,
  nul_byte,
  line_too_long,
  carriage_return,
  wrong_separator,
  missing_column,
  one_field,
  few_fields,
  extra_cells,
  empty_cell,
  empty_end,
  split_cell,
  header_line,
  spreadsheet_error,
  leading_blank,
  tab,
  field_too_long,
  too_many_channels,
  name_cut,
  description_cut,
  empty_name,
  illegal_reference,
  reference_text,
  reference_range,
  table_end,
  reference_digits,
  coil_by_accident,
  unknown_data_type,
  bit_number,
  bit_unused,
  bit_units,
  bit_scaling,
  unknown_object_type,
  no_point_object,
  object_class,
  silent_output,
  unknown_units,
  instance,
  repeated_instance,
  repeated_name,
  cov_increment,
  unit_address,
  ip_address,
  repeated_register,
  overlapping_registers,
  scaling_incomplete,
  scaling_number,
  scaling_equal,
  scaling_turned,
  group_enable,
  restart,
  xml_character,
  not_utf_8,
  non_ascii,
  workbook,
  compressed,
  other_xml,
  empty_file,
  xml,
  xml_value,
  xml_ignored,
  repeated_unit,
};
inline constexpr std::size_t rule_count = static_cast<std::size_t>(rule::repeated_unit) + 1;

// What a finding is about. What is wrong with a file as a whole is found once, where it is first.
enum class scope : std::uint8_t { line, file };

struct rule_row {
  rule id;
  severity level;
  scope about;
  std::string_view name;  // as in messages and on the command line
  std::string_view meaning;
};

struct finding {
  rule id;
  std::int64_t line;      // from 1
  std::size_t column;     // from 1, in bytes
  std::size_t field;      // its number, or no_field
  std::string text;       // lower-case start, no full stop
  std::size_t cause = 0;  // tells the causes of one rule apart where they are those of a file
};
inline constexpr std::size_t no_field = max_mapping_fields;

// What a finding says, behind its field where it has one: "field 2 (name): is empty".
std::string text_of(const finding& finding);

// The row of a rule.
const rule_row& row_of(rule id) noexcept;

// The row of the rule with this name; null when there is none.
const rule_row* find_rule(std::string_view name) noexcept;

// Every rule, a line each, with its severity and its meaning.
std::string rules_text();

}  // namespace ruvex
