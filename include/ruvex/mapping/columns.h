// The columns of a mapping file: what each field of a line is called, what it sets, and where its
// text comes out in the configuration.
//
// This table is the only list of the columns. Whoever converts a line, checks it, tidies it or
// names a field in a message goes by its rows. ruvex-mapping(5) describes the format.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "ruvex/cfg/records.h"

namespace ruvex {

// The fields of a mapping line, by number.
enum mapping_field : std::size_t {
  field_label = 0,
  field_cov_inc = 1,
  field_name = 2,
  field_unit = 3,
  field_reference = 4,
  field_data_type = 5,
  field_bac_type = 6,
  field_instance = 7,
  field_bac_units = 8,
  field_description = 9,
  field_bit = 10,  // a line that reaches this field adds its point
  field_scl_dev_lo = 11,
  field_scl_dev_hi = 12,
  field_scl_usr_lo = 13,
  field_scl_usr_hi = 14,
  field_group_en = 15,
  field_restart = 16,
};
inline constexpr std::size_t max_mapping_fields = field_restart + 1;

// What the reader does with a field.
enum class column_rule : std::uint8_t {
  unused,
  copied,        // the setting gets the text as it stands
  scale_end,     // the same, for all four ends of the scaling; for none when all four are "0"
  name,          // the name rule
  unit,          // selects or makes the unit
  reference,     // the reference rule
  data_type,     // sets the register's size, word order and format
  description,   // copied, cut to 63 characters; "0" leaves the default
  bit,           // sets the mask of a bit type, and adds the point
  group_enable,  // copied; "1" for a bit type
};

// Where the text of a field comes out in the configuration.
enum class column_output : std::uint8_t {
  nowhere,
  attribute,
  element,
  element_unless_bit,  // not for a bit type
};

struct mapping_column {
  mapping_field field;
  std::string_view name;  // for people; NUL-terminated
  column_rule rule;
  column_output output;
  text<32> chn_cfg::*setting;     // of a copied field and of a scale end; else null
  std::string_view default_text;  // leaves the settings at their defaults; empty: there is none
};

// By the field's number.
inline constexpr auto mapping_columns = [] {
  using enum column_rule;
  using enum column_output;
  using chn = chn_cfg;
  return std::to_array<mapping_column>({
      // clang-format off
      {field_label,       "label",             unused,       nowhere,            nullptr,           "-"},
      {field_cov_inc,     "COV increment",     copied,       element,            &chn::bac_cov_inc, "0"},
      {field_name,        "name",              name,         attribute,          nullptr,           "Default Channel Name"},
      {field_unit,        "unit",              unit,         attribute,          nullptr,           ""},
      {field_reference,   "reference",         reference,    element,            nullptr,           ""},
      {field_data_type,   "data type",         data_type,    nowhere,            nullptr,           "16 Bit Unsigned Integer"},
      {field_bac_type,    "object type",       copied,       element,            &chn::bac_type,    "ANALOG_INPUT"},
      {field_instance,    "instance",          copied,       attribute,          &chn::instance,    "1"},
      {field_bac_units,   "units",             copied,       element,            &chn::bac_units,   "NO_UNITS"},
      {field_description, "description",       description,  element,            nullptr,           "0"},
      {field_bit,         "bit number",        bit,          nowhere,            nullptr,           "0"},
      {field_scl_dev_lo,  "device scale low",  scale_end,    element,            &chn::scl_dev_lo,  "0"},
      {field_scl_dev_hi,  "device scale high", scale_end,    element,            &chn::scl_dev_hi,  "0"},
      {field_scl_usr_lo,  "user scale low",    scale_end,    element,            &chn::scl_usr_lo,  "0"},
      {field_scl_usr_hi,  "user scale high",   scale_end,    element,            &chn::scl_usr_hi,  "0"},
      {field_group_en,    "group enable",      group_enable, element_unless_bit, nullptr,           "0"},
      {field_restart,     "restart",           copied,       element,            &chn::reg_restart, "0"},
      // clang-format on
  });
}();

// The ends of the scaling: the device's low and high one, the user's low and high one.
inline constexpr std::span<const mapping_column, 4> scale_columns =
    std::span(mapping_columns).subspan<field_scl_dev_lo, 4>();

static_assert(mapping_columns.size() == max_mapping_fields);
static_assert(std::ranges::all_of(mapping_columns, [](const mapping_column& column) {
  const bool is_scale =
      column.field >= scale_columns.front().field && column.field <= scale_columns.back().field;
  return column.field == static_cast<std::size_t>(&column - mapping_columns.data()) &&
         !column.name.empty() && is_scale == (column.rule == column_rule::scale_end) &&
         (is_scale || column.rule == column_rule::copied) == (column.setting != nullptr);
}));

}  // namespace ruvex
