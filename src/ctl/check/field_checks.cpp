#include "field_checks.h"

#include <arpa/inet.h>

#include <array>
#include <string>
#include <vector>

#include "known_texts.h"
#include "reference_checks.h"
#include "ruvex/cfg/tables.h"
#include "text/texts.h"
#include "text/xml_text.h"

namespace ruvex {
namespace {

// The bounds of a range table.
std::int64_t lower(const chk_row* table) noexcept {
  return decimal_prefix(table[1].text);
}
std::int64_t upper(const chk_row* table) noexcept {
  return decimal_prefix(table[2].text);
}

std::string out_of(const chk_row* table, std::string_view field) {
  return message(quoted{field}, " is not a number from ", lower(table), " to ", upper(table));
}

void check_blank(line_findings& findings, std::size_t field, std::string_view text) {
  if (!text.starts_with(' ') && !text.starts_with('\t')) return;
  findings.add(rule::leading_blank, field, text, "begins with a blank, which is kept");
}

void check_cov_increment(line_findings& findings, const checked_point&, std::string_view text) {
  double number = 0;
  const bool is_number = parse_decimal(text, number);
  const auto highest = static_cast<double>(upper(chk_bac_cov_inc));
  if (is_number && number >= 0 && number <= highest) return;
  findings.add(rule::cov_increment, field_cov_inc, text, out_of(chk_bac_cov_inc, text));
}

void check_name(line_findings& findings, const checked_point& point, std::string_view text) {
  if (text.empty()) findings.add(rule::empty_name, field_name, text, "is blank");
  const std::string_view stored = point.chn.name.view();
  if (stored.size() == text.size()) return;
  findings.add(rule::name_cut, field_name, text,
               message(text.size(), " characters are shortened to ", quoted{stored}));
}

bool is_ipv4(std::string_view text) {
  in_addr address;
  return text.find('\0') == std::string_view::npos &&
         ::inet_pton(AF_INET, std::string(text).c_str(), &address) == 1;
}

void check_unit(line_findings& findings, const checked_point&, std::string_view text) {
  const unit_text unit = parse_unit(text);
  if (unit.has_slash && unit.ip_address.empty()) {
    findings.add(
        rule::ip_address, field_unit, text,
        message(quoted{text}, " has nothing before the slash, where an IP address belongs"));
  } else if (unit.has_slash && !is_ipv4(unit.ip_address)) {
    findings.add(rule::ip_address, field_unit, text,
                 message(quoted{unit.ip_address}, " is not an IPv4 address"));
  }
  if (is_number_within(unit.address, lower(chk_node_address), upper(chk_node_address))) return;
  std::string what = message("unit address ", out_of(chk_node_address, unit.address));
  if (!unit.has_slash && is_ipv4(text)) {
    what = message(quoted{text}, " lacks the unit's address behind it, as in ", text, "/1");
  }
  findings.add(rule::unit_address, field_unit, unit.has_slash ? unit.address : text,
               std::move(what));
}

void check_reference_field(line_findings& findings, const checked_point& point, std::string_view) {
  if (point.reg_class != register_class::illegal) check_reference(findings, point);
}

void check_known(line_findings& findings, rule id, mapping_field field, std::string_view text,
                 known_texts& known, std::string_view kind) {
  if (known.has(text)) return;
  std::string what = message(quoted{text}, " is no ", kind);
  if (const std::string_view meant = known.nearest_to(text); !meant.empty()) {
    what += message("; did you mean ", quoted{meant}, "?");
  }
  findings.add(id, field, text, std::move(what));
}

void check_data_type(line_findings& findings, const checked_point&, std::string_view text) {
  check_known(findings, rule::unknown_data_type, field_data_type, text, known_data_types(),
              "data type, and the point is read as one unsigned register");
}

void check_object_type(line_findings& findings, const checked_point& point, std::string_view text) {
  check_known(findings, rule::unknown_object_type, field_bac_type, text, known_object_types(),
              "BACnet object type");
  if (known_object_types().has(text)) check_object_class(findings, point);
}

void check_instance(line_findings& findings, const checked_point&, std::string_view text) {
  if (is_number_within(text, lower(chk_bac_instance), upper(chk_bac_instance))) return;
  findings.add(rule::instance, field_instance, text, out_of(chk_bac_instance, text));
}

void check_units(line_findings& findings, const checked_point&, std::string_view text) {
  check_known(findings, rule::unknown_units, field_bac_units, text, known_units(),
              "BACnet engineering unit");
}

void check_bit(line_findings& findings, const checked_point& point, std::string_view text) {
  if (!point.is_bit) {
    if (text == "0") return;
    findings.add(rule::bit_unused, field_bit, text,
                 message(quoted{text}, " is not used, as the data type is none of bits"));
    return;
  }
  const std::int64_t last = point.chn.reg_size == "2" ? 31 : 15;
  if (is_number_within(text, 0, last)) return;
  findings.add(rule::bit_number, field_bit, text,
               message(quoted{text}, " is no bit of the value; its bits are 0 to ", last));
}

void check_group_enable(line_findings& findings, const checked_point& point,
                        std::string_view text) {
  if (point.is_bit || text == "0" || text == "1") return;
  findings.add(rule::group_enable, field_group_en, text,
               message(quoted{text}, " is neither 0 nor 1"));
}

using field_check = void (*)(line_findings&, const checked_point&, std::string_view);

constexpr struct {
  mapping_field field;
  field_check check;
} field_checks[] = {
    {field_cov_inc, check_cov_increment},
    {field_name, check_name},
    {field_unit, check_unit},
    {field_reference, check_reference_field},
    {field_data_type, check_data_type},
    {field_bac_type, check_object_type},
    {field_instance, check_instance},
    {field_bac_units, check_units},
    {field_bit, check_bit},
    {field_group_en, check_group_enable},
};

// Whether the converter took the four ends from the line; it leaves the defaults where all are "0".
bool is_scaled(const checked_point& point) noexcept {
  for (const mapping_column& end : scale_columns) {
    if ((point.chn.*end.setting).view() != point.line.fields[end.field]) return false;
  }
  return true;
}

void check_scaling(line_findings& findings, const checked_point& point, std::size_t count) {
  if (count <= field_bit || !is_scaled(point)) return;
  std::array<double, scale_columns.size()> ends = {};
  bool are_numbers = true;
  for (std::size_t end = 0; end < ends.size(); ++end) {
    const std::size_t field = scale_columns[end].field;
    const std::string_view text = point.line.fields[field];
    if (parse_decimal(text, ends[end])) continue;
    are_numbers = false;
    if (!text.empty()) {
      findings.add(rule::scaling_number, field, text, message(quoted{text}, " is not a number"));
    } else {
      findings.add(rule::scaling_incomplete, field, text,
                   "is missing, while other ends of the scaling are given");
    }
  }
  if (!are_numbers) return;
  for (const std::size_t low : {0U, 2U}) {
    const std::string_view text = point.line.fields[scale_columns[low].field];
    if (ends[low] < ends[low + 1] || ends[low] > ends[low + 1]) continue;
    findings.add(rule::scaling_equal, scale_columns[low].field, text,
                 message("both ends of the scale are ", text));
  }
}

std::string flaw_text(xml_flaw flaw, std::string_view at) {
  switch (flaw) {
    case xml_flaw::markup:
      return message(quoted{at.substr(0, at.front() == ']' ? 3 : 1)}, " breaks the XML");
    case xml_flaw::control:
      return message("the control character ", quoted{at.substr(0, 1)}, " breaks the XML");
    case xml_flaw::no_character:
      return "U+FFFE and U+FFFF are no characters of XML";
    case xml_flaw::not_utf_8:
      return "bytes that are no UTF-8 text break the XML";
    default:
      return "characters beyond ASCII; the controller sees their bytes";
  }
}

rule rule_of(xml_flaw flaw) noexcept {
  if (flaw == xml_flaw::non_ascii) return rule::non_ascii;
  return flaw == xml_flaw::not_utf_8 ? rule::not_utf_8 : rule::xml_character;
}

// Whether the text of a field comes to the output.
bool is_written(const checked_point& point, const mapping_column& column) noexcept {
  if (column.output == column_output::element_unless_bit) return !point.is_bit;
  return column.output != column_output::nowhere;
}

// What is stored of a field: a cut can divide a character.
std::string_view stored_of(const checked_point& point, const mapping_column& column) noexcept {
  if (column.rule == column_rule::name) return point.chn.name.view();
  const std::string_view text = point.line.fields[column.field];
  constexpr std::size_t longest = decltype(chn_cfg::bac_desc)::max_length();
  const bool is_cut = column.rule == column_rule::description && text.size() > longest;
  return is_cut ? point.chn.bac_desc.view() : text;
}

}  // namespace

bool is_header(const mapping_line& line) noexcept {
  const std::string_view reference = line.fields[field_reference];
  return line.count > field_reference && !has_digit(line.fields[field_unit]) &&
         !reference.empty() && !has_digit(reference);
}

void check_fields(line_findings& findings, const checked_point& point, std::size_t count) {
  for (std::size_t field = field_cov_inc; field < count; ++field) {
    if (field != field_reference) check_blank(findings, field, point.line.fields[field]);
  }
  for (const auto& row : field_checks) {
    if (row.field < count) row.check(findings, point, point.line.fields[row.field]);
  }
  if (count == point.line.count) check_scaling(findings, point, count);
}

void check_characters(line_findings& findings, const checked_point& point) {
  if (!may_have_xml_flaw(findings.text())) return;
  for (std::size_t field = 0; field < point.line.count; ++field) {
    const mapping_column& column = mapping_columns[field];
    if (!is_written(point, column)) continue;
    const xml_flaw_place place =
        find_xml_flaw(stored_of(point, column), column.output == column_output::attribute);
    if (place.flaw == xml_flaw::none) continue;
    std::string_view where = point.line.fields[field];
    where.remove_prefix(place.at);
    findings.add(rule_of(place.flaw), field, where, flaw_text(place.flaw, where));
  }
}

}  // namespace ruvex
