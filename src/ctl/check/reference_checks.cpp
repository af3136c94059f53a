#include "reference_checks.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "known_texts.h"
#include "report/reference_oddity.h"
#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// An address on the wire has five digits at most, so six of them are a reference.
bool is_bit_by_number(const checked_point& point) noexcept {
  constexpr std::size_t longest_address = 5;
  return is_bit_table(point.reg_class) && !point.line.fields[field_reference].starts_with('X') &&
         point.chn.reg_num.view().size() <= longest_address;
}

bool has_units(std::string_view units) {
  if (units.empty() || units == no_units) return false;
  return known_units().has(units) || known_units().suggest(units).meant != no_units;
}

// The reference of the holding register with this number, from 1.
std::string holding_register(std::int64_t number) {
  constexpr std::int64_t most_of_five_digits = 9999;
  const std::int64_t table = number > most_of_five_digits ? 400000 : 40000;
  return message(table + number);
}

std::string accident_text(const checked_point& point, const bit_doubt& doubt) {
  const std::string_view field = point.line.fields[field_reference];
  const std::string_view stored = point.chn.reg_num.view();
  const std::int64_t number = decimal_prefix(field);
  std::string text =
      message(quoted{field}, " becomes the ", table_name(point.reg_class), " ", stored, ", but ",
              doubt.subject, " ", doubt.predicate, "; the holding register is ",
              holding_register(number + 1), " if ", number, " counts from 0");
  if (number == 0) return text;
  return text + message(", ", holding_register(number), " if from 1; X", stored, " means the ",
                        table_name(point.reg_class));
}

void check_place(line_findings& findings, const checked_point& point) {
  const std::string_view field = point.line.fields[field_reference];
  const std::string_view table = table_name(point.reg_class);
  const register_place place = place_of(point.chn.reg_num.view());
  constexpr std::int32_t last_offset = 0xFFFF;
  const bool is_register = point.reg_class == register_class::input_register ||
                           point.reg_class == register_class::holding_register;
  if (place.offset < 0) {
    findings.add(
        rule::reference_range, field_reference, field,
        message(quoted{field}, " names no ", table,
                "; after the first digit come the numbers 0001 to 9999 or 00001 to 65536"));
  } else if (place.offset == last_offset && is_register && point.chn.reg_size == "2") {
    findings.add(
        rule::table_end, field_reference, field,
        message(quoted{field}, " is the last ", table, ", and the value needs two of them"));
  }
}

// What no point of a list can be: objects that the controller keeps for itself.
bool is_point_type(std::string_view type) noexcept {
  constexpr std::string_view kinds[] = {"ANALOG_", "BINARY_", "MULTI_STATE_"};
  return std::ranges::any_of(kinds,
                             [type](std::string_view kind) { return type.starts_with(kind); });
}

// Why an object of this type does not fit a register; empty where it does.
std::string_view trouble_with_register(const checked_point& point, std::string_view type) noexcept {
  const bool is_output = point.chn.chn_type.view().starts_with("OUTPUT");
  if (point.reg_class == register_class::input_register && type.ends_with("_OUTPUT")) {
    return "cannot be written";
  }
  if (is_output && type.ends_with("_INPUT")) return "becomes an output with it";
  if (point.is_bit && type.starts_with("ANALOG_")) return "gives one bit with this data type";
  if (!point.is_bit && is_binary(type) &&
      known_data_types().has(point.line.fields[field_data_type])) {
    return "gives a number with this data type";
  }
  return {};
}

std::string_view trouble_with_bit(const checked_point& point, std::string_view type) {
  if (!doubt_of_bit(point).subject.empty()) return {};
  if (point.reg_class == register_class::discrete_input && type.ends_with("_OUTPUT")) {
    return "cannot be written";
  }
  return is_binary(type) ? std::string_view() : "is a bit";
}

}  // namespace

bit_doubt doubt_of_bit(const checked_point& point) {
  if (!is_bit_by_number(point)) return {};
  const std::string_view units = point.chn.bac_units.view();
  const std::string_view data_type = point.line.fields[field_data_type];
  if (point.is_bit) return {data_type, "is a bit of a register"};
  if (point.chn.reg_size == "2") return {data_type, "is a value of two registers"};
  if (has_units(units)) return {units, "is the unit of a number"};
  if (is_scaled(point)) return {"the scaling", "is that of a number"};
  const bool is_coil = point.reg_class == register_class::coil;
  if (is_coil && !is_binary(point.chn.bac_type.view())) return {"the point", "is no bit"};
  return {};
}

bool is_plain_bit(const checked_point& point) {
  return (point.is_bit || is_bit_table(point.reg_class)) && doubt_of_bit(point).subject.empty();
}

bool is_scaled(const checked_point& point) noexcept {
  if (point.line.count <= field_scl_dev_lo) return false;
  for (const mapping_column& end : scale_columns) {
    if ((point.chn.*end.setting).view() != point.line.fields[end.field]) return false;
  }
  return true;
}

bool is_binary(std::string_view object_type) noexcept {
  return object_type.starts_with("BINARY_");
}

void check_reference(line_findings& findings, const checked_point& point) {
  const std::string_view field = point.line.fields[field_reference];
  if (const std::string_view oddity = reference_oddity(field); !oddity.empty()) {
    findings.add(rule::reference_text, field_reference, field,
                 message(quoted{field}, " ", oddity, "; it becomes the ",
                         table_name(point.reg_class), " ", point.chn.reg_num.view()));
  } else if (const bit_doubt doubt = doubt_of_bit(point); !doubt.subject.empty()) {
    findings.add(rule::coil_by_accident, field_reference, field, accident_text(point, doubt));
  } else {
    check_place(findings, point);
  }
}

void check_object_class(line_findings& findings, const checked_point& point) {
  const std::string_view type = point.chn.bac_type.view();
  const std::string_view field = point.line.fields[field_bac_type];
  if (!is_point_type(type)) {
    findings.add(rule::no_point_object, field_bac_type, field,
                 message(quoted{type}, " is an object that no point can be"));
    return;
  }
  if (point.reg_class == register_class::illegal) return;
  const std::string_view trouble = is_bit_table(point.reg_class)
                                       ? trouble_with_bit(point, type)
                                       : trouble_with_register(point, type);
  if (!trouble.empty()) {
    findings.add(
        rule::object_class, field_bac_type, field,
        message(quoted{type}, " does not fit: the ", table_name(point.reg_class), " ", trouble));
  } else if (point.reg_class == register_class::holding_register && type.ends_with("_VALUE")) {
    findings.add(rule::silent_output, field_bac_type, field,
                 message(quoted{type}, " makes the holding register an output, which is written"));
  }
}

}  // namespace ruvex
