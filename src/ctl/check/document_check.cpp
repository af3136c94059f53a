#include "document_check.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "bus/point_view.h"
#include "document_values.h"
#include "report/refusal_findings.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/mapping/register_place.h"
#include "text/nearest.h"
#include "text/texts.h"

namespace ruvex {
namespace {

bool is_blank_content(std::string_view text) noexcept {
  return std::ranges::all_of(text,
                             [](char byte) { return static_cast<unsigned char>(byte) <= ' '; });
}

void append_names(std::vector<std::string_view>& names, std::span<const known_setting> settings) {
  for (const known_setting& setting : settings) names.push_back(setting.name);
}

// What to say of a name that an element does not have.
std::string unknown_name(std::string_view name, std::string_view kind, const record_form& form,
                         std::span<const known_setting> settings) {
  std::vector<std::string_view> known;
  append_names(known, settings);
  if (form.child != nullptr) known.push_back(form.child->name);
  std::string what = message(quoted{name}, " is no ", kind, " of ", form.name, " and is ignored");
  if (const std::string_view meant = nearest(name, known); !meant.empty()) {
    what += message("; did you mean ", quoted{meant}, "?");
  }
  return what;
}

// Whether a record without this setting is not what its writer writes.
bool is_needed(const known_setting& setting, bool is_tcp) noexcept {
  if (setting.check == nullptr || setting.use == field_use::read_only) return false;
  return setting.use == field_use::written || is_tcp;
}

}  // namespace

document_check::document_check(std::string_view content, file_kind kind)
    : xml_(behind_mark(content)),
      is_marked_(xml_.size() != content.size()),
      is_whole_(kind == file_kind::document),
      parts_(xml_, content.size() - xml_.size()) {}

void document_check::add(rule id, const text_place& place, std::string text) {
  list_.push_back(
      {id, static_cast<std::int64_t>(place.line), place.column, no_field, std::move(text)});
}

bool document_check::next() {
  list_.clear();
  if (!is_read_) goes_on_ = read();
  is_of_channel_ = false;
  while (goes_on_ && (list_.empty() || !is_complete())) {
    const std::int64_t before = points_;
    step();
    is_of_channel_ = points_ != before;
  }
  std::stable_sort(list_.begin(), list_.end(), [](const finding& a, const finding& b) {
    return a.line != b.line ? a.line < b.line : a.column < b.column;
  });
  return !list_.empty();
}

// Whether no later place can be earlier in the file than what has been found.
bool document_check::is_complete() const noexcept {
  if (setting_.row != nullptr) return false;
  return records_.empty() || records_.back().form == &doc_form || records_.back().is_checked;
}

// False where the reader refuses the file. What it takes is well-formed, and known elements stand
// in their places only.
bool document_check::read() {
  is_read_ = true;
  if (is_marked_) {
    add(rule::xml, {1, 1}, "the file begins with a byte-order mark, which the reader refuses");
  }
  const auto length = static_cast<std::int32_t>(xml_.size());
  xml_read_report report = {.prints = false};
  if (is_whole_) {
    doc_.reset(parse_xml_cfg(xml_.data(), length, nullptr, &report));
  } else if (auto units = parse_xml_unit_cfg(xml_.data(), length, &report)) {
    doc_.reset(make_record<yax_cfg>().release());
    if (doc_ == nullptr) end_without_memory();
    doc_->unit_list = units->release();
  }
  if (report.error != 0) end_without_memory();
  if (doc_ != nullptr) return true;
  add(rule::xml, {static_cast<std::size_t>(report.line), 1}, std::string(report.reason.view()));
  return false;
}

void document_check::step() {
  document_part part;
  if (!parts_.next(part)) {
    goes_on_ = false;
    return;
  }
  take(part);
  if (is_whole_ && part.kind == part_kind::end && parts_.depth() == 0) check_rest();
}

void document_check::take(const document_part& part) {
  if (unknown_depth_ != 0) {
    if (part.kind == part_kind::start) ++unknown_depth_;
    if (part.kind == part_kind::end) --unknown_depth_;
  } else if (part.kind == part_kind::declaration) {
    add(rule::xml_ignored, part.place, "a CDATA section or another declaration is ignored");
  } else if (setting_.row != nullptr) {
    take_in_setting(part);
  } else {
    take_in_record(part);
  }
}

void document_check::take_in_setting(const document_part& part) {
  switch (part.kind) {
    case part_kind::start:
      ignore_element(part);
      break;
    case part_kind::attribute:
      add(rule::xml_ignored, part.place,
          message(quoted{part.name}, " is ignored: ", setting_.row->name, " has no attributes"));
      break;
    case part_kind::content:
      setting_.text = part.text;
      ++setting_.runs;
      break;
    case part_kind::end:
      end_setting();
      break;
    default:
      break;
  }
}

void document_check::take_in_record(const document_part& part) {
  switch (part.kind) {
    case part_kind::start:
      start_element(part);
      break;
    case part_kind::attribute:
      take_attribute(part);
      break;
    case part_kind::attributes_end:
      if (records_.back().form == &unit_form) check_unit();
      break;
    case part_kind::content:
      if (is_blank_content(part.text)) break;
      add(rule::xml_ignored, part.place,
          message("text between the elements of ", records_.back().form->name, " is ignored"));
      break;
    case part_kind::end:
      end_record();
      break;
    default:
      break;
  }
}

void document_check::start_element(const document_part& part) {
  if (records_.empty()) return start_record(is_whole_ ? doc_form : unit_form, part.place);
  const record_form& form = *records_.back().form;
  if (form.child != nullptr && form.child->name == part.name) {
    start_record(*form.child, part.place);
  } else if (const known_setting* row = find_setting(form.elements, part.name)) {
    setting_ = {.row = row, .place = part.place};
  } else {
    ignore_element(part);
  }
}

void document_check::start_record(const record_form& form, const text_place& place) {
  records_.push_back({&form, place});
  if (&form == &unit_form) {
    unit_ = unit_ == nullptr ? doc_->unit_list : unit_->next;
    chn_ = nullptr;
  } else if (&form == &chn_form) {
    chn_ = chn_ == nullptr ? unit_->chn_list : chn_->next;
    places_ = {place, place, place, place};
  }
}

void document_check::ignore_element(const document_part& part) {
  unknown_depth_ = 1;
  const record_form& form = *records_.back().form;
  if (setting_.row != nullptr) {
    add(rule::xml_ignored, part.place,
        message("the element ", quoted{part.name}, " in ", setting_.row->name, " is ignored"));
  } else {
    add(rule::xml_ignored, part.place, unknown_name(part.name, "element", form, form.elements));
  }
}

void document_check::take_attribute(const document_part& part) {
  open_record& record = records_.back();
  const known_setting* row = find_setting(record.form->attributes, part.name);
  if (row == nullptr) {
    return add(rule::xml_ignored, part.place,
               unknown_name(part.name, "attribute", *record.form, record.form->attributes));
  }
  if ((record.seen & row->slot) != 0) {
    add(rule::xml_ignored, part.place,
        message(row->name, " stands here again; the last one counts"));
  }
  record.seen |= row->slot;
  record.filled = part.text.empty() ? record.filled & ~row->slot : record.filled | row->slot;
  keep_place(*row, part.place);
  check_value(*row, part.place, part.text);
}

void document_check::keep_place(const known_setting& setting, const text_place& place) {
  if (records_.back().form != &chn_form) return;
  if (setting.name == "name") places_.name = place;
  if (setting.name == "instance") places_.instance = place;
  if (setting.name == "reg_num") places_.reference = place;
}

void document_check::check_value(const known_setting& setting, const text_place& place,
                                 std::string_view text) {
  if (text.empty()) return;  // as good as missing
  const std::string flaw = value_flaw(setting.check, text);
  if (flaw.empty()) return;
  add(rule::xml_value, place, message(setting.name, ": ", quoted{text}, " ", flaw));
}

void document_check::end_setting() {
  const known_setting& row = *setting_.row;
  open_record& record = records_.back();
  if ((record.seen & row.slot) != 0) {
    add(rule::xml_ignored, setting_.place,
        message(row.name, " stands here again; the last text counts"));
  }
  record.seen |= row.slot;
  if (setting_.runs == 0) {
    check_empty_setting();
  } else {
    record.filled |= row.slot;
    keep_place(row, setting_.place);
    check_value(row, setting_.place, setting_.text);
  }
  if (setting_.runs > 1) {
    add(rule::xml_ignored, setting_.place,
        message(row.name, " holds more than text; only what stands behind that counts"));
  }
  setting_ = {};
}

// A setting of the document begins with its default, which no empty element takes away.
void document_check::check_empty_setting() {
  if (records_.back().form != &doc_form) return;
  const auto row = static_cast<std::size_t>(setting_.row - doc_element_settings.data());
  const std::string_view kept = doc_elements[row].view(*doc_).view();
  if (kept.empty()) return;
  add(rule::xml_ignored, setting_.place,
      message(setting_.row->name, " is empty, and the setting stays ", quoted{kept}));
}

void document_check::end_record() {
  const open_record record = records_.back();
  if (record.form == &unit_form) check_unit();
  if (record.form == &chn_form) check_channel(record);
  records_.pop_back();
}

// Once its attributes are known: its channels come next.
void document_check::check_unit() {
  open_record& record = records_.back();
  if (std::exchange(record.is_checked, true)) return;
  check_missing(record);
  repeats_.check_unit(list_, record.place, *unit_);
}

void document_check::check_channel(const open_record& record) {
  check_missing(record);
  const std::string_view reference = chn_->reg_num.view();
  const bool is_number = value_flaw(chk_norange_long, reference).empty();
  if (is_modbus(*unit_) && is_number && place_of(reference).offset < 0) {
    add(rule::reference_range, places_.reference,
        message("reg_num: ", quoted{reference}, " names no register"));
  }
  repeats_.check_channel(list_, places_, *unit_, *chn_);
  ++points_;
}

void document_check::check_missing(const open_record& record) {
  const bool is_tcp = unit_->type == "MODBUS_TCP";
  std::string names;
  for (const auto& settings : {record.form->attributes, record.form->elements}) {
    for (const known_setting& setting : settings) {
      if (!is_needed(setting, is_tcp) || (record.filled & setting.slot) != 0) continue;
      names += message(names.empty() ? "" : ", ", setting.name);
    }
  }
  if (names.empty()) return;
  add(rule::xml_value, record.place, message(record.form->name, " has no ", names));
}

// Nothing reads on behind the document.
void document_check::check_rest() {
  goes_on_ = false;
  document_part part;
  while (parts_.next(part) && part.kind == part_kind::skipped) {
  }
  if (part.place.line == 0) return;
  add(rule::xml_ignored, part.place, "what follows the end of yax_cfg is ignored");
}

}  // namespace ruvex
