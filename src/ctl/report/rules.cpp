#include "rules.h"

#include <array>

namespace ruvex {
namespace {

using enum severity;

// clang-format off
constexpr std::array<rule_row, rule_count> rows = {{
    {rule::utf_16,               error,   "utf-16",                "the file is UTF-16 text"},
    {rule::byte_order_mark,      warning, "byte-order-mark",       "the file begins with a byte-order mark"},
    {rule::nul_byte,             error,   "nul-byte",              "the line holds a NUL byte; ruvex refuses it"},
    {rule::line_too_long,        error,   "line-too-long",         "1024 characters or more; ruvex refuses it"},
    {rule::carriage_return,      error,   "carriage-return",       "a carriage return that ends no line"},
    {rule::wrong_separator,      error,   "wrong-separator",       "cells are separated by something else than commas"},
    {rule::one_field,            error,   "one-field",             "one field; the line adds nothing"},
    {rule::few_fields,           error,   "few-fields",            "2 to 10 fields; the line adds no point"},
    {rule::extra_cells,          warning, "extra-cells",           "more than 17 cells; those behind are not used"},
    {rule::empty_cell,           error,   "empty-cell",            "an empty cell; all behind it move one place forward"},
    {rule::empty_end,            warning, "empty-end",             "empty cells at the end"},
    {rule::split_cell,           error,   "split-cell",            "a comma or double quote in a cell; it divides the cell"},
    {rule::header_line,          error,   "header-line",           "neither unit nor reference has a digit"},
    {rule::leading_blank,        warning, "leading-blank",         "a blank before the text; it is kept"},
    {rule::field_too_long,       error,   "field-too-long",        "longer than its setting; ruvex refuses it"},
    {rule::too_many_channels,    error,   "too-many-channels",     "more than 32767 points in a unit; ruvex refuses it"},
    {rule::name_cut,             warning, "name-cut",              "the name is shortened"},
    {rule::description_cut,      warning, "description-cut",       "the description is cut to 63 characters"},
    {rule::empty_name,           warning, "empty-name",            "a blank name"},
    {rule::illegal_reference,    error,   "illegal-reference",     "it begins with none of 0, 1, 3, 4; ruvex refuses it"},
    {rule::reference_text,       error,   "reference-text",        "not a plain number: hexadecimal, a range, words"},
    {rule::reference_range,      error,   "reference-range",       "no register has this reference"},
    {rule::reference_digits,     warning, "reference-digits",      "five and six digits in one unit"},
    {rule::coil_by_accident,     error,   "coil-by-accident",      "9999 or less, so a coil, but the point is no bit"},
    {rule::unknown_data_type,    error,   "unknown-data-type",     "taken as one unsigned register"},
    {rule::bit_number,           error,   "bit-number",            "no bit of the register"},
    {rule::bit_unused,           warning, "bit-unused",            "a bit number, but the data type is none of bits"},
    {rule::unknown_object_type,  error,   "unknown-object-type",   "no BACnet object type"},
    {rule::object_class,         warning, "object-class",          "the object type does not fit the register"},
    {rule::unknown_units,        error,   "unknown-units",         "no BACnet engineering units"},
    {rule::instance,             error,   "instance",              "no number from 0 to 4194302"},
    {rule::repeated_instance,    error,   "repeated-instance",     "two objects of one type with the same instance"},
    {rule::repeated_name,        warning, "repeated-name",         "two points with the same name"},
    {rule::cov_increment,        warning, "cov-increment",         "no number from 0 to 16777215"},
    {rule::unit_address,         error,   "unit-address",          "no number from 1 to 247"},
    {rule::ip_address,           error,   "ip-address",            "no IPv4 address before the slash"},
    {rule::repeated_register,    warning, "repeated-register",     "two points of the same register and bit"},
    {rule::overlapping_registers,warning, "overlapping-registers", "a value of two registers reaches into another point"},
    {rule::scaling_incomplete,   error,   "scaling-incomplete",    "some of the four ends are missing"},
    {rule::scaling_number,       error,   "scaling-number",        "an end that is no number"},
    {rule::scaling_equal,        error,   "scaling-equal",         "both ends of a scale are equal"},
    {rule::group_enable,         warning, "group-enable",          "neither 0 nor 1"},
    {rule::xml_character,        error,   "xml-character",         "a character that breaks the XML"},
    {rule::not_utf_8,            error,   "not-utf-8",             "bytes that are no UTF-8 text break the XML"},
    {rule::non_ascii,            warning, "non-ascii",             "characters beyond ASCII; the controller sees their bytes"},
    {rule::workbook,             error,   "workbook",              "the file is a workbook, not text"},
    {rule::compressed,           error,   "compressed",            "the file is compressed"},
    {rule::other_xml,            error,   "other-xml",             "the file is XML, but no configuration"},
    {rule::empty_file,           warning, "empty-file",            "the file is empty"},
    {rule::xml,                  error,   "xml",                   "XML that is not readable as a configuration"},
    {rule::xml_value,            error,   "xml-value",             "a setting without a value that it may have"},
    {rule::xml_ignored,          warning, "xml-ignored",           "the reader of the XML ignores it"},
    {rule::repeated_unit,        warning, "repeated-unit",         "two units with the same address"},
}};
// clang-format on

static_assert([] {
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].id != static_cast<rule>(row)) return false;
  }
  return true;
}());

}  // namespace

const rule_row& row_of(rule id) noexcept {
  return rows[static_cast<std::size_t>(id)];
}

const rule_row* find_rule(std::string_view name) noexcept {
  for (const rule_row& row : rows) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

std::string rules_text() {
  std::string text;
  const auto add = [&text](std::string_view cell, std::size_t width) {
    (text += cell).append(width - cell.size(), ' ');
  };
  for (const rule_row& row : rows) {
    add("  ", 2);
    add(row.name, 23);
    add(row.level == severity::error ? "error" : "warning", 9);
    (text += row.meaning) += '\n';
  }
  return text;
}

}  // namespace ruvex
