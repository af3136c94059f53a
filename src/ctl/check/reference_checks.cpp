#include "reference_checks.h"

#include "report/reference_oddity.h"
#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

bool is_binary(std::string_view object_type) noexcept {
  return object_type.starts_with("BINARY_");
}

// A number of 9999 or less that the converter has turned into a coil, and nothing else on the line
// speaks of a bit.
bool is_accidental_coil(const checked_point& point) noexcept {
  if (point.reg_class != register_class::coil) return false;
  if (point.line.fields[field_reference].starts_with('X')) return false;
  const bool may_be_bit = point.is_bit || is_binary(point.chn.bac_type.view());
  return !may_be_bit || (point.chn.reg_size == "2" && !point.is_bit);
}

}  // namespace

void check_reference(line_findings& findings, const checked_point& point) {
  const std::string_view field = point.line.fields[field_reference];
  const std::string_view stored = point.chn.reg_num.view();
  const std::string_view table = table_name(point.reg_class);
  if (const std::string_view oddity = reference_oddity(field); !oddity.empty()) {
    findings.add(rule::reference_text, field_reference, field,
                 message(quoted{field}, " ", oddity, "; it becomes the ", table, " ", stored));
  } else if (is_accidental_coil(point)) {
    findings.add(rule::coil_by_accident, field_reference, field,
                 message(quoted{field}, " becomes the coil ", stored,
                         ", but the point is no bit; a holding register is 4", stored.substr(1)));
  } else if (place_of(stored).offset < 0) {
    findings.add(
        rule::reference_range, field_reference, field,
        message(quoted{field}, " names no ", table,
                "; after the first digit come the numbers 0001 to 9999 or 00001 to 65536"));
  }
}

void check_object_class(line_findings& findings, const checked_point& point) {
  const std::string_view type = point.chn.bac_type.view();
  const bool is_output = type.ends_with("_OUTPUT");
  const bool is_input = type.ends_with("_INPUT");
  std::string_view trouble;
  switch (point.reg_class) {
    case register_class::coil:
      if (!is_binary(type) && !is_accidental_coil(point)) trouble = "is a bit";
      break;
    case register_class::discrete_input:
      if (!is_binary(type)) trouble = "is a bit";
      [[fallthrough]];
    case register_class::input_register:
      if (is_output) trouble = "cannot be written";
      break;
    case register_class::holding_register:
      if (is_input && point.chn.chn_type.view().starts_with("OUTPUT")) {
        trouble = "becomes an output with it";
      }
      break;
    case register_class::illegal:
      break;
  }
  if (trouble.empty()) return;
  findings.add(
      rule::object_class, field_bac_type, point.line.fields[field_bac_type],
      message(quoted{type}, " does not fit: a ", table_name(point.reg_class), " ", trouble));
}

}  // namespace ruvex
