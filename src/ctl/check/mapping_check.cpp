#include "mapping_check.h"

#include <algorithm>
#include <utility>

#include "field_checks.h"
#include "reference_checks.h"
#include "text/texts.h"

namespace ruvex {

namespace {

yax_cfg_ptr make_doc() noexcept {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) end_without_memory();
  return doc;
}

}  // namespace

mapping_check::mapping_check() noexcept
    : doc_(make_doc()), units_(doc_->unit_list), reader_(units_) {}

void mapping_check::check_line(line_result got, std::string_view text) {
  list_.clear();
  line_findings findings(++line_number_, text, list_);
  if (line_number_ == 1 && got != line_result::too_long) check_start(findings);
  if (add_refused_line(findings, got)) return note_refused();
  check_read_line(findings);
  causes_.take_from(list_);
  std::stable_sort(list_.begin(), list_.end(),
                   [](const finding& a, const finding& b) { return a.column < b.column; });
}

void mapping_check::finish() {
  list_.clear();
  repeats_.finish(list_);
  causes_.finish(list_);
  std::stable_sort(list_.begin(), list_.end(), [](const finding& a, const finding& b) {
    return std::pair(a.line, a.column) < std::pair(b.line, b.column);
  });
}

void mapping_check::note_refused() noexcept {
  if (refused_line_ == 0) refused_line_ = line_number_;
}

void mapping_check::check_read_line(line_findings& findings) {
  const mapping_line fields = split_mapping_line(findings.text());
  refusals_.begin(findings, fields);
  const point_result read = reader_.read(fields, refusals_);
  if (read.code != csv_read) note_refused();
  if (fields.count == 0) return;
  const std::size_t sound = forms_.check(findings, fields);
  if (fields.count <= field_bit) return;
  const bool is_converted = read.is_added && read.code == csv_read;
  if (is_converted) ++points_;
  if (sound == 0) return;
  const checked_point point = {fields, *read.chn, read.unit, read.reg_class, read.is_bit};
  check_characters(findings, point);
  if (is_header(fields)) {
    findings.add(rule::header_line, 1,
                 "this looks like a header: neither unit nor reference has a digit");
    return;
  }
  const bool are_texts = check_fields(findings, point, sound);
  if (is_converted && are_texts && sound == fields.count) repeats_.check(findings, point);
}

}  // namespace ruvex
