#include "repeats.h"

#include <bit>
#include <string>
#include <utility>

#include "file_causes.h"
#include "ruvex/cfg/tables.h"
#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// A register as a number: its unit, its table, its offset of 16 bits.
std::uint64_t number_of(std::uint64_t unit, const register_place& place) noexcept {
  const auto table = static_cast<std::uint64_t>(place.table);
  return (unit << 2 | table) << 16 | static_cast<std::uint64_t>(place.offset);
}

}  // namespace

void repeats::check(line_findings& findings, const checked_point& point) {
  unit_state& unit = units_.try_emplace(point.unit, unit_state{units_.size()}).first->second;
  check_name(findings, point);
  check_instance(findings, point);
  check_register(findings, point, unit);
  count_digits(findings, point, unit);
}

void repeats::check_name(line_findings& findings, const checked_point& point) {
  const auto [first, is_new] = names_.try_emplace(point.chn.name.view(), findings.number());
  if (is_new || point.chn.name.empty()) return;
  findings.add(rule::repeated_name, field_name, point.line.fields[field_name],
               message(quoted{first->first}, " is the name of line ", first->second, " too"));
}

void repeats::check_instance(line_findings& findings, const checked_point& point) {
  const std::string_view text = point.chn.instance.view();
  const std::string_view type = point.chn.bac_type.view();
  constexpr std::int64_t most = (std::int64_t{1} << 32) - 1;  // none that is larger is one
  if (!is_number_within(text, 0, most)) return;
  const std::uint64_t type_number =
      object_types_.try_emplace(type, object_types_.size()).first->second;
  const auto instance = static_cast<std::uint64_t>(decimal_prefix(text));
  line_number& first = objects_[type_number << 32 | instance];
  if (first == 0) {
    first = findings.number();
    return;
  }
  findings.add(rule::repeated_instance, field_instance, point.line.fields[field_instance],
               message(type, " ", instance, " is in line ", first, " too"));
}

void repeats::check_register(line_findings& findings, const checked_point& point,
                             const unit_state& unit) {
  const register_place place = place_of(point.chn.reg_num.view());
  if (place.offset < 0) return;
  const std::string_view field = point.line.fields[field_reference];
  const bool is_register = place.table == register_class::input_register ||
                           place.table == register_class::holding_register;
  const bool is_wide = is_register && point.chn.reg_size == "2";
  const auto mask = static_cast<std::uint32_t>(decimal_prefix(point.chn.reg_mask.view()));
  const std::uint64_t number = number_of(unit.number, place);
  if (const line_number other = find_overlap(number, place.offset, is_wide)) {
    findings.add(rule::overlapping_registers, field_reference, field,
                 message("the value shares a register with that of line ", other));
  }
  starts& here = places_[number];
  const auto bit = static_cast<std::uint64_t>(std::countr_zero(mask));
  line_number& first = mask == 0 ? here.whole : bits_[number << 5 | bit];
  if (first != 0) {
    findings.add(rule::repeated_register, field_reference, field,
                 message(table_name(place.table), " ", point.chn.reg_num.view(), " is in line ",
                         first, " too", mask == 0 ? "" : ", with the same bit"));
  } else {
    first = findings.number();
  }
  if (here.any == 0) here.any = findings.number();
  if (is_wide && here.wide == 0) here.wide = findings.number();
}

// Another value that begins one register before this one and reaches into it, or that begins in the
// second register of this one.
repeats::line_number repeats::find_overlap(std::uint64_t place, std::int32_t offset,
                                           bool is_wide) const {
  constexpr std::int32_t last_offset = 0xFFFF;
  const starts* before = offset == 0 ? nullptr : places_.find(place - 1);
  if (before != nullptr && before->wide != 0) return before->wide;
  const starts* behind = !is_wide || offset == last_offset ? nullptr : places_.find(place + 1);
  return behind == nullptr ? 0 : behind->any;
}

void repeats::count_digits(const line_findings& findings, const checked_point& point,
                           unit_state& unit) {
  const std::string_view reference = point.chn.reg_num.view();
  const bool is_coil = point.reg_class == register_class::coil;  // the converter writes five digits
  const bool is_reference = !is_coil && is_digits(reference);
  if (!is_reference || (reference.size() != 5 && reference.size() != 6)) return;
  references& alike = reference.size() == 5 ? unit.of_five : unit.of_six;
  if (++alike.count > 1) return;
  alike.line = findings.number();
  alike.column = findings.column_of(point.line.fields[field_reference]);
  alike.text = reference;
}

// Where both forms stand as often, the later one is the odd one.
void repeats::finish(std::vector<finding>& list) const {
  for (const auto& [unit, state] : units_) {
    const auto& [number, five, six] = state;
    if (five.count == 0 || six.count == 0) continue;
    const bool is_six_odd =
        six.count < five.count || (six.count == five.count && six.line > five.line);
    const references& odd = is_six_odd ? six : five;
    const references& usual = is_six_odd ? five : six;
    std::string text =
        message(quoted{odd.text}, " has ", odd.text.size(), " digits, and ", usual.count,
                usual.count == 1 ? " reference" : " references", " of its unit ",
                usual.count == 1 ? "has " : "have ", usual.text.size());
    append_lines(text, odd.count);
    list.push_back(
        {rule::reference_digits, odd.line, odd.column, field_reference, std::move(text)});
  }
}

}  // namespace ruvex
