#include "field_checks.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "known_texts.h"
#include "reference_checks.h"
#include "ruvex/cfg/tables.h"
#include "text/bounds.h"
#include "text/spreadsheet.h"
#include "text/texts.h"
#include "text/xml_text.h"

namespace ruvex {
namespace {

std::string out_of(const chk_row* table, std::string_view field) {
  return message(quoted{field}, " is not a number from ", lowest_of(table), " to ",
                 highest_of(table));
}

void check_blank(line_findings& findings, std::size_t field, std::string_view text) {
  if (!text.starts_with(' ') && !text.starts_with('\t')) return;
  findings.add(rule::leading_blank, field, text, "begins with a blank, which is kept");
}

void check_cov_increment(line_findings& findings, const checked_point&, std::string_view text) {
  double number = 0;
  const bool is_number = parse_decimal(text, number);
  const auto highest = static_cast<double>(highest_of(chk_bac_cov_inc));
  if (is_number && number >= 0 && number <= highest) return;
  findings.add(rule::cov_increment, field_cov_inc, text, out_of(chk_bac_cov_inc, text));
}

// In any other field a TAB is no part of what may stand there.
void check_tab(line_findings& findings, mapping_field field, std::string_view text) {
  const std::size_t at = text.find('\t', 1);
  if (at == std::string_view::npos) return;
  findings.add(rule::tab, field, text.substr(at), "holds a TAB, which is kept");
}

void check_description(line_findings& findings, const checked_point&, std::string_view text) {
  check_tab(findings, field_description, text);
}

void check_name(line_findings& findings, const checked_point& point, std::string_view text) {
  if (text.empty()) findings.add(rule::empty_name, field_name, text, "is blank");
  check_tab(findings, field_name, text);
  const std::string_view stored = point.chn.name.view();
  if (stored.size() == text.size()) return;
  findings.add(rule::name_cut, field_name, text,
               message(text.size(), " characters are shortened to ", quoted{stored}));
}

std::optional<std::uint32_t> parse_ipv4(std::string_view text) {
  in_addr address;
  if (text.find('\0') != std::string_view::npos ||
      ::inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) {
    return std::nullopt;
  }
  return ntohl(address.s_addr);
}

// What keeps an address from being that of a device (RFC 5735); empty for most.
std::string_view trouble_of(std::uint32_t address) noexcept {
  if (address == 0) return "is no device's address but stands for none";
  if (address == 0xFFFFFFFF) return "is the broadcast address and no device's";
  if (address >> 28 == 0xE) return "is a multicast address and no device's";
  return {};
}

void check_ip_address(line_findings& findings, std::string_view field, std::string_view text) {
  if (text.empty()) {
    findings.add(
        rule::ip_address, field_unit, field,
        message(quoted{field}, " has nothing before the slash, where an IP address belongs"));
    return;
  }
  const std::optional<std::uint32_t> address = parse_ipv4(text);
  const std::string_view trouble = address ? trouble_of(*address) : "is not an IPv4 address";
  if (trouble.empty()) return;
  findings.add(rule::ip_address, field_unit, text, message(quoted{text}, " ", trouble));
}

void check_unit(line_findings& findings, const checked_point&, std::string_view text) {
  const unit_text unit = parse_unit(text);
  if (unit.has_slash) check_ip_address(findings, text, unit.ip_address);
  if (is_within(unit.address, chk_node_address)) return;
  std::string what = message("unit address ", out_of(chk_node_address, unit.address));
  if (!unit.has_slash && parse_ipv4(text)) {
    what = message(quoted{text}, " lacks the unit's address behind it, as in ", text, "/1");
  }
  findings.add(rule::unit_address, field_unit, unit.has_slash ? unit.address : text,
               std::move(what));
}

void check_reference_field(line_findings& findings, const checked_point& point, std::string_view) {
  if (point.reg_class != register_class::illegal) check_reference(findings, point);
}

// What is to be written instead, as the end of a sentence.
std::string text_of(const suggestion& advice, std::string_view kind) {
  if (advice.is_lacking) return message("; the controller has no ", kind, " for it");
  if (advice.meant.empty()) return {};
  if (advice.or_else.empty()) return message("; did you mean ", quoted{advice.meant}, "?");
  return message("; did you mean ", quoted{advice.meant}, ", the high word first, or ",
                 quoted{advice.or_else}, "?");
}

void check_data_type(line_findings& findings, const checked_point&, std::string_view text) {
  known_texts& known = known_data_types();
  if (known.has(text)) return;
  findings.add(
      rule::unknown_data_type, field_data_type, text,
      message(quoted{text}, " is no data type, and the point is read as one unsigned register",
              text_of(known.suggest(text), "data type")));
}

void check_object_type(line_findings& findings, const checked_point& point, std::string_view text) {
  known_texts& known = known_object_types();
  if (known.has(text)) return check_object_class(findings, point);
  findings.add(
      rule::unknown_object_type, field_bac_type, text,
      message(quoted{text}, " is no BACnet object type", text_of(known.suggest(text), "object")));
}

void check_instance(line_findings& findings, const checked_point&, std::string_view text) {
  if (is_within(text, chk_bac_instance)) return;
  findings.add(rule::instance, field_instance, text, out_of(chk_bac_instance, text));
}

void check_units(line_findings& findings, const checked_point& point, std::string_view text) {
  known_texts& known = known_units();
  if (known.has(text)) {
    if (text == no_units || !is_plain_bit(point)) return;
    findings.add(rule::bit_units, field_bac_units, text,
                 message(quoted{text}, " are no units of a bit; ", quoted{no_units}, " are"));
    return;
  }
  const suggestion advice = known.suggest(text);
  findings.add(rule::unknown_units, field_bac_units, text,
               message(quoted{text}, " is no BACnet engineering unit", text_of(advice, "unit"),
                       advice.is_lacking ? "; NO_UNITS leaves the value as it is" : ""));
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

void check_restart(line_findings& findings, const checked_point&, std::string_view text) {
  if (text == "0" || text == "1") return;
  findings.add(rule::restart, field_restart, text, message(quoted{text}, " is neither 0 nor 1"));
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
    {field_description, check_description},
    {field_bit, check_bit},
    {field_group_en, check_group_enable},
    {field_restart, check_restart},
};

using scale_ends = std::array<double, scale_columns.size()>;

// False, with a finding for each end that is none, when not all of them are numbers.
bool read_ends(line_findings& findings, const mapping_line& line, scale_ends& ends) {
  bool are_numbers = true;
  for (std::size_t end = 0; end < ends.size(); ++end) {
    const std::size_t field = scale_columns[end].field;
    const std::string_view text = line.fields[field];
    if (parse_decimal(text, ends[end])) continue;
    are_numbers = false;
    if (!text.empty()) {
      findings.add(rule::scaling_number, field, text, message(quoted{text}, " is not a number"));
    } else {
      findings.add(rule::scaling_incomplete, field, text,
                   "is missing, while other ends of the scaling are given");
    }
  }
  return are_numbers;
}

void check_ends(line_findings& findings, const mapping_line& line, const scale_ends& ends) {
  bool has_width = true;
  for (const std::size_t low : {0U, 2U}) {
    if (ends[low] < ends[low + 1] || ends[low] > ends[low + 1]) continue;
    has_width = false;
    const std::string_view text = line.fields[scale_columns[low].field];
    findings.add(rule::scaling_equal, scale_columns[low].field, text,
                 message("both ends of the scale are ", text));
  }
  if (!has_width || (ends[0] < ends[1]) == (ends[2] < ends[3])) return;
  findings.add(rule::scaling_turned, field_scl_usr_lo, line.fields[field_scl_usr_lo],
               "the scale turns round: a value that rises in the device falls for the user");
}

void check_scaling(line_findings& findings, const checked_point& point, std::size_t count) {
  if (count <= field_bit || !is_scaled(point)) return;
  scale_ends ends = {};
  if (!read_ends(findings, point.line, ends)) return;
  check_ends(findings, point.line, ends);
  if (!is_plain_bit(point)) return;
  findings.add(rule::bit_scaling, field_scl_dev_lo, point.line.fields[field_scl_dev_lo],
               "a bit has no scale");
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

// Whether a field holds what a spreadsheet could not fill or show.
bool find_spreadsheet_defects(line_findings& findings, const mapping_line& line) {
  constexpr std::string_view marks[] = {"#", "E+"};  // a quick look at the whole line
  const auto has = [&findings](std::string_view mark) {
    return findings.text().find(mark) != std::string_view::npos;
  };
  if (std::ranges::none_of(marks, has)) return false;
  bool is_found = false;
  for (std::size_t field = 0; field < line.count; ++field) {
    const std::string_view text = line.fields[field];
    const std::string_view defect = spreadsheet_defect(text);
    if (defect.empty()) continue;
    is_found = true;
    findings.add(rule::spreadsheet_error, field, text, message(quoted{text}, " ", defect));
  }
  return is_found;
}

}  // namespace

bool is_header(const mapping_line& line) noexcept {
  const std::string_view reference = line.fields[field_reference];
  return line.count > field_reference && !has_digit(line.fields[field_unit]) &&
         !reference.empty() && !has_digit(reference) && spreadsheet_defect(reference).empty();
}

bool check_fields(line_findings& findings, const checked_point& point, std::size_t count) {
  const bool has_defects = find_spreadsheet_defects(findings, point.line);
  const auto has_been_told = [&findings](std::size_t field) {
    return findings.has(rule::spreadsheet_error, field) ||
           findings.has(rule::field_too_long, field);
  };
  for (std::size_t field = field_cov_inc; field < count; ++field) {
    if (field != field_reference) check_blank(findings, field, point.line.fields[field]);
  }
  for (const auto& row : field_checks) {
    if (row.field >= count || has_been_told(row.field)) continue;
    row.check(findings, point, point.line.fields[row.field]);
  }
  if (count == point.line.count && !has_defects) check_scaling(findings, point, count);
  return !has_defects;
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
