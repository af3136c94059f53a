#include "refusal_findings.h"

#include <cstdlib>
#include <new>

#include "reference_oddity.h"
#include "ruvex/cfg/records.h"
#include "text/texts.h"

namespace ruvex {
namespace {

std::string refused_reference(const mapping_line& line) {
  const std::string_view field = line.fields[field_reference];
  const std::string_view oddity = reference_oddity(field);
  if (!oddity.empty()) return message(quoted{field}, " ", oddity, ", which ruvex refuses");
  return message(quoted{field}, " is stored as ", quoted{modbus_reference(field).view()},
                 ", which begins with none of 0 (coil), 1 (discrete input), 3 (input register) "
                 "and 4 (holding register)");
}

}  // namespace

bool add_refused_line(line_findings& findings, line_result got) {
  if (got == line_result::too_long) {
    findings.add(
        rule::line_too_long, max_mapping_line + 1,
        message("the line is longer than ", max_mapping_line, " characters, which ruvex refuses"));
  } else if (got == line_result::holds_nul) {
    findings.add(rule::nul_byte, findings.text().find('\0') + 1,
                 "the line holds a NUL byte, which ruvex refuses");
  }
  return got != line_result::line;
}

bool refusal_findings::refused(csv_result reason, std::size_t field) noexcept {
  const std::string_view text = line_->fields[field];
  switch (reason) {
    case csv_field_too_long:
      findings_->add(rule::field_too_long, field, text,
                     "is longer than 31 characters, which ruvex refuses");
      break;
    case csv_illegal_reference:
      findings_->add(rule::illegal_reference, field, text, refused_reference(*line_));
      break;
    case csv_too_many_channels:
      findings_->add(
          rule::too_many_channels, field_unit, line_->fields[field_unit],
          message("the unit has more than ", max_list_count, " points, which ruvex refuses"));
      break;
    default:
      end_without_memory();
  }
  return true;
}

void refusal_findings::description_cut() noexcept {
  const std::string_view text = line_->fields[field_description];
  findings_->add(rule::description_cut, field_description, text,
                 message(text.size(), " characters are cut to 63"));
}

void end_without_memory() noexcept {
  if (const std::new_handler handler = std::get_new_handler()) handler();
  std::abort();
}

}  // namespace ruvex
