#include "ctl/mapping_check.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "ctl/field_checks.h"
#include "ctl/line_form.h"
#include "ctl/reference_checks.h"
#include "ctl/texts.h"

namespace ruvex {

namespace {

// As operator new does: the new-handler ends the run.
[[noreturn]] void end_without_memory() noexcept {
  if (const std::new_handler handler = std::get_new_handler()) handler();
  std::abort();
}

yax_cfg_ptr make_doc() noexcept {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) end_without_memory();
  return doc;
}

}  // namespace

mapping_check::mapping_check() noexcept
    : doc_(make_doc()), units_(doc_->unit_list), reader_(units_) {}

// What the index has noted belongs to nobody before it is linked.
mapping_check::~mapping_check() {
  units_.link_channels();
}

bool mapping_check::check_line(line_reader::result got, std::string_view text) {
  list_.clear();
  line_findings findings(++line_number_, text, list_);
  if (got == line_reader::result::too_long) {
    findings.add(
        rule::line_too_long, max_mapping_line + 1,
        message("the line is longer than ", max_mapping_line, " characters, which ruvex refuses"));
    return true;
  }
  if (line_number_ == 1 && check_start(findings)) return false;
  if (got == line_reader::result::holds_nul) {
    findings.add(rule::nul_byte, text.find('\0') + 1,
                 "the line holds a NUL byte, which ruvex refuses");
    return true;
  }
  check_read_line(findings);
  std::stable_sort(list_.begin(), list_.end(),
                   [](const finding& a, const finding& b) { return a.column < b.column; });
  return true;
}

void mapping_check::check_read_line(line_findings& findings) {
  const mapping_line fields = split_mapping_line(findings.text());
  refusals_.begin(findings, fields);
  const point_result read = reader_.read(fields, refusals_);
  if (fields.count == 0) return;
  const std::size_t sound = check_form(findings, fields);
  if (fields.count <= field_bit) return;
  const bool is_converted = read.is_added && read.code == csv_read;
  if (is_converted) ++points_;
  const checked_point point = {fields, *read.chn, read.unit,
                               classify_reference(read.chn->reg_num.view()),
                               is_bit_type(fields.fields[field_data_type])};
  check_characters(findings, point);
  if (is_header(fields)) {
    findings.add(rule::header_line, 1,
                 "this looks like a header: neither unit nor reference has a digit");
    return;
  }
  check_fields(findings, point, sound);
  if (is_converted && sound == fields.count) repeats_.check(findings, point);
}

bool refusal_findings::refused(csv_result reason, std::size_t field) noexcept {
  const std::string_view text = line_->fields[field];
  switch (reason) {
    case csv_field_too_long:
      findings_->add(
          rule::field_too_long, field, text,
          message(text.size(), " characters do not fit the setting, which ruvex refuses"));
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

}  // namespace ruvex
