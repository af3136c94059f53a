#include "rules.h"

#include <array>

#include "text/texts.h"

namespace ruvex {
namespace {

using enum severity;
using enum scope;

// clang-format off
constexpr std::array<rule_row, rule_count> rows = {{
    {rule::utf_16,                 error,   line, "utf-16",                "the file is UTF-16 text"},
    {rule::byte_order_mark,        warning, line, "byte-order-mark",       "the file begins with a byte-order mark"},
    {rule::nul_byte,               error,   line, "nul-byte",              "the line holds a NUL byte; ruvex refuses it"},
    {rule::line_too_long,          error,   line, "line-too-long",         "1024 characters or more; ruvex refuses it"},
    {rule::carriage_return,        error,   file, "carriage-return",       "a carriage return that ends no line"},
    {rule::wrong_separator,        error,   file, "wrong-separator",       "cells are separated by something else than commas"},
    {rule::missing_column,         error,   file, "missing-column",        "a column is missing; what follows has moved"},
    {rule::one_field,              error,   line, "one-field",             "one field; the line adds nothing"},
    {rule::few_fields,             error,   file, "few-fields",            "2 to 10 fields; the line adds no point"},
    {rule::extra_cells,            warning, file, "extra-cells",           "more than 17 cells; those behind are not used"},
    {rule::empty_cell,             error,   file, "empty-cell",            "an empty cell; all behind it move one place forward"},
    {rule::empty_end,              warning, file, "empty-end",             "empty cells at the end"},
    {rule::split_cell,             error,   line, "split-cell",            "a comma or double quote in a cell; it divides the cell"},
    {rule::header_line,            error,   line, "header-line",           "neither unit nor reference has a digit"},
    {rule::spreadsheet_error,      error,   line, "spreadsheet-error",     "#REF!, ####, 4E+04 and the like in place of a text"},
    {rule::leading_blank,          warning, line, "leading-blank",         "a blank before the text; it is kept"},
    {rule::tab,                    warning, line, "tab",                   "a TAB inside a name or description; it is kept"},
    {rule::field_too_long,         error,   line, "field-too-long",        "longer than its setting; ruvex refuses it"},
    {rule::too_many_channels,      error,   line, "too-many-channels",     "more than 32767 points in a unit; ruvex refuses it"},
    {rule::name_cut,               warning, line, "name-cut",              "the name is shortened"},
    {rule::description_cut,        warning, line, "description-cut",       "the description is cut to 63 characters"},
    {rule::empty_name,             warning, line, "empty-name",            "a blank name"},
    {rule::illegal_reference,      error,   line, "illegal-reference",     "it begins with none of 0, 1, 3, 4; ruvex refuses it"},
    {rule::reference_text,         error,   line, "reference-text",        "not a plain number: hexadecimal, a range, words"},
    {rule::reference_range,        error,   line, "reference-range",       "no register has this reference"},
    {rule::table_end,              error,   line, "table-end",             "two registers at the last register of a table"},
    {rule::reference_digits,       warning, file, "reference-digits",      "five and six digits in one unit"},
    {rule::coil_by_accident,       error,   line, "coil-by-accident",      "a coil or discrete input, but the point is no bit"},
    {rule::unknown_data_type,      error,   line, "unknown-data-type",     "taken as one unsigned register"},
    {rule::bit_number,             error,   line, "bit-number",            "no bit of the register"},
    {rule::bit_unused,             warning, line, "bit-unused",            "a bit number, but the data type is none of bits"},
    {rule::bit_units,              warning, line, "bit-units",             "engineering units of a bit"},
    {rule::bit_scaling,            warning, line, "bit-scaling",           "the scaling of a bit"},
    {rule::unknown_object_type,    error,   line, "unknown-object-type",   "no BACnet object type"},
    {rule::no_point_object,        error,   line, "no-point-object",       "an object type that no point can be, such as DEVICE"},
    {rule::object_class,           warning, line, "object-class",          "the object type does not fit the register"},
    {rule::silent_output,          warning, line, "silent-output",         "a value type makes a holding register an output"},
    {rule::unknown_units,          error,   line, "unknown-units",         "no BACnet engineering units"},
    {rule::instance,               error,   line, "instance",              "no number from 0 to 4194302"},
    {rule::repeated_instance,      error,   line, "repeated-instance",     "two objects of one type with the same instance"},
    {rule::repeated_name,          warning, line, "repeated-name",         "two points with the same name"},
    {rule::cov_increment,          warning, line, "cov-increment",         "no number from 0 to 16777215"},
    {rule::unit_address,           error,   line, "unit-address",          "no number from 1 to 247"},
    {rule::ip_address,             error,   line, "ip-address",            "no IPv4 address before the slash"},
    {rule::repeated_register,      warning, line, "repeated-register",     "two points of the same register and bit"},
    {rule::overlapping_registers,  warning, line, "overlapping-registers", "a value of two registers reaches into another point"},
    {rule::scaling_incomplete,     error,   line, "scaling-incomplete",    "some of the four ends are missing"},
    {rule::scaling_number,         error,   line, "scaling-number",        "an end that is no number"},
    {rule::scaling_equal,          error,   line, "scaling-equal",         "both ends of a scale are equal"},
    {rule::scaling_turned,         warning, line, "scaling-turned",        "the scale turns round"},
    {rule::group_enable,           warning, line, "group-enable",          "neither 0 nor 1"},
    {rule::restart,                warning, line, "restart",               "neither 0 nor 1"},
    {rule::xml_character,          error,   line, "xml-character",         "a character that breaks the XML"},
    {rule::not_utf_8,              error,   file, "not-utf-8",             "bytes that are no UTF-8 text break the XML"},
    {rule::non_ascii,              warning, file, "non-ascii",             "characters beyond ASCII; the controller sees their bytes"},
    {rule::workbook,                error,   line, "workbook",              "the file is a workbook, not text"},
    {rule::compressed,              error,   line, "compressed",            "the file is compressed"},
    {rule::other_xml,               error,   line, "other-xml",             "the file is XML, but no configuration"},
    {rule::empty_file,              warning, line, "empty-file",            "the file is empty"},
    {rule::xml,                     error,   line, "xml",                   "XML that is not readable as a configuration"},
    {rule::xml_value,               error,   line, "xml-value",             "a setting without a value that it may have"},
    {rule::xml_ignored,             warning, line, "xml-ignored",           "the reader of the XML ignores it"},
    {rule::repeated_unit,           warning, line, "repeated-unit",         "two units with the same address"},
}};
// clang-format on

static_assert([] {
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].id != static_cast<rule>(row)) return false;
  }
  return true;
}());

}  // namespace

std::string text_of(const finding& finding) {
  if (finding.field == no_field) return finding.text;
  const std::string_view name = mapping_columns[finding.field].name;
  return message("field ", finding.field, " (", name, "): ", finding.text);
}

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
