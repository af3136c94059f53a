#include "ctl/repeats.h"

#include <functional>

#include "ctl/texts.h"

namespace ruvex {
namespace {

std::size_t mixed(std::size_t a, std::uint64_t b) noexcept {
  return (a ^ static_cast<std::size_t>(b ^ (b >> 32))) * 0x9E3779B1U;
}

}  // namespace

std::size_t repeats::hash::operator()(const object& key) const noexcept {
  return mixed(std::hash<std::string_view>()(key.type), static_cast<std::uint64_t>(key.instance));
}

std::size_t repeats::hash::operator()(const place& key) const noexcept {
  const auto where =
      static_cast<std::uint64_t>(key.offset) * 4 + static_cast<std::uint64_t>(key.table);
  return mixed(std::hash<const void*>()(key.unit), where);
}

std::size_t repeats::hash::operator()(const masked_place& key) const noexcept {
  return mixed((*this)(key.where), static_cast<std::uint64_t>(key.mask));
}

void repeats::check(line_findings& findings, const checked_point& point) {
  check_name(findings, point);
  check_instance(findings, point);
  check_register(findings, point);
  check_digits(findings, point);
}

void repeats::check_name(line_findings& findings, const checked_point& point) {
  const auto [first, is_new] = names_.try_emplace(point.chn.name.view(), findings.number());
  if (is_new || point.chn.name.empty()) return;
  findings.add(rule::repeated_name, field_name, point.line.fields[field_name],
               message(quoted{first->first}, " is the name of line ", first->second, " too"));
}

void repeats::check_instance(line_findings& findings, const checked_point& point) {
  const std::string_view text = point.chn.instance.view();
  if (!is_digits(text)) return;
  const object key = {point.chn.bac_type.view(), decimal_prefix(text)};
  const auto [first, is_new] = objects_.try_emplace(key, findings.number());
  if (is_new) return;
  findings.add(rule::repeated_instance, field_instance, point.line.fields[field_instance],
               message(key.type, " ", key.instance, " is in line ", first->second, " too"));
}

void repeats::check_register(line_findings& findings, const checked_point& point) {
  const register_place where = place_of(point.chn.reg_num.view());
  if (where.offset < 0) return;
  const std::string_view field = point.line.fields[field_reference];
  const place at = {point.unit, where.table, where.offset};
  const bool is_register = where.table == register_class::input_register ||
                           where.table == register_class::holding_register;
  const bool is_wide = is_register && point.chn.reg_size == "2";
  const std::int64_t mask = decimal_prefix(point.chn.reg_mask.view());
  if (const line_number other = find_overlap(at, is_wide)) {
    findings.add(rule::overlapping_registers, field_reference, field,
                 message("the value shares a register with that of line ", other));
  }
  starts& here = places_[at];
  line_number& first = mask == 0 ? here.whole : masked_places_[{at, mask}];
  if (first != 0) {
    findings.add(rule::repeated_register, field_reference, field,
                 message(table_name(where.table), " ", point.chn.reg_num.view(), " is in line ",
                         first, " too", mask == 0 ? "" : ", with the same bit"));
  } else {
    first = findings.number();
  }
  if (here.any == 0) here.any = findings.number();
  if (is_wide && here.wide == 0) here.wide = findings.number();
}

repeats::line_number repeats::find_overlap(const place& at, bool is_wide) const {
  const auto before = places_.find({at.unit, at.table, at.offset - 1});
  if (before != places_.end() && before->second.wide != 0) return before->second.wide;
  if (!is_wide) return 0;
  const auto behind = places_.find({at.unit, at.table, at.offset + 1});
  return behind != places_.end() ? behind->second.any : 0;
}

void repeats::check_digits(line_findings& findings, const checked_point& point) {
  const std::string_view reference = point.chn.reg_num.view();
  const bool is_coil = point.reg_class == register_class::coil;  // the converter writes five digits
  if (is_coil || !is_digits(reference)) return;
  const auto [first, is_new] =
      digits_.try_emplace(point.unit, digits{reference.size(), findings.number()});
  if (is_new || first->second.count == reference.size()) return;
  findings.add(
      rule::reference_digits, field_reference, point.line.fields[field_reference],
      message(quoted{reference}, " has ", reference.size(), " digits, the reference in line ",
              first->second.line, " has ", first->second.count));
}

}  // namespace ruvex
